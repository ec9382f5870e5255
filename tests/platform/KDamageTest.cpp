#include <gtest/gtest.h>

#include <random>
#include <vector>

#include <kalvo/platform/KDamage.h>

namespace {

bool covered(const KDamage& damage, int x, int y) {
    for (const CRect& r : damage.getRects())
        if (r.PtInRect(CPoint(x, y))) return true;
    return false;
}

bool holds(const KDamage& damage, const CRect& rect) {
    for (const CRect& r : damage.getRects())
        if (r == rect) return true;
    return false;
}

}  // namespace

TEST(KDamageTest, FarApartAreasStayApartAndNearOnesMerge) {
    KDamage damage;
    EXPECT_TRUE(damage.isEmpty());
    EXPECT_TRUE(damage.getBounds().IsRectEmpty());
    damage.add(CRect(5, 5, 5, 40));  // empty: nothing
    EXPECT_TRUE(damage.isEmpty());
    // Two marker columns far apart and a table at the bottom: three areas.
    damage.add(CRect(100, 50, 103, 500));
    damage.add(CRect(700, 50, 703, 500));
    damage.add(CRect(0, 800, 1920, 1000));
    EXPECT_EQ(damage.getRects().size(), 3u);
    EXPECT_EQ(damage.getBounds(), CRect(0, 50, 1920, 1000));
    // The column a pixel on, and one inside another, merge into what is there.
    damage.add(CRect(101, 50, 104, 500));
    damage.add(CRect(10, 850, 20, 860));
    EXPECT_EQ(damage.getRects().size(), 3u);
    EXPECT_TRUE(holds(damage, CRect(100, 50, 104, 500)));
    EXPECT_TRUE(holds(damage, CRect(0, 800, 1920, 1000)));
    // Rectangles given backwards are normalised; touching halves become one.
    damage.add(CRect(1920, 1080, 0, 1000));
    EXPECT_EQ(damage.getRects().size(), 3u);
    EXPECT_TRUE(holds(damage, CRect(0, 800, 1920, 1080)));
    damage.clear();
    EXPECT_TRUE(damage.isEmpty());
}

TEST(KDamageTest, ManyAreasMergeDownToAFewAndNoPixelIsLost) {
    std::mt19937 random(11);
    std::uniform_int_distribution<int> at(0, 390), size(1, 40);
    for (int round = 0; round < 20; ++round) {
        KDamage damage;
        std::vector<CRect> added;
        for (int i = 0; i < 30; ++i) {
            const int x = at(random), y = at(random);
            added.emplace_back(x, y, x + size(random), y + size(random));
            damage.add(added.back());
            ASSERT_LE(damage.getRects().size(), static_cast<size_t>(KDamage::MAX_RECTS));
        }
        for (const CRect& r : added)
            for (int y = r.top; y < r.bottom; ++y)
                for (int x = r.left; x < r.right; ++x)
                    ASSERT_TRUE(covered(damage, x, y)) << x << "," << y;
    }
}

// Scrolling an area moves the damage in it along and damages what the move uncovers:
// every pixel that shows something stale afterwards is covered, and damage wholly inside
// the area no longer holds its old place.
TEST(KDamageTest, ScrollingMovesTheDamageAlongAndAddsWhatItUncovers) {
    KDamage pan;
    pan.add(CRect(100, 10, 110, 500));
    pan.scroll(CRect(50, 0, 950, 600), -30, 0);
    EXPECT_TRUE(holds(pan, CRect(70, 10, 80, 500)));
    EXPECT_TRUE(holds(pan, CRect(920, 0, 950, 600)));
    EXPECT_FALSE(covered(pan, 105, 20));

    std::mt19937 random(5);
    std::uniform_int_distribution<int> at(0, 150), size(1, 50), shift(-60, 60);
    for (int round = 0; round < 200; ++round) {
        KDamage damage;
        std::vector<CRect> added;
        for (int i = 0; i < 3; ++i) {
            const int x = at(random), y = at(random);
            added.emplace_back(x, y, x + size(random), y + size(random));
            damage.add(added.back());
        }
        const int ax = at(random), ay = at(random);
        const CRect area(ax, ay, ax + size(random) + 10, ay + size(random) + 10);
        const int dx = shift(random), dy = round % 3 == 0 ? shift(random) : 0;
        damage.scroll(area, dx, dy);
        auto stale = [&](int x, int y) {
            const CPoint p(x, y), from(x - dx, y - dy);
            CPoint source = area.PtInRect(p) ? from : p;
            if (area.PtInRect(p) && !area.PtInRect(from)) return true;  // uncovered
            for (const CRect& r : added)
                if (r.PtInRect(source)) return true;
            return false;
        };
        for (int y = 0; y < 250; ++y)
            for (int x = 0; x < 250; ++x)
                if (stale(x, y)) ASSERT_TRUE(covered(damage, x, y)) << round << ": " << x << "," << y;
    }
}
