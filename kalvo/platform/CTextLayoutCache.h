#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include <kalvo/platform/CFont.h>
#include <kalvo/platform/TextMetric.h>

typedef struct _PangoContext PangoContext;
typedef struct _PangoLayout PangoLayout;
typedef struct _PangoFontDescription PangoFontDescription;
typedef struct _cairo_scaled_font cairo_scaled_font_t;

// Fonts and laid-out strings for the cairo device contexts, kept from one paint to the next:
// a label drawn again in the same font at the same size is not itemised and shaped again,
// and a font's metrics are worked out once. Graphs and tables redraw the same few hundred
// strings on every repaint, and shaping them took most of a repaint's time.
//
// One cache per thread (pango objects belong to the thread that uses them). Laid-out strings
// are dropped, all at once, when more than MAX_LAYOUTS have gathered; fonts are kept.
class CTextLayoutCache {
public:
    static constexpr int MAX_LAYOUTS = 4096;

    // A string laid out, with what drawing it asks of the layout worked out once: its logical
    // extents and baseline in pixels, and its glyphs where cairo would place them.
    struct Text {
        // A glyph of a font, its origin in pango units from the layout's top left.
        struct Glyph {
            cairo_scaled_font_t* font;
            unsigned long index;
            int x, y;
        };
        PangoLayout* layout = nullptr;
        int x = 0, y = 0, width = 0, height = 0;  // the logical extents, in pixels
        double baseline = 0.0;                    // from the top, in pixels
        // False when only pango's renderer draws the layout rightly: attributes (underline,
        // strike-out) or glyphs the fonts lack.
        bool glyphsDrawable = false;
        std::vector<Glyph> glyphs;
    };

    // A font at a device size: the pango description, its underline and strike-out
    // attributes, and the metrics a device context reports for it, in device pixels.
    class Font {
    public:
        ~Font();
        Font(const Font&) = delete;
        Font& operator=(const Font&) = delete;

        const TEXTMETRIC& getMetrics() const { return metrics_; }
        const CFont& getFont() const { return font_; }

    private:
        friend class CTextLayoutCache;
        Font() = default;

        CFont font_;
        PangoFontDescription* description_ = nullptr;
        bool underline_ = false;
        bool strikeOut_ = false;
        TEXTMETRIC metrics_{};
        std::unordered_map<std::string, Text> layouts_;
    };

    // The calling thread's cache.
    static CTextLayoutCache& forThread();

    ~CTextLayoutCache();
    CTextLayoutCache(const CTextLayoutCache&) = delete;
    CTextLayoutCache& operator=(const CTextLayoutCache&) = delete;

    // The font at `scaleY` device pixels per logical unit of its height (a height of 0
    // stands for 16 pixels; a positive height is the cell height, a negative one the
    // character height). Lives as long as the cache.
    Font& font(const CFont& font, double scaleY);
    // The UTF-8 text laid out in the font; valid until the next call.
    const Text& layout(Font& font, const std::string& utf8);

    // Laid-out strings held now, over all fonts.
    int getLayoutCount() const { return layoutCount_; }

private:
    CTextLayoutCache();
    void dropLayouts();

    PangoContext* context_ = nullptr;
    std::unordered_map<std::string, std::unique_ptr<Font>> fonts_;
    int layoutCount_ = 0;
};
