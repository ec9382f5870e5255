#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include <kalvo/kalvo.h>

namespace {

// Paints a red square with a black frame at (10, 10)-(20, 20), in its parent's coordinates.
class Square : public KPainter {
public:
    void paint(KGraphics& g) override {
        ++painted;
        g.setColor(RGB(255, 0, 0));
        g.fillRect(10, 10, 20, 20);
        g.setColor(RGB(0, 0, 0));
        g.drawRect(10, 10, 20, 20);
    }
    int painted = 0;
};

std::string read(const char* formatName) {
    KPlatformClipboard& clipboard = KPlatformClipboard::get();
    const unsigned format = clipboard.registerFormat(formatName);
    std::string bytes;
    if (!clipboard.open(nullptr)) return bytes;
    size_t size = 0;
    if (clipboard.getDataSize(format, size)) {
        bytes.resize(size);
        clipboard.getData(format, bytes.data(), size);
    }
    clipboard.close();
    return bytes;
}

}  // namespace

TEST(KClipboard, placesAPaintedAreaAsPngAndAsSvg) {
    KLocalClipboard clipboard;
    KPlatformClipboard::install(&clipboard);
    Square square;
    std::unique_ptr<CCairoDC> screen(CCairoDC::CreateImage(100, 100));
    ASSERT_EQ(KClipboard::setBitmap(CRect(5, 5, 25, 30), screen.get(), &square, nullptr), 1);
    EXPECT_EQ(square.painted, 1);
    EXPECT_EQ(screen->GetPixel(15, 15), RGB(255, 255, 255)) << "painted off-screen only";

    const std::string png = read(KClipboard::BITMAP_FORMAT_NAME);
    ASSERT_GT(png.size(), 8u);
    EXPECT_EQ(png.substr(1, 3), "PNG");
    const std::string path = ::testing::TempDir() + "kalvo_clipboard.png";
    std::ofstream(path, std::ios::binary) << png;
    cairo_surface_t* image = cairo_image_surface_create_from_png(path.c_str());
    std::remove(path.c_str());
    ASSERT_EQ(cairo_surface_status(image), CAIRO_STATUS_SUCCESS);
    CBitmap bitmap;
    bitmap.Attach(image, false);
    cairo_surface_destroy(image);
    EXPECT_EQ(bitmap.GetWidth(), 20);
    EXPECT_EQ(bitmap.GetHeight(), 25);
    EXPECT_EQ(bitmap.GetPixel(4, 4), RGB(255, 255, 255));
    EXPECT_EQ(bitmap.GetPixel(5, 5), RGB(0, 0, 0)) << "the frame's corner at (10, 10)";
    EXPECT_EQ(bitmap.GetPixel(8, 8), RGB(255, 0, 0));
    EXPECT_EQ(bitmap.GetPixel(15, 15), RGB(255, 255, 255));

    ASSERT_EQ(KClipboard::setMetaFile(CRect(5, 5, 25, 30), screen.get(), &square, nullptr), 1);
    EXPECT_EQ(square.painted, 2);
    const std::string svg = read(KClipboard::METAFILE_FORMAT_NAME);
    EXPECT_NE(svg.find("<svg"), std::string::npos);
    EXPECT_NE(svg.find("width=\"20px\" height=\"25px\""), std::string::npos) << svg.substr(0, 300);
    EXPECT_TRUE(read(KClipboard::BITMAP_FORMAT_NAME).empty()) << "the clipboard was emptied";

    EXPECT_EQ(KClipboard::setBitmap(CRect(0, 0, 10, 10), nullptr, nullptr, nullptr), 0);
    ASSERT_TRUE(clipboard.open(nullptr));  // someone else holds the clipboard
    EXPECT_EQ(KClipboard::setBitmap(CRect(0, 0, 10, 10), nullptr, &square, nullptr), 0);
    clipboard.close();
    KPlatformClipboard::install(nullptr);
}

// A component's picture: the whole component, whatever its place in its parent.
TEST(KClipboard, placesAComponentWhole) {
    KLocalClipboard clipboard;
    KPlatformClipboard::install(&clipboard);
    KPanel panel("panel");
    panel.setBounds(CRect(40, 30, 70, 50));
    ASSERT_EQ(KClipboard::setComponentPicture(&panel, false), 1);
    const std::string svg = read(KClipboard::METAFILE_FORMAT_NAME);
    EXPECT_NE(svg.find("width=\"30px\" height=\"20px\""), std::string::npos) << svg.substr(0, 300);
    ASSERT_EQ(KClipboard::setComponentPicture(&panel, true), 1);
    EXPECT_EQ(read(KClipboard::BITMAP_FORMAT_NAME).substr(1, 3), "PNG");
    EXPECT_EQ(KClipboard::setComponentPicture(nullptr, true), 0);
    KPlatformClipboard::install(nullptr);
}
