#include <kalvo/platform/CCairoDC.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include <cairo-pdf.h>
#include <cairo-svg.h>
#include <glib.h>
#include <pango/pangocairo.h>

#include <kalvo/platform/CGlyphCache.h>
#include <kalvo/platform/CPixelRow.h>
#include <kalvo/platform/DeviceCaps.h>
#include <kalvo/platform/DeviceModes.h>
#include <kalvo/platform/DrawTextFormat.h>
#include <kalvo/platform/PenStyle.h>
#include <kalvo/platform/RasterOp.h>

namespace {

constexpr double kPi = 3.14159265358979323846;

// COLORREF (red low) to a pixel value 0x00RRGGBB and back.
inline std::uint32_t toPixel(COLORREF c) {
    return ((c & 0xFF) << 16) | (c & 0xFF00) | ((c >> 16) & 0xFF);
}

inline COLORREF toColor(std::uint32_t p) {
    return ((p >> 16) & 0xFF) | (p & 0xFF00) | ((p & 0xFF) << 16);
}

void setColor(cairo_t* cr, COLORREF c) {
    cairo_set_source_rgb(cr, GetRValue(c) / 255.0, GetGValue(c) / 255.0, GetBValue(c) / 255.0);
}

cairo_status_t appendTo(void* closure, const unsigned char* data, unsigned int length) {
    static_cast<std::string*>(closure)->append(reinterpret_cast<const char*>(data), length);
    return CAIRO_STATUS_SUCCESS;
}

// On and off runs of the dashed cosmetic pens, in pixels; each adds up to a divisor of
// PS_PATTERN_PERIOD.
const std::vector<int>& dashesOf(int style) {
    static const std::vector<int> none;
    static const std::vector<int> dash{18, 6};
    static const std::vector<int> dot{3, 3};
    static const std::vector<int> dashDot{9, 6, 3, 6};
    static const std::vector<int> dashDotDot{9, 3, 3, 3, 3, 3};
    switch (style) {
        case PS_DASH:
            return dash;
        case PS_DOT:
            return dot;
        case PS_DASHDOT:
            return dashDot;
        case PS_DASHDOTDOT:
            return dashDotDot;
        default:
            return none;
    }
}

// The library's texts are UTF-8 or, when they are not valid UTF-8, Latin-1.
std::string toUtf8(const char* text, int count) {
    if (g_utf8_validate(text, count, nullptr)) return std::string(text, count);
    std::string out;
    for (int i = 0; i < count; ++i) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        if (c < 0x80) {
            out += static_cast<char>(c);
        } else {
            out += static_cast<char>(0xC0 | (c >> 6));
            out += static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    return out;
}

}  // namespace

// Construction.

CCairoDC::CCairoDC(cairo_t* cr) {
    cr_ = cairo_reference(cr);
    surface_ = cairo_surface_reference(cairo_get_target(cr));
    double x1, y1, x2, y2;
    cairo_clip_extents(cr, &x1, &y1, &x2, &y2);
    size_ = CSize(static_cast<int>(std::ceil(x2)), static_cast<int>(std::ceil(y2)));
    cairo_matrix_t m;
    cairo_get_matrix(cr, &m);
    double ox = 0, oy = 0;
    cairo_surface_get_device_offset(surface_, &ox, &oy);
    raster_ = cairo_surface_get_type(surface_) == CAIRO_SURFACE_TYPE_IMAGE && m.xx == 1 &&
              m.yy == 1 && m.xy == 0 && m.yx == 0 && m.x0 == 0 && m.y0 == 0 && ox == 0 && oy == 0;
    notePixels();
    cairo_save(cr_);
}

CCairoDC::CCairoDC(cairo_surface_t* surface, Kind kind, CSize size)
    : memory_(kind == Kind::MEMORY), offScreen_(kind == Kind::IMAGE || kind == Kind::MEMORY) {
    attach(surface, size);
    cairo_surface_destroy(surface);  // attach took its own reference
}

void CCairoDC::attach(cairo_surface_t* surface, CSize size) {
    if (cr_ != nullptr) cairo_destroy(cr_);
    if (surface_ != nullptr) cairo_surface_destroy(surface_);
    surface_ = cairo_surface_reference(surface);
    cr_ = cairo_create(surface_);
    size_ = size;
    raster_ = cairo_surface_get_type(surface_) == CAIRO_SURFACE_TYPE_IMAGE;
    notePixels();
    cairo_save(cr_);
    applyClip();
}

CCairoDC::~CCairoDC() {
    cairo_restore(cr_);
    cairo_destroy(cr_);
    cairo_surface_destroy(surface_);
}

CCairoDC* CCairoDC::CreateImage(int width, int height) {
    width = std::max(width, 1);
    height = std::max(height, 1);
    cairo_surface_t* s = CBitmap::CreateSurface(width, height);
    cairo_t* cr = cairo_create(s);
    cairo_set_source_rgb(cr, 1, 1, 1);
    cairo_paint(cr);
    cairo_destroy(cr);
    return new CCairoDC(s, Kind::IMAGE, CSize(width, height));
}

CCairoDC* CCairoDC::CreateSVG(const char* path, int width, int height) {
    cairo_surface_t* s = cairo_svg_surface_create(path, width, height);
    if (cairo_surface_status(s) != CAIRO_STATUS_SUCCESS) {
        cairo_surface_destroy(s);
        return nullptr;
    }
    cairo_svg_surface_set_document_unit(s, CAIRO_SVG_UNIT_PX);  // one unit, one pixel
    return new CCairoDC(s, Kind::VECTOR, CSize(width, height));
}

CCairoDC* CCairoDC::CreateSVG(std::string* out, int width, int height) {
    cairo_surface_t* s = cairo_svg_surface_create_for_stream(appendTo, out, width, height);
    cairo_svg_surface_set_document_unit(s, CAIRO_SVG_UNIT_PX);
    CCairoDC* dc = new CCairoDC(s, Kind::VECTOR, CSize(width, height));
    dc->out_ = out;
    return dc;
}

CCairoDC* CCairoDC::CreatePDF(const char* path, int width, int height) {
    cairo_surface_t* s = cairo_pdf_surface_create(path, width, height);
    if (cairo_surface_status(s) != CAIRO_STATUS_SUCCESS) {
        cairo_surface_destroy(s);
        return nullptr;
    }
    CCairoDC* dc = new CCairoDC(s, Kind::VECTOR, CSize(width, height));
    dc->SetPrinting(true);
    return dc;
}

CCairoDC* CCairoDC::CreatePDF(std::string* out, int width, int height) {
    cairo_surface_t* s = cairo_pdf_surface_create_for_stream(appendTo, out, width, height);
    CCairoDC* dc = new CCairoDC(s, Kind::VECTOR, CSize(width, height));
    dc->out_ = out;
    dc->SetPrinting(true);
    return dc;
}

int CCairoDC::StartPage() {
    return IsPrinting() ? 1 : 0;
}

int CCairoDC::EndPage() {
    if (!IsPrinting()) return 0;
    cairo_show_page(cr_);
    return 1;
}

void CCairoDC::Finish() {
    cairo_surface_finish(surface_);
}

bool CCairoDC::WritePNG(const char* path) const {
    if (!raster_) return false;
    cairo_surface_flush(surface_);
    return cairo_surface_write_to_png(surface_, path) == CAIRO_STATUS_SUCCESS;
}

CDC* CCairoDC::CreateCompatibleDC() {
    CBitmap initial;
    initial.CreateBitmap(1, 1, 1, 1, nullptr);
    CCairoDC* dc =
        new CCairoDC(cairo_surface_reference(initial.GetSurface()), Kind::MEMORY, CSize(1, 1));
    dc->state_.bitmap = initial;
    dc->SetColorDepth(1);
    dc->antialias_ = antialias_;
    return dc;
}

void CCairoDC::stateChanged(Call call) {
    switch (call) {
        case Call::SelectBitmap:
            attach(state_.bitmap.GetSurface(),
                   CSize(state_.bitmap.GetWidth(), state_.bitmap.GetHeight()));
            SetColorDepth(state_.bitmap.IsMonochrome() ? 1 : 32);
            break;
        case Call::IntersectClipRect:
        case Call::SelectClipRgn:
            applyClip();
            break;
        case Call::SetState:
            applyClip();
            fontValid_ = false;
            break;
        case Call::SelectFont:
        case Call::SetMapMode:
        case Call::SetWindowExt:
        case Call::SetViewportExt:
            fontValid_ = false;
            break;
        default:
            break;
    }
}

void CCairoDC::applyClip() {
    cairo_restore(cr_);
    cairo_save(cr_);
    if (state_.clipped) {
        cairo_rectangle(cr_, state_.clip.left, state_.clip.top, state_.clip.Width(),
                        state_.clip.Height());
        cairo_clip(cr_);
    }
}

// Pixels.

void CCairoDC::notePixels() {
    pixels_ = raster_ ? cairo_image_surface_get_data(surface_) : nullptr;
    stride_ = raster_ ? cairo_image_surface_get_stride(surface_) : 0;
    opaque_ = raster_ && cairo_image_surface_get_format(surface_) == CAIRO_FORMAT_RGB24;
}

std::uint32_t* CCairoDC::pixelRow(int y) const {
    return reinterpret_cast<std::uint32_t*>(pixels_ + static_cast<std::ptrdiff_t>(y) * stride_);
}

void CCairoDC::beginPixels() const {
    cairo_surface_flush(surface_);
}

void CCairoDC::endPixels(const CRect& touched) const {
    if (!touched.IsRectEmpty()) {
        cairo_surface_mark_dirty_rectangle(surface_, touched.left, touched.top, touched.Width(),
                                           touched.Height());
    }
}

bool CCairoDC::ScrollDC(int dx, int dy, const CRect& area) {
    if (cairo_surface_get_type(surface_) != CAIRO_SURFACE_TYPE_IMAGE) return false;
    const cairo_format_t format = cairo_image_surface_get_format(surface_);
    if (format != CAIRO_FORMAT_ARGB32 && format != CAIRO_FORMAT_RGB24) return false;
    CRect within;
    if (!within.IntersectRect(area, CRect(0, 0, size_.cx, size_.cy))) return true;
    // The part of the area that pixels move into from inside it.
    CRect to = within;
    to.OffsetRect(dx, dy);
    if (!to.IntersectRect(to, within)) return true;
    beginPixels();
    unsigned char* data = cairo_image_surface_get_data(surface_);
    const std::ptrdiff_t stride = cairo_image_surface_get_stride(surface_);
    const std::size_t bytes = static_cast<std::size_t>(to.Width()) * 4;
    auto move = [&](int y) {
        std::memmove(data + y * stride + to.left * 4, data + (y - dy) * stride + (to.left - dx) * 4,
                     bytes);
    };
    // Rows are taken in the order that reads each before it is written over.
    if (dy > 0) {
        for (int y = to.bottom - 1; y >= to.top; --y) move(y);
    } else {
        for (int y = to.top; y < to.bottom; ++y) move(y);
    }
    endPixels(to);
    return true;
}

COLORREF CCairoDC::GetPixel(int x, int y) const {
    CPoint p(x, y);
    LPtoDP(&p);
    if (!raster_ || !GetDeviceClip().PtInRect(p)) return CLR_INVALID;
    beginPixels();
    return toColor(pixelRow(p.y)[p.x] & 0xFFFFFF);
}

CBitmap CCairoDC::GetPixelSource() const {
    if (!raster_) return CBitmap();
    if (memory_) return state_.bitmap;
    CBitmap b;
    b.Attach(surface_, false);
    return b;
}

void CCairoDC::doSetPixel(int x, int y, COLORREF color) {
    CPoint p(x, y);
    LPtoDP(&p);
    if (!GetDeviceClip().PtInRect(p)) return;
    if (raster_) {
        beginPixels();
        std::uint32_t& px = pixelRow(p.y)[p.x];
        px = (px & 0xFF000000) | toPixel(color);
        endPixels(CRect(p.x, p.y, p.x + 1, p.y + 1));
        return;
    }
    cairo_save(cr_);
    setColor(cr_, color);
    cairo_rectangle(cr_, p.x, p.y, 1, 1);
    cairo_fill(cr_);
    cairo_restore(cr_);
}

// Rendering with raster operations.

template <typename Draw>
void CCairoDC::render(Draw draw) {
    const int rop = state_.rop2;
    if (rop == R2_NOP) return;
    if (rop == R2_COPYPEN || !raster_) {
        cairo_save(cr_);
        cairo_new_path(cr_);  // text leaves a current point behind
        if (rop != R2_COPYPEN) cairo_set_operator(cr_, CAIRO_OPERATOR_DIFFERENCE);
        draw(cr_, false);
        cairo_restore(cr_);
        return;
    }
    const CRect clip = GetDeviceClip();
    if (clip.IsRectEmpty()) return;
    cairo_surface_t* scratch =
        cairo_image_surface_create(CAIRO_FORMAT_ARGB32, clip.Width(), clip.Height());
    cairo_t* cr = cairo_create(scratch);
    cairo_translate(cr, -clip.left, -clip.top);
    draw(cr, true);
    cairo_destroy(cr);
    cairo_surface_flush(scratch);
    beginPixels();
    const unsigned char* data = cairo_image_surface_get_data(scratch);
    const int stride = cairo_image_surface_get_stride(scratch);
    for (int y = 0; y < clip.Height(); ++y) {
        const auto* in = reinterpret_cast<const std::uint32_t*>(data + y * stride);
        std::uint32_t* out = pixelRow(clip.top + y) + clip.left;
        for (int x = 0; x < clip.Width(); ++x) {
            if ((in[x] >> 24) < 0x80) continue;
            out[x] = (out[x] & 0xFF000000) | (applyRop2(rop, in[x], out[x]) & 0xFFFFFF);
        }
    }
    endPixels(clip);
    cairo_surface_destroy(scratch);
}

bool CCairoDC::setBrushSource(cairo_t* cr, const CBrush& brush) const {
    switch (brush.GetKind()) {
        case CBrush::SOLID:
            setColor(cr, brush.GetColor());
            return true;
        case CBrush::HATCH:
        case CBrush::PATTERN: {
            cairo_surface_t* tile = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 8, 8);
            cairo_surface_flush(tile);
            const bool opaque = state_.bkMode == OPAQUE;
            const std::uint32_t back = opaque ? 0xFF000000 | toPixel(state_.bkColor) : 0;
            const std::uint8_t* rows = CBrush::HatchRows(brush.GetHatchStyle());
            const CBitmap& pattern = brush.GetPattern();
            for (int y = 0; y < 8; ++y) {
                auto* row = reinterpret_cast<std::uint32_t*>(
                    cairo_image_surface_get_data(tile) + y * cairo_image_surface_get_stride(tile));
                for (int x = 0; x < 8; ++x) {
                    if (brush.GetKind() == CBrush::HATCH) {
                        const bool line = (rows[y] >> (7 - x)) & 1;
                        row[x] = line ? 0xFF000000 | toPixel(brush.GetColor()) : back;
                        continue;
                    }
                    const COLORREF c =
                        pattern.GetPixel(x % pattern.GetWidth(), y % pattern.GetHeight());
                    if (!pattern.IsMonochrome()) {
                        row[x] = 0xFF000000 | toPixel(c);
                    } else {
                        row[x] = c == 0 ? 0xFF000000 | toPixel(state_.textColor) : back;
                    }
                }
            }
            cairo_surface_mark_dirty(tile);
            cairo_pattern_t* p = cairo_pattern_create_for_surface(tile);
            cairo_pattern_set_extend(p, CAIRO_EXTEND_REPEAT);
            cairo_pattern_set_filter(p, CAIRO_FILTER_NEAREST);
            cairo_matrix_t origin;
            cairo_matrix_init_translate(&origin, -state_.brushOrg.x, -state_.brushOrg.y);
            cairo_pattern_set_matrix(p, &origin);
            cairo_set_source(cr, p);
            cairo_pattern_destroy(p);
            cairo_surface_destroy(tile);
            return true;
        }
        default:
            return false;
    }
}

void CCairoDC::setPenSource(cairo_t* cr) const {
    const CPen& pen = state_.pen;
    setColor(cr, pen.GetColor());
    const double width = pen.GetWidth() == 0 ? 1.0 : pen.GetWidth() * std::fabs(scaleX());
    cairo_set_line_width(cr, std::max(width, 1.0));
    if (width <= 1.0) {
        cairo_set_line_cap(cr, CAIRO_LINE_CAP_BUTT);
        const std::vector<int>& runs = dashesOf(pen.GetStyle());
        std::vector<double> dashes(runs.begin(), runs.end());
        cairo_set_dash(cr, dashes.data(), static_cast<int>(dashes.size()), 0);
    } else {
        cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
    }
    cairo_set_line_join(cr, CAIRO_LINE_JOIN_ROUND);
}

// Fills (when asked) and strokes the current path with the brush and pen. Curves and wide
// pens follow the antialias switch; straight one-pixel edges never blur.
void CCairoDC::fillAndStroke(cairo_t* cr, bool fill, bool smooth) const {
    cairo_set_antialias(cr, smooth ? CAIRO_ANTIALIAS_DEFAULT : CAIRO_ANTIALIAS_NONE);
    cairo_set_fill_rule(
        cr, state_.polyFillMode == WINDING ? CAIRO_FILL_RULE_WINDING : CAIRO_FILL_RULE_EVEN_ODD);
    if (fill && setBrushSource(cr, state_.brush)) cairo_fill_preserve(cr);
    if (state_.pen.GetStyle() != PS_NULL) {
        setPenSource(cr);
        cairo_stroke(cr);
    }
    cairo_new_path(cr);
}

// Lines.

void CCairoDC::rasterLine(int x1, int y1, int x2, int y2, bool last) {
    const int rop = state_.rop2;
    if (rop == R2_NOP) return;
    const CRect clip = GetDeviceClip();
    if (clip.IsRectEmpty()) return;
    const std::uint32_t pen = toPixel(state_.pen.GetColor());
    const std::uint32_t back = toPixel(state_.bkColor);
    const bool opaque = state_.bkMode == OPAQUE;
    const std::vector<int>& runs = dashesOf(state_.pen.GetStyle());
    beginPixels();
    auto plot = [&](int x, int y, std::uint32_t source) {
        auto& px = pixelRow(y)[x];
        px = (px & 0xFF000000) | (rop == R2_COPYPEN ? source : applyRop2(rop, source, px) & 0xFFFFFF);
    };
    CRect touched(std::min(x1, x2), std::min(y1, y2), std::max(x1, x2) + 1, std::max(y1, y2) + 1);
    touched.IntersectRect(touched, clip);
    // A solid vertical line, as curves drawn by pixel column are made of: only the rows
    // inside the clip are visited, and a plain copy onto an image without alpha only writes.
    if (x1 == x2 && runs.empty()) {
        if (x1 >= clip.left && x1 < clip.right) {
            int top = y1, bottom = y2;  // the rows from y1 toward y2, the end row when last
            if (y2 >= y1) {
                bottom = last ? y2 + 1 : y2;
            } else {
                top = last ? y2 : y2 + 1;
                bottom = y1 + 1;
            }
            if (y1 == y2) bottom = last ? y1 + 1 : y1;
            const int from = std::max(top, static_cast<int>(clip.top));
            const int to = std::min(bottom, static_cast<int>(clip.bottom));
            if (rop == R2_COPYPEN && opaque_) {
                unsigned char* at = pixels_ + static_cast<std::ptrdiff_t>(from) * stride_ + 4 * x1;
                for (int y = from; y < to; ++y, at += stride_) {
                    *reinterpret_cast<std::uint32_t*>(at) = 0xFF000000 | pen;
                }
            } else {
                for (int y = from; y < to; ++y) plot(x1, y, pen);
            }
        }
        endPixels(touched);
        return;
    }
    // Other lines along a row or a column (grids, dotted or not): only the pixels inside the
    // clip are visited, the dash pattern taken up where the clip starts.
    if (x1 == x2 || y1 == y2) {
        const bool across = y1 == y2;
        const int start = across ? x1 : y1, fixed = across ? y1 : x1;
        const int step = (across ? x2 - x1 : y2 - y1) >= 0 ? 1 : -1;
        const int n = std::abs(across ? x2 - x1 : y2 - y1) + (last ? 1 : 0);
        const int lo = across ? clip.left : clip.top, hi = across ? clip.right : clip.bottom;
        const bool inLine = across ? fixed >= clip.top && fixed < clip.bottom
                                   : fixed >= clip.left && fixed < clip.right;
        // The pixels k (at start + step * k) that fall inside the clip.
        const int k0 = std::max(0, step > 0 ? lo - start : start - hi + 1);
        const int k1 = std::min(n, step > 0 ? hi - start : start - lo + 1);
        if (inLine && k0 < k1) {
            std::size_t run = 0;
            int left = runs.empty() ? 0 : runs[0];
            if (!runs.empty()) {
                int period = 0;
                for (const int length : runs) period += length;
                for (int skip = k0 % period; skip > 0;) {
                    const int taken = std::min(skip, left);
                    skip -= taken;
                    left -= taken;
                    if (left == 0) {
                        run = (run + 1) % runs.size();
                        left = runs[run];
                    }
                }
            }
            for (int k = k0; k < k1; ++k) {
                const bool on = runs.empty() || run % 2 == 0;
                const int at = start + step * k;
                if (on || opaque) plot(across ? at : fixed, across ? fixed : at, on ? pen : back);
                if (!runs.empty() && --left == 0) {
                    run = (run + 1) % runs.size();
                    left = runs[run];
                }
            }
        }
        endPixels(touched);
        return;
    }
    const int dx = std::abs(x2 - x1), sx = x1 < x2 ? 1 : -1;
    const int dy = -std::abs(y2 - y1), sy = y1 < y2 ? 1 : -1;
    int n = std::max(dx, -dy) + (last ? 1 : 0);
    int err = dx + dy;
    int x = x1, y = y1;
    std::size_t run = 0;
    int left = runs.empty() ? 0 : runs[0];
    for (; n > 0; --n) {
        const bool on = runs.empty() || run % 2 == 0;
        if ((on || opaque) && x >= clip.left && x < clip.right && y >= clip.top && y < clip.bottom) {
            plot(x, y, on ? pen : back);
        }
        if (!runs.empty() && --left == 0) {
            run = (run + 1) % runs.size();
            left = runs[run];
        }
        const int e2 = 2 * err;
        if (e2 >= dy) {
            err += dy;
            x += sx;
        }
        if (e2 <= dx) {
            err += dx;
            y += sy;
        }
    }
    endPixels(touched);
}

void CCairoDC::thinLine(CPoint from, CPoint to, bool last) {
    if (state_.pen.GetStyle() == PS_NULL) return;
    if (raster_) {
        rasterLine(from.x, from.y, to.x, to.y, last);
        return;
    }
    render([&](cairo_t* cr, bool) {
        // Pixel-edge coordinates: a horizontal or vertical stroke with butt caps then covers
        // exactly the pixels from the start up to, not including, the end.
        double x1 = from.x + 0.5, y1 = from.y + 0.5, x2 = to.x + 0.5, y2 = to.y + 0.5;
        if (from.y == to.y && from.x != to.x) {
            x1 = from.x < to.x ? from.x : from.x + 1;
            x2 = from.x < to.x ? to.x + (last ? 1 : 0) : to.x + (last ? 0 : 1);
        } else if (from.x == to.x && from.y != to.y) {
            y1 = from.y < to.y ? from.y : from.y + 1;
            y2 = from.y < to.y ? to.y + (last ? 1 : 0) : to.y + (last ? 0 : 1);
        } else if (from == to) {
            if (!last) return;
            x1 -= 0.5;
            x2 += 0.5;
        }
        cairo_move_to(cr, x1, y1);
        cairo_line_to(cr, x2, y2);
        setPenSource(cr);
        cairo_set_antialias(cr, CAIRO_ANTIALIAS_NONE);
        cairo_stroke(cr);
    });
}

void CCairoDC::doLine(CPoint from, CPoint to) {
    if (state_.pen.GetStyle() == PS_NULL) return;
    const bool thin = state_.pen.GetWidth() * std::fabs(scaleX()) <= 1.0;
    if (thin) {
        LPtoDP(&from);
        LPtoDP(&to);
        thinLine(from, to, false);
        return;
    }
    doPolyline({from, to});
}

void CCairoDC::doPolyline(const std::vector<CPoint>& points) {
    if (state_.pen.GetStyle() == PS_NULL) return;
    const bool thin = state_.pen.GetWidth() * std::fabs(scaleX()) <= 1.0;
    if (thin) {
        CPoint from = points[0];
        LPtoDP(&from);
        for (std::size_t i = 1; i < points.size(); ++i) {
            CPoint to = points[i];
            LPtoDP(&to);
            thinLine(from, to, false);
            from = to;
        }
        return;
    }
    render([&](cairo_t* cr, bool aliased) {
        for (const CPoint& p : points) {
            cairo_line_to(cr, toDeviceX(p.x) + 0.5, toDeviceY(p.y) + 0.5);
        }
        fillAndStroke(cr, false, antialias_ && !aliased);
    });
}

// Shapes.

void CCairoDC::doPolygon(const std::vector<CPoint>& points) {
    const bool thin = state_.pen.GetWidth() * std::fabs(scaleX()) <= 1.0;
    render([&](cairo_t* cr, bool aliased) {
        for (const CPoint& p : points) {
            cairo_line_to(cr, toDeviceX(p.x) + 0.5, toDeviceY(p.y) + 0.5);
        }
        cairo_close_path(cr);
        if (thin) {
            cairo_set_antialias(cr, CAIRO_ANTIALIAS_NONE);
            if (setBrushSource(cr, state_.brush)) cairo_fill(cr);
            cairo_new_path(cr);
        } else {
            fillAndStroke(cr, true, antialias_ && !aliased);
        }
    });
    if (thin) {
        std::vector<CPoint> device(points);
        LPtoDP(device.data(), static_cast<int>(device.size()));
        for (std::size_t i = 0; i < device.size(); ++i) {
            thinLine(device[i], device[(i + 1) % device.size()], false);
        }
    }
}

void CCairoDC::doRectangle(const CRect& r) {
    CRect d(r);
    LPtoDP(&d);
    d.NormalizeRect();
    const bool hasPen = state_.pen.GetStyle() != PS_NULL;
    const double penWidth = std::max(1.0, state_.pen.GetWidth() * std::fabs(scaleX()));
    const bool thin = penWidth <= 1.0;
    CRect inside = d;
    if (!hasPen) {
        inside.right -= 1;
        inside.bottom -= 1;
    } else if (thin) {
        inside.DeflateRect(1, 1);
    }
    if (!inside.IsRectEmpty() && state_.brush.GetKind() != CBrush::HOLLOW) {
        render([&](cairo_t* cr, bool) {
            cairo_rectangle(cr, inside.left, inside.top, inside.Width(), inside.Height());
            cairo_set_antialias(cr, CAIRO_ANTIALIAS_NONE);
            if (setBrushSource(cr, state_.brush)) cairo_fill(cr);
            cairo_new_path(cr);
        });
    }
    if (!hasPen || d.IsRectEmpty()) return;
    if (thin) {
        const CPoint corners[] = {{d.left, d.top},
                                  {d.right - 1, d.top},
                                  {d.right - 1, d.bottom - 1},
                                  {d.left, d.bottom - 1}};
        for (int i = 0; i < 4; ++i) thinLine(corners[i], corners[(i + 1) % 4], false);
        return;
    }
    render([&](cairo_t* cr, bool aliased) {
        cairo_rectangle(cr, d.left + 0.5, d.top + 0.5, d.Width() - 1, d.Height() - 1);
        setPenSource(cr);
        cairo_set_antialias(
            cr, antialias_ && !aliased ? CAIRO_ANTIALIAS_DEFAULT : CAIRO_ANTIALIAS_NONE);
        cairo_stroke(cr);
    });
}

void CCairoDC::doEllipse(const CRect& r) {
    doArc(Call::Ellipse, r, CPoint(), CPoint());
}

void CCairoDC::doArc(Call kind, const CRect& r, CPoint start, CPoint end) {
    const double left = toDeviceX(r.left), right = toDeviceX(r.right);
    const double top = toDeviceY(r.top), bottom = toDeviceY(r.bottom);
    const double cx = (left + right) / 2, cy = (top + bottom) / 2;
    const double rx = (std::fabs(right - left) - 1) / 2, ry = (std::fabs(bottom - top) - 1) / 2;
    if (rx <= 0 || ry <= 0) return;
    double a1 = 0, a2 = -2 * kPi;
    if (kind != Call::Ellipse) {
        a1 = std::atan2((toDeviceY(start.y) - cy) / ry, (toDeviceX(start.x) - cx) / rx);
        a2 = std::atan2((toDeviceY(end.y) - cy) / ry, (toDeviceX(end.x) - cx) / rx);
        if (std::fabs(a1 - a2) < 1e-12) a2 = a1 - 2 * kPi;
    }
    render([&](cairo_t* cr, bool aliased) {
        cairo_save(cr);
        cairo_translate(cr, cx, cy);
        cairo_scale(cr, rx, ry);
        if (kind == Call::Pie) cairo_move_to(cr, 0, 0);
        // Counter-clockwise on the screen, whose y axis points down.
        cairo_arc_negative(cr, 0, 0, 1, a1, a2);
        if (kind != Call::Arc) cairo_close_path(cr);
        cairo_restore(cr);
        fillAndStroke(cr, kind != Call::Arc, antialias_ && !aliased);
    });
}

void CCairoDC::doFillRect(const CRect& r, const CBrush& brush) {
    CRect d(r);
    LPtoDP(&d);
    d.NormalizeRect();
    if (d.IsRectEmpty()) return;
    // A solid colour on an image: the pixels inside the clip set row by row, as cairo sets
    // them for an opaque colour.
    if (raster_ && brush.GetKind() == CBrush::SOLID) {
        CRect inside;
        if (!inside.IntersectRect(d, GetDeviceClip())) return;
        const std::uint32_t color = 0xFF000000 | toPixel(brush.GetColor());
        beginPixels();
        for (int y = inside.top; y < inside.bottom; ++y)
            CPixelRow::fill(pixelRow(y) + inside.left, inside.Width(), color);
        endPixels(inside);
        return;
    }
    cairo_save(cr_);
    if (setBrushSource(cr_, brush)) {
        cairo_set_antialias(cr_, CAIRO_ANTIALIAS_NONE);
        cairo_rectangle(cr_, d.left, d.top, d.Width(), d.Height());
        cairo_fill(cr_);
    }
    cairo_restore(cr_);
}

// Text.

const CTextLayoutCache::Text& CCairoDC::layoutFor(const char* text, int count) const {
    CTextLayoutCache& cache = CTextLayoutCache::forThread();
    if (!fontValid_) {
        layoutFont_ = state_.font.IsCreated() ? state_.font : CFont::Stock(ANSI_VAR_FONT);
        font_ = &cache.font(layoutFont_, scaleY());
        metrics_ = font_->getMetrics();
        fontValid_ = true;
    }
    return cache.layout(*font_, toUtf8(text, count));
}

void CCairoDC::drawLayout(cairo_t* cr, const CTextLayoutCache::Text& text, double x,
                          double y) const {
    cairo_move_to(cr, x, y + metrics_.tmAscent - text.baseline);
    pango_cairo_show_layout(cr, text.layout);
}

bool CCairoDC::placeGlyphs(const CTextLayoutCache::Text& text, double x, double y) {
    placed_.clear();
    if (!raster_ || state_.rop2 != R2_COPYPEN || !text.glyphsDrawable) return false;
    CGlyphCache& cache = CGlyphCache::forThread();
    cache.trim();
    for (const CTextLayoutCache::Text::Glyph& glyph : text.glyphs) {
        const CGlyphCache::Glyph& g = cache.glyph(glyph.font, glyph.index);
        if (g.width == 0) continue;
        // Where cairo puts it: the origin rounded half up to a whole pixel.
        const double gx = x + static_cast<double>(glyph.x) / PANGO_SCALE;
        const double gy = y + static_cast<double>(glyph.y) / PANGO_SCALE;
        placed_.push_back({static_cast<int>(std::floor(gx + 0.5)) + g.left,
                           static_cast<int>(std::floor(gy + 0.5)) + g.top, g.alpha.data(), g.width,
                           g.height});
    }
    return true;
}

void CCairoDC::blendGlyphs(const CRect& clip) {
    CRect box;
    bool overlap = false;
    for (size_t i = 0; i < placed_.size(); ++i) {
        const CRect r = placed_[i].box();
        for (size_t j = 0; j < i && !overlap; ++j) {
            CRect common;
            overlap = common.IntersectRect(r, placed_[j].box());
        }
        box.UnionRect(box, r);
    }
    if (!box.IntersectRect(box, clip)) return;
    const std::uint32_t color = 0xFF000000 | toPixel(state_.textColor);
    beginPixels();
    if (!overlap) {
        for (const PlacedGlyph& g : placed_) {
            CRect part;
            if (!part.IntersectRect(box, g.box())) continue;
            for (int y = part.top; y < part.bottom; ++y) {
                CPixelRow::blend(
                    pixelRow(y) + part.left,
                    g.alpha + static_cast<size_t>(y - g.y) * g.width + (part.left - g.x),
                    part.Width(), color);
            }
        }
        endPixels(box);
        return;
    }
    // Glyphs that overlap have their coverage added up first and blended once, as cairo
    // does.
    const int w = box.Width();
    coverage_.assign(static_cast<size_t>(w) * box.Height(), 0);
    for (const PlacedGlyph& g : placed_) {
        CRect part;
        if (!part.IntersectRect(box, g.box())) continue;
        for (int y = part.top; y < part.bottom; ++y) {
            const std::uint8_t* in =
                g.alpha + static_cast<size_t>(y - g.y) * g.width + (part.left - g.x);
            std::uint8_t* out =
                &coverage_[static_cast<size_t>(y - box.top) * w + (part.left - box.left)];
            for (int x = 0; x < part.Width(); ++x) {
                const unsigned sum = out[x] + in[x];
                out[x] = static_cast<std::uint8_t>(sum > 255 ? 255 : sum);
            }
        }
    }
    for (int y = box.top; y < box.bottom; ++y) {
        CPixelRow::blend(pixelRow(y) + box.left, &coverage_[static_cast<size_t>(y - box.top) * w],
                         w, color);
    }
    endPixels(box);
}

CSize CCairoDC::doTextExtent(const char* text, int count) const {
    const CTextLayoutCache::Text& laid = layoutFor(text, count);
    return CSize(static_cast<int>(std::lround(laid.width / std::fabs(scaleX()))),
                 static_cast<int>(std::lround(metrics_.tmHeight / std::fabs(scaleY()))));
}

void CCairoDC::doTextMetrics(TEXTMETRIC* metrics) const {
    layoutFor("", 0);
    *metrics = metrics_;
    const double sy = std::fabs(scaleY()), sx = std::fabs(scaleX());
    metrics->tmHeight = static_cast<int>(std::lround(metrics_.tmHeight / sy));
    metrics->tmAscent = static_cast<int>(std::lround(metrics_.tmAscent / sy));
    metrics->tmDescent = metrics->tmHeight - metrics->tmAscent;
    metrics->tmInternalLeading = static_cast<int>(std::lround(metrics_.tmInternalLeading / sy));
    metrics->tmAveCharWidth = static_cast<int>(std::lround(metrics_.tmAveCharWidth / sx));
    metrics->tmMaxCharWidth = static_cast<int>(std::lround(metrics_.tmMaxCharWidth / sx));
}

void CCairoDC::doTextOut(int x, int y, const char* text, int count) {
    const CTextLayoutCache::Text& laid = layoutFor(text, count);
    const double width = laid.width, height = metrics_.tmHeight;
    const unsigned align = state_.textAlign;
    double dx = 0, dy = 0;
    if ((align & TA_CENTER) == TA_CENTER) {
        dx = -width / 2;
    } else if (align & TA_RIGHT) {
        dx = -width;
    }
    if ((align & TA_BASELINE) == TA_BASELINE) {
        dy = -metrics_.tmAscent;
    } else if (align & TA_BOTTOM) {
        dy = -height;
    }
    const double px = std::round(toDeviceX(x)), py = std::round(toDeviceY(y));
    const double angle = layoutFont_.GetEscapement() * kPi / 1800.0;
    if (angle == 0 &&
        placeGlyphs(laid, px + std::round(dx), py + dy + metrics_.tmAscent - laid.baseline)) {
        if (state_.bkMode == OPAQUE) {
            cairo_save(cr_);
            setColor(cr_, state_.bkColor);
            cairo_rectangle(cr_, px + std::round(dx), py + dy, width, height);
            cairo_fill(cr_);
            cairo_restore(cr_);
        }
        blendGlyphs(GetDeviceClip());
        return;
    }
    render([&](cairo_t* cr, bool) {
        cairo_save(cr);
        cairo_translate(cr, px, py);
        if (angle != 0) cairo_rotate(cr, -angle);
        if (state_.bkMode == OPAQUE) {
            setColor(cr, state_.bkColor);
            cairo_rectangle(cr, std::round(dx), dy, width, height);
            cairo_fill(cr);
        }
        setColor(cr, state_.textColor);
        drawLayout(cr, laid, std::round(dx), dy);
        cairo_restore(cr);
    });
}

void CCairoDC::doDrawText(const char*, int, const CRect& rect, unsigned format,
                          const std::vector<TextLine>& lines) {
    CRect box(rect);
    LPtoDP(&box);
    box.NormalizeRect();
    for (const TextLine& line : lines) {
        const CTextLayoutCache::Text& laid =
            layoutFor(line.text.data(), static_cast<int>(line.text.size()));
        const double px = std::round(toDeviceX(line.at.x)), py = std::round(toDeviceY(line.at.y));
        if (placeGlyphs(laid, px, py + metrics_.tmAscent - laid.baseline)) {
            CRect clip = GetDeviceClip();
            if (!(format & DT_NOCLIP)) clip.IntersectRect(clip, box);
            if (state_.bkMode == OPAQUE && !clip.IsRectEmpty()) {
                cairo_save(cr_);
                cairo_rectangle(cr_, clip.left, clip.top, clip.Width(), clip.Height());
                cairo_clip(cr_);
                setColor(cr_, state_.bkColor);
                cairo_rectangle(cr_, px, py, line.width * std::fabs(scaleX()), metrics_.tmHeight);
                cairo_fill(cr_);
                cairo_restore(cr_);
            }
            blendGlyphs(clip);
            continue;
        }
        render([&](cairo_t* cr, bool) {
            cairo_save(cr);
            if (!(format & DT_NOCLIP)) {
                cairo_rectangle(cr, box.left, box.top, box.Width(), box.Height());
                cairo_clip(cr);
            }
            if (state_.bkMode == OPAQUE) {
                setColor(cr, state_.bkColor);
                cairo_rectangle(cr, px, py, line.width * std::fabs(scaleX()), metrics_.tmHeight);
                cairo_fill(cr);
            }
            setColor(cr, state_.textColor);
            drawLayout(cr, laid, px, py);
            cairo_restore(cr);
        });
    }
}

// Bit blits.

void CCairoDC::doBlit(const CRect& destination, const CBitmap& source, const CRect& from,
                      std::uint32_t rop) {
    CRect d(destination);
    LPtoDP(&d);
    d.NormalizeRect();
    CRect clip;
    if (!clip.IntersectRect(d, GetDeviceClip())) return;

    // A plain copy of colour pixels at their own size, onto pixels: row by row, straight
    // from the source (the way double buffering ends every paint).
    if (raster_ && rop == SRCCOPY && source.GetSafeHandle() != nullptr && !source.IsMonochrome() &&
        GetDeviceCaps(BITSPIXEL) != 1 && from.Width() == d.Width() && from.Height() == d.Height() &&
        from.left >= 0 && from.top >= 0 && from.right <= source.GetWidth() &&
        from.bottom <= source.GetHeight()) {
        cairo_surface_t* s = source.GetSurface();
        cairo_surface_flush(s);
        beginPixels();
        const unsigned char* in = cairo_image_surface_get_data(s);
        const int inStride = cairo_image_surface_get_stride(s);
        unsigned char* out = cairo_image_surface_get_data(surface_);
        const int outStride = cairo_image_surface_get_stride(surface_);
        // Without alpha on either side the rows are copied whole.
        const bool whole = cairo_image_surface_get_format(surface_) == CAIRO_FORMAT_RGB24 &&
                           cairo_image_surface_get_format(s) == CAIRO_FORMAT_RGB24;
        for (int y = clip.top; y < clip.bottom; ++y) {
            const auto* from_row = reinterpret_cast<const std::uint32_t*>(
                in + static_cast<std::ptrdiff_t>(y - d.top + from.top) * inStride) + (from.left - d.left);
            auto* row = reinterpret_cast<std::uint32_t*>(out + static_cast<std::ptrdiff_t>(y) * outStride);
            if (whole) {
                std::memcpy(row + clip.left, from_row + clip.left, sizeof(std::uint32_t) * clip.Width());
                continue;
            }
            for (int x = clip.left; x < clip.right; ++x) row[x] = (row[x] & 0xFF000000) | (from_row[x] & 0xFFFFFF);
        }
        endPixels(clip);
        return;
    }

    // The source scaled to the destination, monochrome pixels coloured by text and
    // background colours, as an opaque image the size of the destination.
    cairo_surface_t* image = nullptr;
    if (source.GetSafeHandle() != nullptr) {
        CBitmap part = source.Copy(from);
        if (part.GetSafeHandle() == nullptr) return;
        if (part.IsMonochrome() || GetDeviceCaps(BITSPIXEL) == 1) {
            cairo_surface_t* s = part.GetSurface();
            cairo_surface_flush(s);
            const std::uint32_t fore = toPixel(state_.textColor), back = toPixel(state_.bkColor);
            for (int y = 0; y < part.GetHeight(); ++y) {
                auto* row = reinterpret_cast<std::uint32_t*>(cairo_image_surface_get_data(s) +
                                                             y * cairo_image_surface_get_stride(s));
                for (int x = 0; x < part.GetWidth(); ++x) {
                    const bool white = (row[x] & 0xFFFFFF) == 0xFFFFFF;
                    if (part.IsMonochrome()) {
                        row[x] = white ? back : fore;
                    } else {
                        row[x] = white ? 0xFFFFFF : 0;  // to a monochrome device
                    }
                }
            }
            cairo_surface_mark_dirty(s);
        }
        image = cairo_image_surface_create(CAIRO_FORMAT_RGB24, d.Width(), d.Height());
        cairo_t* cr = cairo_create(image);
        cairo_scale(cr, static_cast<double>(d.Width()) / part.GetWidth(),
                    static_cast<double>(d.Height()) / part.GetHeight());
        cairo_set_source_surface(cr, part.GetSurface(), 0, 0);
        cairo_pattern_set_filter(cairo_get_source(cr), CAIRO_FILTER_NEAREST);
        cairo_pattern_set_extend(cairo_get_source(cr), CAIRO_EXTEND_PAD);
        cairo_paint(cr);
        cairo_destroy(cr);
        cairo_surface_flush(image);
    }
    const unsigned char* imageData = image != nullptr ? cairo_image_surface_get_data(image) : nullptr;
    const int imageStride = image != nullptr ? cairo_image_surface_get_stride(image) : 0;
    auto sourcePixel = [&](int x, int y) -> std::uint32_t {
        return reinterpret_cast<const std::uint32_t*>(imageData + (y - d.top) * imageStride)[x - d.left] &
               0xFFFFFF;
    };

    if (raster_) {
        beginPixels();
        unsigned char* data = cairo_image_surface_get_data(surface_);
        const int stride = cairo_image_surface_get_stride(surface_);
        for (int y = clip.top; y < clip.bottom; ++y) {
            auto* row = reinterpret_cast<std::uint32_t*>(data + static_cast<std::ptrdiff_t>(y) * stride);
            for (int x = clip.left; x < clip.right; ++x) {
                const std::uint32_t dst = row[x] & 0xFFFFFF;
                std::uint32_t v = dst;
                switch (rop) {
                    case SRCCOPY:
                        v = sourcePixel(x, y);
                        break;
                    case SRCPAINT:
                        v = dst | sourcePixel(x, y);
                        break;
                    case SRCAND:
                        v = dst & sourcePixel(x, y);
                        break;
                    case SRCINVERT:
                        v = dst ^ sourcePixel(x, y);
                        break;
                    case NOTSRCCOPY:
                        v = ~sourcePixel(x, y) & 0xFFFFFF;
                        break;
                    case DSTINVERT:
                        v = ~dst & 0xFFFFFF;
                        break;
                    case BLACKNESS:
                        v = 0;
                        break;
                    case WHITENESS:
                        v = 0xFFFFFF;
                        break;
                    default:
                        break;
                }
                row[x] = (row[x] & 0xFF000000) | v;
            }
        }
        endPixels(clip);
    } else {
        // Vector surfaces: AND with white and OR with black change nothing, so those source
        // pixels are left out; inversions become differences.
        cairo_save(cr_);
        cairo_rectangle(cr_, d.left, d.top, d.Width(), d.Height());
        cairo_clip(cr_);
        if (rop == BLACKNESS || rop == WHITENESS || rop == DSTINVERT) {
            cairo_set_source_rgb(cr_, rop == BLACKNESS ? 0 : 1, rop == BLACKNESS ? 0 : 1,
                                 rop == BLACKNESS ? 0 : 1);
            if (rop == DSTINVERT) cairo_set_operator(cr_, CAIRO_OPERATOR_DIFFERENCE);
            cairo_paint(cr_);
        } else if (image != nullptr) {
            cairo_surface_t* layer =
                cairo_image_surface_create(CAIRO_FORMAT_ARGB32, d.Width(), d.Height());
            cairo_surface_flush(layer);
            for (int y = d.top; y < d.bottom; ++y) {
                auto* row = reinterpret_cast<std::uint32_t*>(
                    cairo_image_surface_get_data(layer) +
                    (y - d.top) * cairo_image_surface_get_stride(layer));
                for (int x = d.left; x < d.right; ++x) {
                    std::uint32_t s = sourcePixel(x, y);
                    if (rop == NOTSRCCOPY) s = ~s & 0xFFFFFF;
                    const bool skip =
                        (rop == SRCAND && s == 0xFFFFFF) || (rop == SRCPAINT && s == 0);
                    row[x - d.left] = skip ? 0 : 0xFF000000 | s;
                }
            }
            cairo_surface_mark_dirty(layer);
            if (rop == SRCINVERT) cairo_set_operator(cr_, CAIRO_OPERATOR_DIFFERENCE);
            cairo_set_source_surface(cr_, layer, d.left, d.top);
            cairo_paint(cr_);
            cairo_surface_destroy(layer);
        }
        cairo_restore(cr_);
    }
    if (image != nullptr) cairo_surface_destroy(image);
}
