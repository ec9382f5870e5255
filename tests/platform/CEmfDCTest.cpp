#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include <kalvo/kalvo.h>

namespace {

// An independent reading of the file: every record's type, size and body, as a player
// walks them, with the checks a player makes on the way.
struct Record {
    std::uint32_t type;
    std::uint32_t size;
    std::size_t offset;
};

std::uint32_t u32(const std::string& b, std::size_t at) {
    std::uint32_t v = 0;
    for (int i = 3; i >= 0; --i) v = v << 8 | static_cast<unsigned char>(b[at + i]);
    return v;
}
int i32(const std::string& b, std::size_t at) {
    return static_cast<int>(u32(b, at));
}

struct Parsed {
    std::string bytes;
    std::vector<Record> records;
    CRect bounds;  // inclusive, as stored

    int count(std::uint32_t type) const { return static_cast<int>(all(type).size()); }
    std::vector<const Record*> all(std::uint32_t type) const {
        std::vector<const Record*> out;
        for (const Record& r : records)
            if (r.type == type) out.push_back(&r);
        return out;
    }
    // Fields of a record, by their byte offset in it.
    std::uint32_t u(const Record& r, std::size_t at) const { return u32(bytes, r.offset + at); }
    int i(const Record& r, std::size_t at) const { return i32(bytes, r.offset + at); }
    CPoint point(const Record& r, std::size_t at) const { return CPoint(i(r, at), i(r, at + 4)); }
};

Parsed parse(const std::string& b) {
    Parsed p;
    p.bytes = b;
    EXPECT_GE(b.size(), 108u);
    EXPECT_EQ(u32(b, 0), 1u) << "the first record is the header";
    EXPECT_EQ(u32(b, 40), 0x464D4520u) << "signature";
    EXPECT_EQ(u32(b, 48), b.size()) << "the header's byte count is the file's size";
    p.bounds = CRect(i32(b, 8), i32(b, 12), i32(b, 16), i32(b, 20));
    std::size_t at = 0;
    while (at + 8 <= b.size()) {
        const Record r{u32(b, at), u32(b, at + 4), at};
        EXPECT_EQ(r.size % 4, 0u) << "record " << r.type << " at " << at;
        if (r.size < 8 || at + r.size > b.size()) {
            ADD_FAILURE() << "record " << r.type << " at " << at << " runs past the end";
            break;
        }
        p.records.push_back(r);
        at += r.size;
    }
    EXPECT_EQ(at, b.size());
    EXPECT_EQ(u32(b, 52), p.records.size()) << "the header's record count";
    EXPECT_EQ(p.records.back().type, 14u) << "the last record is the end of file";
    EXPECT_EQ(p.records.back().size, 20u);
    return p;
}

// Record types, as the format numbers them.
constexpr std::uint32_t POLYGON = 3, POLYLINE = 4, SETWINDOWORGEX = 10, SETPIXELV = 15,
                        SETBKMODE = 18, MOVETOEX = 27, INTERSECTCLIPRECT = 30, SAVEDC = 33,
                        RESTOREDC = 34, SELECTOBJECT = 37, CREATEPEN = 38, CREATEBRUSH = 39,
                        ELLIPSE = 42, RECTANGLE = 43, ARC = 45, CHORD = 46, PIE = 47, LINETO = 54,
                        STRETCHDIBITS = 81, CREATEFONT = 82, EXTTEXTOUTW = 84,
                        CREATEPATTERNBRUSH = 94;

// The UTF-16 text of an EXTTEXTOUTW record.
std::u16string textOf(const Parsed& p, const Record& r) {
    const std::size_t at = r.offset + p.u(r, 48);
    std::u16string s;
    for (std::uint32_t i = 0; i < p.u(r, 44); ++i)
        s += static_cast<char16_t>(u32(p.bytes, at + 2 * i) & 0xFFFF);
    return s;
}

}  // namespace

TEST(CEmfDC, everyKindOfDrawingBecomesItsRecord) {
    CEmfDC dc(CSize(200, 100));
    dc.SelectObject(CPen(PS_SOLID, 1, RGB(255, 0, 0)));
    dc.MoveTo(10, 10);
    dc.LineTo(50, 10);
    const POINT pts[] = {{0, 0}, {5, 5}, {10, 0}};
    dc.Polyline(pts, 3);
    dc.Polygon(pts, 3);
    dc.Rectangle(20, 20, 40, 40);
    dc.Ellipse(20, 20, 40, 40);
    dc.Arc(CRect(0, 0, 20, 20), CPoint(20, 10), CPoint(0, 10));
    dc.Pie(CRect(0, 0, 20, 20), CPoint(20, 10), CPoint(0, 10));
    dc.Chord(CRect(0, 0, 20, 20), CPoint(20, 10), CPoint(0, 10));
    dc.SetPixelV(150, 90, RGB(0, 0, 255));
    dc.SelectObject(CFont("Arial", -12));
    dc.TextOut(60, 30, "U=230 kV \xce\xbc");  // "μ" is two bytes in UTF-8, one unit in UTF-16
    const Parsed p = parse(dc.ToEMF());

    // One record of each, the red pen created once; sizes fixed by the format (0: not fixed).
    const struct {
        std::uint32_t type, size;
    } expected[] = {{LINETO, 0},      {MOVETOEX, 0},    {POLYLINE, 28 + 3 * 8},
                    {POLYGON, 0},     {RECTANGLE, 24},  {ELLIPSE, 0},
                    {ARC, 40},        {PIE, 0},         {CHORD, 0},
                    {SETPIXELV, 20},  {EXTTEXTOUTW, 0}, {CREATEPEN, 28},
                    {CREATEFONT, 104}};
    for (const auto& e : expected) {
        ASSERT_EQ(p.count(e.type), 1) << "record type " << e.type;
        if (e.size) EXPECT_EQ(p.all(e.type)[0]->size, e.size) << "record type " << e.type;
    }
    EXPECT_EQ(p.records[0].size, 108u);

    // The line's coordinates and the text as UTF-16.
    EXPECT_EQ(p.point(*p.all(LINETO)[0], 8), CPoint(50, 10));
    EXPECT_EQ(textOf(p, *p.all(EXTTEXTOUTW)[0]), u"U=230 kV \u03bc");
    // The header's bounds cover everything drawn, from the shapes at the origin to the pixel.
    EXPECT_EQ(p.bounds.TopLeft(), CPoint(0, 0));
    EXPECT_EQ(p.bounds.BottomRight(), CPoint(150, 90));
}

TEST(CEmfDC, objectsAreCreatedOncePerValueAndSelectedByHandle) {
    CEmfDC dc(CSize(100, 100));
    const CPen red(PS_SOLID, 1, RGB(255, 0, 0));
    const CPen blue(PS_DASH, 1, RGB(0, 0, 255));
    for (int i = 0; i < 3; ++i) {
        dc.SelectObject(red);
        dc.Rectangle(0, 0, 10, 10);
        dc.SelectObject(blue);
        dc.Rectangle(0, 0, 10, 10);
    }
    dc.SelectObject(CBrush(HS_CROSS, RGB(0, 128, 0)));
    dc.Rectangle(0, 0, 10, 10);
    dc.FillSolidRect(CRect(5, 5, 15, 15), RGB(1, 2, 3));
    const Parsed p = parse(dc.ToEMF());
    EXPECT_EQ(p.count(CREATEPEN), 2);
    EXPECT_EQ(p.count(CREATEBRUSH), 2) << "the hatch brush and the fill's solid brush";
    EXPECT_EQ(p.count(RECTANGLE), 8);
    // Six pen changes, the hatch brush, and the fill's null pen and solid brush.
    EXPECT_EQ(p.count(SELECTOBJECT), 6 + 1 + 2);
    // The fill is a rectangle without outline grown by one to cover its last row and column.
    EXPECT_EQ(p.point(*p.all(RECTANGLE).back(), 16), CPoint(16, 16));
    EXPECT_GE(u32(p.bytes, 56), 5u) << "handle table: four objects and the reserved slot";
}

TEST(CEmfDC, clipNarrowsInPlaceAndWidensThroughASavedState) {
    CEmfDC dc(CSize(100, 100));
    dc.IntersectClipRect(10, 10, 90, 90);
    dc.Rectangle(0, 0, 100, 100);
    dc.IntersectClipRect(20, 20, 30, 30);  // narrower: no restore
    dc.Rectangle(0, 0, 100, 100);
    dc.SelectClipRgn(nullptr);  // wider: back to the saved state
    dc.SetPixelV(95, 95, 0);
    const Parsed p = parse(dc.ToEMF());
    EXPECT_EQ(p.count(SAVEDC), 1);
    EXPECT_EQ(p.count(INTERSECTCLIPRECT), 2);
    EXPECT_EQ(p.count(RESTOREDC), 1);
    const Record& second = *p.all(INTERSECTCLIPRECT)[1];
    EXPECT_EQ(p.i(second, 8), 20);
    EXPECT_EQ(p.i(second, 20), 30);
    // The clipped rectangles reach only the first clip; the pixel lies outside it.
    EXPECT_EQ(p.bounds.left, 10);
    EXPECT_EQ(p.bounds.right, 95);
}

TEST(CEmfDC, drawTextWritesEachLineClippedToItsRectangle) {
    CEmfDC dc(CSize(200, 100));
    dc.SelectObject(CFont("Arial", -12));
    dc.SetTextAlign(TA_BASELINE);  // DrawText ignores it; its lines are placed by their tops
    CRect box(10, 10, 190, 90);
    dc.DrawText("first\nsecond", &box, DT_CENTER);
    const Parsed p = parse(dc.ToEMF());
    ASSERT_EQ(p.count(EXTTEXTOUTW), 2);
    const Record& second = *p.all(EXTTEXTOUTW)[1];
    EXPECT_EQ(textOf(p, second), u"second");
    EXPECT_EQ(p.u(second, 52), 4u) << "clipped to the rectangle";
    EXPECT_EQ(p.i(second, 56), 10);
    EXPECT_GT(p.i(second, 40), 10) << "the second line lies below the first";
    // The advances add up to the measured width of the line.
    int sum = 0;
    for (int i = 0; i < 6; ++i) sum += p.i(second, p.u(second, 72) + 4 * i);
    EXPECT_EQ(sum, dc.GetTextExtent("second").cx);
}

TEST(CEmfDC, blitsAndPatternBrushesCarryTheirPixels) {
    CEmfDC dc(CSize(50, 50));
    CBitmap bitmap;
    ASSERT_TRUE(bitmap.CreateBitmap(3, 2, 1, 32, nullptr));
    bitmap.SetPixel(0, 0, RGB(255, 0, 0));
    std::unique_ptr<CDC> memory(dc.CreateCompatibleDC());
    memory->SelectObject(bitmap);
    dc.BitBlt(5, 6, 3, 2, memory.get(), 0, 0, SRCCOPY);
    CBrush pattern;
    ASSERT_TRUE(pattern.CreatePatternBrush(&bitmap));
    dc.SelectObject(pattern);
    dc.Rectangle(0, 0, 8, 8);
    const Parsed p = parse(dc.ToEMF());
    ASSERT_EQ(p.count(STRETCHDIBITS), 1);
    const Record& blit = *p.all(STRETCHDIBITS)[0];
    EXPECT_EQ(blit.size, 80u + 40 + 3 * 2 * 4);
    // Bottom-up rows: the red top-left pixel is the first of the last row.
    EXPECT_EQ(p.u(blit, p.u(blit, 56) + 3 * 4), 0x00FF0000u);
    EXPECT_EQ(p.count(CREATEPATTERNBRUSH), 1);
    EXPECT_EQ(p.all(CREATEPATTERNBRUSH)[0]->size, 32u + 40 + 8 * 8 * 4);
}

TEST(CEmfDC, emptyPictureHasHeaderAndEndOnly) {
    const Parsed p = parse(CEmfDC(CSize(10, 10)).ToEMF());
    EXPECT_EQ(p.records.size(), 2u);
    EXPECT_EQ(p.bounds, CRect(0, 0, -1, -1)) << "nothing drawn";
}

// Players differ on where the current position is once the coordinates change, so a line
// drawn after such a change moves to its start explicitly; an opaque hatch gets its
// background as a fill of its own under a transparent hatch.
TEST(CEmfDC, linesAfterAnOriginChangeAndOpaqueHatchesSpellEverythingOut) {
    CEmfDC dc(CSize(100, 100));
    dc.MoveTo(2, 2);
    dc.LineTo(6, 2);
    dc.LineTo(6, 6);  // continues from where the last line ended: no move
    dc.SetWindowOrg(-10, -10);
    dc.LineTo(8, 8);  // the same logical position, but the origin moved
    dc.SetBkMode(OPAQUE);
    dc.SetBkColor(RGB(0, 0, 200));
    const CBrush hatch(HS_CROSS, RGB(255, 255, 255));
    dc.FillRect(CRect(20, 20, 30, 30), &hatch);
    const Parsed p = parse(dc.ToEMF());
    EXPECT_EQ(p.count(LINETO), 3);
    ASSERT_EQ(p.count(SETWINDOWORGEX), 1);
    EXPECT_EQ(p.point(*p.all(SETWINDOWORGEX)[0], 8), CPoint(-10, -10));
    ASSERT_EQ(p.count(MOVETOEX), 2);
    EXPECT_EQ(p.point(*p.all(MOVETOEX)[1], 8), CPoint(6, 6));
    const auto fills = p.all(RECTANGLE);
    ASSERT_EQ(fills.size(), 2u);
    // Opaque is the player's default; the switch to transparent sits between the fills.
    const auto modes = p.all(SETBKMODE);
    ASSERT_EQ(modes.size(), 1u);
    EXPECT_EQ(p.u(*modes[0], 8), static_cast<std::uint32_t>(TRANSPARENT));
    EXPECT_GT(modes[0]->offset, fills[0]->offset);
    EXPECT_LT(modes[0]->offset, fills[1]->offset);
}
