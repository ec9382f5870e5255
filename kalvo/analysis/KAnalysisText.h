#pragma once

#include <kalvo/foundation/KString.h>

// The texts of the analysis tables.
class KAnalysisText {
public:
    // The degree mark of the tables: the byte 0xBA (the masculine ordinal of Windows-1252).
    static constexpr char DEGREE_MARK = '\xBA';

    // "+ 35" and "- 120" with the degree mark: the sign, a blank and the whole degrees;
    // "---" for a value that is not finite.
    static KString angle(double degrees);
    // An engineering number: three significant digits and the SI prefix ("5.03K", "200",
    // "12.5m"), or with manual precision that many decimals after the prefix; "---" for a
    // value that is not finite.
    static KString magnitude(double value, bool manualPrecision = false, int precision = 3);
};
