#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "toolkit/ToolkitTestSupport.h"

namespace {

constexpr COLORREF RED = RGB(255, 0, 0);

// The drawing calls of a recording as text, one per call: "line 1,1 9,9", "ellipse 1,1 9,9
// hollow", "fill 1,1 9,9", "polygon 6,1 11,11 1,11".
std::vector<std::string> drawing(const CRecordingDC& dc) {
    auto xy = [](CPoint p) { return " " + std::to_string(p.x) + "," + std::to_string(p.y); };
    std::vector<std::string> out;
    for (const CRecordingDC::Entry& e : dc.GetEntries()) {
        const std::string box = xy(e.rect.TopLeft()) + xy(e.rect.BottomRight());
        if (e.call == CDC::Call::LineTo) {
            out.push_back("line" + xy(e.points[0]) + xy(e.points[1]));
        } else if (e.call == CDC::Call::Ellipse) {
            out.push_back("ellipse" + box + (e.state.brush.GetKind() == CBrush::HOLLOW ? " hollow" : " filled"));
        } else if (e.call == CDC::Call::FillRect) {
            out.push_back("fill" + box);
        } else if (e.call == CDC::Call::Polygon) {
            out.push_back("polygon");
            for (CPoint q : e.points) out.back() += xy(q);
        } else if (e.call >= CDC::Call::LineTo) {
            out.push_back("other");
        }
    }
    return out;
}

using Lines = std::vector<std::string>;

// What drawGlyph draws for the glyph in the rectangle, on the screen or when printing. The
// pen and brush the calls ran with are checked too: a solid pen of width 1 and a solid brush
// in the colour (the outlines switch the brush to hollow for the ellipse only).
Lines glyph(int index, CRect rect, bool printing) {
    CRecordingDC dc(CSize(200, 200));
    dc.SetPrinting(printing);
    KLabel label("l");
    label.setGlyph(index);
    KGraphics g(&dc);
    dc.Clear();
    label.drawGlyph(g, rect, RED);
    for (const CRecordingDC::Entry& e : dc.GetEntries()) {
        if (e.call < CDC::Call::LineTo) continue;
        EXPECT_EQ(e.state.pen, CPen(PS_SOLID, 1, RED)) << "glyph " << index;
        if (e.call != CDC::Call::Ellipse || index == KLabel::SOLID_CIRCLE) {
            EXPECT_EQ(e.state.brush, CBrush(RED)) << "glyph " << index;
        }
    }
    return drawing(dc);
}

// What painting the label records.
std::unique_ptr<CRecordingDC> painted(KLabel& label) {
    auto dc = std::make_unique<CRecordingDC>(CSize(200, 100));
    KGraphics g(dc.get());
    label.paint(g);
    return dc;
}

// The width of the text in the label font.
int textWidth(const char* text) {
    CRecordingDC m(CSize(1, 1));
    m.SelectObject(KLabel::getLabelFont());
    return m.GetTextExtent(text).cx;
}

}  // namespace

TEST(KLabel, descriptionGlyphNamesAndRefusedSettings) {
    KLabel label("volts");
    label.setText("230 kV");
    label.setLocation(3, 4);
    EXPECT_STREQ(label.paramString().c_str(), "Name=\"volts\", Origin(3,4), Text=\"230 kV\"");

    const char* names[] = {"Circle",       "Square",         "Triangle", "Solid Circle",
                           "Solid Square", "Solid Triangle", "Crossing"};
    for (int i = 0; i < 7; ++i) EXPECT_STREQ(KLabel::getGlyphName(i), names[i]);
    EXPECT_EQ(KLabel::getGlyphName(7), nullptr);

    // Refused settings leave the values alone.
    label.setFillStyle(3);
    label.setHorizontalAlignment(-1);
    label.setImageConstraint(5);
    EXPECT_EQ(label.getFillStyle(), KLabel::FILL_SOLID);
    EXPECT_EQ(label.getHorizontalAlignment(), KLabel::CENTER);
    EXPECT_EQ(label.getImageConstraint(), KLabel::IMAGE_LEFT);
}

TEST(KLabel, glyphsAreDrawnExactlyOnTheScreen) {
    const CRect r(0, 0, 10, 10);  // L = T = 1, R = B = 9
    EXPECT_EQ(glyph(KLabel::CIRCLE, r, false), Lines{"ellipse 1,1 9,9 hollow"});
    EXPECT_EQ(glyph(KLabel::SQUARE, r, false),
              (Lines{"line 1,1 8,1", "line 8,1 8,8", "line 8,8 1,8", "line 1,8 1,1"}));
    EXPECT_EQ(glyph(KLabel::TRIANGLE, r, false),
              (Lines{"line 5,1 9,9", "line 5,1 1,9", "line 1,9 9,9"}));
    EXPECT_EQ(glyph(KLabel::SOLID_CIRCLE, r, false), Lines{"ellipse 1,1 9,9 filled"});
    EXPECT_EQ(glyph(KLabel::SOLID_SQUARE, r, false), Lines{"fill 1,1 9,9"});
    EXPECT_EQ(glyph(KLabel::SOLID_TRIANGLE, r, false), Lines{"polygon 5,1 9,9 1,9"});
    EXPECT_EQ(glyph(KLabel::CROSSING, r, false), (Lines{"line 1,1 9,9", "line 1,8 9,0"}));

    // The glyph size of a new label, away from the origin; odd sides truncate the halves.
    EXPECT_EQ(glyph(KLabel::SOLID_TRIANGLE, CRect(20, 30, 47, 57), false),
              Lines{"polygon 33,31 46,56 21,56"});  // (21 + 46) / 2 = 33; 43 - 12 = 31
    // Tiny and degenerate rectangles are drawn as computed, never refused.
    EXPECT_EQ(glyph(KLabel::TRIANGLE, CRect(0, 0, 3, 3), false),
              (Lines{"line 1,1 2,2", "line 1,1 1,2", "line 1,2 2,2"}));
    EXPECT_EQ(glyph(KLabel::CIRCLE, CRect(5, 5, 6, 6), false), Lines{"ellipse 5,5 6,6 hollow"})
        << "shrunk past itself: the device context normalises 6, 6, 5, 5";
}

TEST(KLabel, glyphsWhenPrinting) {
    const CRect r(0, 0, 10, 10);
    EXPECT_EQ(glyph(KLabel::CROSSING, r, true), (Lines{"line 1,1 9,9", "line 1,9 9,1"}));
    // Every other glyph is the same on paper as on the screen.
    for (int index = 0; index < 6; ++index)
        EXPECT_EQ(glyph(index, r, true), glyph(index, r, false)) << "glyph " << index;
}

// A glyph outside the range draws nothing but sets the colour; the first three glyphs have
// hatched squares.
TEST(KLabel, glyphsOutsideTheRangeAndHatchGlyphs) {
    const int hatches[] = {HS_BDIAGONAL, HS_CROSS, HS_DIAGCROSS};
    for (int index : {-1, 7, 100, 0, 1, 2}) {
        CRecordingDC dc(CSize(50, 50));
        KLabel label("l");
        label.setGlyph(index);
        KGraphics g(&dc);
        dc.Clear();
        if (index < 0 || index > 2) {
            label.drawGlyph(g, CRect(0, 0, 10, 10), RED);
            EXPECT_TRUE(drawing(dc).empty()) << index;
            EXPECT_EQ(dc.GetCurrentPen(), CPen(PS_SOLID, 1, RED)) << index;
            EXPECT_EQ(dc.GetCurrentBrush(), CBrush(RED)) << index;
            continue;
        }
        label.drawHatchGlyph(g, CRect(2, 3, 20, 21), RED);
        ASSERT_EQ(drawing(dc), Lines{"fill 2,3 20,21"}) << "the whole rectangle, not shrunk";
        const CRecordingDC::Entry* fill = ktest::calls(dc, CDC::Call::FillRect)[0];
        EXPECT_EQ(fill->brush, CBrush(hatches[index], RGB(255, 255, 255)));
        EXPECT_EQ(fill->state.bkColor, RED);
        EXPECT_EQ(fill->state.bkMode, OPAQUE);
    }
}

TEST(KLabel, paintsBackgroundBorderMarkAndTextByAlignment) {
    KLabel label("l");
    label.setText("Ua");
    label.setGlyph(KLabel::SQUARE);
    label.setGlyphSize(12);
    label.setBackground(RGB(1, 2, 3));
    label.setTextColor(RGB(0, 0, 255));
    // Content: extents 108 x 36 less the border (1) and the padding (2): 3, 3, 105, 33.
    const int block = 12 + 4 + textWidth("Ua");
    const int lefts[] = {3, 3 + (102 - block) / 2, 105 - block};
    for (int align = KLabel::LEFT; align <= KLabel::RIGHT; ++align) {
        label.setHorizontalAlignment(align);
        const auto dc = painted(label);
        const auto fills = ktest::calls(*dc, CDC::Call::FillRect);
        const auto texts = ktest::calls(*dc, CDC::Call::DrawText);
        const auto lines = ktest::calls(*dc, CDC::Call::LineTo);
        const auto fill = std::find_if(fills.begin(), fills.end(),
                                       [](auto* e) { return e->brush == CBrush(RGB(1, 2, 3)); });
        ASSERT_NE(fill, fills.end()) << "the label background";
        EXPECT_EQ((*fill)->rect, CRect(0, 0, 108, 36));
        EXPECT_EQ(lines.size(), 4u + 4u) << "the border and the square glyph";
        ASSERT_EQ(texts.size(), 1u);
        EXPECT_EQ(texts[0]->state.textColor, RGB(0, 0, 255));
        EXPECT_EQ(texts[0]->rect.left, lefts[align] + 12 + 4) << "align " << align;
        // The glyph's square sits left of the text, centred on the height: 12 high in 30.
        const CRecordingDC::Entry* first = nullptr;
        for (const auto* e : lines)
            if (e->state.pen.GetColor() == 0 && first == nullptr) first = e;
        ASSERT_NE(first, nullptr);
        EXPECT_EQ(first->points[0], CPoint(lefts[align] + 1, 3 + 9 + 1)) << "align " << align;
    }

    // The border is a frame in the shadow colour along the extents; none without it.
    label.setGlyph(-1);
    for (bool border : {true, false}) {
        label.setBorder(border);
        const auto dc = painted(label);
        Lines edges;
        for (const auto* e : ktest::calls(*dc, CDC::Call::LineTo)) {
            EXPECT_EQ(e->state.pen.GetColor(), GetSysColor(COLOR_BTNSHADOW));
            edges.push_back(std::to_string(e->points[1].x) + "," + std::to_string(e->points[1].y));
        }
        EXPECT_EQ(edges, border ? (Lines{"107,0", "107,35", "0,35", "0,0"}) : Lines{});
    }
}

TEST(KLabel, iconsAndImagesStandBesideTheText) {
    KLabel label("l");
    label.setImageIndex(2);  // warning
    label.setImageConstraint(KLabel::IMAGE_RIGHT);
    label.setHorizontalAlignment(KLabel::RIGHT);
    label.setText("Trip");
    const auto dc = painted(label);
    const auto blits = ktest::calls(*dc, CDC::Call::StretchBlt);
    ASSERT_EQ(blits.size(), 1u);
    const CRecordingDC::Entry* blit = blits[0];
    EXPECT_EQ(blit->rect, CRect(105 - 16, 10, 105, 26)) << "right-aligned, centred on the height";
    const KImageResource* icons = KResources::findBitmap("LABEL_ICONS");
    EXPECT_EQ(blit->bitmap.GetPixel(8, 8), icons->pixel(16 + 8, 8) & 0xFFFFFF)
        << "the second cell of the strip";

    // An owned image goes with the label; copies get their own.
    label.setImage(KImage::load("LABEL_ICONS", 0), true);
    KLabel copy("c");
    copy.copy(label);
    EXPECT_NE(copy.getImage(), label.getImage());
}

TEST(KLabel, minimumSizeHoldsMarkAndText) {
    KLabel label("l");
    EXPECT_EQ(label.getMinimumSize(), CSize(9, 9)) << "nothing to show: the component's least";
    label.setGlyph(KLabel::CIRCLE);
    EXPECT_EQ(label.getMinimumSize(), CSize(27 + 6, 27 + 6));
    label.setText("Ib");
    EXPECT_EQ(label.getMinimumSize().cx, 27 + 4 + textWidth("Ib") + 6);
}

TEST(KLabel, storedFormAndSelfCopy) {
    KLabel label("ia");
    label.setText("I\xc3\xa4");
    label.setBorder(false);
    label.setGlyph(KLabel::SOLID_TRIANGLE);
    label.setGlyphSize(20);
    label.setHatchGlyph(true);
    label.setImageIndex(3);
    label.setFillStyle(KLabel::FILL_SHADED);
    label.setHorizontalAlignment(KLabel::RIGHT);
    label.setVerticalAlignment(KLabel::TOP);
    label.setImageConstraint(KLabel::IMAGE_CENTER);
    label.setBackground(RGB(10, 20, 30));
    label.setImageColor(RGB(40, 50, 60));
    label.setTextColor(RGB(70, 80, 90));
    label.setUserBackground(false);

    const auto other = ktest::roundTrip<KLabel>(label);
    EXPECT_STREQ(other->getText().c_str(), "I\xc3\xa4");
    EXPECT_FALSE(other->isBorder());
    EXPECT_EQ(other->getGlyph(), KLabel::SOLID_TRIANGLE);
    EXPECT_EQ(other->getGlyphSize(), 20);
    EXPECT_TRUE(other->isHatchGlyph());
    EXPECT_EQ(other->getImageIndex(), 3);
    EXPECT_EQ(other->getFillStyle(), KLabel::FILL_SHADED);
    EXPECT_EQ(other->getHorizontalAlignment(), KLabel::RIGHT);
    EXPECT_EQ(other->getVerticalAlignment(), KLabel::TOP);
    EXPECT_EQ(other->getImageConstraint(), KLabel::IMAGE_CENTER);
    EXPECT_EQ(other->getBackground(), RGB(10, 20, 30));
    EXPECT_EQ(other->getImageColor(), RGB(40, 50, 60));
    EXPECT_EQ(other->getTextColor(), RGB(70, 80, 90));
    EXPECT_FALSE(other->isUserBackground());
    EXPECT_THROW(label.copy(label), KException);
    const std::vector<std::uint8_t> bytes = ktest::stored(label);
    ktest::expectCutRaises(bytes, bytes.size() - 2);
}

TEST(KLabel, enhancedMetafileOfALabel) {
    KLabel label("l");
    label.setText("Uc");
    label.setGlyph(KLabel::SOLID_CIRCLE);
    label.setBounds(CRect(50, 60, 158, 96));
    const std::string path = ::testing::TempDir() + "kalvo_label.emf";
    label.createMetaFile(path.c_str());
    std::ifstream in(path, std::ios::binary);
    const std::string b((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::remove(path.c_str());
    ASSERT_GE(b.size(), 108u);
    auto u32 = [&](size_t at) {
        unsigned v = 0;
        for (int i = 3; i >= 0; --i) v = v << 8 | static_cast<unsigned char>(b[at + i]);
        return v;
    };
    // The picture is the label alone, drawn from its own top-left: bounds 0, 0 to 107, 35.
    EXPECT_EQ(u32(8), 0u);
    EXPECT_EQ(u32(12), 0u);
    EXPECT_EQ(u32(16), 107u);
    EXPECT_EQ(u32(20), 35u);
    int ellipses = 0, texts = 0;
    for (size_t at = 0; at + 8 <= b.size(); at += u32(at + 4)) {
        ellipses += u32(at) == 42;
        texts += u32(at) == 84;
        ASSERT_GE(u32(at + 4), 8u);
    }
    EXPECT_EQ(ellipses, 1);
    EXPECT_EQ(texts, 1);
    EXPECT_THROW(label.createMetaFile("/nonexistent-folder/label.emf"), KException);
}
