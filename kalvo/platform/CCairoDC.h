#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <cairo.h>

#include <kalvo/platform/CDC.h>
#include <kalvo/platform/CTextLayoutCache.h>

typedef struct _PangoLayout PangoLayout;

// The device context that draws through cairo: on image surfaces (pictures written as PNG,
// memory device contexts), SVG and PDF surfaces, or any cairo context a host hands in.
//
// Lines of pens of width 0 or 1 cover whole pixels and leave out their end pixel, so a
// rectangle outline from (0, 0) to (10, 10) touches the pixels 0 to 9. On image surfaces
// they are set pixel by pixel, and every raster operation (XOR included) combines pixel
// values bitwise, so that drawing the same XOR line twice restores the picture. Elsewhere
// the raster operations other than copy fall back to cairo's difference operator. Curves
// and wide pens are antialiased unless SetAntialias(false). Text goes through Pango.
class CCairoDC : public CDC {
public:
    // Draws on a host's context (referenced for the lifetime of this object); the device
    // size is the extent of its clip. The context's state is restored on destruction.
    explicit CCairoDC(cairo_t* cr);
    ~CCairoDC() override;

    // A white image of the given size.
    static CCairoDC* CreateImage(int width, int height);
    // An SVG picture written to the file, or appended to the string, when the device
    // context is deleted or finished.
    static CCairoDC* CreateSVG(const char* path, int width, int height);
    static CCairoDC* CreateSVG(std::string* out, int width, int height);
    // A PDF document of pages of the given size in points (one logical unit each); a
    // printing device context. Null when the file cannot be created.
    static CCairoDC* CreatePDF(const char* path, int width, int height);
    static CCairoDC* CreatePDF(std::string* out, int width, int height);

    // Page control of printing device contexts: EndPage starts a new page.
    int StartPage();
    int EndPage();
    // Completes the output of SVG and PDF surfaces; nothing can be drawn afterwards.
    void Finish();

    bool WritePNG(const char* path) const;
    void SetAntialias(bool antialias) { antialias_ = antialias; }
    bool GetAntialias() const { return antialias_; }
    cairo_t* GetCairo() const { return cr_; }
    cairo_surface_t* GetSurface() const { return surface_; }

    CSize GetDeviceSize() const override { return size_; }
    CDC* CreateCompatibleDC() override;
    bool IsMemoryDC() const override { return memory_; }
    bool IsOffScreen() const override { return offScreen_; }
    COLORREF GetPixel(int x, int y) const override;
    CBitmap GetPixelSource() const override;
    // Moves the image's pixels inside the area (device pixels) by (dx, dy), as a window
    // scrolls: what moves out of the area is lost and what the move uncovers keeps its old
    // pixels, for the caller to paint. Clip and transformation play no part. False, with
    // nothing moved, on surfaces other than images.
    bool ScrollDC(int dx, int dy, const CRect& area);

protected:
    void stateChanged(Call call) override;
    void doLine(CPoint from, CPoint to) override;
    void doPolyline(const std::vector<CPoint>& points) override;
    void doPolygon(const std::vector<CPoint>& points) override;
    void doRectangle(const CRect& r) override;
    void doEllipse(const CRect& r) override;
    void doArc(Call kind, const CRect& r, CPoint start, CPoint end) override;
    void doFillRect(const CRect& r, const CBrush& brush) override;
    void doSetPixel(int x, int y, COLORREF color) override;
    void doTextOut(int x, int y, const char* text, int count) override;
    void doDrawText(const char* text, int count, const CRect& rect, unsigned format,
                    const std::vector<TextLine>& lines) override;
    CSize doTextExtent(const char* text, int count) const override;
    void doTextMetrics(TEXTMETRIC* metrics) const override;
    void doBlit(const CRect& destination, const CBitmap& source, const CRect& from,
                std::uint32_t rop) override;

private:
    enum class Kind { HOST, IMAGE, VECTOR, MEMORY };
    CCairoDC(cairo_surface_t* surface, Kind kind, CSize size);
    void attach(cairo_surface_t* surface, CSize size);
    void applyClip();

    // Whether pixels can be set directly: an image surface drawn without transformation.
    bool isRaster() const { return raster_; }
    std::uint32_t* pixelRow(int y) const;
    // Notes the pixels of an image target (after raster_ is set).
    void notePixels();
    void beginPixels() const;
    void endPixels(const CRect& touched) const;

    // One-pixel lines between device points, pixel-exact; `last` includes the end pixel.
    void thinLine(CPoint from, CPoint to, bool last);
    void rasterLine(int x1, int y1, int x2, int y2, bool last);
    // Runs a cairo drawing on the device, or, for a raster operation other than copy on an
    // image, on a scratch image whose opaque pixels are then combined into the device.
    template <typename Draw>
    void render(Draw draw);
    bool setBrushSource(cairo_t* cr, const CBrush& brush) const;
    void setPenSource(cairo_t* cr) const;
    void fillAndStroke(cairo_t* cr, bool fill, bool curve) const;

    const CTextLayoutCache::Text& layoutFor(const char* text, int count) const;
    void drawLayout(cairo_t* cr, const CTextLayoutCache::Text& text, double x, double y) const;
    // Text straight into an image's pixels: the glyphs of the text placed with its top left
    // at device point (x, y), as cairo would place them; false when the text needs pango's
    // renderer or the device takes no pixels this way.
    bool placeGlyphs(const CTextLayoutCache::Text& text, double x, double y);
    // Blends the placed glyphs in the text colour into the pixels within the clip.
    void blendGlyphs(const CRect& clip);
    struct PlacedGlyph {
        int x, y;  // the glyph's first pixel
        const std::uint8_t* alpha;
        int width, height;
        CRect box() const { return CRect(x, y, x + width, y + height); }
    };
    std::vector<PlacedGlyph> placed_;
    std::vector<std::uint8_t> coverage_;

    cairo_t* cr_ = nullptr;
    cairo_surface_t* surface_ = nullptr;
    CSize size_;
    bool memory_ = false;
    bool offScreen_ = false;
    bool raster_ = false;
    // The image's pixels while raster_: its rows, their distance apart and whether they
    // have no alpha.
    unsigned char* pixels_ = nullptr;
    int stride_ = 0;
    bool opaque_ = false;
    bool antialias_ = true;
    std::string* out_ = nullptr;

    mutable CTextLayoutCache::Font* font_ = nullptr;  // the selected font, while fontValid_
    mutable CFont layoutFont_;
    mutable bool fontValid_ = false;
    mutable TEXTMETRIC metrics_{};
};
