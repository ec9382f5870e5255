#include <kalvo/toolkit/KImageContext.h>

#include <kalvo/foundation/KException.h>
#include <kalvo/platform/RasterOp.h>

KImageContext::KImageContext(CDC* source, CRect extents) : memory_(nullptr) {
    if (source == nullptr) KException::raise("KImageContext Error", "No source device context");
    CRect device(extents);
    source->LPtoDP(&device);
    device.NormalizeRect();
    memory_ = source->CreateCompatibleDC();
    CreateCompatibleBitmap(source, device.Width() > 0 ? device.Width() : 1,
                           device.Height() > 0 ? device.Height() : 1);
    previous_ = memory_->SelectObject(*this);
    const CPoint deviceOrigin = device.TopLeft();
    source->DPtoLP(&device);
    extents_ = device;
    memory_->SetMapMode(source->GetMapMode());
    memory_->SetWindowExt(source->GetWindowExt().cx, source->GetWindowExt().cy);
    memory_->SetViewportExt(source->GetViewportExt().cx, source->GetViewportExt().cy);
    memory_->SetWindowOrg(extents_.left, extents_.top);
    memory_->IntersectClipRect(extents_);
    // Hatches and patterns keep their alignment with the source's pixels.
    const CPoint brushOrg = source->GetBrushOrg() - deviceOrigin;
    memory_->SetBrushOrg(brushOrg.x, brushOrg.y);
}

KImageContext::~KImageContext() {
    memory_->SelectObject(previous_);
    delete memory_;
}

CSize KImageContext::getSize() const {
    BITMAP info;
    if (GetBitmap(&info) == 0) return CSize();
    return CSize(info.bmWidth, info.bmHeight);
}

void KImageContext::copyBits(CDC* from, int x, int y) {
    memory_->BitBlt(extents_.left, extents_.top, extents_.Width(), extents_.Height(), from, x, y,
                    SRCCOPY);
}

void KImageContext::drawBits(CDC* to, int x, int y) {
    to->BitBlt(x, y, extents_.Width(), extents_.Height(), memory_, extents_.left, extents_.top,
               SRCCOPY);
}

void KImageContext::drawBits(CDC* to, CRect destination) {
    to->StretchBlt(destination.left, destination.top, destination.Width(), destination.Height(),
                   memory_, extents_.left, extents_.top, extents_.Width(), extents_.Height(),
                   SRCCOPY);
}
