#include <kalvo/platform/CPen.h>

#include <kalvo/platform/PenStyle.h>
#include <kalvo/platform/StockObject.h>

bool CPen::CreatePen(int style, int width, COLORREF color) {
    if (style < PS_SOLID || style > PS_INSIDEFRAME || width < 0) return false;
    created_ = true;
    style_ = style;
    width_ = width;
    color_ = color & 0xFFFFFF;
    return true;
}

bool CPen::DeleteObject() {
    const bool was = created_;
    *this = CPen();
    return was;
}

CPen CPen::Stock(int index) {
    switch (index) {
        case WHITE_PEN:
            return CPen(PS_SOLID, 0, RGB(255, 255, 255));
        case BLACK_PEN:
            return CPen(PS_SOLID, 0, RGB(0, 0, 0));
        case NULL_PEN:
            return CPen(PS_NULL, 0, 0);
        default:
            return CPen();
    }
}
