#pragma once

#include <cstdint>

// A small picture compiled into the library: rows of characters, one per pixel, read
// through a fixed palette so that the pictures can be drawn and reviewed as text.
//   ' ' transparent   '.' white   '#' black   's' silver   'k' dark grey
//   'r' red   'g' green   'b' blue   'y' yellow   'n' navy   'm' maroon
// A monochrome bitmap uses only '.' (bit 1) and '#' (bit 0). A cursor has a hot spot.
struct KImageResource {
    const char* name;
    int width;
    int height;
    int bitsPerPixel;  // 1 or 32
    int hotX;
    int hotY;
    const char* const* rows;

    // The pixel as 0xAARRGGBB (transparent pixels are 0).
    std::uint32_t pixel(int x, int y) const;
};
