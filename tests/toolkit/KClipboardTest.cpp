#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <kalvo/kalvo.h>

namespace {

class CountingCursor : public KCursorService {
public:
    void beginWaitCursor() override { ++depth, ++shown; }
    void endWaitCursor() override { --depth; }
    int depth = 0;
    int shown = 0;
};

// A fresh clipboard and cursor for each test.
class KClipboardTest : public ::testing::Test {
protected:
    void SetUp() override {
        KPlatformClipboard::install(&clipboard);
        KCursorService::install(&cursor);
    }
    void TearDown() override {
        KPlatformClipboard::install(nullptr);
        KCursorService::install(nullptr);
    }

    std::string read(unsigned format) {
        unsigned long length = 0;
        if (KClipboard::getDataLength(format, &length, nullptr) != 1) return "<none>";
        std::vector<char> buffer(length);
        const int n = KClipboard::getData(format, buffer.data(), static_cast<int>(length), nullptr);
        return std::string(buffer.data(), static_cast<size_t>(n));
    }

    KLocalClipboard clipboard;
    CountingCursor cursor;
};

}  // namespace

TEST_F(KClipboardTest, textGoesUnderStandardAndOwnFormat) {
    const unsigned own = clipboard.registerFormat(KClipboard::FORMAT_NAME);
    ASSERT_EQ(KClipboard::setData("0.000000,1.000000\n", nullptr), 1);
    EXPECT_EQ(cursor.shown, 1);
    EXPECT_EQ(cursor.depth, 0);
    EXPECT_FALSE(clipboard.isOpen()) << "closed again";
    const std::string expected("0.000000,1.000000\n", 19);  // with its terminator
    EXPECT_EQ(read(KPlatformClipboard::CF_TEXT), expected);
    EXPECT_EQ(read(own), expected);

    // A new text replaces both.
    ASSERT_EQ(KClipboard::setData("", nullptr), 1);
    EXPECT_EQ(read(own), std::string(1, '\0'));
    EXPECT_EQ(KClipboard::setData(nullptr, nullptr), 0);
}

TEST_F(KClipboardTest, busyClipboardFailsAndEndsTheWaitCursor) {
    ASSERT_TRUE(clipboard.open(reinterpret_cast<HWND>(0x20)));
    EXPECT_EQ(KClipboard::setData("text", nullptr), 0);
    EXPECT_EQ(cursor.depth, 0);
    unsigned long length = 7;
    EXPECT_EQ(KClipboard::getDataLength(KPlatformClipboard::CF_TEXT, &length, nullptr), 0);
    EXPECT_EQ(length, 7u);
    clipboard.close();
}

TEST_F(KClipboardTest, readingOwnFormatFallsBackToPlainText) {
    // Text copied by another program is there only as plain text.
    ASSERT_TRUE(clipboard.open(nullptr));
    clipboard.setData(KPlatformClipboard::CF_TEXT, "1;2\n", 5);
    clipboard.close();
    const unsigned own = clipboard.registerFormat(KClipboard::FORMAT_NAME);
    EXPECT_EQ(read(own), std::string("1;2\n", 5));
    EXPECT_EQ(read(own + 1), "<none>") << "not a format of the list: no fallback";
    EXPECT_EQ(KClipboard::getDataLength(KPlatformClipboard::CF_TEXT, nullptr, nullptr), 0);
}
