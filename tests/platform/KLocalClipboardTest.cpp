#include <gtest/gtest.h>

#include <cstring>

#include <kalvo/kalvo.h>

TEST(KLocalClipboard, formatsAreNumberedByName) {
    KLocalClipboard clipboard;
    const unsigned a = clipboard.registerFormat("Kalvo Text");
    const unsigned b = clipboard.registerFormat("Rich Text Format");
    EXPECT_GE(a, KPlatformClipboard::FIRST_REGISTERED_FORMAT);
    EXPECT_NE(a, b);
    EXPECT_EQ(clipboard.registerFormat("KALVO TEXT"), a) << "names are matched ignoring case";
    EXPECT_EQ(clipboard.registerFormat(""), 0u);
    EXPECT_EQ(clipboard.registerFormat(nullptr), 0u);
    EXPECT_STREQ(clipboard.getFormatName(b).c_str(), "Rich Text Format");
    EXPECT_STREQ(clipboard.getFormatName(KPlatformClipboard::CF_TEXT).c_str(), "CF_TEXT");
    EXPECT_TRUE(clipboard.getFormatName(b + 1).isEmpty());
}

TEST(KLocalClipboard, dataOnlyWhileOpen) {
    KLocalClipboard clipboard;
    auto* owner = reinterpret_cast<HWND>(0x10);
    EXPECT_FALSE(clipboard.setData(KPlatformClipboard::CF_TEXT, "x", 2)) << "not open";
    EXPECT_FALSE(clipboard.empty());
    ASSERT_TRUE(clipboard.open(owner));
    EXPECT_FALSE(clipboard.open(nullptr)) << "one opener at a time";
    EXPECT_TRUE(clipboard.setData(KPlatformClipboard::CF_TEXT, "hello", 6));
    EXPECT_TRUE(clipboard.setData(KPlatformClipboard::CF_TEXT, "bye", 4)) << "replaces";
    EXPECT_FALSE(clipboard.setData(0, "x", 1));
    clipboard.close();

    size_t size = 0;
    char buffer[8] = {};
    EXPECT_TRUE(clipboard.isFormatAvailable(KPlatformClipboard::CF_TEXT));
    EXPECT_FALSE(clipboard.getDataSize(KPlatformClipboard::CF_TEXT, size)) << "closed";
    EXPECT_EQ(clipboard.getData(KPlatformClipboard::CF_TEXT, buffer, sizeof buffer), 0u);
    ASSERT_TRUE(clipboard.open(nullptr));
    ASSERT_TRUE(clipboard.getDataSize(KPlatformClipboard::CF_TEXT, size));
    EXPECT_EQ(size, 4u);
    EXPECT_EQ(clipboard.getData(KPlatformClipboard::CF_TEXT, buffer, 2), 2u);
    EXPECT_EQ(std::memcmp(buffer, "by", 2), 0);
    EXPECT_EQ(clipboard.getData(KPlatformClipboard::CF_TEXT, buffer, sizeof buffer), 4u);
    EXPECT_STREQ(buffer, "bye");
    EXPECT_TRUE(clipboard.empty());
    EXPECT_FALSE(clipboard.isFormatAvailable(KPlatformClipboard::CF_TEXT));
    clipboard.close();
}
