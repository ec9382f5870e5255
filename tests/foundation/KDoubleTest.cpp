#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <string>
#include <tuple>
#include <utility>

#include <kalvo/kalvo.h>

namespace {
// The value and decimals, then optionally the range the value is labelled in.
template <class... Range>
std::string label(double v, int d, Range... r) { return KDouble::toLabel(v, d, r...).c_str(); }
template <class... Range>
std::string fixed(double v, int d, Range... r) { return KDouble::toLabelFixed(v, d, r...).c_str(); }
const double inf = std::numeric_limits<double>::infinity();

// Each text computed against the text expected of it.
void expectTexts(std::initializer_list<std::pair<std::string, const char*>> cases) {
    int i = 0;
    for (const auto& [got, want] : cases) EXPECT_EQ(got, want) << "case " << i++;
}
}  // namespace

TEST(KDouble, constantsAndArithmetic) {
    EXPECT_EQ(std::bit_cast<std::uint64_t>(KDouble::NaN), 0x7FFC000000000000u);
    EXPECT_FALSE(KDouble::isInfinite(KDouble::NaN));
    EXPECT_TRUE(KDouble::isFinite(-0.0));
    EXPECT_FALSE(KDouble(KDouble::NaN).equals(KDouble(KDouble::NaN)));
    EXPECT_EQ(KDouble(1.5).add(KDouble(2.0)).doubleValue(), 3.5);
    EXPECT_TRUE(std::isnan(KDouble(1.0).add(KDouble(inf)).doubleValue()));
    EXPECT_EQ(KDouble("1.5K").doubleValue(), 1.5);  // prefixes are not understood
    EXPECT_EQ(KDouble::valueOf("junk"), 0.0);
    EXPECT_EQ(KDouble::valueOf(nullptr), 0.0);
}

TEST(KDouble, toStringKeepsOneDecimal) {
    auto text = [](double v) { return std::string(KDouble::toString(v).c_str()); };
    expectTexts({{text(0.1), "0.1"}, {text(100.0), "100.0"}, {text(2.0), "2.0"},
                 {text(-0.047), "-0.047"}, {text(1.5e20), "1.5e+20"}, {text(1e-20), "1.0e-20"},
                 {text(123456789012.5), "123456789012."}, {text(-inf), "+INF"},
                 {text(inf), "+INF"}, {text(KDouble::NaN), "NaN"},
                 {KDouble(0.25).toString().c_str(), "0.25"}});
}

// The plain row is strict at 0.001: the bound itself is milli, just above it is plain. The
// nano multiplier of the value-chosen labels is the odd constant, not 1e9; the range forms
// divide by 1e-9. A non-finite range end means no prefix and unchanged decimals; with |a|
// and |b| equal, b decides.
TEST(KDouble, labelExamples) {
    expectTexts({{label(1500.0, 2), "1.500K"}, {label(999.0, 2), "999.00"},
                 {label(1000.0, 2), "1.000K"}, {label(0.001, 1), "1.00m"},
                 {label(0.0011, 1), "0.0"}, {label(0.0, 3), "0.000"}, {label(2e-16, 2), "0.00"},
                 {fixed(1500.0, 2), "1.50K"},
                 {fixed(0.005, 2), "0.01"},      // above 0.001: the unprefixed row
                 {fixed(0.0005, 2), "0.500m"},  // milli keeps its extra decimal
                 {label(2500.0, 1, 0.0, 10000.0), "2.50K"}, {label(0.0, 1, 0.0, 10000.0), "0.00 "},
                 {label(5.0, 2, -10.0, 10.0), "5.00 "}, {fixed(2500.0, 1, 0.0, 10000.0), "2.5K"},
                 {label(0.001, 2), "1.000m"}, {label(std::nextafter(0.001, 1.0), 2), "0.00"},
                 {label(std::nextafter(0.001, 0.0), 2), "1.000m"}, {label(-0.001, 2), "-1.000m"},
                 {label(0.5e-3, 1), "0.50m"}, {label(2.55e-10, 1), "0.25n"},
                 {label(2.55e-10, 1, 0.0, 2.55e-10), "0.26n"},
                 {label(1500.0, 1, 0.0, inf), "1500.0 "},
                 {label(1500.0, 1, KDouble::NaN, 10000.0), "1.50K"},
                 {label(-2e6, 0, 2e6, -2e6), "-2.0M"}});
    for (double v : {KDouble::NaN, inf, -inf}) {
        EXPECT_EQ(label(v, 2), " ");
        EXPECT_EQ(fixed(v, 2), " ");
        EXPECT_EQ(label(v, 2, 0.0, 10.0), " ");
    }
}

// Each boundary of the prefix table, with its neighbours on both sides, for positive and
// negative values.
TEST(KDouble, everyPrefixBoundary) {
    // The bound's label, and its lower neighbour's. Below the plain row each row starts at
    // the next smaller bound: 1e-6 is still milli.
    const std::tuple<double, const char*, const char*> rows[] = {
        {1e15, "1.00P", "1000.00T"}, {1e12, "1.00T", "1000.00G"}, {1e9, "1.00G", "1000.00M"},
        {1e6, "1.00M", "1000.00K"},  {1000, "1.00K", "1000.0"},   {1e-6, "0.00m", "1.00u"},
        {1e-9, "0.00u", "1.00n"},    {1e-12, "0.00n", "1.00p"},   {1e-15, "0.00p", "0.0"},
    };
    for (auto [bound, at, below] : rows) {
        SCOPED_TRACE(bound);
        EXPECT_EQ(label(bound, 1), at);
        EXPECT_EQ(label(-bound, 1), std::string("-") + at);
        EXPECT_EQ(label(std::nextafter(bound, 0.0), 1), below);
        EXPECT_EQ(label(bound * 1.5, 1).back(), std::string(at).back());
    }
}


TEST(KInteger, snappingAndParsing) {
    // Ties go toward zero; a step of zero or less counts as 1.
    const std::pair<int, int> cases[] = {
        {KInteger::floor(-7, 5), -10}, {KInteger::ceil(-7, 5), -5},  {KInteger::floor(7, 5), 5},
        {KInteger::ceil(7, 5), 10},    {KInteger::ceil(10, 5), 10},  {KInteger::nearest(7, 5), 5},
        {KInteger::nearest(8, 5), 10}, {KInteger::nearest(-8, 5), -10},
        {KInteger::nearest(-7, 5), -5}, {KInteger::nearest(5, 10), 0},
        {KInteger::nearest(-5, 10), 0}, {KInteger::floor(7, -3), 7}, {KInteger::ceil(7, -3), 7},
        {KInteger::floor(9, 0), 9},    {KInteger::valueOf(nullptr), 0}, {KInteger::valueOf(""), 0},
        {KInteger::valueOf("42abc"), 42}, {KInteger::parseInt("-13"), -13}};
    for (size_t i = 0; i < std::size(cases); ++i) EXPECT_EQ(cases[i].first, cases[i].second) << i;
    EXPECT_STREQ(KInteger(-5).toString().c_str(), "-5");
}
