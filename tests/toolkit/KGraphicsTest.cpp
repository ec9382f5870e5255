#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include <kalvo/kalvo.h>

namespace {

using Call = CDC::Call;
constexpr COLORREF WHITE = RGB(255, 255, 255);
constexpr COLORREF BLACK = RGB(0, 0, 0);
constexpr COLORREF RED = RGB(255, 0, 0);

std::unique_ptr<CCairoDC> image(int w, int h) {
    return std::unique_ptr<CCairoDC>(CCairoDC::CreateImage(w, h));
}

// The drawing calls of a recording (state changes left out).
std::vector<const CRecordingDC::Entry*> drawing(const CRecordingDC& dc) {
    std::vector<const CRecordingDC::Entry*> out;
    for (const auto& e : dc.GetEntries())
        if (e.call >= Call::LineTo) out.push_back(&e);
    return out;
}

}  // namespace

TEST(KGraphics, drawRectTouchesPixelsZeroToNine) {
    auto dc = image(12, 12);
    {
        KGraphics g(dc.get());
        g.setColor(BLACK);
        g.drawRect(0, 0, 10, 10);
    }
    for (int i = 0; i < 12; ++i) {
        const COLORREF edge = i < 10 ? BLACK : WHITE;
        EXPECT_EQ(dc->GetPixel(i, 0), edge) << "top, x " << i;
        EXPECT_EQ(dc->GetPixel(0, i), edge) << "left, y " << i;
        EXPECT_EQ(dc->GetPixel(i, 9), edge) << "bottom, x " << i;
        EXPECT_EQ(dc->GetPixel(9, i), edge) << "right, y " << i;
        EXPECT_EQ(dc->GetPixel(i, 10), WHITE);
        EXPECT_EQ(dc->GetPixel(10, i), WHITE);
    }
    EXPECT_EQ(dc->GetPixel(5, 5), WHITE);
}

TEST(KGraphics, setColorCreatesPenAndBrushOnlyOnChange) {
    CRecordingDC recording(CSize(10, 10));
    KGraphics g(&recording);
    g.setColor(RED);
    g.setColor(RED);
    EXPECT_EQ(recording.Count(Call::SelectPen), 1);
    EXPECT_EQ(recording.Count(Call::SelectBrush), 1);
    EXPECT_EQ(recording.GetCurrentPen(), CPen(PS_SOLID, 1, RED));
    EXPECT_EQ(recording.GetTextColor(), RED);

    g.setColor(RED, 3, 1);  // width changes: a new pen, same brush
    EXPECT_EQ(recording.Count(Call::SelectPen), 2);
    EXPECT_EQ(recording.Count(Call::SelectBrush), 1);
    EXPECT_EQ(recording.GetCurrentPen(), CPen(PS_DASH, 3, RED));
    g.setColor(BLACK, 3, 9);  // unknown styles are solid
    EXPECT_EQ(recording.GetCurrentPen(), CPen(PS_SOLID, 3, BLACK));

    KGraphics::setColorLock(true);
    g.setColor(RGB(0, 255, 0), 5);
    KGraphics::setColorLock(false);
    EXPECT_EQ(g.getColor(), BLACK);
    EXPECT_EQ(recording.GetCurrentPen(), CPen(PS_SOLID, 3, BLACK));
}

TEST(KGraphics, twoColourPrintPreviewDrawsInGrey) {
    EXPECT_EQ(KGraphics::toGray(RED), RGB(76, 76, 76));
    EXPECT_EQ(KGraphics::toGray(RGB(0, 255, 0)), RGB(150, 150, 150));
    EXPECT_EQ(KGraphics::toGray(WHITE), WHITE);

    auto dc = image(4, 4);
    dc->SetPrintPreview(true);
    dc->SetColorDepth(1);
    KGraphics preview(dc.get());
    preview.setColor(RED);
    EXPECT_EQ(preview.getColor(), RGB(76, 76, 76));
    EXPECT_EQ(dc->GetCurrentPen().GetColor(), RGB(76, 76, 76));
}

TEST(KGraphics, arcAnglesAreNormalisedAndGiveTheRadialPoints) {
    CRecordingDC a(CSize(100, 100)), b(CSize(100, 100));
    {
        KGraphics ga(&a), gb(&b);
        ga.drawArc(CRect(10, 10, 50, 30), 90, -180);
        gb.drawArc(CRect(10, 10, 50, 30), -90, 180);
        ga.drawChord(CRect(0, 0, 40, 40), 180, 45);
    }
    const auto arcA = drawing(a), arcB = drawing(b);
    ASSERT_EQ(arcA.size(), 2u);
    ASSERT_EQ(arcB.size(), 1u);
    EXPECT_EQ(arcA[0]->call, Call::Arc);
    EXPECT_EQ(arcA[0]->points, arcB[0]->points);
    // Centre (30, 20), full width 40 and height 20: from straight down to straight up. The
    // cosine of the rounded quarter turn is a hair below zero and truncation takes 29.
    EXPECT_EQ(arcA[0]->points[0], CPoint(29, 40));
    EXPECT_EQ(arcA[0]->points[1], CPoint(29, 0));
    EXPECT_EQ(arcA[1]->call, Call::Chord);
    EXPECT_EQ(arcA[1]->points[0], CPoint(-20, 20));
    EXPECT_EQ(arcA[1]->points[1], CPoint(-8, 48));  // 225 degrees: (20 - 28.28, 20 + 28.28)
}

TEST(KGraphics, nonCopyModesSkipFillsAndDrawOutlines) {
    CRecordingDC recording(CSize(100, 100));
    {
        KGraphics g(&recording);
        g.setColor(RED);
        recording.SetROP2(R2_XORPEN);
        recording.Clear();
        g.fillRect(0, 0, 10, 10);
        g.fillHatchedRect(CRect(0, 0, 10, 10), BLACK, WHITE, HS_CROSS);
        g.fillShadedRect(CRect(0, 0, 10, 10), BLACK);
        EXPECT_TRUE(drawing(recording).empty()) << "fills draw nothing outside copy mode";
        g.draw3DRect(0, 0, 10, 10, true);
        EXPECT_EQ(recording.Count(Call::LineTo), 4);
        g.drawString("text", CRect(0, 0, 50, 20));
        EXPECT_EQ(recording.Count(Call::LineTo), 8);
        EXPECT_EQ(recording.Count(Call::DrawText), 0);
        g.draw3DOval(0, 0, 20, 20, true);
        EXPECT_EQ(recording.Count(Call::Ellipse), 1);
        EXPECT_EQ(recording.Count(Call::Arc), 0);
        EXPECT_EQ(drawing(recording).back()->state.brush.GetKind(), CBrush::HOLLOW);
        EXPECT_EQ(recording.GetCurrentBrush(), CBrush(RED)) << "brush reselected";
        EXPECT_EQ(recording.GetCurrentPen(), CPen(PS_SOLID, 1, RED)) << "pen reselected";
    }
}

TEST(KGraphics, destructionRestoresTheDeviceContext) {
    auto dc = image(50, 50);
    dc->SetWindowOrg(3, 4);
    dc->IntersectClipRect(5, 5, 40, 40);
    dc->SetBkMode(OPAQUE);
    dc->SetTextAlign(TA_BASELINE);
    const CPen pen = dc->SelectObject(CPen(PS_DOT, 0, RED));
    const CFont font("Arial", -20);
    dc->SelectObject(font);
    CRect clipBefore;
    dc->GetClipBox(&clipBefore);
    EXPECT_EQ(KGraphics::getInstanceCount(), 0u);
    {
        KGraphics g(dc.get());
        EXPECT_EQ(dc->GetBkMode(), TRANSPARENT);
        EXPECT_EQ(dc->GetTextAlign(), TA_LEFT | TA_TOP);
        {
            KGraphics copy(g);
            EXPECT_EQ(KGraphics::getInstanceCount(), 2u);
        }
        g.setColor(RGB(0, 0, 255), 2);
        g += CPoint(10, 10);
        EXPECT_EQ(g.getOrigin(), CPoint(-7, -6));
        g.setClip(CRect(0, 0, 5, 5));
        g.dispose();
        EXPECT_EQ(dc->GetCurrentFont(), CFont::Stock(ANSI_VAR_FONT));
        g.drawLine(0, 0, 4, 0);
        EXPECT_EQ(dc->GetPixel(0, 0), RGB(0, 0, 255));  // device (7, 6)
    }
    EXPECT_EQ(KGraphics::getInstanceCount(), 0u);
    EXPECT_THROW(KGraphics(static_cast<CWnd*>(nullptr)), KException);
    EXPECT_THROW(KGraphics(static_cast<CDC*>(nullptr)), KException);
    EXPECT_EQ(dc->GetWindowOrg(), CPoint(3, 4));
    CRect clipAfter;
    dc->GetClipBox(&clipAfter);
    EXPECT_EQ(clipAfter, clipBefore);
    EXPECT_EQ(dc->GetBkMode(), OPAQUE);
    EXPECT_EQ(dc->GetTextAlign(), TA_BASELINE);
    EXPECT_EQ(dc->GetCurrentPen(), CPen(PS_DOT, 0, RED));
    EXPECT_EQ(dc->GetCurrentFont(), font);
    EXPECT_EQ(dc->GetPixel(10, 10), RGB(0, 0, 255));
}

TEST(KGraphics, bufferedContextGivesTheSamePixelsAsDrawingDirectly) {
    auto paint = [](CDC* dc) {
        KGraphics g(dc);
        g.setColor(RGB(200, 30, 30));
        g.fillRect(5, 5, 60, 40);
        g.setColor(BLACK);
        g.drawLine(0, 0, 79, 59);
        g.fillHatchedRect(CRect(10, 30, 40, 58), BLACK, WHITE, HS_DIAGCROSS);
    };
    auto direct = image(80, 60), target = image(80, 60);
    for (CCairoDC* dc : {direct.get(), target.get()}) {
        dc->SetWindowOrg(-3, -2);
        dc->IntersectClipRect(0, 0, 70, 50);
    }
    paint(direct.get());
    {
        KBufferedContext buffer(target.get(), true);
        EXPECT_NE(buffer.getGraphics(), target.get());
        paint(buffer);
        EXPECT_EQ(target->GetPixel(20, 20), WHITE) << "nothing reaches the target before the end";
    }
    for (CCairoDC* dc : {direct.get(), target.get()}) {
        dc->SetWindowOrg(0, 0);
        dc->SelectClipRgn(nullptr);
    }
    for (int y = 0; y < 60; ++y)
        for (int x = 0; x < 80; ++x)
            ASSERT_EQ(target->GetPixel(x, y), direct->GetPixel(x, y)) << x << "," << y;
}

TEST(AffineTransform, rotationAndMirrorFollowTheirRules) {
    AffineTransform t;
    t.rotate(90);
    t.rotate(90);
    EXPECT_EQ(t.getRotation(), 180);
    t.rotate(90);
    EXPECT_EQ(t.getRotation(), -90);
    t.rotate(-90);
    EXPECT_EQ(t.getRotation(), 180) << "-180 is kept as 180";

    AffineTransform m;
    m.Mirror();
    EXPECT_EQ(m.getRotation(), 180);
    EXPECT_TRUE(m.isMirrored());
    // -10 + 0.5 truncates toward zero.
    EXPECT_EQ(m.WPtoLP(CPoint(10, 3)), CPoint(-9, 3));
    m.Mirror();
    EXPECT_EQ(m.getRotation(), 0);
    EXPECT_FALSE(m.isMirrored());
    m.Mirror();
    m.rotate(30);  // mirrored: the remembered rotation goes the other way
    EXPECT_DOUBLE_EQ(m.getRotation(), 150);

    AffineTransform r;
    r.translate(100, 50);
    r.rotate(90);
    // A quarter turn of the point (10, 0) about the translated origin.
    EXPECT_EQ(r.WPtoLP(10, 0), CPoint(100, 60));
    r.translate(10, 0);  // in the rotated coordinates
    EXPECT_EQ(r.WPtoLP(0, 0), CPoint(100, 60));
}
