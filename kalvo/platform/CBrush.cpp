#include <kalvo/platform/CBrush.h>

#include <kalvo/platform/HatchStyle.h>
#include <kalvo/platform/StockObject.h>

bool CBrush::CreateSolidBrush(COLORREF color) {
    *this = CBrush();
    kind_ = SOLID;
    color_ = color & 0xFFFFFF;
    return true;
}

bool CBrush::CreateHatchBrush(int hatchStyle, COLORREF color) {
    if (HatchRows(hatchStyle) == nullptr) return false;
    *this = CBrush();
    kind_ = HATCH;
    hatch_ = hatchStyle;
    color_ = color & 0xFFFFFF;
    return true;
}

bool CBrush::CreatePatternBrush(const CBitmap* bitmap) {
    if (bitmap == nullptr || bitmap->GetSafeHandle() == nullptr) return false;
    *this = CBrush();
    kind_ = PATTERN;
    pattern_ = bitmap->Copy(CRect(0, 0, 8, 8));
    return pattern_.GetSafeHandle() != nullptr;
}

bool CBrush::DeleteObject() {
    const bool was = IsCreated();
    *this = CBrush();
    return was;
}

CBrush CBrush::Stock(int index) {
    switch (index) {
        case WHITE_BRUSH:
            return CBrush(RGB(255, 255, 255));
        case LTGRAY_BRUSH:
            return CBrush(RGB(192, 192, 192));
        case GRAY_BRUSH:
            return CBrush(RGB(128, 128, 128));
        case DKGRAY_BRUSH:
            return CBrush(RGB(64, 64, 64));
        case BLACK_BRUSH:
            return CBrush(RGB(0, 0, 0));
        case NULL_BRUSH: {
            CBrush b;
            b.kind_ = HOLLOW;
            return b;
        }
        default:
            return CBrush();
    }
}

const std::uint8_t* CBrush::HatchRows(int hatchStyle) {
    static constexpr std::uint8_t rows[6][8] = {
        {0xFF, 0, 0, 0, 0, 0, 0, 0},                              // HS_HORIZONTAL
        {0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80},         // HS_VERTICAL
        {0x80, 0x40, 0x20, 0x10, 0x08, 0x04, 0x02, 0x01},         // HS_FDIAGONAL
        {0x01, 0x02, 0x04, 0x08, 0x10, 0x20, 0x40, 0x80},         // HS_BDIAGONAL
        {0xFF, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80},         // HS_CROSS
        {0x81, 0x42, 0x24, 0x18, 0x18, 0x24, 0x42, 0x81},         // HS_DIAGCROSS
    };
    if (hatchStyle < HS_HORIZONTAL || hatchStyle > HS_DIAGCROSS) return nullptr;
    return rows[hatchStyle];
}

bool CBrush::operator==(const CBrush& other) const {
    return kind_ == other.kind_ && color_ == other.color_ && hatch_ == other.hatch_ &&
           pattern_.GetSafeHandle() == other.pattern_.GetSafeHandle();
}
