#pragma once

#include <kalvo/platform/ColorRef.h>

// A pen: style (PS_*), width in logical units (0 means one pixel whatever the mapping) and
// colour. A value: device contexts keep a copy of the pen selected into them, so a pen may
// be destroyed while selected. A default-constructed pen is not created (IsCreated false).
class CPen {
public:
    CPen() = default;
    CPen(int style, int width, COLORREF color) { CreatePen(style, width, color); }

    bool CreatePen(int style, int width, COLORREF color);
    bool DeleteObject();
    // WHITE_PEN, BLACK_PEN or NULL_PEN; any other index gives a pen that is not created.
    static CPen Stock(int index);

    bool IsCreated() const { return created_; }
    int GetStyle() const { return style_; }
    int GetWidth() const { return width_; }
    COLORREF GetColor() const { return color_; }

    bool operator==(const CPen& other) const = default;

private:
    bool created_ = false;
    int style_ = 0;
    int width_ = 0;
    COLORREF color_ = 0;
};
