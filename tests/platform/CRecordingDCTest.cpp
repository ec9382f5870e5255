#include <gtest/gtest.h>

#include <memory>
#include <string>

#include <kalvo/kalvo.h>

namespace {
using Call = CDC::Call;
constexpr COLORREF WHITE = RGB(255, 255, 255);
constexpr COLORREF BLACK = RGB(0, 0, 0);
}  // namespace

TEST(CRecordingDC, keepsEveryCallWithItsState) {
    CRecordingDC dc(CSize(100, 50));
    dc.SelectObject(CPen(PS_DASH, 0, RGB(1, 2, 3)));
    dc.SetWindowOrg(5, 5);
    dc.MoveTo(10, 10);
    dc.LineTo(20, 30);
    dc.Rectangle(40, 30, 10, 5);  // normalised
    const CBrush hatch(HS_CROSS, BLACK);
    dc.FillRect(CRect(0, 0, 4, 4), &hatch);
    dc.TextOut(1, 2, "abc");
    const auto& e = dc.GetEntries();
    ASSERT_EQ(e.size(), 7u);
    const Call calls[] = {Call::SelectPen, Call::SetWindowOrg, Call::MoveTo, Call::LineTo};
    for (int i = 0; i < 4; ++i) EXPECT_EQ(e[i].call, calls[i]) << "entry " << i;
    EXPECT_EQ(e[3].points, (std::vector<CPoint>{{10, 10}, {20, 30}}));
    EXPECT_EQ(e[3].state.pen, CPen(PS_DASH, 0, RGB(1, 2, 3)));
    EXPECT_EQ(e[3].state.windowOrg, CPoint(5, 5));
    EXPECT_EQ(e[4].rect, CRect(10, 5, 40, 30));
    EXPECT_EQ(e[5].brush, hatch);
    EXPECT_EQ(e[6].text, "abc");
    EXPECT_EQ(dc.GetCurrentPosition(), CPoint(20, 30));
    EXPECT_EQ(dc.Count(Call::LineTo), 1);
    // Measuring records nothing and agrees with the cairo backend.
    std::unique_ptr<CCairoDC> image(CCairoDC::CreateImage(10, 10));
    const CFont font("Arial", -13);
    dc.SelectObject(font);
    image->SelectObject(font);
    const size_t before = e.size();
    EXPECT_EQ(dc.GetTextExtent("Measured"), image->GetTextExtent("Measured"));
    CRect calc(0, 0, 0, 0);
    dc.DrawText("two\nlines", &calc, DT_CALCRECT);
    EXPECT_EQ(e.size(), before);
    EXPECT_EQ(dc.GetPixel(0, 0), CLR_INVALID);

    // A text shortened in place is kept as drawn: no terminator, no bytes left over from the
    // longer original.
    char text[64] = "A rather long line of text";
    CRect cut(0, 0, 60, 20);
    dc.DrawText(text, -1, &cut, DT_SINGLELINE | DT_END_ELLIPSIS | DT_MODIFYSTRING);
    ASSERT_EQ(e.back().call, Call::DrawText);
    EXPECT_EQ(e.back().text, std::string(text));
    EXPECT_EQ(e.back().text.substr(e.back().text.size() - 3), "...");
    ASSERT_EQ(e.back().lines.size(), 1u);
    EXPECT_EQ(e.back().lines[0].text, e.back().text);
}

TEST(CRecordingDC, playsAtTheTargetOriginInsideItsClipAndLeavesItsState) {
    CRecordingDC recording(CSize(20, 20));
    const CBrush black(BLACK);
    recording.FillRect(CRect(0, 0, 4, 4), &black);
    recording.IntersectClipRect(10, 10, 12, 12);
    recording.FillRect(CRect(0, 0, 20, 20), &black);

    std::unique_ptr<CCairoDC> target(CCairoDC::CreateImage(40, 40));
    target->SetWindowOrg(-20, -20);               // recording's (0, 0) lands at device (20, 20)
    target->IntersectClipRect(-20, -20, 11, 40);  // and device x below 31
    target->SelectObject(CPen(PS_DOT, 0, WHITE));
    recording.Play(target.get());
    EXPECT_EQ(target->GetWindowOrg(), CPoint(-20, -20));
    EXPECT_EQ(target->GetCurrentPen(), CPen(PS_DOT, 0, WHITE));
    target->SetWindowOrg(0, 0);
    target->SelectClipRgn(nullptr);
    int black_ = 0;
    for (int i = 0; i < 40 * 40; ++i) black_ += target->GetPixel(i % 40, i / 40) == BLACK;
    EXPECT_EQ(black_, 16 + 2) << "the 4x4 square and the clipped 1x2 column";
    EXPECT_EQ(target->GetPixel(20, 20), BLACK);
    EXPECT_EQ(target->GetPixel(30, 30), BLACK);
    EXPECT_EQ(target->GetPixel(31, 30), WHITE);
}

TEST(CRecordingDC, blitsKeepTheirOwnCopyOfThePixels) {
    CRecordingDC dc(CSize(120, 80));
    CBitmap icons;
    icons.LoadBitmap("LABEL_ICONS");
    std::unique_ptr<CDC> memory(dc.CreateCompatibleDC());
    memory->SelectObject(icons);
    EXPECT_TRUE(dc.BitBlt(0, 0, 16, 16, memory.get(), 16, 0, SRCCOPY));
    icons.SetPixel(16, 0, BLACK);  // later changes do not reach the recording
    EXPECT_EQ(dc.GetEntries().back().bitmap.GetPixel(0, 0), WHITE);
}
