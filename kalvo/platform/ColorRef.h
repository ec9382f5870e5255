#pragma once

#include <cstdint>

// A colour as a 32-bit value with red in the low byte, then green, then blue.
using COLORREF = std::uint32_t;

constexpr COLORREF RGB(int r, int g, int b) {
    return static_cast<COLORREF>((r & 0xFF) | ((g & 0xFF) << 8) | ((b & 0xFF) << 16));
}
constexpr int GetRValue(COLORREF c) { return static_cast<int>(c & 0xFF); }
constexpr int GetGValue(COLORREF c) { return static_cast<int>((c >> 8) & 0xFF); }
constexpr int GetBValue(COLORREF c) { return static_cast<int>((c >> 16) & 0xFF); }
