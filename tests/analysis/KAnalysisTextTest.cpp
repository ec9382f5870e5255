#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <random>
#include <string>

#include <kalvo/analysis/KAnalysisText.h>
#include <kalvo/foundation/KDouble.h>

namespace {

std::string printed(const char* format, double value, int decimals) {
    char text[400];
    std::snprintf(text, sizeof text, format, decimals, value);
    return text;
}

}  // namespace

// The table's numbers read as printf would print them, halves rounded to even included.
TEST(KAnalysisTextTest, NumbersReadAsPrintfPrintsThem) {
    EXPECT_STREQ(KAnalysisText::magnitude(5030.0).c_str(), "5.03K");
    EXPECT_STREQ(KAnalysisText::magnitude(200.0).c_str(), "200");
    EXPECT_STREQ(KAnalysisText::magnitude(0.0).c_str(), "0.00");
    EXPECT_STREQ(KAnalysisText::magnitude(KDouble::NaN).c_str(), "---");
    EXPECT_STREQ(KAnalysisText::magnitude(2.5, true, 0).c_str(), "2");
    EXPECT_STREQ(KAnalysisText::magnitude(0.125, true, 2).c_str(), "0.12");
    EXPECT_STREQ(KAnalysisText::angle(-119.5).c_str(), "- 120\xBA");
    EXPECT_STREQ(KAnalysisText::angle(0.5).c_str(), "+ 0\xBA");
    EXPECT_STREQ(KAnalysisText::angle(-0.2).c_str(), "- 0\xBA");
    EXPECT_STREQ(KAnalysisText::angle(INFINITY).c_str(), "---");

    std::mt19937 random(5);
    std::uniform_real_distribution<double> unit(-1.0, 1.0);
    for (int i = 0; i < 20000; ++i) {
        const double value = unit(random) * std::pow(10.0, (i % 19) - 9);
        const int decimals = i % 7;
        // With manual precision the number is the value over its prefix's divisor.
        double divisor = 1.0;
        const char prefix = KDouble::getRangePrefix(value, value, divisor);
        std::string expected = printed("%.*f", value / divisor, decimals);
        if (prefix != ' ' && value != 0.0) expected += prefix;
        ASSERT_EQ(KAnalysisText::magnitude(value, true, decimals).c_str(), expected) << value;
        const double degrees = unit(random) * 180.0;
        const std::string angle = std::string(degrees < 0 ? "- " : "+ ") +
                                  printed("%.*f", std::fabs(degrees), 0) +
                                  KAnalysisText::DEGREE_MARK;
        ASSERT_EQ(KAnalysisText::angle(degrees).c_str(), angle) << degrees;
    }
}
