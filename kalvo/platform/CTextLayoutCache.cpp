#include <kalvo/platform/CTextLayoutCache.h>

#include <cmath>

#include <pango/pangocairo.h>

CTextLayoutCache::Font::~Font() {
    for (auto& entry : layouts_) g_object_unref(entry.second.layout);
    if (description_ != nullptr) pango_font_description_free(description_);
}

CTextLayoutCache& CTextLayoutCache::forThread() {
    thread_local CTextLayoutCache cache;
    return cache;
}

CTextLayoutCache::CTextLayoutCache() {
    context_ = pango_font_map_create_context(pango_cairo_font_map_get_default());
    cairo_font_options_t* options = cairo_font_options_create();
    cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_ON);
    cairo_font_options_set_antialias(options, CAIRO_ANTIALIAS_GRAY);
    pango_cairo_context_set_font_options(context_, options);
    pango_cairo_context_set_resolution(context_, 96);
    cairo_font_options_destroy(options);
}

CTextLayoutCache::~CTextLayoutCache() {
    fonts_.clear();
    g_object_unref(context_);
}

CTextLayoutCache::Font& CTextLayoutCache::font(const CFont& font, double scaleY) {
    const int height = font.GetHeight();
    double pixels = height == 0 ? 16 : std::abs(height) * std::fabs(scaleY);
    std::string key = font.GetFaceName().c_str();
    key += '\n' + std::to_string(font.GetWeight()) + (font.IsItalic() ? "i" : "") +
           (font.IsUnderline() ? "u" : "") + (font.IsStrikeOut() ? "s" : "") +
           (height >= 0 ? "c" : "h") + std::to_string(pixels);
    std::unique_ptr<Font>& slot = fonts_[key];
    if (slot) return *slot;

    slot.reset(new Font());
    Font& f = *slot;
    f.font_ = font;
    f.underline_ = font.IsUnderline();
    f.strikeOut_ = font.IsStrikeOut();
    f.description_ = pango_font_description_new();
    pango_font_description_set_family(f.description_, font.GetFaceName().c_str());
    pango_font_description_set_weight(f.description_, static_cast<PangoWeight>(font.GetWeight()));
    pango_font_description_set_style(f.description_,
                                     font.IsItalic() ? PANGO_STYLE_ITALIC : PANGO_STYLE_NORMAL);
    pango_font_description_set_absolute_size(f.description_, pixels * PANGO_SCALE);
    PangoFontMetrics* m = pango_context_get_metrics(context_, f.description_, nullptr);
    if (height >= 0) {
        // A cell height: scale the size so that ascent + descent come to it.
        const double cell =
            static_cast<double>(pango_font_metrics_get_ascent(m) + pango_font_metrics_get_descent(m)) /
            PANGO_SCALE;
        if (cell > 0) {
            pixels = pixels * pixels / cell;
            pango_font_description_set_absolute_size(f.description_, pixels * PANGO_SCALE);
            pango_font_metrics_unref(m);
            m = pango_context_get_metrics(context_, f.description_, nullptr);
        }
    }
    const int ascent = PANGO_PIXELS(pango_font_metrics_get_ascent(m));
    const int descent = PANGO_PIXELS(pango_font_metrics_get_descent(m));
    TEXTMETRIC& t = f.metrics_;
    t.tmAscent = ascent;
    t.tmDescent = descent;
    t.tmHeight = ascent + descent;
    t.tmInternalLeading = std::max(0, ascent + descent - static_cast<int>(std::lround(pixels)));
    t.tmExternalLeading = 0;
    t.tmAveCharWidth = PANGO_PIXELS(pango_font_metrics_get_approximate_char_width(m));
    t.tmMaxCharWidth = t.tmAveCharWidth * 2;
    t.tmWeight = font.GetWeight();
    t.tmItalic = font.IsItalic();
    pango_font_metrics_unref(m);
    return f;
}

namespace {

// The glyphs of the layout with their fonts and origins, as pango's cairo renderer hands
// them to cairo; false when the layout needs that renderer.
bool listGlyphs(PangoLayout* layout, std::vector<CTextLayoutCache::Text::Glyph>& glyphs) {
    if (pango_layout_get_attributes(layout) != nullptr) return false;
    PangoLayoutIter* iter = pango_layout_get_iter(layout);
    bool ok = true;
    do {
        PangoLayoutRun* run = pango_layout_iter_get_run_readonly(iter);
        if (run == nullptr) continue;  // a line's end
        PangoRectangle logical;
        pango_layout_iter_get_run_extents(iter, nullptr, &logical);
        const int baseline = pango_layout_iter_get_baseline(iter);
        cairo_scaled_font_t* font =
            pango_cairo_font_get_scaled_font(PANGO_CAIRO_FONT(run->item->analysis.font));
        if (font == nullptr || cairo_scaled_font_status(font) != CAIRO_STATUS_SUCCESS) {
            ok = false;
            break;
        }
        int at = logical.x;
        for (int i = 0; i < run->glyphs->num_glyphs && ok; ++i) {
            const PangoGlyphInfo& info = run->glyphs->glyphs[i];
            if (info.glyph & PANGO_GLYPH_UNKNOWN_FLAG) ok = false;
            if (info.glyph != PANGO_GLYPH_EMPTY) {
                glyphs.push_back({font, info.glyph, at + info.geometry.x_offset,
                                  baseline + info.geometry.y_offset});
            }
            at += info.geometry.width;
        }
    } while (ok && pango_layout_iter_next_run(iter));
    pango_layout_iter_free(iter);
    return ok;
}

}  // namespace

const CTextLayoutCache::Text& CTextLayoutCache::layout(Font& f, const std::string& utf8) {
    auto found = f.layouts_.find(utf8);
    if (found != f.layouts_.end()) return found->second;
    if (layoutCount_ >= MAX_LAYOUTS) dropLayouts();

    PangoLayout* layout = pango_layout_new(context_);
    pango_layout_set_font_description(layout, f.description_);
    if (f.underline_ || f.strikeOut_) {
        PangoAttrList* attributes = pango_attr_list_new();
        if (f.underline_)
            pango_attr_list_insert(attributes, pango_attr_underline_new(PANGO_UNDERLINE_SINGLE));
        if (f.strikeOut_) pango_attr_list_insert(attributes, pango_attr_strikethrough_new(true));
        pango_layout_set_attributes(layout, attributes);
        pango_attr_list_unref(attributes);
    }
    pango_layout_set_text(layout, utf8.data(), static_cast<int>(utf8.size()));
    Text& text = f.layouts_[utf8];
    text.layout = layout;
    PangoRectangle logical;
    pango_layout_get_pixel_extents(layout, nullptr, &logical);
    text.x = logical.x;
    text.y = logical.y;
    text.width = logical.width;
    text.height = logical.height;
    text.baseline = static_cast<double>(pango_layout_get_baseline(layout)) / PANGO_SCALE;
    text.glyphsDrawable = listGlyphs(layout, text.glyphs);
    ++layoutCount_;
    return text;
}

void CTextLayoutCache::dropLayouts() {
    for (auto& entry : fonts_) {
        for (auto& layout : entry.second->layouts_) g_object_unref(layout.second.layout);
        entry.second->layouts_.clear();
    }
    layoutCount_ = 0;
}
