#pragma once

#include <kalvo/platform/CBitmap.h>
#include <kalvo/platform/CRect.h>

class KGraphics;

// A picture that components show (a label's image): a bitmap, or one cell of a strip of
// equal square cells such as the library's "LABEL_ICONS".
class KImage {
public:
    // The whole bitmap (its pixels are shared, as bitmaps share them).
    explicit KImage(const CBitmap& bitmap);
    // Cell `cell` of a strip of square cells as high as the bitmap.
    KImage(const CBitmap& bitmap, int cell);
    // A named bitmap of the library, whole or one cell; null for an unknown name or a cell
    // outside the strip. The caller deletes it.
    static KImage* load(const char* name, int cell = -1);

    CSize getSize() const { return source_.Size(); }
    const CBitmap& getBitmap() const { return bitmap_; }
    // The part of the bitmap shown.
    const CRect& getSource() const { return source_; }
    // Draws the picture with its top-left at the point.
    void draw(KGraphics& graphics, CPoint at) const;

private:
    CBitmap bitmap_;
    CRect source_;
};
