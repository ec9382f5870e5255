#pragma once

#include <cstdint>

// Binary raster operations (SetROP2): how the pen or brush colour P combines with the
// destination D. The code minus one is a truth table: bit (2·P + D) gives the result bit.
constexpr int R2_BLACK = 1;        // 0
constexpr int R2_NOTMERGEPEN = 2;  // ~(P | D)
constexpr int R2_MASKNOTPEN = 3;   // ~P & D
constexpr int R2_NOTCOPYPEN = 4;   // ~P
constexpr int R2_MASKPENNOT = 5;   // P & ~D
constexpr int R2_NOT = 6;          // ~D
constexpr int R2_XORPEN = 7;       // P ^ D
constexpr int R2_NOTMASKPEN = 8;   // ~(P & D)
constexpr int R2_MASKPEN = 9;      // P & D
constexpr int R2_NOTXORPEN = 10;   // ~(P ^ D)
constexpr int R2_NOP = 11;         // D
constexpr int R2_MERGENOTPEN = 12; // ~P | D
constexpr int R2_COPYPEN = 13;     // P
constexpr int R2_MERGEPENNOT = 14; // P | ~D
constexpr int R2_MERGEPEN = 15;    // P | D
constexpr int R2_WHITE = 16;       // 1

// Applies a binary raster operation bitwise to two pixel values.
constexpr std::uint32_t applyRop2(int rop, std::uint32_t pen, std::uint32_t dst) {
    const unsigned table = static_cast<unsigned>(rop - 1) & 0xF;
    std::uint32_t r = 0;
    if (table & 1) r |= ~pen & ~dst;
    if (table & 2) r |= ~pen & dst;
    if (table & 4) r |= pen & ~dst;
    if (table & 8) r |= pen & dst;
    return r;
}

// Ternary raster operations of bit blits that the device contexts carry out.
constexpr std::uint32_t SRCCOPY = 0x00CC0020;    // S
constexpr std::uint32_t SRCPAINT = 0x00EE0086;   // S | D
constexpr std::uint32_t SRCAND = 0x008800C6;     // S & D
constexpr std::uint32_t SRCINVERT = 0x00660046;  // S ^ D
constexpr std::uint32_t NOTSRCCOPY = 0x00330008; // ~S
constexpr std::uint32_t DSTINVERT = 0x00550009;  // ~D
constexpr std::uint32_t BLACKNESS = 0x00000042;  // 0
constexpr std::uint32_t WHITENESS = 0x00FF0062;  // 1
