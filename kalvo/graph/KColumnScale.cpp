#include <kalvo/graph/KColumnScale.h>

#include <kalvo/foundation/KRange.h>

KColumnScale::KColumnScale(double lo, double hi, int columns, double origin) {
    if (!std::isfinite(lo) || !std::isfinite(hi) || !(hi > lo) || columns < 1) return;
    const double exact = columns / (hi - lo);
    if (!std::isfinite(exact) || !(exact > 0)) return;
    int exponent = 0;
    const double mantissa = std::frexp(exact, &exponent);
    scale_ = std::ldexp(std::round(std::ldexp(mantissa, 32)), exponent - 32);
    // Columns far from the origin would lose their fractions: counted from lo then.
    origin_ = std::isfinite(origin) && std::fabs(scale_ * (lo - origin)) < 1e12 ? origin : lo;
    first_ = std::floor(scale_ * (lo - origin_) + 0.5);
    valid_ = std::isfinite(first_);
}

KColumnScale::KColumnScale(const KRange& range, int columns) {
    double lower, upper;
    range.getBounds(lower, upper);
    *this = KColumnScale(range.getMinimum(), range.getMaximum(), columns, lower);
}
