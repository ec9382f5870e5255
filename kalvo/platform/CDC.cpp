#include <kalvo/platform/CDC.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include <kalvo/platform/DeviceCaps.h>
#include <kalvo/platform/DeviceModes.h>
#include <kalvo/platform/DrawTextFormat.h>
#include <kalvo/platform/RasterOp.h>

CDC::~CDC() = default;

int CDC::GetDeviceCaps(int index) const {
    const CSize size = GetDeviceSize();
    switch (index) {
        case HORZRES:
            return size.cx;
        case VERTRES:
            return size.cy;
        case BITSPIXEL:
            return bitsPixel_;
        case PLANES:
            return 1;
        case NUMCOLORS:
            return bitsPixel_ > 8 ? -1 : 1 << bitsPixel_;
        case LOGPIXELSX:
        case LOGPIXELSY:
            return 96;
        default:
            return 0;
    }
}

// Objects.

CPen CDC::SelectObject(const CPen& pen) {
    CPen old = state_.pen;
    if (!pen.IsCreated()) return old;
    state_.pen = pen;
    stateChanged(Call::SelectPen);
    return old;
}

CBrush CDC::SelectObject(const CBrush& brush) {
    CBrush old = state_.brush;
    if (!brush.IsCreated()) return old;
    state_.brush = brush;
    stateChanged(Call::SelectBrush);
    return old;
}

CFont CDC::SelectObject(const CFont& font) {
    CFont old = state_.font;
    state_.font = font;
    stateChanged(Call::SelectFont);
    return old;
}

CBitmap CDC::SelectObject(const CBitmap& bitmap) {
    if (!IsMemoryDC() || bitmap.GetSafeHandle() == nullptr) return CBitmap();
    CBitmap old = state_.bitmap;
    state_.bitmap = bitmap;
    stateChanged(Call::SelectBitmap);
    return old;
}

void CDC::SelectStockObject(int index) {
    if (index <= NULL_BRUSH) {
        SelectObject(CBrush::Stock(index));
    } else if (index <= NULL_PEN) {
        SelectObject(CPen::Stock(index));
    } else {
        SelectObject(CFont::Stock(index));
    }
}

// Modes and colours.

int CDC::SetBkMode(int mode) {
    const int old = state_.bkMode;
    if (mode != TRANSPARENT && mode != OPAQUE) return 0;
    state_.bkMode = mode;
    stateChanged(Call::SetBkMode);
    return old;
}

COLORREF CDC::SetBkColor(COLORREF color) {
    if (color == CLR_INVALID) return CLR_INVALID;
    const COLORREF old = state_.bkColor;
    state_.bkColor = color & 0xFFFFFF;
    stateChanged(Call::SetBkColor);
    return old;
}

COLORREF CDC::SetTextColor(COLORREF color) {
    if (color == CLR_INVALID) return CLR_INVALID;
    const COLORREF old = state_.textColor;
    state_.textColor = color & 0xFFFFFF;
    stateChanged(Call::SetTextColor);
    return old;
}

unsigned CDC::SetTextAlign(unsigned align) {
    const unsigned old = state_.textAlign;
    state_.textAlign = align;
    stateChanged(Call::SetTextAlign);
    return old;
}

int CDC::SetROP2(int rop) {
    const int old = state_.rop2;
    if (rop < R2_BLACK || rop > R2_WHITE) return 0;
    state_.rop2 = rop;
    stateChanged(Call::SetROP2);
    return old;
}

int CDC::SetPolyFillMode(int mode) {
    const int old = state_.polyFillMode;
    if (mode != ALTERNATE && mode != WINDING) return 0;
    state_.polyFillMode = mode;
    stateChanged(Call::SetPolyFillMode);
    return old;
}

CPoint CDC::SetBrushOrg(int x, int y) {
    const CPoint old = state_.brushOrg;
    state_.brushOrg = CPoint(x, y);
    stateChanged(Call::SetBrushOrg);
    return old;
}

// Coordinates.

CPoint CDC::SetWindowOrg(int x, int y) {
    const CPoint old = state_.windowOrg;
    state_.windowOrg = CPoint(x, y);
    stateChanged(Call::SetWindowOrg);
    return old;
}

CPoint CDC::SetViewportOrg(int x, int y) {
    const CPoint old = state_.viewportOrg;
    state_.viewportOrg = CPoint(x, y);
    stateChanged(Call::SetViewportOrg);
    return old;
}

int CDC::SetMapMode(int mode) {
    const int old = state_.mapMode;
    if (mode != MM_TEXT && mode != MM_ISOTROPIC && mode != MM_ANISOTROPIC) return 0;
    state_.mapMode = mode;
    if (mode == MM_TEXT) {
        state_.windowExt = CSize(1, 1);
        state_.viewportExt = CSize(1, 1);
    }
    stateChanged(Call::SetMapMode);
    return old;
}

CSize CDC::SetWindowExt(int cx, int cy) {
    const CSize old = state_.windowExt;
    if (state_.mapMode == MM_TEXT || cx == 0 || cy == 0) return old;
    state_.windowExt = CSize(cx, cy);
    stateChanged(Call::SetWindowExt);
    return old;
}

CSize CDC::SetViewportExt(int cx, int cy) {
    const CSize old = state_.viewportExt;
    if (state_.mapMode == MM_TEXT || cx == 0 || cy == 0) return old;
    state_.viewportExt = CSize(cx, cy);
    stateChanged(Call::SetViewportExt);
    return old;
}

double CDC::scaleX() const {
    return static_cast<double>(state_.viewportExt.cx) / state_.windowExt.cx;
}

double CDC::scaleY() const {
    return static_cast<double>(state_.viewportExt.cy) / state_.windowExt.cy;
}

double CDC::toDeviceX(double x) const {
    return (x - state_.windowOrg.x) * scaleX() + state_.viewportOrg.x;
}

double CDC::toDeviceY(double y) const {
    return (y - state_.windowOrg.y) * scaleY() + state_.viewportOrg.y;
}

void CDC::LPtoDP(POINT* points, int count) const {
    // One logical unit a pixel (the text mode, and any mapping without scale) is a shift.
    if (state_.viewportExt.cx == state_.windowExt.cx && state_.viewportExt.cy == state_.windowExt.cy) {
        const int dx = state_.viewportOrg.x - state_.windowOrg.x;
        const int dy = state_.viewportOrg.y - state_.windowOrg.y;
        for (int i = 0; i < count; ++i) {
            points[i].x += dx;
            points[i].y += dy;
        }
        return;
    }
    for (int i = 0; i < count; ++i) {
        points[i].x = static_cast<int>(std::lround(toDeviceX(points[i].x)));
        points[i].y = static_cast<int>(std::lround(toDeviceY(points[i].y)));
    }
}

void CDC::LPtoDP(RECT* rect) const {
    LPtoDP(reinterpret_cast<POINT*>(rect), 2);
}

void CDC::DPtoLP(POINT* points, int count) const {
    for (int i = 0; i < count; ++i) {
        points[i].x = static_cast<int>(
            std::lround((points[i].x - state_.viewportOrg.x) / scaleX() + state_.windowOrg.x));
        points[i].y = static_cast<int>(
            std::lround((points[i].y - state_.viewportOrg.y) / scaleY() + state_.windowOrg.y));
    }
}

void CDC::DPtoLP(RECT* rect) const {
    DPtoLP(reinterpret_cast<POINT*>(rect), 2);
}

// Clipping.

bool CDC::HasPixels() const {
    return !IsPrinting() && !IsMetaFile() && GetPixelSource().GetSafeHandle() != nullptr;
}

CRect CDC::GetDeviceClip() const {
    const CSize size = GetDeviceSize();
    CRect bounds(0, 0, size.cx, size.cy);
    if (!state_.clipped) return bounds;
    CRect r;
    r.IntersectRect(bounds, state_.clip);
    return r;
}

int CDC::GetClipBox(RECT* rect) const {
    CRect r = GetDeviceClip();
    const bool empty = r.IsRectEmpty();
    DPtoLP(&r);
    r.NormalizeRect();
    *rect = r;
    return empty ? 1 /* NULLREGION */ : 2 /* SIMPLEREGION */;
}

int CDC::IntersectClipRect(int x1, int y1, int x2, int y2) {
    CRect r(x1, y1, x2, y2);
    LPtoDP(&r);
    r.NormalizeRect();
    CRect clip;
    if (!clip.IntersectRect(GetDeviceClip(), r)) clip.SetRectEmpty();
    state_.clipped = true;
    state_.clip = clip;
    stateChanged(Call::IntersectClipRect);
    return clip.IsRectEmpty() ? 1 : 2;
}

int CDC::SelectClipRgn(const void* region) {
    if (region != nullptr) return 0;
    state_.clipped = false;
    state_.clip = CRect();
    stateChanged(Call::SelectClipRgn);
    return 2;
}

bool CDC::RectVisible(const RECT& rect) const {
    CRect r(rect);
    LPtoDP(&r);
    r.NormalizeRect();
    CRect common;
    return common.IntersectRect(r, GetDeviceClip());
}

bool CDC::PtVisible(int x, int y) const {
    CPoint p(x, y);
    LPtoDP(&p);
    return GetDeviceClip().PtInRect(p);
}

// State stack.

int CDC::SaveDC() {
    saved_.push_back(state_);
    return static_cast<int>(saved_.size());
}

bool CDC::RestoreDC(int saved) {
    const int depth = static_cast<int>(saved_.size());
    const int index = saved < 0 ? depth + saved : saved - 1;
    if (index < 0 || index >= depth) return false;
    State s = saved_[index];
    saved_.resize(index);
    SetState(s);
    return true;
}

void CDC::SetState(const State& state) {
    CBitmap bitmap = state_.bitmap;
    state_ = state;
    state_.bitmap = bitmap;
    stateChanged(Call::SetState);
}

// Lines and shapes.

CPoint CDC::MoveTo(int x, int y) {
    const CPoint old = state_.position;
    state_.position = CPoint(x, y);
    stateChanged(Call::MoveTo);
    return old;
}

bool CDC::LineTo(int x, int y) {
    doLine(state_.position, CPoint(x, y));
    state_.position = CPoint(x, y);
    return true;
}

bool CDC::Polyline(const POINT* points, int count) {
    if (points == nullptr || count < 2) return false;
    points_.assign(points, points + count);
    doPolyline(points_);
    return true;
}

bool CDC::Polygon(const POINT* points, int count) {
    if (points == nullptr || count < 2) return false;
    points_.assign(points, points + count);
    doPolygon(points_);
    return true;
}

bool CDC::Rectangle(int x1, int y1, int x2, int y2) {
    CRect r(x1, y1, x2, y2);
    r.NormalizeRect();
    doRectangle(r);
    return true;
}

bool CDC::Ellipse(int x1, int y1, int x2, int y2) {
    CRect r(x1, y1, x2, y2);
    r.NormalizeRect();
    doEllipse(r);
    return true;
}

bool CDC::Arc(const RECT& r, POINT start, POINT end) {
    CRect n(r);
    n.NormalizeRect();
    doArc(Call::Arc, n, start, end);
    return true;
}

bool CDC::Pie(const RECT& r, POINT start, POINT end) {
    CRect n(r);
    n.NormalizeRect();
    doArc(Call::Pie, n, start, end);
    return true;
}

bool CDC::Chord(const RECT& r, POINT start, POINT end) {
    CRect n(r);
    n.NormalizeRect();
    doArc(Call::Chord, n, start, end);
    return true;
}

void CDC::FillRect(const RECT& r, const CBrush* brush) {
    CRect n(r);
    n.NormalizeRect();
    if (n.IsRectEmpty()) return;
    doFillRect(n, brush != nullptr ? *brush : state_.brush);
}

void CDC::FillSolidRect(const RECT& r, COLORREF color) {
    const CBrush brush(color);
    FillRect(r, &brush);
}

void CDC::FillSolidRect(int x, int y, int cx, int cy, COLORREF color) {
    FillSolidRect(CRect(x, y, x + cx, y + cy), color);
}

void CDC::Draw3dRect(int x, int y, int cx, int cy, COLORREF topLeft, COLORREF bottomRight) {
    FillSolidRect(x, y, cx - 1, 1, topLeft);
    FillSolidRect(x, y, 1, cy - 1, topLeft);
    FillSolidRect(x + cx - 1, y, 1, cy, bottomRight);
    FillSolidRect(x, y + cy - 1, cx, 1, bottomRight);
}

void CDC::Draw3dRect(const RECT& r, COLORREF topLeft, COLORREF bottomRight) {
    Draw3dRect(r.left, r.top, r.right - r.left, r.bottom - r.top, topLeft, bottomRight);
}

COLORREF CDC::SetPixel(int x, int y, COLORREF color) {
    doSetPixel(x, y, color & 0xFFFFFF);
    return color & 0xFFFFFF;
}

bool CDC::SetPixelV(int x, int y, COLORREF color) {
    doSetPixel(x, y, color & 0xFFFFFF);
    return true;
}

// Text.

bool CDC::TextOut(int x, int y, const char* text, int count) {
    if (text == nullptr) return false;
    if (count < 0) count = static_cast<int>(std::strlen(text));
    doTextOut(x, y, text, count);
    return true;
}

CSize CDC::GetTextExtent(const char* text, int count) const {
    if (text == nullptr) return CSize();
    if (count < 0) count = static_cast<int>(std::strlen(text));
    return doTextExtent(text, count);
}

bool CDC::GetTextExtentPoint32(const char* text, int count, SIZE* size) const {
    if (text == nullptr || size == nullptr) return false;
    *size = GetTextExtent(text, count);
    return true;
}

bool CDC::GetTextMetrics(TEXTMETRIC* metrics) const {
    if (metrics == nullptr) return false;
    doTextMetrics(metrics);
    return true;
}

namespace {

// Drops trailing bytes until the text ends on a whole UTF-8 character.
void trimPartialCharacter(std::string& s) {
    std::size_t i = s.size();
    while (i > 0 && (static_cast<unsigned char>(s[i - 1]) & 0xC0) == 0x80) --i;
    if (i > 0 && static_cast<unsigned char>(s[i - 1]) >= 0xC0) {
        const unsigned char lead = static_cast<unsigned char>(s[i - 1]);
        const std::size_t need = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
        if (s.size() - (i - 1) < need) s.resize(i - 1);
    }
}

}  // namespace

int CDC::DrawText(const char* text, RECT* rect, unsigned format) {
    if (text == nullptr) return 0;
    std::string copy(text);
    copy.append(4, '\0');
    return DrawText(copy.data(), static_cast<int>(std::strlen(text)), rect,
                    format & ~DT_MODIFYSTRING);
}

int CDC::DrawText(char* text, int count, RECT* rect, unsigned format) {
    if (text == nullptr || rect == nullptr) return 0;
    if (count < 0) count = static_cast<int>(std::strlen(text));
    TEXTMETRIC tm;
    doTextMetrics(&tm);
    const int lineHeight = tm.tmHeight;

    // Split into lines; a single line shows line breaks as blanks.
    std::vector<std::string> lines;
    std::string current;
    for (int i = 0; i < count; ++i) {
        const char c = text[i];
        if (c == '\r') {
            if (format & DT_SINGLELINE) current += ' ';
        } else if (c == '\n') {
            if (format & DT_SINGLELINE) {
                current += ' ';
            } else {
                lines.push_back(current);
                current.clear();
            }
        } else if (c == '\t' && (format & DT_EXPANDTABS)) {
            do {
                current += ' ';
            } while (current.size() % 8 != 0);
        } else {
            current += c;
        }
    }
    lines.push_back(current);

    const CRect box(*rect);
    const int boxWidth = box.Width();
    auto width = [&](const std::string& s) {
        return doTextExtent(s.data(), static_cast<int>(s.size())).cx;
    };

    if ((format & DT_WORDBREAK) && !(format & DT_SINGLELINE) && boxWidth > 0) {
        std::vector<std::string> wrapped;
        for (const std::string& line : lines) {
            std::string out;
            std::size_t pos = 0;
            while (pos <= line.size()) {
                std::size_t end = line.find(' ', pos);
                if (end == std::string::npos) end = line.size();
                const std::string word = line.substr(pos, end - pos);
                const std::string candidate = out.empty() ? word : out + " " + word;
                if (!out.empty() && width(candidate) > boxWidth) {
                    wrapped.push_back(out);
                    out = word;
                } else {
                    out = candidate;
                }
                pos = end + 1;
            }
            wrapped.push_back(out);
        }
        lines.swap(wrapped);
    }

    bool shortened = false;
    if (format & DT_END_ELLIPSIS) {
        for (std::string& line : lines) {
            if (width(line) <= boxWidth) continue;
            std::string cut = line;
            while (!cut.empty() && width(cut + "...") > boxWidth) {
                cut.pop_back();
                trimPartialCharacter(cut);
            }
            line = cut + "...";
            shortened = true;
        }
    }

    int maxWidth = 0;
    for (const std::string& line : lines) maxWidth = std::max(maxWidth, width(line));
    const int totalHeight = lineHeight * static_cast<int>(lines.size());

    if (format & DT_CALCRECT) {
        rect->right = rect->left + maxWidth;
        rect->bottom = rect->top + totalHeight;
        return totalHeight;
    }
    if (shortened && (format & DT_MODIFYSTRING) && lines.size() == 1) {
        std::memcpy(text, lines[0].c_str(), lines[0].size() + 1);
        // The text drawn is now the shortened one, without its terminator.
        count = static_cast<int>(lines[0].size());
    }

    int y = box.top;
    if (format & DT_SINGLELINE) {
        if (format & DT_VCENTER) {
            y = box.top + (box.Height() - totalHeight) / 2;
        } else if (format & DT_BOTTOM) {
            y = box.bottom - totalHeight;
        }
    }
    std::vector<TextLine> layout;
    for (const std::string& line : lines) {
        const int w = width(line);
        int x = box.left;
        if (format & DT_CENTER) {
            x = box.left + (boxWidth - w) / 2;
        } else if (format & DT_RIGHT) {
            x = box.right - w;
        }
        layout.push_back(TextLine{line, CPoint(x, y), w});
        y += lineHeight;
    }
    doDrawText(text, count, box, format, layout);
    return totalHeight;
}

// Bit blits.

bool CDC::BitBlt(int x, int y, int width, int height, CDC* source, int xSrc, int ySrc,
                 std::uint32_t rop) {
    return StretchBlt(x, y, width, height, source, xSrc, ySrc, width, height, rop);
}

bool CDC::StretchBlt(int x, int y, int width, int height, CDC* source, int xSrc, int ySrc,
                     int srcWidth, int srcHeight, std::uint32_t rop) {
    CBitmap pixels;
    CRect from;
    const bool needsSource = rop != BLACKNESS && rop != WHITENESS && rop != DSTINVERT;
    if (needsSource) {
        if (source == nullptr) return false;
        pixels = source->GetPixelSource();
        if (pixels.GetSafeHandle() == nullptr) return false;
        from = CRect(xSrc, ySrc, xSrc + srcWidth, ySrc + srcHeight);
        source->LPtoDP(&from);
    }
    doBlit(CRect(x, y, x + width, y + height), pixels, from, rop);
    return true;
}
