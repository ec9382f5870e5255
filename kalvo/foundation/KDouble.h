#pragma once

#include <kalvo/foundation/KString.h>

// A boxed double and the engineering (SI-prefix) labels of axes, meters and tables.
class KDouble {
public:
    static const double NaN;  // a quiet NaN, bits 0x7FFC000000000000
    static const double POSITIVE_INFINITY;
    static const double NEGATIVE_INFINITY;

    KDouble(double value = 0.0) : value_(value) {}
    explicit KDouble(const char* text);
    virtual ~KDouble() = default;
    KDouble(const KDouble&) = default;
    KDouble& operator=(const KDouble&) = default;

    // The leading number of text (strtod); anything after it is ignored.
    static double valueOf(const char* text);

    double doubleValue() const { return value_; }
    operator double() const { return value_; }

    static bool isNaN(const double& v);
    static bool isFinite(const double& v);
    static bool isInfinite(const double& v);

    virtual bool equals(const KDouble& other) const { return value_ == other.value_; }
    KDouble add(const KDouble& other) const;

    virtual KString toString() const { return toString(value_); }
    // Twelve significant digits without trailing zeros, but one digit after the point.
    static KString toString(const double& v);
    // The shortest text that reads back as the same double ("0.1", "1e-07", "nan", "-inf").
    static KString toExactString(double v);

    // Engineering labels: prefix chosen by the value itself.
    static KString toLabel(double v, int decimals);
    static KString toLabelFixed(double v, int decimals);
    // Engineering labels on the scale of the larger of |a| and |b| (one axis, one prefix).
    static KString toLabel(double v, int decimals, double a, double b);
    static KString toLabelFixed(double v, int decimals, double a, double b);
    // The prefix letter that the range forms use for a and b (a blank when none) and the
    // divisor that they apply.
    static char getRangePrefix(double a, double b, double& divisor);

private:
    double value_;
};
