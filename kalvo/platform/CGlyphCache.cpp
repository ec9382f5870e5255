#include <kalvo/platform/CGlyphCache.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include <cairo.h>

CGlyphCache& CGlyphCache::forThread() {
    thread_local CGlyphCache cache;
    return cache;
}

CGlyphCache::~CGlyphCache() {
    drop();
}

void CGlyphCache::trim() {
    if (count_ > MAX_GLYPHS) drop();
}

void CGlyphCache::drop() {
    for (auto& entry : fonts_) cairo_scaled_font_destroy(entry.first);
    fonts_.clear();
    count_ = 0;
}

const CGlyphCache::Glyph& CGlyphCache::glyph(cairo_scaled_font_t* font, unsigned long index) {
    auto known = fonts_.find(font);
    if (known != fonts_.end()) {
        auto found = known->second.find(index);
        if (found != known->second.end()) return found->second;
    }
    if (known == fonts_.end()) {
        known = fonts_
                    .emplace(cairo_scaled_font_reference(font),
                             std::unordered_map<unsigned long, Glyph>())
                    .first;
    }
    Glyph& g = known->second[index];
    ++count_;
    cairo_glyph_t one{index, 0.0, 0.0};
    cairo_text_extents_t ink;
    cairo_scaled_font_glyph_extents(font, &one, 1, &ink);
    if (!(ink.width > 0 && ink.height > 0)) return g;
    // Two pixels round the ink: hinting may reach a little past the extents.
    g.left = static_cast<int>(std::floor(ink.x_bearing)) - 2;
    g.top = static_cast<int>(std::floor(ink.y_bearing)) - 2;
    g.width = static_cast<int>(std::ceil(ink.x_bearing + ink.width)) + 2 - g.left;
    g.height = static_cast<int>(std::ceil(ink.y_bearing + ink.height)) + 2 - g.top;
    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_A8, g.width, g.height);
    cairo_t* cr = cairo_create(surface);
    cairo_set_scaled_font(cr, font);
    one.x = -g.left;
    one.y = -g.top;
    cairo_show_glyphs(cr, &one, 1);
    cairo_destroy(cr);
    cairo_surface_flush(surface);
    const unsigned char* data = cairo_image_surface_get_data(surface);
    const int stride = cairo_image_surface_get_stride(surface);
    // Kept to the pixels the glyph covers.
    int left = g.width, top = g.height, right = 0, bottom = 0;
    for (int y = 0; y < g.height; ++y) {
        for (int x = 0; x < g.width; ++x) {
            if (data[y * stride + x] == 0) continue;
            left = std::min(left, x);
            right = std::max(right, x + 1);
            top = std::min(top, y);
            bottom = std::max(bottom, y + 1);
        }
    }
    if (right > left) {
        g.alpha.resize(static_cast<size_t>(right - left) * (bottom - top));
        for (int y = top; y < bottom; ++y) {
            std::memcpy(&g.alpha[static_cast<size_t>(y - top) * (right - left)],
                        data + y * stride + left, right - left);
        }
        g.left += left;
        g.top += top;
        g.width = right - left;
        g.height = bottom - top;
    } else {
        g.width = g.height = 0;
    }
    cairo_surface_destroy(surface);
    return g;
}
