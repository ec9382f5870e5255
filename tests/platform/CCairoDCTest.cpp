#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include <pango/pangocairo.h>

#include <kalvo/kalvo.h>

namespace {

constexpr COLORREF WHITE = RGB(255, 255, 255);
constexpr COLORREF BLACK = RGB(0, 0, 0);
constexpr COLORREF RED = RGB(255, 0, 0);

std::unique_ptr<CCairoDC> image(int w, int h) {
    return std::unique_ptr<CCairoDC>(CCairoDC::CreateImage(w, h));
}

// The pixels of a small image as text rows: '#' for the given colour, '.' for white, '?'
// for anything else.
std::string picture(CDC& dc, COLORREF ink = BLACK) {
    std::string s;
    const CSize size = dc.GetDeviceSize();
    for (int y = 0; y < size.cy; ++y) {
        for (int x = 0; x < size.cx; ++x) {
            const COLORREF c = dc.GetPixel(x, y);
            s += c == ink ? '#' : c == WHITE ? '.' : '?';
        }
        s += '\n';
    }
    return s;
}

// How many pixels have the given colour, and the box around them (inclusive).
int countInk(CDC& dc, COLORREF ink, CRect* box = nullptr) {
    int n = 0;
    CRect around(INT_MAX, INT_MAX, -1, -1);
    const CSize size = dc.GetDeviceSize();
    for (int y = 0; y < size.cy; ++y)
        for (int x = 0; x < size.cx; ++x)
            if (dc.GetPixel(x, y) == ink) {
                ++n;
                around = CRect(std::min<int>(around.left, x), std::min<int>(around.top, y),
                               std::max<int>(around.right, x), std::max<int>(around.bottom, y));
            }
    if (box) *box = around;
    return n;
}

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

}  // namespace

TEST(CCairoDC, linesLeaveOutTheirEndPixel) {
    auto dc = image(6, 4);
    dc->MoveTo(0, 0);
    dc->LineTo(4, 0);  // pixels 0..3
    dc->MoveTo(5, 3);
    dc->LineTo(5, 0);  // upward: 3, 2, 1
    dc->MoveTo(0, 1);
    dc->LineTo(2, 3);  // diagonal: (0,1), (1,2)
    EXPECT_EQ(picture(*dc),
              "####..\n"
              "#....#\n"
              ".#...#\n"
              ".....#\n");
    EXPECT_EQ(dc->GetCurrentPosition(), CPoint(2, 3));
}

TEST(CCairoDC, rectangleOutlineAndFillStayInsideRightAndBottom) {
    auto dc = image(7, 6);
    dc->SelectObject(CPen(PS_SOLID, 1, BLACK));
    dc->SelectObject(CBrush(RED));
    dc->Rectangle(1, 1, 6, 5);
    EXPECT_EQ(picture(*dc),
              ".......\n"
              ".#####.\n"
              ".#???#.\n"
              ".#???#.\n"
              ".#####.\n"
              ".......\n");
    EXPECT_EQ(dc->GetPixel(3, 2), RED);

    auto fill = image(4, 3);
    const CBrush black(BLACK);
    fill->FillRect(CRect(1, 1, 3, 3), &black);
    EXPECT_EQ(picture(*fill), "....\n.##.\n.##.\n");
}

TEST(CCairoDC, xorLineDrawnTwiceRestoresThePicture) {
    auto dc = image(40, 30);
    dc->SelectObject(CBrush(RGB(10, 120, 200)));
    dc->Ellipse(2, 2, 38, 28);
    dc->TextOut(3, 8, "XOR");
    const CBitmap before = dc->GetPixelSource().Copy();

    dc->SetROP2(R2_XORPEN);
    dc->SelectObject(CPen(PS_SOLID, 0, RGB(255, 255, 255)));
    for (int pass = 0; pass < 2; ++pass) {
        dc->MoveTo(0, 0);
        dc->LineTo(39, 29);
        dc->MoveTo(0, 15);
        dc->LineTo(40, 15);
        dc->Rectangle(5, 5, 30, 20);
        if (pass == 0) EXPECT_NE(dc->GetPixel(0, 15), before.GetPixel(0, 15));
    }
    for (int i = 0; i < 40 * 30; ++i)
        ASSERT_EQ(dc->GetPixel(i % 40, i / 40), before.GetPixel(i % 40, i / 40)) << "pixel " << i;
}

TEST(CCairoDC, everyHatchStyleDrawsItsPatternOverTheBackground) {
    const char* expected[] = {
        "########\n........\n........\n........\n",  // horizontal
        "#.......\n#.......\n#.......\n#.......\n",  // vertical
        "#.......\n.#......\n..#.....\n...#....\n",  // forward diagonal
        ".......#\n......#.\n.....#..\n....#...\n",  // backward diagonal
        "########\n#.......\n#.......\n#.......\n",  // cross
        "#......#\n.#....#.\n..#..#..\n...##...\n",  // diagonal cross
    };
    for (int style = HS_HORIZONTAL; style <= HS_DIAGCROSS; ++style) {
        auto dc = image(8, 4);
        dc->SetBkMode(OPAQUE);
        dc->SetBkColor(WHITE);
        const CBrush hatch(style, BLACK);
        dc->FillRect(CRect(0, 0, 8, 4), &hatch);
        EXPECT_EQ(picture(*dc), expected[style]) << "hatch style " << style;
    }
    // Transparent background: the gaps keep what was there; the pattern follows the device
    // grid, not the rectangle.
    auto dc = image(8, 2);
    dc->FillSolidRect(CRect(0, 0, 8, 2), RED);
    dc->SetBkMode(TRANSPARENT);
    const CBrush hatch(HS_VERTICAL, BLACK);
    dc->FillRect(CRect(1, 0, 8, 2), &hatch);
    EXPECT_EQ(dc->GetPixel(0, 0), RED);
    EXPECT_EQ(dc->GetPixel(1, 0), RED);
    EXPECT_EQ(countInk(*dc, BLACK), 0);
    dc->FillRect(CRect(0, 0, 8, 2), &hatch);
    EXPECT_EQ(countInk(*dc, BLACK), 2);
    EXPECT_EQ(countInk(*dc, RED), 14);
}

// A clip cuts dashed lines along rows and columns without moving their pattern: the pixels
// inside it are those of the line drawn whole, whichever way it runs.
TEST(CCairoDC, clippedDashedLinesKeepTheirPattern) {
    const int styles[] = {PS_SOLID, PS_DOT, PS_DASH, PS_DASHDOT, PS_DASHDOTDOT};
    const CRect clips[] = {CRect(0, 0, 8, 100), CRect(13, 0, 14, 100), CRect(40, 40, 57, 61),
                           CRect(95, 0, 100, 3)};
    for (const int style : styles) {
        for (const bool opaque : {false, true}) {
            for (const CRect& clip : clips) {
                auto whole = image(100, 100), part = image(100, 100);
                for (CCairoDC* dc : {whole.get(), part.get()}) {
                    if (dc == part.get()) dc->IntersectClipRect(clip);
                    dc->SelectObject(CPen(style, 0, BLACK));
                    dc->SetBkMode(opaque ? OPAQUE : TRANSPARENT);
                    dc->SetBkColor(RED);
                    const CPoint lines[][2] = {
                        {CPoint(3, 50), CPoint(99, 50)},  {CPoint(97, 45), CPoint(-5, 45)},
                        {CPoint(50, 2), CPoint(50, 98)},  {CPoint(45, 98), CPoint(45, 1)},
                        {CPoint(13, 0), CPoint(13, 120)}, {CPoint(-20, 1), CPoint(140, 1)}};
                    for (const auto& line : lines) {
                        dc->MoveTo(line[0]);
                        dc->LineTo(line[1]);
                    }
                    dc->SelectClipRgn(nullptr);
                }
                int wrong = 0;
                for (int y = 0; y < 100; ++y)
                    for (int x = 0; x < 100; ++x)
                        wrong += part->GetPixel(x, y) !=
                                 (clip.PtInRect(CPoint(x, y)) ? whole->GetPixel(x, y) : WHITE);
                EXPECT_EQ(wrong, 0)
                    << "style " << style << " opaque " << opaque << " clip at " << clip.left;
            }
        }
    }
}

TEST(CCairoDC, dashedPensSkipPixelsAndFillGapsOnlyWhenOpaque) {
    auto dc = image(30, 2);
    dc->SelectObject(CPen(PS_DOT, 0, BLACK));
    dc->SetBkMode(TRANSPARENT);
    dc->MoveTo(0, 0);
    dc->LineTo(12, 0);
    EXPECT_EQ(picture(*dc).substr(0, 12), "###...###...");
    dc->SetBkMode(OPAQUE);
    dc->SetBkColor(RED);
    dc->MoveTo(0, 1);
    dc->LineTo(6, 1);
    EXPECT_EQ(dc->GetPixel(4, 1), RED);
    EXPECT_EQ(dc->GetPixel(1, 1), BLACK);
}

TEST(CCairoDC, originAndClipApplyToEveryOperation) {
    auto dc = image(10, 10);
    dc->SetWindowOrg(-2, -3);  // logical (0, 0) is device (2, 3)
    dc->SetPixelV(0, 0, BLACK);
    EXPECT_EQ(dc->GetPixel(0, 0), BLACK);
    EXPECT_EQ(dc->GetPixel(-2, -3), WHITE);

    dc->IntersectClipRect(0, 0, 3, 3);
    CRect box;
    dc->GetClipBox(&box);
    EXPECT_EQ(box, CRect(0, 0, 3, 3));
    const CBrush black(BLACK);
    dc->FillRect(CRect(-5, -5, 20, 20), &black);
    EXPECT_EQ(countInk(*dc, BLACK), 9) << "GetPixel outside the clip is invalid";
    dc->SelectClipRgn(nullptr);
    EXPECT_EQ(countInk(*dc, BLACK), 9);
    dc->SetWindowOrg(0, 0);
    EXPECT_EQ(dc->GetPixel(1, 2), WHITE);
    EXPECT_EQ(dc->GetPixel(2, 3), BLACK);
    EXPECT_EQ(dc->GetPixel(4, 5), BLACK);
    EXPECT_EQ(dc->GetPixel(5, 6), WHITE);
    EXPECT_FALSE(dc->RectVisible(CRect(10, 0, 20, 5)));
    EXPECT_TRUE(dc->RectVisible(CRect(9, 9, 20, 20)));
}

// Scrolling moves the pixels inside the area, in any direction and past its edges, and
// leaves every other pixel, and those it uncovers, as they were; clip and origin play no
// part. Surfaces without pixels refuse.
TEST(CCairoDC, scrollingMovesThePixelsOfTheAreaOnly) {
    constexpr int W = 40, H = 30;
    auto colourAt = [](int x, int y) { return RGB(x * 6, y * 8, (x + y) % 7 * 30); };
    const CRect area(5, 4, 33, 25);
    struct Move {
        int dx, dy;
    };
    for (const Move m : {Move{-7, 0}, Move{9, 0}, Move{0, 5}, Move{0, -3}, Move{3, -2},
                         Move{-4, 6}, Move{40, 0}, Move{0, -30}}) {
        auto dc = image(W, H);
        for (int y = 0; y < H; ++y)
            for (int x = 0; x < W; ++x) dc->SetPixelV(x, y, colourAt(x, y));
        dc->SetViewportOrg(3, 3);
        dc->IntersectClipRect(CRect(0, 0, 4, 4));
        ASSERT_TRUE(dc->ScrollDC(m.dx, m.dy, area));
        dc->SetViewportOrg(0, 0);
        dc->SelectClipRgn(nullptr);
        for (int y = 0; y < H; ++y)
            for (int x = 0; x < W; ++x) {
                const CPoint from(x - m.dx, y - m.dy);
                const bool moved = area.PtInRect(CPoint(x, y)) && area.PtInRect(from);
                ASSERT_EQ(dc->GetPixel(x, y), moved ? colourAt(from.x, from.y) : colourAt(x, y))
                    << "move " << m.dx << "," << m.dy << " at " << x << "," << y;
            }
    }
    std::string svg;
    std::unique_ptr<CCairoDC> vector(CCairoDC::CreateSVG(&svg, W, H));
    EXPECT_FALSE(vector->ScrollDC(1, 0, area));
}

TEST(CCairoDC, ellipsesAndArcsStayInTheirRectangle) {
    auto dc = image(22, 22);
    dc->SetAntialias(false);
    dc->SelectObject(CBrush::Stock(NULL_BRUSH));
    dc->Ellipse(1, 1, 21, 21);
    // Touches pixels 1 and 20 on each side, nothing outside, no shades between.
    EXPECT_EQ(dc->GetPixel(11, 11), WHITE) << "hollow brush";
    CRect box;
    EXPECT_EQ(countInk(*dc, BLACK, &box) + countInk(*dc, WHITE), 22 * 22);
    EXPECT_EQ(box, CRect(1, 1, 20, 20));
    // An arc from 3 o'clock counter-clockwise to 12 o'clock is the upper-right quarter.
    auto arc = image(22, 22);
    arc->SetAntialias(false);
    arc->Arc(CRect(1, 1, 21, 21), CPoint(30, 11), CPoint(11, -10));
    EXPECT_TRUE(arc->GetPixel(15, 2) == BLACK || arc->GetPixel(15, 3) == BLACK);
    EXPECT_EQ(countInk(*arc, BLACK, &box) + countInk(*arc, WHITE), 22 * 22);
    EXPECT_GE(box.left, 9);
    EXPECT_LT(box.bottom, 12);
}

TEST(CCairoDC, monochromeBlitsUseTextAndBackgroundColours) {
    // A 4x2 mask: black left half, white right half.
    const std::uint8_t bits[] = {0x30, 0, 0x30, 0};
    CBitmap mask;
    ASSERT_TRUE(mask.CreateBitmap(4, 2, 1, 1, bits));
    EXPECT_EQ(mask.GetPixel(0, 0), BLACK);
    EXPECT_EQ(mask.GetPixel(2, 0), WHITE);
    auto dc = image(4, 2);
    std::unique_ptr<CDC> memory(dc->CreateCompatibleDC());
    memory->SelectObject(mask);
    dc->SetTextColor(RED);
    dc->SetBkColor(RGB(0, 0, 255));
    EXPECT_TRUE(dc->BitBlt(0, 0, 4, 2, memory.get(), 0, 0, SRCCOPY));
    EXPECT_EQ(dc->GetPixel(0, 1), RED);
    EXPECT_EQ(dc->GetPixel(3, 1), RGB(0, 0, 255));
    // Stretching doubles every pixel.
    auto big = image(8, 4);
    big->SetTextColor(BLACK);
    big->StretchBlt(0, 0, 8, 4, memory.get(), 0, 0, 4, 2, SRCCOPY);
    EXPECT_EQ(picture(*big), "####....\n####....\n####....\n####....\n");
    // The recording backend's pixels cannot be read.
    CRecordingDC recording(CSize(4, 4));
    EXPECT_FALSE(dc->BitBlt(0, 0, 4, 2, &recording, 0, 0, SRCCOPY));
}

TEST(CCairoDC, textIsDrawnMeasuredAndCutWithEllipsis) {
    auto dc = image(200, 60);
    dc->SelectObject(CFont("Arial", -16));
    TEXTMETRIC tm;
    ASSERT_TRUE(dc->GetTextMetrics(&tm));
    EXPECT_EQ(tm.tmHeight, tm.tmAscent + tm.tmDescent);
    const CSize wide = dc->GetTextExtent("WWWW");
    EXPECT_GT(wide.cx, dc->GetTextExtent("iiii").cx);
    EXPECT_EQ(wide.cy, tm.tmHeight);
    EXPECT_EQ(dc->GetTextExtent("").cx, 0);

    dc->SetBkMode(TRANSPARENT);
    dc->SetTextColor(RED);
    dc->TextOut(5, 5, "Hello");
    CRect box;
    EXPECT_GT(countInk(*dc, RED, &box), 20);
    const CSize extent = dc->GetTextExtent("Hello");
    EXPECT_GE(box.left, 5);
    EXPECT_LT(box.right, 5 + extent.cx);
    EXPECT_GE(box.top, 5);
    EXPECT_LT(box.bottom, 5 + extent.cy);

    char text[64] = "A rather long line of text";
    CRect cut(0, 0, 60, 20);
    dc->DrawText(text, -1, &cut, DT_SINGLELINE | DT_END_ELLIPSIS | DT_MODIFYSTRING);
    const std::string shown(text);
    ASSERT_GT(shown.size(), 3u);
    EXPECT_EQ(shown.substr(shown.size() - 3), "...");
    EXPECT_LE(dc->GetTextExtent(text).cx, 60);

    CRect calc(10, 10, 10, 10);
    const int height = dc->DrawText("one\ntwo\nthree", &calc, DT_CALCRECT | DT_NOCLIP);
    EXPECT_EQ(height, 3 * tm.tmHeight);
    EXPECT_EQ(calc, CRect(10, 10, 10 + dc->GetTextExtent("three").cx, 10 + 3 * tm.tmHeight));

    // Tabs expand to the next multiple of eight characters.
    CRect tabs(0, 0, 0, 0);
    dc->DrawText("a\tb", &tabs, DT_CALCRECT | DT_SINGLELINE | DT_EXPANDTABS);
    EXPECT_EQ(tabs.Width(), dc->GetTextExtent("a       b").cx);
}

// Text on images is blended into the pixels from kept glyphs: it comes out as pango and
// cairo draw the same layout at the same place, to the pixel, in several fonts, scripts and
// colours, cut by clips, running off the image's edges, and over an opaque background.
TEST(CCairoDC, textOnImagesComesOutAsCairoDrawsIt) {
    constexpr int W = 260, H = 40;
    const CFont fonts[] = {CFont("Arial", -12), CFont("Arial", -17, 700),
                           CFont("Arial", -15, 400, true), CFont("Courier New", -13)};
    const char* texts[] = {"Mag", "+ 104\u00b0 -0.281", "Harmonics of Ia, Ib and Ic",
                           "AV fi ffl Wa", "\u00e6\u00f8\u00e5 \u00c4\u00d6\u00dc \u7535\u6d41 x"};
    struct Case {
        CPoint at;
        CRect clip;
        COLORREF ink, back;
    };
    const Case cases[] = {
        {CPoint(4, 6), CRect(0, 0, W, H), BLACK, WHITE},
        {CPoint(-7, -3), CRect(0, 0, W, H), RED, RGB(20, 40, 160)},
        {CPoint(10, 10), CRect(22, 12, 90, 21), RGB(0, 128, 0), RGB(255, 255, 200)},
        {CPoint(200, 25), CRect(0, 0, W, H), RGB(90, 90, 90), WHITE}};
    CTextLayoutCache& cache = CTextLayoutCache::forThread();
    for (const CFont& font : fonts) {
        for (const char* text : texts) {
            for (const Case& c : cases) {
                auto dc = image(W, H);
                dc->FillSolidRect(CRect(0, 0, W, H), c.back);
                dc->IntersectClipRect(c.clip);
                dc->SelectObject(font);
                dc->SetBkMode(TRANSPARENT);
                dc->SetTextColor(c.ink);
                dc->TextOut(c.at.x, c.at.y, text);
                dc->SelectClipRgn(nullptr);

                auto drawn = image(W, H);
                drawn->FillSolidRect(CRect(0, 0, W, H), c.back);
                CTextLayoutCache::Font& f = cache.font(font, 1.0);
                PangoLayout* layout = cache.layout(f, text).layout;
                cairo_t* cr = drawn->GetCairo();
                cairo_save(cr);
                cairo_rectangle(cr, c.clip.left, c.clip.top, c.clip.Width(), c.clip.Height());
                cairo_clip(cr);
                cairo_set_source_rgb(cr, GetRValue(c.ink) / 255.0, GetGValue(c.ink) / 255.0,
                                     GetBValue(c.ink) / 255.0);
                cairo_move_to(
                    cr, c.at.x,
                    c.at.y + f.getMetrics().tmAscent -
                        static_cast<double>(pango_layout_get_baseline(layout)) / PANGO_SCALE);
                pango_cairo_show_layout(cr, layout);
                cairo_restore(cr);

                int wrong = 0, inked = 0;
                for (int y = 0; y < H; ++y)
                    for (int x = 0; x < W; ++x) {
                        wrong += dc->GetPixel(x, y) != drawn->GetPixel(x, y);
                        inked += drawn->GetPixel(x, y) != c.back;
                    }
                EXPECT_EQ(wrong, 0) << text << " at " << c.at.x << "," << c.at.y;
                EXPECT_GT(inked, 10) << text;
            }
        }
    }
    // An opaque background goes under the text; underlined text (drawn by cairo) still shows.
    auto dc = image(W, H);
    dc->FillSolidRect(CRect(0, 0, W, H), WHITE);
    dc->SelectObject(fonts[0]);
    dc->SetBkMode(OPAQUE);
    dc->SetBkColor(RED);
    dc->SetTextColor(BLACK);
    dc->TextOut(5, 5, "Phase");
    const CSize extent = dc->GetTextExtent("Phase");
    EXPECT_EQ(dc->GetPixel(5, 5), RED);
    EXPECT_EQ(dc->GetPixel(5 + extent.cx - 1, 5 + extent.cy - 1), RED);
    int text = 0;
    for (int y = 5; y < 5 + extent.cy; ++y)
        for (int x = 5; x < 5 + extent.cx; ++x) text += dc->GetPixel(x, y) != RED;
    EXPECT_GT(text, 30);
    EXPECT_EQ(dc->GetPixel(4, 5), WHITE);
}

// Laid-out text is kept between paints, per font: the same string in fonts that differ only
// in size, underline or the device's scale is measured and drawn in its own font, also after
// the kept layouts were dropped, and a second device draws exactly what the first did.
TEST(CCairoDC, keptTextLayoutsBelongToTheirFont) {
    auto dc = image(300, 60);
    dc->SetBkMode(TRANSPARENT);
    dc->SetTextColor(RED);
    dc->FillSolidRect(CRect(0, 0, 300, 60), WHITE);
    const CFont small("Arial", -12), large("Arial", -24);
    CFont underlined;
    underlined.CreateFont(-24, 0, 0, 0, 400, 0, 1, 0, 0, 0, 0, 0, 0, "Arial");
    dc->SelectObject(small);
    const CSize smallSize = dc->GetTextExtent("Phase");
    dc->SelectObject(large);
    const CSize largeSize = dc->GetTextExtent("Phase");
    EXPECT_GT(largeSize.cx, smallSize.cx * 3 / 2);
    EXPECT_GT(largeSize.cy, smallSize.cy * 3 / 2);
    dc->SelectObject(small);
    EXPECT_EQ(dc->GetTextExtent("Phase"), smallSize);

    // Underlined ink reaches below the plain text's.
    CRect plainBox, underlinedBox;
    dc->SelectObject(large);
    dc->TextOut(5, 5, "Phase");
    countInk(*dc, RED, &plainBox);
    dc->FillSolidRect(CRect(0, 0, 300, 60), WHITE);
    dc->SelectObject(underlined);
    dc->TextOut(5, 5, "Phase");
    countInk(*dc, RED, &underlinedBox);
    EXPECT_GT(plainBox.Width(), 40);
    EXPECT_GE(underlinedBox.Width(), plainBox.Width() - 2);
    EXPECT_GT(underlinedBox.bottom, plainBox.bottom);

    // Twice the scale: the same logical size.
    auto scaled = image(600, 120);
    scaled->SetMapMode(MM_ANISOTROPIC);
    scaled->SetWindowExt(300, 60);
    scaled->SetViewportExt(600, 120);
    scaled->SelectObject(small);
    const CSize scaledSize = scaled->GetTextExtent("Phase");
    EXPECT_NEAR(scaledSize.cx, smallSize.cx, 2);
    EXPECT_NEAR(scaledSize.cy, smallSize.cy, 1);

    // More strings than are kept: the cache starts again and goes on measuring rightly.
    for (int i = 0; i <= CTextLayoutCache::MAX_LAYOUTS; ++i)
        dc->GetTextExtent(std::to_string(i).c_str());
    EXPECT_LT(CTextLayoutCache::forThread().getLayoutCount(), CTextLayoutCache::MAX_LAYOUTS);
    dc->SelectObject(small);
    EXPECT_EQ(dc->GetTextExtent("Phase"), smallSize);

    auto again = image(300, 60);
    again->SetBkMode(TRANSPARENT);
    again->SetTextColor(RED);
    again->SelectObject(underlined);
    again->TextOut(5, 5, "Phase");
    CRect againBox;
    countInk(*again, RED, &againBox);
    EXPECT_EQ(againBox, underlinedBox);
}

TEST(CCairoDC, vectorSurfacesWriteFiles) {
    const std::string dir = ::testing::TempDir();
    const std::string svg = dir + "/kalvo_cairo_test.svg", pdf = dir + "/kalvo_cairo_test.pdf";
    {
        std::unique_ptr<CCairoDC> dc(CCairoDC::CreateSVG(svg.c_str(), 50, 40));
        ASSERT_TRUE(dc);
        EXPECT_FALSE(dc->IsPrinting());
        dc->Rectangle(1, 1, 30, 20);
        dc->TextOut(2, 22, "svg");
        EXPECT_EQ(dc->GetPixel(1, 1), CLR_INVALID);
    }
    {
        std::unique_ptr<CCairoDC> dc(CCairoDC::CreatePDF(pdf.c_str(), 50, 40));
        ASSERT_TRUE(dc);
        EXPECT_TRUE(dc->IsPrinting());
        dc->Rectangle(1, 1, 30, 20);
        dc->EndPage();
        dc->Ellipse(1, 1, 30, 20);
        dc->EndPage();
    }
    EXPECT_NE(readFile(svg).substr(0, 256).find("<svg"), std::string::npos);
    const std::string content = readFile(pdf);
    EXPECT_EQ(content.substr(0, 5), "%PDF-");
    EXPECT_NE(content.find("/Count 2"), std::string::npos) << "two pages";
    EXPECT_EQ(CCairoDC::CreatePDF("/nonexistent/folder/x.pdf", 10, 10), nullptr);
}

TEST(CCairoDC, drawsOnAHostContextAndRestoresIt) {
    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, 20, 20);
    cairo_t* cr = cairo_create(surface);
    cairo_set_source_rgb(cr, 1, 1, 1);
    cairo_paint(cr);
    cairo_translate(cr, 5, 5);  // a host drawing area placed inside a larger surface
    cairo_rectangle(cr, 0, 0, 10, 10);
    cairo_clip(cr);
    cairo_set_source_rgb(cr, 0, 1, 0);
    {
        CCairoDC dc(cr);
        EXPECT_EQ(dc.GetDeviceSize(), CSize(10, 10));
        const CBrush red(RED);
        dc.FillRect(CRect(-5, -5, 30, 30), &red);  // the host's clip holds
        dc.MoveTo(0, 9);
        dc.LineTo(10, 9);
        dc.SetROP2(R2_XORPEN);  // not an image the context may write directly: a difference
        dc.SelectObject(CPen(PS_SOLID, 0, WHITE));
        dc.MoveTo(0, 0);
        dc.LineTo(10, 0);
    }
    double r, g, b, a;
    cairo_pattern_get_rgba(cairo_get_source(cr), &r, &g, &b, &a);
    EXPECT_EQ(g, 1.0) << "the host's source is back";
    cairo_destroy(cr);
    CBitmap pixels;
    pixels.Attach(surface, false);
    cairo_surface_destroy(surface);
    EXPECT_EQ(pixels.GetPixel(4, 4), WHITE);
    EXPECT_EQ(pixels.GetPixel(5, 6), RED);
    EXPECT_EQ(pixels.GetPixel(14, 13), RED);
    EXPECT_EQ(pixels.GetPixel(15, 15), WHITE);
    EXPECT_EQ(pixels.GetPixel(5, 14), BLACK);
    EXPECT_EQ(pixels.GetPixel(14, 14), BLACK);
    EXPECT_EQ(pixels.GetPixel(9, 5), RGB(0, 255, 255)) << "red inverted by the white pen";
}
