#pragma once

#include <cstdint>

#include <kalvo/platform/CBitmap.h>
#include <kalvo/platform/ColorRef.h>

// A brush: hollow, solid, hatched (HS_* in the brush colour over the background colour or
// nothing, by background mode) or an 8x8 pattern. A monochrome pattern draws its 0 bits in
// the text colour and its 1 bits in the background colour (left untouched in TRANSPARENT
// background mode); a colour pattern draws its own pixels. A value, like CPen.
class CBrush {
public:
    enum Kind { NONE, HOLLOW, SOLID, HATCH, PATTERN };

    CBrush() = default;
    explicit CBrush(COLORREF color) { CreateSolidBrush(color); }
    CBrush(int hatchStyle, COLORREF color) { CreateHatchBrush(hatchStyle, color); }

    bool CreateSolidBrush(COLORREF color);
    bool CreateHatchBrush(int hatchStyle, COLORREF color);
    // Keeps the top-left 8x8 pixels of the bitmap (a copy: later changes to it do not show).
    bool CreatePatternBrush(const CBitmap* bitmap);
    bool DeleteObject();
    // The stock brushes WHITE_BRUSH ... NULL_BRUSH; other indices give a brush not created.
    static CBrush Stock(int index);

    bool IsCreated() const { return kind_ != NONE; }
    Kind GetKind() const { return kind_; }
    COLORREF GetColor() const { return color_; }
    int GetHatchStyle() const { return hatch_; }
    const CBitmap& GetPattern() const { return pattern_; }

    // The 8 rows of a hatch style's cell, most significant bit leftmost; a set bit is a pixel
    // of the hatch lines. Null for an unknown style.
    static const std::uint8_t* HatchRows(int hatchStyle);

    bool operator==(const CBrush& other) const;

private:
    Kind kind_ = NONE;
    COLORREF color_ = 0;
    int hatch_ = 0;
    CBitmap pattern_;
};
