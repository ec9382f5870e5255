#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

#include <kalvo/foundation/KDouble.h>
#include <kalvo/foundation/KInteger.h>

namespace {
std::string label(double v, int d) { return KDouble::toLabel(v, d).c_str(); }
std::string fixed(double v, int d) { return KDouble::toLabelFixed(v, d).c_str(); }
std::string label(double v, int d, double a, double b) { return KDouble::toLabel(v, d, a, b).c_str(); }
std::string fixed(double v, int d, double a, double b) {
    return KDouble::toLabelFixed(v, d, a, b).c_str();
}
const double inf = std::numeric_limits<double>::infinity();
}  // namespace

TEST(KDouble, constantsAndClassification) {
    EXPECT_EQ(std::bit_cast<std::uint64_t>(KDouble::NaN), 0x7FFC000000000000u);
    EXPECT_TRUE(KDouble::isNaN(KDouble::NaN));
    EXPECT_TRUE(KDouble::isInfinite(KDouble::NEGATIVE_INFINITY));
    EXPECT_FALSE(KDouble::isInfinite(KDouble::NaN));
    EXPECT_FALSE(KDouble::isFinite(KDouble::POSITIVE_INFINITY));
    EXPECT_TRUE(KDouble::isFinite(-0.0));
    EXPECT_FALSE(KDouble(KDouble::NaN).equals(KDouble(KDouble::NaN)));
    EXPECT_TRUE(KDouble(2.0).equals(KDouble(2.0)));
    EXPECT_EQ(KDouble(1.5).add(KDouble(2.0)).doubleValue(), 3.5);
    EXPECT_TRUE(std::isnan(KDouble(1.0).add(KDouble(inf)).doubleValue()));
    EXPECT_EQ(KDouble("1.5K").doubleValue(), 1.5);  // prefixes are not understood
    EXPECT_EQ(KDouble::valueOf("junk"), 0.0);
    EXPECT_EQ(KDouble::valueOf(nullptr), 0.0);
}

TEST(KDouble, toStringKeepsOneDecimal) {
    EXPECT_STREQ(KDouble::toString(0.1).c_str(), "0.1");
    EXPECT_STREQ(KDouble::toString(100.0).c_str(), "100.0");
    EXPECT_STREQ(KDouble::toString(2.0).c_str(), "2.0");
    EXPECT_STREQ(KDouble::toString(-0.047).c_str(), "-0.047");
    EXPECT_STREQ(KDouble::toString(1.5e20).c_str(), "1.5e+20");
    EXPECT_STREQ(KDouble::toString(1e-20).c_str(), "1.0e-20");
    EXPECT_STREQ(KDouble::toString(123456789012.5).c_str(), "123456789012.");
    EXPECT_STREQ(KDouble::toString(-inf).c_str(), "+INF");
    EXPECT_STREQ(KDouble::toString(inf).c_str(), "+INF");
    EXPECT_STREQ(KDouble::toString(KDouble::NaN).c_str(), "NaN");
    EXPECT_STREQ(KDouble(0.25).toString().c_str(), "0.25");
}

TEST(KDouble, labelExamples) {
    EXPECT_EQ(label(1500.0, 2), "1.500K");
    EXPECT_EQ(label(999.0, 2), "999.00");
    EXPECT_EQ(label(1000.0, 2), "1.000K");
    EXPECT_EQ(label(0.001, 1), "1.00m");
    EXPECT_EQ(label(0.0011, 1), "0.0");
    EXPECT_EQ(label(0.0, 3), "0.000");
    EXPECT_EQ(label(2e-16, 2), "0.00");
    EXPECT_EQ(fixed(1500.0, 2), "1.50K");
    EXPECT_EQ(fixed(0.005, 2), "0.01");  // above 0.001: the unprefixed row
    EXPECT_EQ(fixed(0.0005, 2), "0.500m");  // milli keeps its extra decimal
    EXPECT_EQ(label(2500.0, 1, 0.0, 10000.0), "2.50K");
    EXPECT_EQ(label(0.0, 1, 0.0, 10000.0), "0.00 ");
    EXPECT_EQ(label(5.0, 2, -10.0, 10.0), "5.00 ");
    EXPECT_EQ(fixed(2500.0, 1, 0.0, 10000.0), "2.5K");
}

// Each boundary of the prefix table, with its neighbours on both sides, for positive and
// negative values.
TEST(KDouble, everyPrefixBoundary) {
    struct Row {
        double bound;
        const char* at;       // label(bound, 1)
        const char* below;    // label(nextafter(bound, 0), 1)
    };
    // Below the plain row each row starts at the next smaller bound: 1e-6 is still milli.
    const Row rows[] = {
        {1e15, "1.00P", "1000.00T"}, {1e12, "1.00T", "1000.00G"}, {1e9, "1.00G", "1000.00M"},
        {1e6, "1.00M", "1000.00K"},  {1000, "1.00K", "1000.0"},   {1e-6, "0.00m", "1.00u"},
        {1e-9, "0.00u", "1.00n"},    {1e-12, "0.00n", "1.00p"},   {1e-15, "0.00p", "0.0"},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.bound);
        EXPECT_EQ(label(r.bound, 1), r.at);
        EXPECT_EQ(label(-r.bound, 1), std::string("-") + r.at);
        EXPECT_EQ(label(std::nextafter(r.bound, 0.0), 1), r.below);
        EXPECT_EQ(label(r.bound * 1.5, 1).back(), std::string(r.at).back());
    }
    // The plain row is strict at 0.001: the bound itself is milli, just above it is plain.
    EXPECT_EQ(label(0.001, 2), "1.000m");
    EXPECT_EQ(label(std::nextafter(0.001, 1.0), 2), "0.00");
    EXPECT_EQ(label(std::nextafter(0.001, 0.0), 2), "1.000m");
    EXPECT_EQ(label(-0.001, 2), "-1.000m");
    EXPECT_EQ(label(0.5e-3, 1), "0.50m");
    // The nano multiplier of the value-chosen labels is the odd constant, not 1e9; the
    // range forms divide by 1e-9.
    EXPECT_EQ(label(2.55e-10, 1), "0.25n");
    EXPECT_EQ(label(2.55e-10, 1, 0.0, 2.55e-10), "0.26n");
}

TEST(KDouble, nonFiniteLabels) {
    for (double v : {KDouble::NaN, inf, -inf}) {
        EXPECT_EQ(label(v, 2), " ");
        EXPECT_EQ(fixed(v, 2), " ");
        EXPECT_EQ(label(v, 2, 0, 10), " ");
    }
    // A non-finite range end means no prefix and unchanged decimals.
    EXPECT_EQ(label(1500.0, 1, 0, inf), "1500.0 ");
    EXPECT_EQ(label(1500.0, 1, KDouble::NaN, 10000), "1.50K");
    // |a| and |b| equal: b decides (same magnitude, same prefix).
    EXPECT_EQ(label(-2e6, 0, 2e6, -2e6), "-2.0M");
}

TEST(KInteger, snappingAndParsing) {
    EXPECT_EQ(KInteger::floor(-7, 5), -10);
    EXPECT_EQ(KInteger::ceil(-7, 5), -5);
    EXPECT_EQ(KInteger::floor(7, 5), 5);
    EXPECT_EQ(KInteger::ceil(7, 5), 10);
    EXPECT_EQ(KInteger::ceil(10, 5), 10);
    EXPECT_EQ(KInteger::nearest(7, 5), 5);
    EXPECT_EQ(KInteger::nearest(8, 5), 10);
    EXPECT_EQ(KInteger::nearest(-8, 5), -10);
    EXPECT_EQ(KInteger::nearest(-7, 5), -5);
    EXPECT_EQ(KInteger::nearest(5, 10), 0);   // a tie goes toward zero
    EXPECT_EQ(KInteger::nearest(-5, 10), 0);
    EXPECT_EQ(KInteger::floor(7, -3), 7);  // a negative step counts as 1
    EXPECT_EQ(KInteger::ceil(7, -3), 7);
    EXPECT_EQ(KInteger::floor(9, 0), 9);
    EXPECT_EQ(KInteger::valueOf(nullptr), 0);
    EXPECT_EQ(KInteger::valueOf(""), 0);
    EXPECT_EQ(KInteger::valueOf("42abc"), 42);
    EXPECT_EQ(KInteger::parseInt("-13"), -13);
    EXPECT_STREQ(KInteger(-5).toString().c_str(), "-5");
}
