#include <kalvo/platform/CBitmap.h>

#include <cstring>

#include <glib.h>

#include <kalvo/platform/CDC.h>
#include <kalvo/platform/DeviceCaps.h>
#include <kalvo/platform/DeviceModes.h>
#include <kalvo/resources/KResources.h>

namespace {

std::uint32_t* rowOf(cairo_surface_t* s, int y) {
    return reinterpret_cast<std::uint32_t*>(cairo_image_surface_get_data(s) +
                                            y * cairo_image_surface_get_stride(s));
}

}  // namespace

CBitmap::CBitmap(const CBitmap& other) : monochrome_(other.monochrome_) {
    if (other.surface_ != nullptr) surface_ = cairo_surface_reference(other.surface_);
}

CBitmap& CBitmap::operator=(const CBitmap& other) {
    if (this != &other) {
        Attach(other.surface_, other.monochrome_);
    }
    return *this;
}

CBitmap::~CBitmap() {
    DeleteObject();
}

void CBitmap::Attach(cairo_surface_t* surface, bool monochrome) {
    if (surface != nullptr) cairo_surface_reference(surface);
    DeleteObject();
    surface_ = surface;
    monochrome_ = monochrome;
}

bool CBitmap::DeleteObject() {
    if (surface_ == nullptr) return false;
    cairo_surface_destroy(surface_);
    surface_ = nullptr;
    monochrome_ = false;
    return true;
}

cairo_surface_t* CBitmap::CreateSurface(int width, int height) {
    constexpr int LINE = 64;
    int stride = cairo_format_stride_for_width(CAIRO_FORMAT_RGB24, width);
    if (stride < 32 * LINE) return cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
    stride = (stride + LINE - 1) / LINE * LINE;
    if ((stride / LINE) % 2 == 0) stride += LINE;
    void* data = g_try_malloc(static_cast<std::size_t>(stride) * height);
    if (data == nullptr) return cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
    cairo_surface_t* s = cairo_image_surface_create_for_data(static_cast<unsigned char*>(data),
                                                             CAIRO_FORMAT_RGB24, width, height, stride);
    static cairo_user_data_key_t owner;
    if (cairo_surface_set_user_data(s, &owner, data, g_free) != CAIRO_STATUS_SUCCESS) {
        cairo_surface_destroy(s);
        g_free(data);
        return cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
    }
    return s;
}

bool CBitmap::CreateBitmap(int width, int height, unsigned planes, unsigned bitsPerPixel,
                           const void* bits) {
    if (width <= 0 || height <= 0 || planes != 1 || (bitsPerPixel != 1 && bitsPerPixel != 32)) {
        return false;
    }
    cairo_surface_t* s = CreateSurface(width, height);
    if (cairo_surface_status(s) != CAIRO_STATUS_SUCCESS) {
        cairo_surface_destroy(s);
        return false;
    }
    cairo_surface_flush(s);
    const auto* in = static_cast<const std::uint8_t*>(bits);
    const int monoStride = ((width + 15) / 16) * 2;
    for (int y = 0; y < height; ++y) {
        std::uint32_t* row = rowOf(s, y);
        for (int x = 0; x < width; ++x) {
            std::uint32_t v = 0;
            if (in != nullptr && bitsPerPixel == 1) {
                const bool set = (in[y * monoStride + x / 8] >> (7 - x % 8)) & 1;
                v = set ? 0xFFFFFF : 0;
            } else if (in != nullptr) {
                std::memcpy(&v, in + (static_cast<std::size_t>(y) * width + x) * 4, 4);
                v &= 0xFFFFFF;
            }
            row[x] = v;
        }
    }
    cairo_surface_mark_dirty(s);
    DeleteObject();
    surface_ = s;
    monochrome_ = bitsPerPixel == 1;
    return true;
}

bool CBitmap::CreateCompatibleBitmap(CDC* dc, int width, int height) {
    const bool mono = dc != nullptr && dc->GetDeviceCaps(BITSPIXEL) == 1;
    if (!CreateBitmap(width, height, 1, mono ? 1 : 32, nullptr)) return false;
    for (int y = 0; y < height; ++y) {
        std::uint32_t* row = rowOf(surface_, y);
        for (int x = 0; x < width; ++x) row[x] = 0xFFFFFF;
    }
    cairo_surface_mark_dirty(surface_);
    return true;
}

bool CBitmap::LoadBitmap(const char* name) {
    const KImageResource* image = KResources::findBitmap(name);
    if (image == nullptr) return false;
    if (!CreateBitmap(image->width, image->height, 1, image->bitsPerPixel, nullptr)) {
        return false;
    }
    for (int y = 0; y < image->height; ++y) {
        std::uint32_t* row = rowOf(surface_, y);
        for (int x = 0; x < image->width; ++x) {
            // A bitmap has no transparency: transparent pixels are white.
            const std::uint32_t argb = image->pixel(x, y);
            row[x] = (argb >> 24) == 0 ? 0xFFFFFF : argb & 0xFFFFFF;
        }
    }
    cairo_surface_mark_dirty(surface_);
    return true;
}

int CBitmap::GetBitmap(BITMAP* info) const {
    if (surface_ == nullptr || info == nullptr) return 0;
    info->bmType = 0;
    info->bmWidth = GetWidth();
    info->bmHeight = GetHeight();
    info->bmWidthBytes = cairo_image_surface_get_stride(surface_);
    info->bmPlanes = 1;
    info->bmBitsPixel = monochrome_ ? 1 : 32;
    info->bmBits = cairo_image_surface_get_data(surface_);
    return static_cast<int>(sizeof(BITMAP));
}

int CBitmap::GetWidth() const {
    return surface_ == nullptr ? 0 : cairo_image_surface_get_width(surface_);
}

int CBitmap::GetHeight() const {
    return surface_ == nullptr ? 0 : cairo_image_surface_get_height(surface_);
}

COLORREF CBitmap::GetPixel(int x, int y) const {
    if (surface_ == nullptr || x < 0 || y < 0 || x >= GetWidth() || y >= GetHeight()) {
        return CLR_INVALID;
    }
    cairo_surface_flush(surface_);
    const std::uint32_t v = rowOf(surface_, y)[x];
    return RGB((v >> 16) & 0xFF, (v >> 8) & 0xFF, v & 0xFF);
}

void CBitmap::SetPixel(int x, int y, COLORREF color) {
    if (surface_ == nullptr || x < 0 || y < 0 || x >= GetWidth() || y >= GetHeight()) return;
    cairo_surface_flush(surface_);
    std::uint32_t v = (GetRValue(color) << 16) | (GetGValue(color) << 8) | GetBValue(color);
    if (monochrome_) v = v == 0xFFFFFF ? 0xFFFFFF : 0;
    rowOf(surface_, y)[x] = v;
    cairo_surface_mark_dirty_rectangle(surface_, x, y, 1, 1);
}

CBitmap CBitmap::Copy(const CRect& area) const {
    CBitmap copy;
    CRect r;
    if (surface_ == nullptr || !r.IntersectRect(area, CRect(0, 0, GetWidth(), GetHeight()))) {
        return copy;
    }
    copy.CreateBitmap(r.Width(), r.Height(), 1, monochrome_ ? 1 : 32, nullptr);
    cairo_surface_flush(surface_);
    for (int y = 0; y < r.Height(); ++y) {
        std::memcpy(rowOf(copy.surface_, y), rowOf(surface_, r.top + y) + r.left,
                    static_cast<std::size_t>(r.Width()) * 4);
    }
    cairo_surface_mark_dirty(copy.surface_);
    return copy;
}

CBitmap CBitmap::Copy() const {
    return Copy(CRect(0, 0, GetWidth(), GetHeight()));
}

bool CBitmap::WritePNG(const char* path) const {
    return surface_ != nullptr &&
           cairo_surface_write_to_png(surface_, path) == CAIRO_STATUS_SUCCESS;
}

std::string CBitmap::ToPNG() const {
    std::string out;
    if (surface_ == nullptr) return out;
    cairo_surface_flush(surface_);
    cairo_surface_write_to_png_stream(
        surface_,
        [](void* closure, const unsigned char* data, unsigned int length) {
            static_cast<std::string*>(closure)->append(reinterpret_cast<const char*>(data), length);
            return CAIRO_STATUS_SUCCESS;
        },
        &out);
    return out;
}
