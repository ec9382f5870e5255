#include <kalvo/toolkit/widgets/KViewport.h>

#include <algorithm>

#include <kalvo/foundation/KArchive.h>
#include <kalvo/platform/CDC.h>
#include <kalvo/toolkit/KBufferedContext.h>
#include <kalvo/toolkit/KGraphics.h>

K_IMPLEMENT_CLASS(KViewport, KContainer, 1)

namespace {
constexpr std::int32_t STORED_VERSION = 1;
}

KViewport::KViewport(const char* name) : KContainer(name) {
    // Plumbing between a scroll pane and its view: a right click goes on to the pane's
    // container.
    setMenu("");
}

void KViewport::setView(KComponent* view) {
    KComponent* old = getView();
    if (view == old) return;
    if (old != nullptr) {
        remove(old);
        delete old;
    }
    position_ = CPoint();
    if (view != nullptr) add(view);
    doLayout();
    invalidate(true);
}

CPoint KViewport::clamped(CPoint position) const {
    const KComponent* view = getView();
    const CSize room = view != nullptr ? view->getSize() - getSize() : CSize();
    return CPoint(std::max(0, std::min(position.x, room.cx)),
                  std::max(0, std::min(position.y, room.cy)));
}

void KViewport::setViewPosition(CPoint position) {
    position = clamped(position);
    if (position == position_) return;
    position_ = position;
    doLayout();
    invalidate(true);
}

void KViewport::doLayout() {
    KComponent* view = getView();
    if (view == nullptr) return;
    // The view may have changed its size since it was scrolled.
    position_ = clamped(position_);
    view->setLocation(getExtents().TopLeft() - position_);
}

void KViewport::paintAll(KGraphics& graphics) {
    CDC* dc = graphics.getDC();
    // Only a raster device seen as it is drawn gains by it: printers, metafiles, recordings
    // and vector files keep the drawing as drawing, and an image off the screen (the
    // pictures the hosts show their windows from) is a buffer already.
    const bool raster = dc->HasPixels() && !dc->IsOffScreen();
    if (!buffered_ || !raster || !isShowing() || isXORDraw()) {
        KContainer::paintAll(graphics);
        return;
    }
    // Only the part of the viewport that needs painting goes through the image.
    const CRect saved = graphics.getClipBounds();
    graphics.clipRect(getBounds());
    if (!graphics.getClipBounds().IsRectEmpty()) {
        KBufferedContext buffer(dc, !paintsEveryPixel(), buffer_);
        KGraphics image(buffer.getGraphics());
        KContainer::paintAll(image);
    }
    graphics.setClip(saved);
}

void KViewport::copy(const KObject& other) {
    KContainer::copy(other);
    const KViewport* v = k_dynamic_cast<KViewport>(const_cast<KObject*>(&other));
    if (v == nullptr) return;
    position_ = v->position_;
    buffered_ = v->buffered_;
}

void KViewport::Serialize(KArchive& ar) {
    KContainer::Serialize(ar);
    if (ar.isStoring()) {
        ar << STORED_VERSION << static_cast<std::int32_t>(position_.x)
           << static_cast<std::int32_t>(position_.y) << buffered_;
        return;
    }
    const std::int32_t version = ar.readVersion(STORED_VERSION, "viewport");
    if (version < 1) return;
    std::int32_t x, y;
    ar >> x >> y >> buffered_;
    position_ = CPoint(x, y);
    doLayout();
}
