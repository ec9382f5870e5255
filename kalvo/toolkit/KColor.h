#pragma once

#include <kalvo/platform/ColorRef.h>

// A colour value: red, green and blue, converted to and from the library's COLORREF values.
class KColor {
public:
    constexpr KColor() = default;
    constexpr KColor(int red, int green, int blue) : rgb_(RGB(red, green, blue)) {}
    constexpr explicit KColor(COLORREF rgb) : rgb_(rgb & 0xFFFFFF) {}

    constexpr int getRed() const { return GetRValue(rgb_); }
    constexpr int getGreen() const { return GetGValue(rgb_); }
    constexpr int getBlue() const { return GetBValue(rgb_); }
    constexpr COLORREF getRGB() const { return rgb_; }
    constexpr operator COLORREF() const { return rgb_; }

    constexpr bool operator==(const KColor& other) const = default;

private:
    COLORREF rgb_ = 0;
};
