#include <kalvo/analysis/KAnalysisText.h>

#include <algorithm>
#include <cmath>

#include <kalvo/foundation/KDouble.h>

KString KAnalysisText::angle(double degrees) {
    if (!KDouble::isFinite(degrees)) return KString("---");
    KString text;
    return text.format("%c %.0f%c", degrees < 0 ? '-' : '+', std::fabs(degrees), DEGREE_MARK);
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
    text.format("%.*f", decimals, shown);
    if (prefix != ' ' && value != 0.0) text << prefix;
    return text;
}
