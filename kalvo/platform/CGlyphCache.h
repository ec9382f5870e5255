#pragma once

#include <cstdint>
#include <unordered_map>
#include <vector>

typedef struct _cairo_scaled_font cairo_scaled_font_t;

// The coverage of glyphs as the font renders them, kept so that text on image surfaces can
// be blended straight into the pixels: tables and read-outs draw hundreds of short strings
// on every repaint, and going through cairo's glyph drawing for each cost most of their
// time. A glyph is rendered once by cairo itself, so the pixels come out as cairo draws
// them.
//
// One cache per thread, as the fonts belong to the thread's layouts. Glyphs are dropped,
// all at once, when more than MAX_GLYPHS have gathered and the cache is trimmed.
class CGlyphCache {
public:
    static constexpr int MAX_GLYPHS = 8192;

    // A glyph's coverage, 0 to 255 per pixel, in rows of `width`; left and top place its
    // first pixel from the glyph's origin on the baseline. Empty for blank glyphs.
    struct Glyph {
        int left = 0, top = 0;
        int width = 0, height = 0;
        std::vector<std::uint8_t> alpha;
    };

    static CGlyphCache& forThread();

    ~CGlyphCache();
    CGlyphCache(const CGlyphCache&) = delete;
    CGlyphCache& operator=(const CGlyphCache&) = delete;

    // The glyph of the font (held by the cache while it keeps glyphs of it); valid until
    // the next trim().
    const Glyph& glyph(cairo_scaled_font_t* font, unsigned long index);
    // Drops every glyph when more than MAX_GLYPHS have gathered.
    void trim();

private:
    CGlyphCache() = default;
    void drop();

    std::unordered_map<cairo_scaled_font_t*, std::unordered_map<unsigned long, Glyph>> fonts_;
    int count_ = 0;
};
