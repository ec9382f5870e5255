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
            const std::string row = image->rows[y];
            ASSERT_EQ(row.size(), static_cast<size_t>(image->width)) << name << " row " << y;
            EXPECT_EQ(row.find_first_not_of(" .#skrgbynm"), std::string::npos) << name << " " << y;
        }
    }
    CBitmap markers;
    markers.LoadBitmap("graph_markers");  // names ignore case
    BITMAP info;
    ASSERT_EQ(markers.GetBitmap(&info), static_cast<int>(sizeof info));
    EXPECT_EQ(info.bmBitsPixel, 1);
    EXPECT_EQ(info.bmWidth, 22) << "two 11-pixel cells";
    EXPECT_EQ(info.bmHeight, 11);

    std::set<std::string> cursors;
    for (int i = 0; i < KResources::getCursorCount(); ++i) {
        const KImageResource& c = KResources::getCursor(i);
        cursors.insert(c.name);
        EXPECT_TRUE(c.hotX >= 0 && c.hotX < c.width && c.hotY >= 0 && c.hotY < c.height) << c.name;
        for (int y = 0; y < c.height; ++y)
            EXPECT_EQ(std::string(c.rows[y]).size(), static_cast<size_t>(c.width)) << c.name;
    }
    EXPECT_EQ(cursors, (std::set<std::string>{"HAND_OPEN", "HAND_CLOSE", "HAND_POINT",
                                              "HORZ_APERTURE", "VERT_APERTURE", "COMPONENT_DRAG"}));
    EXPECT_EQ(KResources::findCursor("HAND_POINT")->pixel(0, 0), 0u) << "transparent corner";

    CBitmap unknown;
    EXPECT_FALSE(unknown.LoadBitmap("NO_SUCH_BITMAP"));
    EXPECT_EQ(unknown.GetSafeHandle(), nullptr);
    EXPECT_EQ(KResources::findBitmap(nullptr), nullptr);
}
