#include <kalvo/foundation/KDouble.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstdio>
#include <cstring>
#include <iterator>

const double KDouble::NaN = std::bit_cast<double>(std::uint64_t{0x7FFC000000000000});
const double KDouble::POSITIVE_INFINITY = HUGE_VAL;
const double KDouble::NEGATIVE_INFINITY = -HUGE_VAL;

namespace {

// One row of the prefix table. The rows are tried top to bottom; the first whose test
// the magnitude passes is used.
struct Prefix {
    double bound;      // the magnitude must reach this
    bool strict;       // the plain row needs the magnitude strictly above its bound
    char letter;       // 0 for the unprefixed rows
    double scale;      // multiplier of the value-chosen labels
    double divisor;    // divisor of the range labels
};

constexpr Prefix kPrefixes[] = {
    {1e15, false, 'P', 1e-15, 1e15},
    {1e12, false, 'T', 1e-12, 1e12},
    {1e9, false, 'G', 1e-9, 1e9},
    {1e6, false, 'M', 1e-6, 1e6},
    {1000.0, false, 'K', 0.001, 1000.0},
    {0.001, true, 0, 1.0, 1.0},
    {1e-6, false, 'm', 1000.0, 0.001},
    {1e-9, false, 'u', 1e6, 1e-6},
    {1e-12, false, 'n', 999999999.9999999, 1e-9},  // the odd nano multiplier is kept on purpose
    {1e-15, false, 'p', 1e12, 1e-12},
    {0.0, false, 0, 1.0, 1.0},  // below 1e-15, zero included
};

const Prefix& prefixFor(double v) {
    for (const Prefix& p : kPrefixes) {
        if (p.strict ? (v < -p.bound || v > p.bound) : (v <= -p.bound || v >= p.bound)) return p;
    }
    return kPrefixes[std::size(kPrefixes) - 1];
}

KString valueLabel(double v, int decimals, bool fixed) {
    KString out;
    if (!std::isfinite(v)) return KString(" ");
    const Prefix& p = prefixFor(v);
    if (p.letter == 0) return out.format("%.*f", decimals, v);
    // A prefix brings one more decimal; the fixed family keeps that only for milli.
    const int shown = !fixed || p.letter == 'm' ? decimals + 1 : decimals;
    return out.format("%.*f%c", shown, v * p.scale, p.letter);
}

KString rangeLabel(double v, int decimals, double a, double b, bool fixed) {
    double divisor = 1.0;
    const char suffix = KDouble::getRangePrefix(a, b, divisor);
    if (suffix != ' ' && !fixed) ++decimals;
    if (!std::isfinite(v)) return KString(" ");
    KString out;
    // A zero tick shows no prefix, but keeps the width of one.
    return out.format("%.*f%c", decimals, v / divisor, v == 0.0 ? ' ' : suffix);
}

}  // namespace

KDouble::KDouble(const char* text) : value_(valueOf(text)) {}

double KDouble::valueOf(const char* text) { return text != nullptr ? std::strtod(text, nullptr) : 0.0; }

bool KDouble::isNaN(const double& v) { return std::isnan(v); }
bool KDouble::isFinite(const double& v) { return std::isfinite(v); }
bool KDouble::isInfinite(const double& v) { return !std::isnan(v) && !std::isfinite(v); }

KDouble KDouble::add(const KDouble& other) const {
    if (isFinite(value_) && isFinite(other.value_)) return KDouble(value_ + other.value_);
    return KDouble("NaN");
}

KString KDouble::toExactString(double v) {
    char text[32];
    const auto result = std::to_chars(text, text + sizeof text - 1, v);
    *result.ptr = '\0';
    return KString(text);
}

KString KDouble::toString(const double& v) {
    if (std::isnan(v)) return KString("NaN");
    if (std::isinf(v)) return KString("+INF");
    char text[64];
    std::snprintf(text, sizeof text, "%#.12g", v);
    char* exponent = std::strchr(text, 'e');
    char* end = exponent != nullptr ? exponent : text + std::strlen(text);
    const char* point = std::strchr(text, '.');
    char* cut = end;
    // Keep at least one digit after the decimal point.
    while (point != nullptr && cut - 1 > point + 1 && cut[-1] == '0') --cut;
    if (cut != end) std::memmove(cut, end, std::strlen(end) + 1);
    return KString(text);
}

char KDouble::getRangePrefix(double a, double b, double& divisor) {
    const double m = std::fabs(a) > std::fabs(b) ? std::fabs(a) : std::fabs(b);
    divisor = 1.0;
    if (!std::isfinite(m)) return ' ';
    const Prefix& p = prefixFor(m);
    if (p.letter == 0) return ' ';
    divisor = p.divisor;
    return p.letter;
}

KString KDouble::toLabel(double v, int decimals) { return valueLabel(v, decimals, false); }
KString KDouble::toLabelFixed(double v, int decimals) { return valueLabel(v, decimals, true); }

KString KDouble::toLabel(double v, int decimals, double a, double b) {
    return rangeLabel(v, decimals, a, b, false);
}

KString KDouble::toLabelFixed(double v, int decimals, double a, double b) {
    return rangeLabel(v, decimals, a, b, true);
}
