#include <kalvo/toolkit/KImage.h>

#include <kalvo/toolkit/KGraphics.h>

KImage::KImage(const CBitmap& bitmap)
    : bitmap_(bitmap), source_(0, 0, bitmap.GetWidth(), bitmap.GetHeight()) {}

KImage::KImage(const CBitmap& bitmap, int cell) : bitmap_(bitmap) {
    const int side = bitmap.GetHeight();
    source_ = CRect(cell * side, 0, (cell + 1) * side, side);
}

KImage* KImage::load(const char* name, int cell) {
    CBitmap bitmap;
    if (!bitmap.LoadBitmap(name)) return nullptr;
    if (cell < 0) return new KImage(bitmap);
    const int side = bitmap.GetHeight();
    if (side <= 0 || (cell + 1) * side > bitmap.GetWidth()) return nullptr;
    return new KImage(bitmap, cell);
}

void KImage::draw(KGraphics& graphics, CPoint at) const {
    CBitmap bitmap = bitmap_;
    graphics.drawImage(&bitmap, &source_, at);
}
