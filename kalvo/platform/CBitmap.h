#pragma once

#include <cstdint>
#include <string>

#include <cairo.h>

#include <kalvo/platform/CRect.h>
#include <kalvo/platform/ColorRef.h>

// What GetBitmap (GetObject) tells of a bitmap.
struct BITMAP {
    int bmType;
    int bmWidth;
    int bmHeight;
    int bmWidthBytes;
    unsigned short bmPlanes;
    unsigned short bmBitsPixel;  // 1 for monochrome, 32 for colour
    void* bmBits;
};

// A bitmap: a cairo image surface of 32-bit pixels (0x00RRGGBB in native order). A
// monochrome bitmap holds only black (bit 0) and white (bit 1) pixels and is marked as one
// bit per pixel, which blits use to colour it with the text and background colours.
// Copying a CBitmap shares the pixels, as copying a handle does; Copy() duplicates them.
class CBitmap {
public:
    CBitmap() = default;
    CBitmap(const CBitmap& other);
    CBitmap& operator=(const CBitmap& other);
    virtual ~CBitmap();

    // Bits are rows of 16-bit aligned bytes (most significant bit leftmost) for one bit per
    // pixel, or native 32-bit 0x00RRGGBB values for 32 bits per pixel; null bits give a
    // black picture. Other depths are refused.
    bool CreateBitmap(int width, int height, unsigned planes, unsigned bitsPerPixel,
                      const void* bits);
    // A bitmap the device could hold: monochrome for a one-bit device, else colour; white.
    bool CreateCompatibleBitmap(class CDC* dc, int width, int height);
    // One of the library's bitmaps by resource name ("GRAPH_MARKERS", ...); false if unknown.
    bool LoadBitmap(const char* name);
    bool DeleteObject();

    // Null when no bitmap was created.
    void* GetSafeHandle() const { return surface_; }
    int GetBitmap(BITMAP* info) const;
    int GetWidth() const;
    int GetHeight() const;
    bool IsMonochrome() const { return monochrome_; }

    // Pixel access; GetPixel gives CLR_INVALID outside the bitmap.
    COLORREF GetPixel(int x, int y) const;
    void SetPixel(int x, int y, COLORREF color);

    // A new bitmap holding a copy of the part of this one inside the area.
    CBitmap Copy(const CRect& area) const;
    CBitmap Copy() const;

    // A new image surface of opaque 32-bit pixels, its content undefined (cairo's error
    // surface when there is no memory for it). Wide images get rows an odd number of cache lines apart: at their
    // natural stride (7680 bytes at 1920 pixels) the rows of a pixel column share a few cache
    // sets and alias each other's stores, and a vertical line costs a cache miss a pixel.
    static cairo_surface_t* CreateSurface(int width, int height);

    // Adopts a reference to an image surface (the caller keeps its own reference).
    void Attach(cairo_surface_t* surface, bool monochrome);
    cairo_surface_t* GetSurface() const { return surface_; }
    // Writes the bitmap as a PNG file; false when it cannot be written.
    bool WritePNG(const char* path) const;
    // The bitmap encoded as PNG; empty for a null bitmap.
    std::string ToPNG() const;

private:
    cairo_surface_t* surface_ = nullptr;
    bool monochrome_ = false;
};
