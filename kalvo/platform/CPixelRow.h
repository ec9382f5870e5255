#pragma once

#include <cstdint>

// Runs of 32-bit pixels (0xAARRGGBB, as cairo's images hold them) set or blended in place,
// several at a time where the processor allows: the fills and the text of a repaint.
class CPixelRow {
public:
    // Sets count pixels to the value.
    static void fill(std::uint32_t* row, int count, std::uint32_t value);
    // Blends an opaque colour over count pixels by their coverage (0 to 255): each byte
    // becomes (c * a + d * (255 - a)) / 255, rounded as pixman rounds, so that the pixels
    // are those cairo draws for a solid colour through an alpha mask.
    static void blend(std::uint32_t* row, const std::uint8_t* coverage, int count,
                      std::uint32_t color);
};
