#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <map>
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
    std::vector<Record> records;
    std::map<std::uint32_t, int> counts;
    CRect bounds;  // inclusive, as stored

    int count(std::uint32_t type) const {
        auto it = counts.find(type);
        return it == counts.end() ? 0 : it->second;
    }
    std::vector<const Record*> all(std::uint32_t type) const {
        std::vector<const Record*> out;
        for (const Record& r : records)
            if (r.type == type) out.push_back(&r);
        return out;
    }
};

Parsed parse(const std::string& b) {
    Parsed p;
    EXPECT_GE(b.size(), 108u);
    EXPECT_EQ(u32(b, 0), 1u) << "the first record is the header";
    EXPECT_EQ(u32(b, 40), 0x464D4520u) << "signature";
    EXPECT_EQ(u32(b, 48), b.size()) << "the header's byte count is the file's size";
    p.bounds = CRect(i32(b, 8), i32(b, 12), i32(b, 16), i32(b, 20));
    std::size_t at = 0;
    while (at + 8 <= b.size()) {
        const Record r{u32(b, at), u32(b, at + 4), at};
        EXPECT_EQ(r.size % 4, 0u) << "record " << r.type << " at " << at;
        EXPECT_GE(r.size, 8u);
        if (r.size < 8 || at + r.size > b.size()) {
            ADD_FAILURE() << "record " << r.type << " at " << at << " runs past the end";
            break;
        }
        p.records.push_back(r);
        ++p.counts[r.type];
        at += r.size;
    }
    EXPECT_EQ(at, b.size());
    EXPECT_EQ(u32(b, 52), p.records.size()) << "the header's record count";
    EXPECT_EQ(p.records.back().type, 14u) << "the last record is the end of file";
    EXPECT_EQ(p.records.back().size, 20u);
    return p;
}

// Record types, as the format numbers them.
enum : std::uint32_t {
    POLYGON = 3,
    POLYLINE = 4,
    SETWINDOWORGEX = 10,
    SETPIXELV = 15,
    SETBKMODE = 18,
    SETTEXTCOLOR = 24,
    MOVETOEX = 27,
    INTERSECTCLIPRECT = 30,
    SAVEDC = 33,
    RESTOREDC = 34,
    SELECTOBJECT = 37,
    CREATEPEN = 38,
    CREATEBRUSH = 39,
    ELLIPSE = 42,
    RECTANGLE = 43,
    ARC = 45,
    CHORD = 46,
    PIE = 47,
    LINETO = 54,
    STRETCHDIBITS = 81,
    CREATEFONT = 82,
    EXTTEXTOUTW = 84,
    CREATEPATTERNBRUSH = 94,
};

// The UTF-16 text of an EXTTEXTOUTW record.
std::u16string textOf(const std::string& b, const Record& r) {
    const std::uint32_t chars = u32(b, r.offset + 44);
    const std::uint32_t off = u32(b, r.offset + 48);
    std::u16string s;
    for (std::uint32_t i = 0; i < chars; ++i) {
        s += static_cast<char16_t>(static_cast<unsigned char>(b[r.offset + off + 2 * i]) |
                                   static_cast<unsigned char>(b[r.offset + off + 2 * i + 1]) << 8);
    }
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
    const std::string bytes = dc.ToEMF();
    const Parsed p = parse(bytes);

    EXPECT_EQ(p.count(LINETO), 1);
    EXPECT_EQ(p.count(MOVETOEX), 1);
    EXPECT_EQ(p.count(POLYLINE), 1);
    EXPECT_EQ(p.count(POLYGON), 1);
    EXPECT_EQ(p.count(RECTANGLE), 1);
    EXPECT_EQ(p.count(ELLIPSE), 1);
    EXPECT_EQ(p.count(ARC), 1);
    EXPECT_EQ(p.count(PIE), 1);
    EXPECT_EQ(p.count(CHORD), 1);
    EXPECT_EQ(p.count(SETPIXELV), 1);
    EXPECT_EQ(p.count(EXTTEXTOUTW), 1);
    EXPECT_EQ(p.count(CREATEPEN), 1) << "one red pen, created once";
    EXPECT_EQ(p.count(CREATEFONT), 1);

    // Sizes fixed by the format.
    EXPECT_EQ(p.records[0].size, 108u);
    EXPECT_EQ(p.all(RECTANGLE)[0]->size, 24u);
    EXPECT_EQ(p.all(ARC)[0]->size, 40u);
    EXPECT_EQ(p.all(POLYLINE)[0]->size, 28u + 3 * 8);
    EXPECT_EQ(p.all(CREATEPEN)[0]->size, 28u);
    EXPECT_EQ(p.all(CREATEFONT)[0]->size, 104u);
    EXPECT_EQ(p.all(SETPIXELV)[0]->size, 20u);

    // The line's coordinates and the text as UTF-16.
    const Record& line = *p.all(LINETO)[0];
    EXPECT_EQ(i32(bytes, line.offset + 8), 50);
    EXPECT_EQ(i32(bytes, line.offset + 12), 10);
    EXPECT_EQ(textOf(bytes, *p.all(EXTTEXTOUTW)[0]), u"U=230 kV \u03bc");

    // The header's bounds cover everything drawn, from the shapes at the origin to the pixel.
    EXPECT_EQ(p.bounds.left, 0);
    EXPECT_EQ(p.bounds.top, 0);
    EXPECT_EQ(p.bounds.right, 150);
    EXPECT_EQ(p.bounds.bottom, 90);
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
    const std::string bytes = dc.ToEMF();
    const Parsed p = parse(bytes);
    EXPECT_EQ(p.count(CREATEPEN), 2);
    EXPECT_EQ(p.count(CREATEBRUSH), 2) << "the hatch brush and the fill's solid brush";
    EXPECT_EQ(p.count(RECTANGLE), 8);
    // Six pen changes, the hatch brush, and the fill's null pen and solid brush.
    EXPECT_EQ(p.count(SELECTOBJECT), 6 + 1 + 2);
    // The fill is a rectangle without outline grown by one to cover its last row and column.
    const Record& fill = *p.all(RECTANGLE).back();
    EXPECT_EQ(i32(bytes, fill.offset + 16), 16);
    EXPECT_EQ(i32(bytes, fill.offset + 20), 16);
    EXPECT_GE(u32(bytes, 56), 5u) << "handle table: four objects and the reserved slot";
}

TEST(CEmfDC, clipNarrowsInPlaceAndWidensThroughASavedState) {
    CEmfDC dc(CSize(100, 100));
    dc.IntersectClipRect(10, 10, 90, 90);
    dc.Rectangle(0, 0, 100, 100);
    dc.IntersectClipRect(20, 20, 30, 30);  // narrower: no restore
    dc.Rectangle(0, 0, 100, 100);
    dc.SelectClipRgn(nullptr);  // wider: back to the saved state
    dc.SetPixelV(95, 95, 0);
    const std::string bytes = dc.ToEMF();
    const Parsed p = parse(bytes);
    EXPECT_EQ(p.count(SAVEDC), 1);
    EXPECT_EQ(p.count(INTERSECTCLIPRECT), 2);
    EXPECT_EQ(p.count(RESTOREDC), 1);
    const Record& second = *p.all(INTERSECTCLIPRECT)[1];
    EXPECT_EQ(i32(bytes, second.offset + 8), 20);
    EXPECT_EQ(i32(bytes, second.offset + 20), 30);
    // The clipped rectangles reach only the first clip; the pixel lies outside it.
    EXPECT_EQ(p.bounds.left, 10);
    EXPECT_EQ(p.bounds.right, 95);
}

TEST(CEmfDC, windowOriginMovesTheDrawingAndTheBounds) {
    CEmfDC dc(CSize(100, 100));
    dc.SetWindowOrg(-10, -20);
    dc.MoveTo(0, 0);
    dc.LineTo(5, 0);
    const std::string bytes = dc.ToEMF();
    const Parsed p = parse(bytes);
    ASSERT_EQ(p.count(SETWINDOWORGEX), 1);
    const Record& org = *p.all(SETWINDOWORGEX)[0];
    EXPECT_EQ(i32(bytes, org.offset + 8), -10);
    EXPECT_EQ(i32(bytes, org.offset + 12), -20);
    // The one-pixel line from device (10, 20) to (15, 20), with a pixel of pen margin.
    EXPECT_EQ(p.bounds, CRect(9, 19, 16, 21));
}

TEST(CEmfDC, drawTextWritesEachLineClippedToItsRectangle) {
    CEmfDC dc(CSize(200, 100));
    dc.SelectObject(CFont("Arial", -12));
    dc.SetTextAlign(TA_BASELINE);  // DrawText ignores it; its lines are placed by their tops
    CRect box(10, 10, 190, 90);
    dc.DrawText("first\nsecond", &box, DT_CENTER);
    const std::string bytes = dc.ToEMF();
    const Parsed p = parse(bytes);
    ASSERT_EQ(p.count(EXTTEXTOUTW), 2);
    const Record& second = *p.all(EXTTEXTOUTW)[1];
    EXPECT_EQ(textOf(bytes, second), u"second");
    EXPECT_EQ(u32(bytes, second.offset + 52), 4u) << "clipped to the rectangle";
    EXPECT_EQ(i32(bytes, second.offset + 56), 10);
    EXPECT_GT(i32(bytes, second.offset + 40), 10) << "the second line lies below the first";
    // The advances add up to the measured width of the line.
    const std::uint32_t offDx = u32(bytes, second.offset + 72);
    int sum = 0;
    for (int i = 0; i < 6; ++i) sum += i32(bytes, second.offset + offDx + 4 * i);
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
    const std::string bytes = dc.ToEMF();
    const Parsed p = parse(bytes);
    ASSERT_EQ(p.count(STRETCHDIBITS), 1);
    const Record& blit = *p.all(STRETCHDIBITS)[0];
    EXPECT_EQ(blit.size, 80u + 40 + 3 * 2 * 4);
    // Bottom-up rows: the red top-left pixel is the first of the last row.
    const std::size_t bits = blit.offset + u32(bytes, blit.offset + 56);
    EXPECT_EQ(u32(bytes, bits + 3 * 4), 0x00FF0000u);
    EXPECT_EQ(p.count(CREATEPATTERNBRUSH), 1);
    EXPECT_EQ(p.all(CREATEPATTERNBRUSH)[0]->size, 32u + 40 + 8 * 8 * 4);
}

TEST(CEmfDC, emptyPictureAndFiles) {
    CEmfDC dc(CSize(10, 10));
    const std::string bytes = dc.ToEMF();
    const Parsed p = parse(bytes);
    EXPECT_EQ(p.records.size(), 2u);
    EXPECT_EQ(p.bounds, CRect(0, 0, -1, -1)) << "nothing drawn";

    dc.Rectangle(1, 1, 5, 5);
    const std::string path = ::testing::TempDir() + "kalvo_emf_test.emf";
    ASSERT_TRUE(dc.Save(path.c_str()));
    std::ifstream in(path, std::ios::binary);
    const std::string saved((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    EXPECT_EQ(saved, dc.ToEMF());
    std::remove(path.c_str());
    EXPECT_FALSE(dc.Save("/nonexistent-folder/picture.emf"));
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
    const std::string bytes = dc.ToEMF();
    const Parsed p = parse(bytes);
    EXPECT_EQ(p.count(LINETO), 3);
    ASSERT_EQ(p.count(MOVETOEX), 2);
    const Record& second = *p.all(MOVETOEX)[1];
    EXPECT_EQ(i32(bytes, second.offset + 8), 6);
    EXPECT_EQ(i32(bytes, second.offset + 12), 6);
    const auto fills = p.all(RECTANGLE);
    ASSERT_EQ(fills.size(), 2u);
    // Opaque is the player's default; the switch to transparent sits between the fills.
    const auto modes = p.all(SETBKMODE);
    ASSERT_EQ(modes.size(), 1u);
    EXPECT_EQ(u32(bytes, modes[0]->offset + 8), static_cast<std::uint32_t>(TRANSPARENT));
    EXPECT_GT(modes[0]->offset, fills[0]->offset);
    EXPECT_LT(modes[0]->offset, fills[1]->offset);
}
