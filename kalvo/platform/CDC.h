#pragma once

#include <string>
#include <vector>

#include <kalvo/platform/CBitmap.h>
#include <kalvo/platform/CBrush.h>
#include <kalvo/platform/CFont.h>
#include <kalvo/platform/CPen.h>
#include <kalvo/platform/CRect.h>
#include <kalvo/platform/ColorRef.h>
#include <kalvo/platform/StockObject.h>
#include <kalvo/platform/TextMetric.h>

// A device context: the drawing surface behind every paint, print page and off-screen
// picture, with the vocabulary of the classic graphics device interface. This base class
// keeps the whole drawing state (selected objects, colours, modes, raster operation, current
// position, origins, mapping, clip) and the coordinate conversions; the backends draw.
//
// Objects are values: SelectObject keeps a copy and gives back the previous one, so the
// caller may select the returned value again to restore it. Coordinates are logical unless
// a name says otherwise; rectangles exclude their right and bottom sides. The clip is always
// a rectangle, in device coordinates, intersected by IntersectClipRect and removed by
// SelectClipRgn(nullptr).
class CDC {
public:
    // Every call that a recording device context remembers: the state changes, then, from
    // LineTo on, the drawing calls.
    enum class Call {
        SelectPen,
        SelectBrush,
        SelectFont,
        SelectBitmap,
        SetBkMode,
        SetBkColor,
        SetTextColor,
        SetTextAlign,
        SetROP2,
        SetPolyFillMode,
        SetBrushOrg,
        MoveTo,
        SetWindowOrg,
        SetViewportOrg,
        SetMapMode,
        SetWindowExt,
        SetViewportExt,
        IntersectClipRect,
        SelectClipRgn,
        SetState,
        LineTo,
        Polyline,
        Polygon,
        Rectangle,
        Ellipse,
        Arc,
        Pie,
        Chord,
        FillRect,
        SetPixel,
        TextOut,
        DrawText,
        BitBlt,
        StretchBlt,
    };

    // One line of DrawText's layout.
    struct TextLine {
        std::string text;
        CPoint at;  // logical top-left
        int width;
    };

    // The drawing state that every call runs under.
    struct State {
        CPen pen = CPen::Stock(BLACK_PEN);
        CBrush brush = CBrush::Stock(WHITE_BRUSH);
        CFont font;      // not created: the device's default font
        CBitmap bitmap;  // memory device contexts only
        COLORREF textColor = 0;
        COLORREF bkColor = 0xFFFFFF;
        int bkMode = 2;  // OPAQUE
        unsigned textAlign = 0;
        int rop2 = 13;         // R2_COPYPEN
        int polyFillMode = 1;  // ALTERNATE
        CPoint brushOrg;       // device point where hatch and pattern cells start
        CPoint position;
        CPoint windowOrg;
        CPoint viewportOrg;
        int mapMode = 1;  // MM_TEXT
        CSize windowExt{1, 1};
        CSize viewportExt{1, 1};
        bool clipped = false;
        CRect clip;  // device coordinates, when clipped
    };

    CDC() = default;
    CDC(const CDC&) = delete;
    CDC& operator=(const CDC&) = delete;
    virtual ~CDC();

    // Device.
    bool IsPrinting() const { return printing_; }
    void SetPrinting(bool printing) { printing_ = printing; }
    // True when output goes to another device than the one measured: a print preview.
    bool IsPrintPreview() const { return printPreview_; }
    void SetPrintPreview(bool preview) { printPreview_ = preview; }
    // HORZRES, VERTRES, BITSPIXEL, PLANES, NUMCOLORS, LOGPIXELSX, LOGPIXELSY.
    int GetDeviceCaps(int index) const;
    // Colour depth as NUMCOLORS and BITSPIXEL report it (-1 colours above 8 bits).
    void SetColorDepth(int bitsPerPixel) { bitsPixel_ = bitsPerPixel; }
    // The device's size in pixels.
    virtual CSize GetDeviceSize() const = 0;
    // A memory device context that draws into the bitmap selected into it (a 1x1
    // monochrome bitmap until then). The caller deletes it.
    virtual CDC* CreateCompatibleDC() = 0;
    // Whether SelectObject(CBitmap) is meaningful (memory device contexts).
    virtual bool IsMemoryDC() const { return false; }
    // Whether the drawing is kept as a picture file to be played back elsewhere.
    virtual bool IsMetaFile() const { return false; }
    // Whether the device's pixels are an image in memory that is shown, if at all, only
    // once drawn (pictures, memory device contexts, the pictures hosts show their windows
    // from), rather than drawn where they are seen.
    virtual bool IsOffScreen() const { return false; }
    // Whether drawing lands in pixels that can be read back: not a printer, a metafile or a
    // vector picture.
    bool HasPixels() const;

    // Objects.
    CPen SelectObject(const CPen& pen);
    CBrush SelectObject(const CBrush& brush);
    CFont SelectObject(const CFont& font);
    // Memory device contexts only; elsewhere nothing is selected and a null bitmap returned.
    CBitmap SelectObject(const CBitmap& bitmap);
    void SelectStockObject(int index);
    const CPen& GetCurrentPen() const { return state_.pen; }
    const CBrush& GetCurrentBrush() const { return state_.brush; }
    const CFont& GetCurrentFont() const { return state_.font; }
    const CBitmap& GetCurrentBitmap() const { return state_.bitmap; }

    // Modes and colours; each setter returns the previous value.
    int SetBkMode(int mode);
    int GetBkMode() const { return state_.bkMode; }
    COLORREF SetBkColor(COLORREF color);
    COLORREF GetBkColor() const { return state_.bkColor; }
    // CLR_INVALID changes nothing and is returned.
    COLORREF SetTextColor(COLORREF color);
    COLORREF GetTextColor() const { return state_.textColor; }
    unsigned SetTextAlign(unsigned align);
    unsigned GetTextAlign() const { return state_.textAlign; }
    int SetROP2(int rop);
    int GetROP2() const { return state_.rop2; }
    int SetPolyFillMode(int mode);
    int GetPolyFillMode() const { return state_.polyFillMode; }
    // Hatch and pattern cells repeat every 8 device pixels from the brush origin, so that a
    // fill continues seamlessly across separate fills and into off-screen copies.
    CPoint SetBrushOrg(int x, int y);
    CPoint GetBrushOrg() const { return state_.brushOrg; }

    // Coordinates.
    CPoint SetWindowOrg(int x, int y);
    CPoint SetWindowOrg(CPoint p) { return SetWindowOrg(p.x, p.y); }
    CPoint GetWindowOrg() const { return state_.windowOrg; }
    CPoint SetViewportOrg(int x, int y);
    CPoint GetViewportOrg() const { return state_.viewportOrg; }
    int SetMapMode(int mode);
    int GetMapMode() const { return state_.mapMode; }
    CSize SetWindowExt(int cx, int cy);
    CSize GetWindowExt() const { return state_.windowExt; }
    CSize SetViewportExt(int cx, int cy);
    CSize GetViewportExt() const { return state_.viewportExt; }
    void LPtoDP(POINT* points, int count = 1) const;
    void LPtoDP(RECT* rect) const;
    void DPtoLP(POINT* points, int count = 1) const;
    void DPtoLP(RECT* rect) const;
    // Logical to device as doubles, for curves and sizes.
    double toDeviceX(double x) const;
    double toDeviceY(double y) const;
    double scaleX() const;
    double scaleY() const;

    // Clipping.
    int GetClipBox(RECT* rect) const;
    int IntersectClipRect(int x1, int y1, int x2, int y2);
    int IntersectClipRect(const RECT& r) {
        return IntersectClipRect(r.left, r.top, r.right, r.bottom);
    }
    // Only a null region is accepted: it removes the clip.
    int SelectClipRgn(const void* region);
    bool RectVisible(const RECT& rect) const;
    bool PtVisible(int x, int y) const;
    // The clip in device coordinates, the device's bounds when there is none.
    CRect GetDeviceClip() const;

    // The whole state at once: saved and restored as a stack, or set from a record.
    int SaveDC();
    bool RestoreDC(int saved);
    const State& GetState() const { return state_; }
    // Sets everything but the selected bitmap.
    void SetState(const State& state);

    // Lines and shapes.
    CPoint MoveTo(int x, int y);
    CPoint MoveTo(CPoint p) { return MoveTo(p.x, p.y); }
    CPoint GetCurrentPosition() const { return state_.position; }
    // Draws from the current position to the point, leaving out the end pixel.
    bool LineTo(int x, int y);
    bool LineTo(CPoint p) { return LineTo(p.x, p.y); }
    bool Polyline(const POINT* points, int count);
    bool Polygon(const POINT* points, int count);
    bool Rectangle(int x1, int y1, int x2, int y2);
    bool Rectangle(const RECT& r) { return Rectangle(r.left, r.top, r.right, r.bottom); }
    bool Ellipse(int x1, int y1, int x2, int y2);
    bool Ellipse(const RECT& r) { return Ellipse(r.left, r.top, r.right, r.bottom); }
    // Counter-clockwise from the radial through start to the radial through end.
    bool Arc(const RECT& r, POINT start, POINT end);
    bool Pie(const RECT& r, POINT start, POINT end);
    bool Chord(const RECT& r, POINT start, POINT end);
    void FillRect(const RECT& r, const CBrush* brush);
    void FillSolidRect(const RECT& r, COLORREF color);
    void FillSolidRect(int x, int y, int cx, int cy, COLORREF color);
    // Top and left edges in one colour, bottom and right in the other.
    void Draw3dRect(int x, int y, int cx, int cy, COLORREF topLeft, COLORREF bottomRight);
    void Draw3dRect(const RECT& r, COLORREF topLeft, COLORREF bottomRight);
    COLORREF SetPixel(int x, int y, COLORREF color);
    bool SetPixelV(int x, int y, COLORREF color);
    virtual COLORREF GetPixel(int x, int y) const = 0;

    // Text.
    bool TextOut(int x, int y, const char* text, int count = -1);
    // Draws or, with DT_CALCRECT, measures text in a rectangle (DT_* flags); returns the
    // text height.
    int DrawText(char* text, int count, RECT* rect, unsigned format);
    int DrawText(const char* text, RECT* rect, unsigned format);
    CSize GetTextExtent(const char* text, int count = -1) const;
    bool GetTextExtentPoint32(const char* text, int count, SIZE* size) const;
    bool GetTextMetrics(TEXTMETRIC* metrics) const;

    // Bit blits; the source must be a device context whose pixels can be read (a memory or
    // image context). A monochrome source draws its black pixels in the destination's text
    // colour and its white ones in its background colour.
    bool BitBlt(int x, int y, int width, int height, CDC* source, int xSrc, int ySrc,
                std::uint32_t rop);
    bool StretchBlt(int x, int y, int width, int height, CDC* source, int xSrc, int ySrc,
                    int srcWidth, int srcHeight, std::uint32_t rop);
    // The device's pixels, shared, as blits read them; a null bitmap when they cannot be
    // read (vector and recording devices).
    virtual CBitmap GetPixelSource() const = 0;

protected:
    // Called after every state change; recording backends keep it, raster ones adapt.
    virtual void stateChanged(Call) {}

    // The drawing of the backends. Shapes receive logical coordinates and the state to use
    // is the current one.
    virtual void doLine(CPoint from, CPoint to) = 0;
    virtual void doPolyline(const std::vector<CPoint>& points) = 0;
    virtual void doPolygon(const std::vector<CPoint>& points) = 0;
    virtual void doRectangle(const CRect& r) = 0;
    virtual void doEllipse(const CRect& r) = 0;
    virtual void doArc(Call kind, const CRect& r, CPoint start, CPoint end) = 0;
    virtual void doFillRect(const CRect& r, const CBrush& brush) = 0;
    virtual void doSetPixel(int x, int y, COLORREF color) = 0;
    virtual void doTextOut(int x, int y, const char* text, int count) = 0;
    // DrawText after layout: the lines with their logical top-left corners, clipped to the
    // rectangle unless the format has DT_NOCLIP.
    virtual void doDrawText(const char* text, int count, const CRect& rect, unsigned format,
                            const std::vector<TextLine>& lines) = 0;
    virtual CSize doTextExtent(const char* text, int count) const = 0;
    virtual void doTextMetrics(TEXTMETRIC* metrics) const = 0;
    virtual void doBlit(const CRect& destination, const CBitmap& source, const CRect& from,
                        std::uint32_t rop) = 0;

    State state_;

private:
    bool printing_ = false;
    bool printPreview_ = false;
    int bitsPixel_ = 32;
    std::vector<State> saved_;
    std::vector<CPoint> points_;  // the points of the shape being drawn, kept for their memory
};
