#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include <kalvo/kalvo.h>

// A view panned by whole columns, its ends added to as a pan adds (so that its span comes
// out a rounding apart), maps every time exactly that many columns over, ties between
// columns included; the view's first column tells how far it moved.
TEST(KColumnScaleTest, APanByWholeColumnsMovesEveryTimeAsFar) {
    std::mt19937 random(3);
    std::uniform_int_distribution<int> columns(-300, 300);
    const int width = 1709;
    for (const double rate : {3840.0, 4800.0, 1200.0, 1e6}) {
        // Samples at a round rate land on halves of columns all along.
        const double span = 2 * width / rate, bound = -0.1;
        double lo = 0.3, hi = lo + span;
        KColumnScale was(lo, hi, width, bound);
        for (int pan = 0; pan < 50; ++pan) {
            const int moved = columns(random);
            const double delta = moved * (hi - lo) / width;
            lo += delta;
            hi += delta;
            const KColumnScale now(lo, hi, width, bound);
            ASSERT_TRUE(now.isPanOf(was)) << rate << " pan " << pan;
            const double shift = was.getFirst() - now.getFirst();
            EXPECT_NEAR(shift, -moved, 1.0);
            for (int i = 0; i < 4000; ++i) {
                const double t = lo + (i - 1000) / rate;
                ASSERT_EQ(now.columnOf(t), was.columnOf(t) + shift) << rate << " pan " << pan << " t " << t;
            }
            was = now;
        }
    }
}

TEST(KColumnScaleTest, MapsTheViewOntoItsColumnsAndRefusesEmptyViews) {
    const KColumnScale view(2.0, 4.0, 100, -10.0);
    ASSERT_TRUE(view.isValid());
    EXPECT_EQ(view.columnOf(2.0), 0);
    EXPECT_EQ(view.columnOf(4.0), 100);
    EXPECT_EQ(view.columnOf(3.0), 50);
    EXPECT_EQ(view.columnOf(2.0 - 0.021), -1);
    EXPECT_EQ(view.getFirst(), 600);
    // Another span, or another origin, is not a pan of it.
    EXPECT_FALSE(KColumnScale(2.0, 4.5, 100, -10.0).isPanOf(view));
    EXPECT_FALSE(KColumnScale(2.0, 4.0, 100, -11.0).isPanOf(view));
    // An origin too far off to count columns from exactly gives way to the view's start.
    EXPECT_EQ(KColumnScale(1e9, 1e9 + 1e-6, 1000, 0.0).getFirst(), 0);
    for (const KColumnScale& bad : {KColumnScale(), KColumnScale(1.0, 1.0, 100, 0.0),
                                    KColumnScale(2.0, 1.0, 100, 0.0), KColumnScale(0.0, 1.0, 0, 0.0),
                                    KColumnScale(NAN, 1.0, 100, 0.0)}) {
        EXPECT_FALSE(bad.isValid());
        EXPECT_FALSE(bad.isPanOf(bad));
    }
    KRange range(5.0, 6.0);
    range.setBounds(1.0, 9.0);
    EXPECT_EQ(KColumnScale(range, 10).getFirst(), 40);
}
