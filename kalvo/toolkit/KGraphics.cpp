#include <kalvo/toolkit/KGraphics.h>

#include <kalvo/platform/CCairoDC.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <string>

#include <kalvo/foundation/KException.h>
#include <kalvo/platform/DeviceCaps.h>
#include <kalvo/platform/DeviceModes.h>
#include <kalvo/platform/DrawTextFormat.h>
#include <kalvo/platform/PenStyle.h>
#include <kalvo/platform/RasterOp.h>
#include <kalvo/platform/StockObject.h>
#include <kalvo/platform/SysColor.h>

unsigned KGraphics::instances_ = 0;
bool KGraphics::colorLock_ = false;
CBitmap* KGraphics::sharedPattern_ = nullptr;
CFont* KGraphics::sharedFont_ = nullptr;

namespace {

CDC* requireDC(CDC* dc) {
    if (dc == nullptr) KException::raise("KGraphics Error", "No device context to draw on");
    return dc;
}

CDC* clientDC(CWnd* wnd) {
    if (wnd == nullptr) KException::raise("KGraphics Error", "No window to draw on");
    return wnd->CreateClientDC();
}

}  // namespace

KGraphics::KGraphics(CDC* dc, bool ownsContext) : dc_(requireDC(dc)), ownsContext_(ownsContext) {
    initialize();
}

KGraphics::KGraphics(CWnd* wnd, bool ownsContext)
    : dc_(requireDC(clientDC(wnd))), ownsContext_(ownsContext) {
    initialize();
}

KGraphics::KGraphics(const KGraphics& other)
    : dc_(other.dc_),
      ownsContext_(false),
      colorCount_(other.colorCount_),
      penWidth_(other.penWidth_),
      color_(other.color_) {
    initialize();
}

void KGraphics::initialize() {
    serial_ = ++instances_;
    if (instances_ == 1) {
        static const std::uint8_t checkerboard[16] = {0x55, 0, 0xAA, 0, 0x55, 0, 0xAA, 0,
                                                      0x55, 0, 0xAA, 0, 0x55, 0, 0xAA, 0};
        sharedPattern_ = new CBitmap();
        sharedPattern_->CreateBitmap(8, 8, 1, 1, checkerboard);
        sharedFont_ = new CFont(CFont::Stock(ANSI_VAR_FONT));
    }
    savedPen_ = dc_->GetCurrentPen();
    savedBrush_ = dc_->GetCurrentBrush();
    savedFont_ = dc_->GetCurrentFont();
    dc_->GetClipBox(&savedClipBox_);
    savedOrigin_ = dc_->GetWindowOrg();
    colorCount_ = dc_->GetDeviceCaps(NUMCOLORS);
    savedBkMode_ = dc_->SetBkMode(TRANSPARENT);
    savedTextAlign_ = dc_->SetTextAlign(TA_LEFT | TA_TOP);
    savedTextColor_ = dc_->GetTextColor();
    dc_->SetTextColor(color_);
    dc_->SetBkColor(0xFFFFFF);
}

KGraphics::~KGraphics() {
    dc_->SelectObject(*sharedFont_);
    dc_->SelectObject(savedPen_);
    dc_->SelectObject(savedBrush_);
    dc_->SelectObject(savedFont_);
    delete ownedPen_;
    delete ownedBrush_;
    dc_->SetWindowOrg(savedOrigin_);
    setClip(savedClipBox_);
    dc_->SetBkMode(savedBkMode_);
    dc_->SetTextAlign(savedTextAlign_);
    dc_->SetTextColor(savedTextColor_);
    if (ownsContext_) delete dc_;
    if (--instances_ == 0) {
        delete sharedPattern_;
        delete sharedFont_;
        sharedPattern_ = nullptr;
        sharedFont_ = nullptr;
    }
}

// Device.

bool KGraphics::isPrinting() const {
    return dc_->IsPrinting();
}
bool KGraphics::isPrintPreview() const {
    return dc_->IsPrintPreview();
}
int KGraphics::getColorDepth() const {
    return dc_->GetDeviceCaps(BITSPIXEL);
}

// Origin and clip.

void KGraphics::setOrigin(CPoint origin) {
    dc_->SetWindowOrg(origin);
}
CPoint KGraphics::getOrigin() const {
    return dc_->GetWindowOrg();
}

KGraphics& KGraphics::operator+=(CPoint p) {
    dc_->SetWindowOrg(dc_->GetWindowOrg() - p);
    return *this;
}

KGraphics& KGraphics::operator-=(CPoint p) {
    dc_->SetWindowOrg(dc_->GetWindowOrg() + p);
    return *this;
}

bool KGraphics::contains(CRect rect) const {
    return dc_->RectVisible(rect);
}

CRect KGraphics::getClipBounds() const {
    CRect r;
    dc_->GetClipBox(&r);
    return r;
}

void KGraphics::clipRect(CRect rect) {
    dc_->IntersectClipRect(rect);
}
void KGraphics::resetClip() {
    dc_->SelectClipRgn(nullptr);
}

void KGraphics::setClip(CRect rect) {
    resetClip();
    clipRect(rect);
}

// Colours and fonts.

void KGraphics::setFont(CFont* font) {
    dc_->SelectObject(font != nullptr ? *font : *sharedFont_);
}

COLORREF KGraphics::toGray(COLORREF rgb) {
    const int g = (GetRValue(rgb) * 30 + GetGValue(rgb) * 59 + GetBValue(rgb) * 11) / 100;
    return RGB(g, g, g);
}

void KGraphics::setColor(COLORREF color, int width, int style) {
    if (colorLock_) return;
    COLORREF c = color;
    if (isPrintPreview() && colorCount_ == 2) c = toGray(color);
    if (c != color_ || width != penWidth_) {
        penWidth_ = width;
        static constexpr int styles[] = {PS_SOLID, PS_DASH, PS_DOT, PS_DASHDOT};
        const int penStyle = style >= 0 && style <= 3 ? styles[style] : PS_SOLID;
        CPen* pen = new CPen(penStyle, width, c);
        dc_->SelectObject(*pen);
        delete ownedPen_;
        ownedPen_ = pen;
    }
    if (c != color_) {
        CBrush* brush = new CBrush(c);
        dc_->SelectObject(*brush);
        delete ownedBrush_;
        ownedBrush_ = brush;
        dc_->SetTextColor(c);
    }
    color_ = c;
}

// Lines and shapes.

void KGraphics::drawPixel(int x, int y, COLORREF color) {
    dc_->SetPixelV(x, y, color);
}

void KGraphics::drawLine(int x1, int y1, int x2, int y2) {
    dc_->MoveTo(x1, y1);
    dc_->LineTo(x2, y2);
}

void KGraphics::drawRect(int x1, int y1, int x2, int y2) {
    dc_->MoveTo(x1, y1);
    dc_->LineTo(x2 - 1, y1);
    dc_->LineTo(x2 - 1, y2 - 1);
    dc_->LineTo(x1, y2 - 1);
    dc_->LineTo(x1, y1);
}

void KGraphics::fillRect(int x1, int y1, int x2, int y2) {
    if (dc_->GetROP2() != R2_COPYPEN) return;
    const CBrush brush = dc_->GetCurrentBrush();
    dc_->FillRect(CRect(x1, y1, x2, y2), &brush);
}

void KGraphics::fillHatchedRect(CRect r, COLORREF fore, COLORREF back, int hatchStyle) {
    if (dc_->GetROP2() != R2_COPYPEN) return;
    CBrush* brush = new CBrush(hatchStyle, fore);
    const int mode = dc_->SetBkMode(OPAQUE);
    const COLORREF background = dc_->SetBkColor(back);
    dc_->FillRect(r, brush);
    dc_->SetBkMode(mode);
    dc_->SetBkColor(background);
    delete brush;
}

void KGraphics::fillShadedRect(CRect r, COLORREF color) {
    if (dc_->GetROP2() != R2_COPYPEN) return;
    CBrush brush;
    brush.CreatePatternBrush(sharedPattern_);
    const int mode = dc_->SetBkMode(TRANSPARENT);
    const COLORREF text = dc_->SetTextColor(color);
    dc_->FillRect(r, &brush);
    dc_->SetBkMode(mode);
    dc_->SetTextColor(text);
}

void KGraphics::draw3DRect(int x1, int y1, int x2, int y2, bool raised) {
    if (dc_->GetROP2() != R2_COPYPEN) {
        drawRect(x1, y1, x2, y2);
        return;
    }
    const COLORREF highlight = GetSysColor(COLOR_BTNHIGHLIGHT);
    const COLORREF shadow = GetSysColor(COLOR_BTNSHADOW);
    dc_->Draw3dRect(x1, y1, x2 - x1, y2 - y1, raised ? highlight : shadow,
                    raised ? shadow : highlight);
}

void KGraphics::drawMetalRect(CRect r) {
    const COLORREF highlight = GetSysColor(COLOR_BTNHIGHLIGHT);
    const COLORREF shadow = GetSysColor(COLOR_BTNSHADOW);
    dc_->Draw3dRect(r, shadow, highlight);
    r.DeflateRect(1, 1);
    dc_->Draw3dRect(r, highlight, shadow);
}

void KGraphics::drawOval(int x1, int y1, int x2, int y2) {
    const CBrush old = dc_->SelectObject(CBrush::Stock(NULL_BRUSH));
    dc_->Ellipse(x1, y1, x2, y2);
    dc_->SelectObject(old);
}

void KGraphics::fillOval(int x1, int y1, int x2, int y2) {
    dc_->Ellipse(x1, y1, x2, y2);
}

void KGraphics::draw3DOval(int x1, int y1, int x2, int y2, bool raised) {
    if (dc_->GetROP2() != R2_COPYPEN) {
        drawOval(x1, y1, x2, y2);
        return;
    }
    const COLORREF highlight = GetSysColor(COLOR_BTNHIGHLIGHT);
    const COLORREF shadow = GetSysColor(COLOR_BTNSHADOW);
    CPen* black = new CPen(PS_SOLID, 0, RGB(0, 0, 0));
    CPen* upper = new CPen(PS_SOLID, 0, raised ? highlight : shadow);
    CPen* lower = new CPen(PS_SOLID, 0, raised ? shadow : highlight);
    const CPen remembered = dc_->SelectObject(*black);
    const CRect r(x1, y1, x2, y2);
    dc_->SelectObject(*upper);
    drawArc(r, -45, 180);
    dc_->SelectObject(*lower);
    drawArc(r, 135, 180);
    dc_->SelectObject(remembered);
    delete black;
    delete upper;
    delete lower;
}

void KGraphics::arcPoints(CRect r, double start, double sweep, CPoint& from, CPoint& to) const {
    if (sweep < 0) {
        start += sweep;
        sweep = -sweep;
    }
    start *= 0.01745329252;
    sweep *= 0.01745329252;
    const int cx = (r.left + r.right) / 2, cy = (r.top + r.bottom) / 2;
    const int w = r.right - r.left, h = r.bottom - r.top;
    from = CPoint(static_cast<int>(cx + std::cos(start) * w),
                  static_cast<int>(cy - std::sin(start) * h));
    to = CPoint(static_cast<int>(cx + std::cos(start + sweep) * w),
                static_cast<int>(cy - std::sin(start + sweep) * h));
}

void KGraphics::drawArc(CRect r, double startDegrees, double sweepDegrees) {
    CPoint from, to;
    arcPoints(r, startDegrees, sweepDegrees, from, to);
    dc_->Arc(r, from, to);
}

void KGraphics::drawPie(CRect r, double startDegrees, double sweepDegrees) {
    CPoint from, to;
    arcPoints(r, startDegrees, sweepDegrees, from, to);
    dc_->Pie(r, from, to);
}

void KGraphics::drawChord(CRect r, double startDegrees, double sweepDegrees) {
    CPoint from, to;
    arcPoints(r, startDegrees, sweepDegrees, from, to);
    dc_->Chord(r, from, to);
}

void KGraphics::fillTriangle(CPoint p1, CPoint p2, CPoint p3) {
    const POINT points[] = {p1, p2, p3};
    dc_->Polygon(points, 3);
}

void KGraphics::fillTriangle(int x1, int y1, int x2, int y2, int x3, int y3) {
    fillTriangle(CPoint(x1, y1), CPoint(x2, y2), CPoint(x3, y3));
}

// Text.

void KGraphics::drawString(const char* text, int x, int y) {
    if (text != nullptr) dc_->TextOut(x, y, text);
}

void KGraphics::drawString(const char* text, CRect r) {
    if (dc_->GetROP2() != R2_COPYPEN) {
        drawRect(r);
        return;
    }
    if (text == nullptr) return;
    // DT_MODIFYSTRING may write up to four characters more than the text.
    std::string copy(text);
    const int length = static_cast<int>(copy.size());
    copy.append(4, '\0');
    dc_->DrawText(
        copy.data(), length, &r,
        DT_CENTER | DT_VCENTER | DT_SINGLELINE | DT_EXPANDTABS | DT_END_ELLIPSIS | DT_MODIFYSTRING);
}

CRect KGraphics::computeTextExtents(const char* text) const {
    SIZE size{0, 0};
    dc_->GetTextExtentPoint32(text != nullptr ? text : "", -1, &size);
    TEXTMETRIC tm;
    dc_->GetTextMetrics(&tm);
    return CRect(0, -tm.tmDescent, size.cx, size.cy - tm.tmDescent);
}

CSize KGraphics::measureText(const CFont& font, const char* text) {
    // A device that draws and keeps nothing, one per thread as the fonts it measures with.
    thread_local const std::unique_ptr<CCairoDC> measure(CCairoDC::CreateImage(1, 1));
    const CFont previous = measure->SelectObject(font);
    const CSize size = measure->GetTextExtent(text != nullptr ? text : "");
    measure->SelectObject(previous);
    return size;
}

CRect KGraphics::computeTextBounds(const char* text) const {
    CRect r(0, 0, 0, 0);
    dc_->DrawText(text != nullptr ? text : "", &r, DT_CALCRECT | DT_NOCLIP);
    return r;
}

// Bitmaps.

CRect KGraphics::sourceOf(CBitmap* bitmap, const CRect* source) const {
    if (source != nullptr) return *source;
    BITMAP info;
    bitmap->GetBitmap(&info);
    return CRect(0, 0, info.bmWidth, info.bmHeight);
}

void KGraphics::drawImage(CBitmap* bitmap, const CRect* source, int x, int y) {
    if (bitmap == nullptr || bitmap->GetSafeHandle() == nullptr) return;
    const CRect from = sourceOf(bitmap, source);
    std::unique_ptr<CDC> memory(dc_->CreateCompatibleDC());
    const CBitmap old = memory->SelectObject(*bitmap);
    dc_->BitBlt(x, y, from.Width(), from.Height(), memory.get(), from.left, from.top, SRCCOPY);
    memory->SelectObject(old);
}

void KGraphics::drawMask(CBitmap* bitmap, const CRect* source, CPoint p, COLORREF color) {
    if (bitmap == nullptr || bitmap->GetSafeHandle() == nullptr) return;
    const CRect from = sourceOf(bitmap, source);
    std::unique_ptr<CDC> memory(dc_->CreateCompatibleDC());
    const CBitmap old = memory->SelectObject(*bitmap);
    const COLORREF text = dc_->GetTextColor();
    const COLORREF back = dc_->GetBkColor();
    dc_->SetBkColor(RGB(255, 255, 255));
    dc_->SetTextColor(RGB(0, 0, 0));
    dc_->BitBlt(p.x, p.y, from.Width(), from.Height(), memory.get(), from.left, from.top, SRCAND);
    dc_->SetBkColor(RGB(0, 0, 0));
    dc_->SetTextColor(color);
    dc_->BitBlt(p.x, p.y, from.Width(), from.Height(), memory.get(), from.left, from.top, SRCPAINT);
    dc_->SetTextColor(text);
    dc_->SetBkColor(back);
    memory->SelectObject(old);
}
