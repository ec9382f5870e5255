#pragma once

#include <cstdint>

#include <kalvo/platform/CBitmap.h>
#include <kalvo/platform/CBrush.h>
#include <kalvo/platform/CDC.h>
#include <kalvo/platform/CFont.h>
#include <kalvo/platform/CPen.h>
#include <kalvo/platform/CRect.h>
#include <kalvo/platform/CWnd.h>
#include <kalvo/platform/ColorRef.h>

// The one drawing context of the library. It wraps a device context for one paint, page or
// off-screen rendering, owns the pen and brush it selects, and on destruction puts the
// device context back as it found it: objects, origin, clip, background mode, text
// alignment and text colour.
//
// Drawing colour, fill colour and text colour move together through setColor. In a raster
// operation other than copy (rubber bands drawn with XOR) the filling operations draw
// nothing and the 3-D and text-in-rectangle operations draw plain outlines.
class KGraphics {
public:
    // Wraps a device context; deletes it on destruction when it owns it.
    KGraphics(CDC* dc, bool ownsContext = false);
    // Draws on the window's client area through a new client device context; pass true so
    // that it is deleted with this object.
    KGraphics(CWnd* wnd, bool ownsContext = true);
    // The same device context, never owned; colour count, pen width and colour are copied,
    // no pen or brush is created.
    KGraphics(const KGraphics& other);
    KGraphics& operator=(const KGraphics&) = delete;
    virtual ~KGraphics();

    CDC* getDC() const { return dc_; }
    unsigned getSerial() const { return serial_; }
    // How many contexts are alive.
    static unsigned getInstanceCount() { return instances_; }

    bool isPrinting() const;
    bool isPrintPreview() const;
    bool isHighColor() const { return colorCount_ == -1; }
    int getColorDepth() const;

    void setOrigin(CPoint origin);
    CPoint getOrigin() const;
    // Moves all later drawing by +p (window origin := origin - p); -= undoes it.
    KGraphics& operator+=(CPoint p);
    KGraphics& operator-=(CPoint p);
    bool contains(CRect rect) const;
    CRect getClipBounds() const;
    void clipRect(CRect rect);
    void resetClip();
    void setClip(CRect rect);

    // A null font selects the shared default font.
    void setFont(CFont* font);
    void dispose() { setFont(nullptr); }
    COLORREF getColor() const { return color_; }
    // Pen (colour, width, style 0 solid, 1 dash, 2 dot, 3 dash-dot), solid brush and text
    // colour, recreated only when colour or width change; nothing while the colour lock is
    // set. A two-colour print preview draws in grey.
    void setColor(COLORREF color, int width = 1, int style = 0);
    static COLORREF toGray(COLORREF rgb);
    static void setColorLock(bool lock) { colorLock_ = lock; }
    static bool getColorLock() { return colorLock_; }

    void drawPixel(int x, int y, COLORREF color);
    void drawLine(int x1, int y1, int x2, int y2);
    void drawLine(CPoint p1, CPoint p2) { drawLine(p1.x, p1.y, p2.x, p2.y); }
    void drawRect(int x1, int y1, int x2, int y2);
    void drawRect(CRect r) { drawRect(r.left, r.top, r.right, r.bottom); }
    void fillRect(int x1, int y1, int x2, int y2);
    void fillRect(CRect r) { fillRect(r.left, r.top, r.right, r.bottom); }
    void fillHatchedRect(CRect r, COLORREF fore, COLORREF back, int hatchStyle);
    void fillShadedRect(CRect r, COLORREF color);
    void draw3DRect(int x1, int y1, int x2, int y2, bool raised);
    void draw3DRect(CRect r, bool raised) { draw3DRect(r.left, r.top, r.right, r.bottom, raised); }
    void drawMetalRect(CRect r);
    void drawMetalRect(int x1, int y1, int x2, int y2) { drawMetalRect(CRect(x1, y1, x2, y2)); }
    void drawOval(int x1, int y1, int x2, int y2);
    void drawOval(CRect r) { drawOval(r.left, r.top, r.right, r.bottom); }
    void fillOval(int x1, int y1, int x2, int y2);
    void fillOval(CRect r) { fillOval(r.left, r.top, r.right, r.bottom); }
    void draw3DOval(int x1, int y1, int x2, int y2, bool raised);
    void draw3DOval(CRect r, bool raised) { draw3DOval(r.left, r.top, r.right, r.bottom, raised); }
    // Angles in degrees counter-clockwise from 3 o'clock; a negative sweep runs clockwise.
    void drawArc(CRect r, double startDegrees, double sweepDegrees);
    void drawPie(CRect r, double startDegrees, double sweepDegrees);
    void drawChord(CRect r, double startDegrees, double sweepDegrees);
    void fillTriangle(CPoint p1, CPoint p2, CPoint p3);
    void fillTriangle(int x1, int y1, int x2, int y2, int x3, int y3);

    void drawString(const char* text, int x, int y);
    void drawString(const char* text, CPoint p) { drawString(text, p.x, p.y); }
    // Centred on one line, tabs expanded, cut with an ellipsis when too long.
    void drawString(const char* text, CRect r);
    // (0, -descent, width, height - descent): the text's box around its baseline-ish origin.
    CRect computeTextExtents(const char* text) const;
    // The box of a possibly multi-line text.
    CRect computeTextBounds(const char* text) const;
    // The extent of a line of text in the font, as the cairo backend draws it, for sizing
    // components before any drawing context exists. One measuring context serves all.
    static CSize measureText(const CFont& font, const char* text);

    // Copies the bitmap (the source part, or all of it) with its top-left at the point.
    void drawImage(CBitmap* bitmap, const CRect* source, int x, int y);
    void drawImage(CBitmap* bitmap, const CRect* source, CPoint p) {
        drawImage(bitmap, source, p.x, p.y);
    }
    // Draws the black pixels of a monochrome mask in the colour; white ones leave the
    // picture untouched.
    void drawMask(CBitmap* bitmap, const CRect* source, CPoint p, COLORREF color);

private:
    void initialize();
    void arcPoints(CRect r, double start, double sweep, CPoint& from, CPoint& to) const;
    CRect sourceOf(CBitmap* bitmap, const CRect* source) const;

    CDC* dc_;
    unsigned serial_ = 0;
    bool ownsContext_;
    int colorCount_ = -1;
    int penWidth_ = -1;
    COLORREF color_ = 0xFFFFFFFF;
    CPen* ownedPen_ = nullptr;
    CBrush* ownedBrush_ = nullptr;
    int savedBkMode_ = 0;
    unsigned savedTextAlign_ = 0;
    COLORREF savedTextColor_ = 0;
    CPen savedPen_;
    CBrush savedBrush_;
    CFont savedFont_;
    CRect savedClipBox_;
    CPoint savedOrigin_;

    static unsigned instances_;
    static bool colorLock_;
    static CBitmap* sharedPattern_;
    static CFont* sharedFont_;
};
