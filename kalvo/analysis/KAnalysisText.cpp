#include <kalvo/analysis/KAnalysisText.h>

#include <algorithm>
#include <charconv>
#include <cmath>

#include <kalvo/foundation/KDouble.h>

namespace {

// The value with the decimals, as "%.*f" prints it (rounded exactly, half to even): a table
// of harmonics formats hundreds of these on every marker move.
void appendFixed(KString& text, double value, int decimals) {
    char digits[352];
    const auto written = std::to_chars(digits, digits + sizeof digits - 1, value,
                                       std::chars_format::fixed, decimals);
    *written.ptr = '\0';
    text.append(digits);
}

}  // namespace

KString KAnalysisText::angle(double degrees) {
    if (!KDouble::isFinite(degrees)) return KString("---");
    KString text;
    text << (degrees < 0 ? '-' : '+') << ' ';
    appendFixed(text, std::fabs(degrees), 0);
    text << DEGREE_MARK;
    return text;
}

KString KAnalysisText::magnitude(double value, bool manualPrecision, int precision) {
    if (!KDouble::isFinite(value)) return KString("---");
    double divisor = 1.0;
    const char prefix = KDouble::getRangePrefix(value, value, divisor);
    const double shown = value / divisor;
    int decimals;
    if (manualPrecision) {
        decimals = std::clamp(precision, 0, 15);
    } else {
        // Three significant digits: as many decimals as the digits before the point leave.
        const double size = std::fabs(shown);
        const int before = size > 0.0 ? static_cast<int>(std::floor(std::log10(size))) + 1 : 1;
        decimals = std::clamp(3 - before, 0, 15);
    }
    KString text;
    appendFixed(text, shown, decimals);
    if (prefix != ' ' && value != 0.0) text << prefix;
    return text;
}
