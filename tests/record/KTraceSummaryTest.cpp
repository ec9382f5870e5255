#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include <kalvo/record/KTraceSummary.h>

namespace {

KTraceSummary::Extremes direct(const std::vector<double>& y, int from, int to) {
    KTraceSummary::Extremes e{std::numeric_limits<double>::infinity(),
                              -std::numeric_limits<double>::infinity(), false};
    for (int i = std::max(from, 0); i < std::min<int>(to, y.size()); ++i) {
        if (!std::isfinite(y[i])) {
            e.gap = true;
            continue;
        }
        e.min = std::min(e.min, y[i]);
        e.max = std::max(e.max, y[i]);
    }
    return e;
}

}  // namespace

TEST(KTraceSummaryTest, ExtremesOfAnyStretchMatchAScan) {
    std::mt19937 random(7);
    std::normal_distribution<double> noise(0.0, 100.0);
    std::uniform_int_distribution<int> index(0, 99999);
    std::vector<double> y(100000);
    for (double& v : y) v = noise(random);
    y[777] = std::nan("");
    y[50000] = std::numeric_limits<double>::infinity();
    KTraceSummary summary;
    summary.build(nullptr, y.data(), static_cast<int>(y.size()));
    for (int k = 0; k < 2000; ++k) {
        int a = index(random), b = index(random);
        if (a > b) std::swap(a, b);
        if (k % 3 == 0) b = std::min(a + k % 200, 100000);  // short stretches too
        const auto want = direct(y, a, b);
        const auto got = summary.find(y.data(), a, b);
        ASSERT_EQ(got.min, want.min) << a << ".." << b;
        ASSERT_EQ(got.max, want.max) << a << ".." << b;
        ASSERT_EQ(got.gap, want.gap) << a << ".." << b;
    }
    // Stretches cut to the samples; an empty one holds nothing.
    EXPECT_EQ(summary.find(y.data(), -10, 100001).min, direct(y, 0, 100000).min);
    const auto empty = summary.find(y.data(), 5, 5);
    EXPECT_GT(empty.min, empty.max);
    // Under 5 % of the samples' own memory.
    EXPECT_LT(summary.getMemorySize(), y.size() * sizeof(double) / 20);
}

TEST(KTraceSummaryTest, NonFiniteSamplesAreLeftOutWhereverTheyFall) {
    // Each of NaN, +inf and -inf at every position of a stretch, which the samples are read
    // in steps of several at a time: the extremes are those of the finite ones around.
    const double kinds[] = {std::nan(""), std::numeric_limits<double>::infinity(),
                            -std::numeric_limits<double>::infinity()};
    for (double bad : kinds) {
        for (int at = 0; at < 19; ++at) {
            std::vector<double> y(19);
            for (int i = 0; i < 19; ++i) y[i] = (i * 37 % 19) - 9.5;
            y[at] = bad;
            KTraceSummary summary;
            summary.build(nullptr, y.data(), 19);
            for (int from = 0; from <= at; from += 3) {
                const auto want = direct(y, from, 19);
                const auto got = summary.find(y.data(), from, 19);
                ASSERT_EQ(got.min, want.min) << bad << " at " << at << " from " << from;
                ASSERT_EQ(got.max, want.max) << bad << " at " << at << " from " << from;
                ASSERT_TRUE(got.gap);
            }
        }
    }
}

TEST(KTraceSummaryTest, NotesWhetherTheDomainRunsForward) {
    const double y[] = {1, 2, 3, 4};
    const double forward[] = {0, 1, 1, 2};
    const double backward[] = {0, 2, 1, 3};
    const double broken[] = {0, 1, std::nan(""), 3};
    KTraceSummary s;
    s.build(forward, y, 4);
    EXPECT_TRUE(s.isDomainOrdered());
    s.build(backward, y, 4);
    EXPECT_FALSE(s.isDomainOrdered());
    s.build(broken, y, 4);
    EXPECT_FALSE(s.isDomainOrdered());
    // All non-finite: no extremes, and a gap.
    const double nan[] = {std::nan(""), std::nan("")};
    s.build(nullptr, nan, 2);
    const auto e = s.find(nan, 0, 2);
    EXPECT_TRUE(e.gap);
    EXPECT_GT(e.min, e.max);
    s.clear();
    EXPECT_TRUE(s.isEmpty());
}
