#include <kalvo/foundation/KRange.h>

#include <cmath>
#include <cstdint>

#include <kalvo/foundation/KArchive.h>
#include <kalvo/foundation/KDouble.h>

namespace {

// Seconds per minute, minutes per hour, hours per day, days per month, months per year.
constexpr double kTimeUnits[] = {60, 60, 24, 30, 12};
constexpr int kTimeLevels = 5;

constexpr int kMinPower = -15;
constexpr int kMaxPower = 19;

// 10^k for k from -17 to 19, written out so that every power is the nearest double.
constexpr double kPowers[] = {1e-17, 1e-16, 1e-15, 1e-14, 1e-13, 1e-12, 1e-11, 1e-10, 1e-9,
                              1e-8,  1e-7,  1e-6,  1e-5,  1e-4,  1e-3,  1e-2,  1e-1,  1e0,
                              1e1,   1e2,   1e3,   1e4,   1e5,   1e6,   1e7,   1e8,   1e9,
                              1e10,  1e11,  1e12,  1e13,  1e14,  1e15,  1e16,  1e17,  1e18, 1e19};
double power10(int k) { return kPowers[k + 17]; }

// The smallest k from -15 up to 19 with 10^k >= span (19 when none is).
int powerAbove(double span) {
    for (int k = kMinPower; k < kMaxPower; ++k) {
        if (power10(k) >= span) return k;
    }
    return kMaxPower;
}

}  // namespace

void KRange::setGrid(double v) {
    if (v > 0) grid_ = v;
}

bool KRange::setLimits(double a, double b) {
    if (b - a < minAperture_) return false;
    minimum_ = a;
    maximum_ = b;
    return true;
}

void KRange::getLimits(double& minimum, double& maximum) const {
    minimum = minimum_;
    maximum = maximum_;
}

void KRange::setMinAperture(double v) {
    if (v >= 0) minAperture_ = v;
}

void KRange::setBounds(double lower, double upper) {
    if (!std::isfinite(lower) || !std::isfinite(upper)) return;
    lowerBound_ = lower < upper ? lower : upper;
    upperBound_ = lower < upper ? upper : lower;
}

void KRange::getBounds(double& lower, double& upper) const {
    lower = lowerBound_;
    upper = upperBound_;
}

void KRange::computeGrid(bool snap) {
    if (!std::isfinite(minimum_) || !std::isfinite(maximum_)) return;
    double span = maximum_ - minimum_;
    unitLevel_ = 0;
    if (unitized_ != 0 && span >= 60) {
        while (span > 60 && unitLevel_ < kTimeLevels) span /= kTimeUnits[unitLevel_++];
        grid_ = 1.0;
        for (int i = 0; i < unitLevel_; ++i) grid_ *= kTimeUnits[i];
        return;
    }
    if (fixedGrid_ != 0) {
        grid_ = 1.0;
        return;
    }
    const double p = power10(powerAbove(span) - 2);
    if (span < 1e-15 && minimum_ != maximum_) {
        maximum_ += 10 * p;
        minimum_ -= 10 * p;
    } else if (maximum_ == minimum_) {
        // Widened by a share of the sum of the ends, not of the span: that is the rule.
        maximum_ = maximum_ + 0.05 * (maximum_ + minimum_);
        minimum_ = minimum_ - 0.05 * (maximum_ + minimum_);
    }
    span = maximum_ - minimum_;
    grid_ = power10(powerAbove(span) - 2);
    const double r = span / grid_;
    if (r <= 9) {
    } else if (r <= 18) {
        grid_ *= 2;
    } else if (r <= 22.5) {
        grid_ *= 2.5;
    } else if (r <= 45) {
        grid_ *= 5;
    } else {
        grid_ *= 10;
    }
    if (snap) {
        minimum_ = std::floor(minimum_ / grid_) * grid_;
        maximum_ = std::ceil(maximum_ / grid_) * grid_;
    }
}

void KRange::expandLimits() {
    const double q = (maximum_ - minimum_) * 0.25;
    if (setLimits(minimum_ - q, maximum_ + q)) computeGrid(true);
}

void KRange::compressLimits() {
    const double q = (maximum_ - minimum_) * 0.25;
    if (setLimits(minimum_ + q, maximum_ - q)) computeGrid(true);
}

void KRange::snapToGrid() {
    if (unitized_ != 0 || !(grid_ > 0) || !(maximum_ - minimum_ > grid_)) return;
    minimum_ = std::floor(minimum_ / grid_) * grid_;
    maximum_ = std::ceil(maximum_ / grid_) * grid_;
}

bool KRange::contains(double v) const {
    return std::isfinite(v) && minimum_ <= v && v <= maximum_;
}

void KRange::containValue(double v) {
    if (!std::isfinite(v) || !(grid_ > 0) || !std::isfinite(minimum_) || !std::isfinite(maximum_)) return;
    double mid = (minimum_ + maximum_) / 2;
    // A value millions of steps away is approached in one jump first; the steps below then
    // settle it. A step too small to move the ends ends the walk.
    const double steps = std::trunc((v - mid) / grid_);
    if (std::fabs(steps) > 1e6) {
        minimum_ += steps * grid_;
        maximum_ += steps * grid_;
        mid = (minimum_ + maximum_) / 2;
    }
    while (v < mid) {
        const double before = minimum_;
        minimum_ -= grid_;
        maximum_ -= grid_;
        if (minimum_ == before) return;
        mid = (minimum_ + maximum_) / 2;
    }
    while (v > mid) {
        const double before = minimum_;
        minimum_ += grid_;
        maximum_ += grid_;
        if (minimum_ == before) return;
        mid = (minimum_ + maximum_) / 2;
    }
}

int KRange::getPrecision() const {
    if (!(grid_ > 0) || !std::isfinite(grid_)) return 0;
    double divisor = 1.0;
    const bool prefixed = KDouble::getRangePrefix(minimum_, maximum_, divisor) != ' ';
    double scaled = grid_ / divisor;
    int decimals = 0;
    while (decimals < 15 && std::fabs(scaled - std::round(scaled)) > 1e-9 * scaled) {
        scaled *= 10;
        ++decimals;
    }
    return prefixed && decimals > 0 ? decimals - 1 : decimals;
}

double KRange::snapZero(double v, int precision) {
    if (std::fabs(v) < 0.5 * std::pow(10.0, -precision)) return 0.0;
    return v;
}

bool KRange::operator==(const KRange& other) const {
    return unitized_ == other.unitized_ && unitLevel_ == other.unitLevel_ &&
           minimum_ == other.minimum_ && maximum_ == other.maximum_ && grid_ == other.grid_ &&
           minAperture_ == other.minAperture_ && fixedGrid_ == other.fixedGrid_ &&
           lowerBound_ == other.lowerBound_ && upperBound_ == other.upperBound_ &&
           factor_ == other.factor_;
}

void KRange::writeObject(KArchive& archive) const {
    archive << std::uint32_t{1} << std::int32_t{unitized_} << std::int32_t{unitLevel_} << minimum_
            << maximum_ << grid_ << minAperture_ << std::int32_t{fixedGrid_} << lowerBound_
            << upperBound_ << factor_;
}

void KRange::readObject(KArchive& archive) {
    std::uint32_t version = 0;
    std::int32_t unitized = 0, level = 0, fixed = 0;
    double values[7];
    archive >> version >> unitized >> level >> values[0] >> values[1] >> values[2] >> values[3] >>
        fixed >> values[4] >> values[5] >> values[6];
    unitized_ = unitized != 0 ? 1 : 0;
    unitLevel_ = level >= 0 && level <= kTimeLevels ? level : 0;
    minimum_ = values[0];
    maximum_ = values[1];
    grid_ = values[2] > 0 ? values[2] : 0.1;
    minAperture_ = values[3] >= 0 ? values[3] : 0.0;
    fixedGrid_ = fixed != 0 ? 1 : 0;
    lowerBound_ = values[4];
    upperBound_ = values[5];
    factor_ = values[6];
}
