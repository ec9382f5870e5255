#include <kalvo/platform/CFont.h>

#include <kalvo/platform/StockObject.h>

CFont::CFont(const char* face, int height, int weight, bool italic) {
    CreateFont(height, 0, 0, 0, weight, italic, 0, 0, 0, 0, 0, 0, 0, face);
}

bool CFont::CreateFont(int height, int, int escapement, int, int weight, unsigned char italic,
                       unsigned char underline, unsigned char strikeOut, unsigned char,
                       unsigned char, unsigned char, unsigned char, unsigned char,
                       const char* faceName) {
    created_ = true;
    face_ = (faceName != nullptr && *faceName != '\0') ? faceName : "Arial";
    height_ = height;
    weight_ = weight <= 0 ? 400 : weight;
    italic_ = italic != 0;
    underline_ = underline != 0;
    strikeOut_ = strikeOut != 0;
    escapement_ = escapement;
    return true;
}

bool CFont::CreatePointFont(int pointSize, const char* faceName) {
    // 96 pixels per inch, 72 points per inch, size in tenths of a point.
    const int pixels = (pointSize * 96 + 360) / 720;
    return CreateFont(-pixels, 0, 0, 0, 400, 0, 0, 0, 0, 0, 0, 0, 0, faceName);
}

bool CFont::DeleteObject() {
    const bool was = created_;
    *this = CFont();
    return was;
}

CFont CFont::Stock(int index) {
    switch (index) {
        case ANSI_VAR_FONT:
        case DEFAULT_GUI_FONT:
            return CFont("Arial", -11);
        case SYSTEM_FONT:
            return CFont("Arial", -13, 700);
        case ANSI_FIXED_FONT:
        case OEM_FIXED_FONT:
            return CFont("Courier New", -13);
        default:
            return CFont();
    }
}

bool CFont::operator==(const CFont& other) const {
    return created_ == other.created_ && face_ == other.face_ && height_ == other.height_ &&
           weight_ == other.weight_ && italic_ == other.italic_ &&
           underline_ == other.underline_ && strikeOut_ == other.strikeOut_ &&
           escapement_ == other.escapement_;
}
