#include <gtest/gtest.h>

#include <set>
#include <string>

#include <kalvo/kalvo.h>

TEST(KResources, everyNamedBitmapAndCursorLoads) {
    for (const char* name : {"GRAPH_MARKERS", "SEVEN_SEGMENT", "LABEL_ICONS"}) {
        CBitmap bitmap;
        ASSERT_TRUE(bitmap.LoadBitmap(name)) << name;
        const KImageResource* image = KResources::findBitmap(name);
        ASSERT_NE(image, nullptr);
        EXPECT_EQ(bitmap.GetWidth(), image->width) << name;
        EXPECT_EQ(bitmap.GetHeight(), image->height) << name;
        // Every row has exactly the declared width, in known palette characters.
        for (int y = 0; y < image->height; ++y) {
            ASSERT_EQ(std::string(image->rows[y]).size(), static_cast<size_t>(image->width))
                << name << " row " << y;
            for (int x = 0; x < image->width; ++x)
                EXPECT_EQ(std::string(" .#skrgbynm").find(image->rows[y][x]) != std::string::npos,
                          true)
                    << name << " at " << x << "," << y;
        }
    }
    CBitmap markers;
    markers.LoadBitmap("graph_markers");  // names ignore case
    BITMAP info;
    ASSERT_EQ(markers.GetBitmap(&info), static_cast<int>(sizeof info));
    EXPECT_EQ(info.bmBitsPixel, 1);
    EXPECT_EQ(info.bmWidth, 22) << "two 11-pixel cells";
    EXPECT_EQ(info.bmHeight, 11);
    // Both cells have ink, and they differ (X and O).
    int inkX = 0, inkO = 0, differ = 0;
    for (int y = 0; y < 11; ++y)
        for (int x = 0; x < 11; ++x) {
            const bool a = markers.GetPixel(x, y) == 0, b = markers.GetPixel(11 + x, y) == 0;
            inkX += a;
            inkO += b;
            differ += a != b;
        }
    EXPECT_GT(inkX, 10);
    EXPECT_GT(inkO, 10);
    EXPECT_GT(differ, 10);

    std::set<std::string> cursors;
    for (int i = 0; i < KResources::getCursorCount(); ++i) {
        const KImageResource& c = KResources::getCursor(i);
        cursors.insert(c.name);
        EXPECT_GE(c.hotX, 0);
        EXPECT_LT(c.hotX, c.width);
        EXPECT_GE(c.hotY, 0);
        EXPECT_LT(c.hotY, c.height);
        for (int y = 0; y < c.height; ++y)
            EXPECT_EQ(std::string(c.rows[y]).size(), static_cast<size_t>(c.width)) << c.name;
    }
    EXPECT_EQ(cursors, (std::set<std::string>{"HAND_OPEN", "HAND_CLOSE", "HAND_POINT",
                                              "HORZ_APERTURE", "VERT_APERTURE",
                                              "COMPONENT_DRAG"}));
    EXPECT_EQ(KResources::findCursor("HAND_POINT")->pixel(0, 0), 0u) << "transparent corner";

    CBitmap unknown;
    EXPECT_FALSE(unknown.LoadBitmap("NO_SUCH_BITMAP"));
    EXPECT_EQ(unknown.GetSafeHandle(), nullptr);
    EXPECT_EQ(KResources::findBitmap(nullptr), nullptr);
}
