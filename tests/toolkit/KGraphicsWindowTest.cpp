#include <gtest/gtest.h>

#include <kalvo/kalvo.h>

namespace {

// A window whose client area is an image.
class ImageWindow : public CWnd {
public:
    HWND GetSafeHwnd() const override { return reinterpret_cast<HWND>(const_cast<ImageWindow*>(this)); }
    void GetClientRect(RECT* rect) const override { *rect = CRect(0, 0, 30, 20); }
    CDC* CreateClientDC() override {
        ++created;
        return CCairoDC::CreateImage(30, 20);
    }
    void InvalidateRect(const RECT*, bool) override {}
    int created = 0;
};

}  // namespace

TEST(KGraphics, drawsOnAWindowThroughItsOwnClientContext) {
    ImageWindow window;
    {
        KGraphics g(&window, true);
        EXPECT_EQ(window.created, 1);
        EXPECT_EQ(g.getDC()->GetDeviceSize(), CSize(30, 20));
        g.setColor(RGB(0, 0, 0));
        g.drawLine(0, 0, 5, 0);
        EXPECT_EQ(g.getDC()->GetPixel(4, 0), RGB(0, 0, 0));
    }  // the client context is deleted with the graphics (AddressSanitizer checks it)
    EXPECT_THROW(KGraphics(static_cast<CWnd*>(nullptr)), KException);
    EXPECT_THROW(KGraphics(static_cast<CDC*>(nullptr)), KException);
    EXPECT_EQ(KGraphics::getInstanceCount(), 0u);
}
