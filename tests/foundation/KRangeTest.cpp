#include <gtest/gtest.h>

#include <cmath>
#include <set>
#include <string>
#include <tuple>
#include <utility>

#include <kalvo/kalvo.h>

namespace {
KRange gridded(double lo, double hi, bool snap, bool unitized = false) {
    KRange r(lo, hi);
    r.setUnitized(unitized);
    r.computeGrid(snap);
    return r;
}

using Limits = std::pair<double, double>;
Limits limits(const KRange& r) { return {r.getMinimum(), r.getMaximum()}; }
}  // namespace

TEST(KRange, gridExamples) {
    EXPECT_EQ(gridded(0, 7, true).getGrid(), 1.0);
    EXPECT_EQ(limits(gridded(0, 7, true)), Limits(0, 7));
    EXPECT_DOUBLE_EQ(gridded(0, 1.5, false).getGrid(), 0.2);
    EXPECT_EQ(gridded(0, 35, false).getGrid(), 5.0);
    EXPECT_EQ(limits(gridded(1.3, 36.2, true)), Limits(0, 40));
    KRange r = gridded(5, 5, false);
    EXPECT_DOUBLE_EQ(r.getMinimum(), 4.475);
    EXPECT_DOUBLE_EQ(r.getMaximum(), 5.5);
    r = gridded(0, 0, false);  // collapsed on zero stays collapsed
    EXPECT_EQ(limits(r), Limits(0, 0));
    EXPECT_GT(r.getGrid(), 0.0);
    r = gridded(1e-20, 3e-20, false);  // below 1e-15: widened by ten steps of 10^(k-2)
    EXPECT_DOUBLE_EQ(r.getMaximum(), 3e-20 + 1e-16);
    EXPECT_DOUBLE_EQ(r.getMinimum(), 1e-20 - 1e-16);
}

TEST(KRange, gridStepsAcrossMagnitudes) {
    const double mantissas[] = {1.0, 1.1, 1.5, 1.8, 2.0, 2.25, 2.5, 3.0, 4.5, 5.0, 7.0, 9.99};
    for (int e = -15; e <= 17; ++e) {
        for (double m : mantissas) {
            const double span = m * std::pow(10.0, e);
            for (double start : {0.0, -span / 3, 7 * span}) {
                SCOPED_TRACE(testing::Message() << "span " << span << " from " << start);
                KRange r = gridded(start, start + span, false);
                const double grid = r.getGrid();
                const double steps = (r.getMaximum() - r.getMinimum()) / grid;
                EXPECT_GE(steps, 4.49);
                EXPECT_LE(steps, 10.0 + 1e-9);
                // The step is 1, 2, 2.5 or 5 times a power of ten.
                const double mant = grid / std::pow(10.0, std::floor(std::log10(grid) + 1e-9));
                const bool nice = std::fabs(mant - 1) < 1e-9 || std::fabs(mant - 2) < 1e-9 ||
                                  std::fabs(mant - 2.5) < 1e-9 || std::fabs(mant - 5) < 1e-9;
                EXPECT_TRUE(nice) << "grid " << grid;
            }
        }
    }
    EXPECT_EQ(gridded(0, 1e18, false).getGrid(), 1e17);
}

TEST(KRange, timeSteps) {
    // The span, then the unit level and the grid chosen for it.
    const std::tuple<double, int, double> cases[] = {
        {60, 0, 1},           {61, 1, 60},          {3600, 1, 60},      {7200, 2, 3600},
        {86400, 2, 3600},     {86400 * 3, 3, 86400}, {86400 * 400, 4, 2592000},
        {86400.0 * 365 * 100, 5, 31104000}, {86400.0 * 365 * 10000, 5, 31104000},
    };
    for (auto [span, level, grid] : cases) {
        SCOPED_TRACE(span);
        KRange r = gridded(1000, 1000 + span, true, true);
        EXPECT_EQ(r.getUnitLevel(), level);
        EXPECT_EQ(r.getGrid(), grid);
        EXPECT_EQ(r.getMinimum(), 1000);  // time steps never snap
    }
    KRange second = gridded(0, 1, false, true);  // under a minute: decimal steps
    EXPECT_EQ(second.getUnitLevel(), 0);
    EXPECT_DOUBLE_EQ(second.getGrid(), 0.1);
    KRange snap = gridded(0, 7200, false, true);
    snap.setLimits(10, 7000);
    snap.snapToGrid();  // unitized ranges do not snap
    EXPECT_EQ(snap.getMinimum(), 10);
}

TEST(KRange, limitsZoomAndSnap) {
    KRange r(0, 4);
    r.setMinAperture(1);
    EXPECT_FALSE(r.setLimits(0, 0.5));
    EXPECT_EQ(r.getMaximum(), 4.0);
    EXPECT_TRUE(r.setLimits(9, 3 + 7));
    EXPECT_TRUE(r.setLimits(0, 4));
    r.expandLimits();
    EXPECT_EQ(limits(r), Limits(-1, 5));
    r.setLimits(0, 8);
    r.compressLimits();
    EXPECT_EQ(limits(r), Limits(2, 6));
    r.setLimits(0, 1.5);
    r.compressLimits();  // would leave 0.75 < aperture 1: refused, nothing changes
    EXPECT_EQ(limits(r), Limits(0, 1.5));

    KRange s(1.3, 36.2);
    for (double grid : {5.0, -1.0, 0.0}) s.setGrid(grid);  // the last two are ignored
    EXPECT_EQ(s.getGrid(), 5.0);
    s.snapToGrid();
    EXPECT_EQ(limits(s), Limits(0, 40));
    KRange narrow(1.3, 4.2);
    narrow.setGrid(5);
    narrow.snapToGrid();  // the span is not larger than the grid
    EXPECT_EQ(narrow.getMinimum(), 1.3);

    KRange fixed(0.3, 77);
    fixed.setFixedGrid(true);
    fixed.computeGrid(true);
    EXPECT_EQ(fixed.getGrid(), 1.0);
    EXPECT_EQ(fixed.getMinimum(), 0.3);

    KRange broken(KDouble::NaN, 3);
    broken.computeGrid(true);
    EXPECT_EQ(broken.getGrid(), 0.1);
}

TEST(KRange, containsAndPanning) {
    KRange r(0, 10);
    EXPECT_TRUE(r.contains(10));
    EXPECT_FALSE(r.contains(KDouble::NaN));
    EXPECT_FALSE(r.contains(10.5));
    r.setGrid(5);
    r.containValue(25);
    EXPECT_EQ(limits(r), Limits(20, 30));
    r.containValue(-3);
    EXPECT_EQ(limits(r), Limits(-5, 5));
    r.containValue(KDouble::POSITIVE_INFINITY);
    EXPECT_EQ(r.getMinimum(), -5.0);

    KRange far(0, 10);
    far.setGrid(1);
    far.containValue(1e12);  // far away: still ends with the value at or just below the centre
    const double mid = (far.getMinimum() + far.getMaximum()) / 2;
    EXPECT_GE(mid, 1e12);
    EXPECT_LT(mid - 1, 1e12);
    EXPECT_DOUBLE_EQ(far.getRangeSize(), 10.0);
}

// The decimals that getPrecision gives make every tick of the grid read back as itself
// through the range labels, and no two ticks look alike.
TEST(KRange, precisionFitsTheGrid) {
    for (int e = -14; e <= 17; ++e) {
        for (double m : {1.0, 1.7, 2.4, 4.0, 6.5}) {
            for (double offset : {0.0, -0.4, 3.0}) {
                const double span = m * std::pow(10.0, e);
                KRange r = gridded(offset * span, offset * span + span, true);
                const int decimals = r.getPrecision();
                double divisor = 1.0;
                KDouble::getRangePrefix(r.getMinimum(), r.getMaximum(), divisor);
                std::set<std::string> seen;
                const int steps = static_cast<int>(std::lround(r.getRangeSize() / r.getGrid()));
                for (int i = 0; i <= steps; ++i) {
                    const double tick =
                        KRange::snapZero(r.getMinimum() + i * r.getGrid(), 4 - e);
                    const std::string text =
                        KDouble::toLabel(tick, decimals, r.getMinimum(), r.getMaximum()).c_str();
                    SCOPED_TRACE(testing::Message() << "span " << span << " tick " << tick << " "
                                                    << text << " decimals " << decimals);
                    EXPECT_TRUE(seen.insert(text).second);
                    EXPECT_NEAR(std::strtod(text.c_str(), nullptr) * divisor, tick,
                                r.getGrid() * 1e-6);
                }
            }
        }
    }
    EXPECT_EQ(gridded(0, 1.5, true).getPrecision(), 1);
    EXPECT_EQ(gridded(0, 35, true).getPrecision(), 0);
    EXPECT_EQ(gridded(-0.0021, 0.0187, true).getPrecision(), 4);
    EXPECT_EQ(gridded(0, 2.5e7, true).getPrecision(), 0);
}

TEST(KRange, snapZero) {
    EXPECT_EQ(KRange::snapZero(1e-17, 3), 0.0);
    EXPECT_FALSE(std::signbit(KRange::snapZero(-0.0, 3)));
    EXPECT_EQ(KRange::snapZero(0.001, 3), 0.001);
    EXPECT_EQ(KRange::snapZero(-0.0004, 3), 0.0);
    EXPECT_EQ(KRange::snapZero(40.0, -2), 0.0);  // tens of units are noise at -2
    EXPECT_EQ(KRange::snapZero(60.0, -2), 60.0);
    EXPECT_EQ(KRange::snapZero(2.0, 0), 2.0);
}

TEST(KRange, storedForm) {
    KRange r(-3, 12);
    r.setUnitized(true);
    r.setMinAperture(0.5);
    r.setBounds(20, -20);
    r.setFactor(2.5);
    r.computeGrid(false);
    KArchive out;
    r.writeObject(out);
    EXPECT_EQ(out.getBuffer().size(), 4 + 4 + 4 + 8 * 4 + 4 + 8 * 3u);
    KArchive in(out.getBuffer());
    KRange back;
    back.readObject(in);
    EXPECT_TRUE(back == r);
    Limits bounds;
    back.getBounds(bounds.first, bounds.second);
    EXPECT_EQ(bounds, Limits(-20, 20));

    std::vector<std::uint8_t> cut(out.getBuffer().begin(), out.getBuffer().end() - 3);
    KArchive truncated(cut);
    KRange other;
    EXPECT_THROW(other.readObject(truncated), KException);
}
