#include <kalvo/toolkit/KComponent.h>

#include <algorithm>
#include <cctype>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <memory>

#include <kalvo/foundation/KArchive.h>
#include <kalvo/platform/CCairoDC.h>
#include <kalvo/platform/CEmfDC.h>
#include <kalvo/platform/KHost.h>
#include <kalvo/platform/RasterOp.h>
#include <kalvo/platform/StockObject.h>
#include <kalvo/resources/KMenuResource.h>
#include <kalvo/toolkit/KContainer.h>
#include <kalvo/toolkit/KGraphics.h>
#include <kalvo/toolkit/layout/KLayout.h>

K_IMPLEMENT_CLASS(KComponent, KObject, 2)

int KComponent::instanceCount_ = 0;
KComponent* KComponent::firstLive_ = nullptr;
KComponent* KComponent::lastLive_ = nullptr;
KComponent* KComponent::clip_ = nullptr;
KComponent* KComponent::drag_ = nullptr;
KComponent* KComponent::focus_ = nullptr;
KComponent* KComponent::capture_ = nullptr;
KComponent* KComponent::menuTarget_ = nullptr;
int KComponent::style_ = 2;
bool KComponent::painting_ = false;
CPen KComponent::blackPen_;
CBrush KComponent::whiteBrush_;
CBrush KComponent::nullBrush_;
KComponent::Tracer KComponent::tracer_;

namespace {

constexpr std::int32_t STORED_VERSION = 2;

// Where a drag started and what it moves: the body or one of the sizing pads.
struct DragState {
    KComponent* component = nullptr;
    int part = KComponent::HIT_NONE;
    CPoint anchor;  // parent coordinates of the press
    CRect start;    // bounds at the press
    bool moved = false;
};
DragState dragState;

// Sets a flag for the lifetime of a scope and puts back what was there.
class FlagScope {
public:
    FlagScope(bool& flag, bool value) : flag_(flag), saved_(flag) { flag_ = value; }
    ~FlagScope() { flag_ = saved_; }

private:
    bool& flag_;
    bool saved_;
};

// The centres of the eight sizing pads of a rectangle, in Hit order from HIT_TOP.
void padCentres(const CRect& r, CPoint (&centres)[8]) {
    const int cx = (r.left + r.right) / 2, cy = (r.top + r.bottom) / 2;
    const int right = r.right - 1, bottom = r.bottom - 1;
    centres[0] = CPoint(cx, r.top);
    centres[1] = CPoint(right, r.top);
    centres[2] = CPoint(right, cy);
    centres[3] = CPoint(right, bottom);
    centres[4] = CPoint(cx, bottom);
    centres[5] = CPoint(r.left, bottom);
    centres[6] = CPoint(r.left, cy);
    centres[7] = CPoint(r.left, r.top);
}

// Whether a stretch value shows the pad: horizontal stretch the side pads, vertical the
// top and bottom ones, both the corners as well.
bool padShown(int stretch, int index) {
    const int part = index + KComponent::HIT_TOP;
    switch (part) {
        case KComponent::HIT_LEFT:
        case KComponent::HIT_RIGHT:
            return (stretch & KComponent::STRETCH_HORZ) != 0;
        case KComponent::HIT_TOP:
        case KComponent::HIT_BOTTOM:
            return (stretch & KComponent::STRETCH_VERT) != 0;
        default:
            return stretch == (KComponent::STRETCH_HORZ | KComponent::STRETCH_VERT);
    }
}

constexpr int PAD_HALF = 3;  // pads are 7 pixels square around their centres

}  // namespace

KComponent::KComponent(const char* name)
    : extents_(0, 0, getUnitSize(), getUnitSize()), name_(name) {
    flags_.set(FLAG_OPAQUE);
    flags_.set(FLAG_PRINTABLE);
    if (instanceCount_++ == 0) {
        blackPen_ = CPen::Stock(BLACK_PEN);
        whiteBrush_ = CBrush::Stock(WHITE_BRUSH);
        nullBrush_ = CBrush::Stock(NULL_BRUSH);
    }
    prevLive_ = lastLive_;
    if (lastLive_ != nullptr) lastLive_->nextLive_ = this;
    else firstLive_ = this;
    lastLive_ = this;
}

KComponent::~KComponent() {
    if (clip_ == this) clip_ = nullptr;
    if (capture_ == this) releaseCapture(this);
    if (focus_ == this) focus_ = nullptr;
    if (drag_ == this) drag_ = nullptr;
    if (menuTarget_ == this) menuTarget_ = nullptr;
    if (dragState.component == this) dragState = DragState();
    if (parent_ != nullptr) parent_->remove(this);
    (prevLive_ != nullptr ? prevLive_->nextLive_ : firstLive_) = nextLive_;
    (nextLive_ != nullptr ? nextLive_->prevLive_ : lastLive_) = prevLive_;
    --instanceCount_;
}

// Geometry.

void KComponent::setLocation(int x, int y) { location_ = CPoint(x, y); }

void KComponent::setSize(int width, int height) {
    extents_.right = extents_.left + width;
    extents_.bottom = extents_.top + height;
}

void KComponent::setExtents(CRect extents) { extents_ = extents; }

CRect KComponent::getBounds() const {
    CRect r = extents_;
    r.OffsetRect(location_);
    return r;
}

void KComponent::setBounds(CRect bounds) {
    setLocation(bounds.left, bounds.top);
    setSize(bounds.Width(), bounds.Height());
}

void KComponent::setOrigin(CPoint origin) {
    const CPoint d = origin - getOrigin();
    location_ += d;
    extents_.OffsetRect(-d.x, -d.y);
}

CRect KComponent::getClientRect() const {
    CRect r = extents_;
    r.DeflateRect(insets_);
    return r;
}

KHost* KComponent::getCanvas() const {
    return parent_ != nullptr ? parent_->getCanvas() : nullptr;
}

CPoint KComponent::getLocationOnCanvas() const {
    CPoint p = location_;
    for (const KComponent* c = parent_; c != nullptr; c = c->parent_) p += c->location_;
    return p;
}

CPoint KComponent::getLocationOnScreen() const {
    KHost* host = getCanvas();
    const CPoint p = getLocationOnCanvas();
    return host != nullptr ? host->clientToScreen(p) : p;
}

KComponent* KComponent::getTopMost() {
    KComponent* c = this;
    while (c->parent_ != nullptr) c = c->parent_;
    return c;
}

CSize KComponent::getMinimumSize() const { return CSize(getUnitSize() / 2, getUnitSize() / 2); }

CSize KComponent::getMaximumSize() const {
    return CSize(getUnitSize() * 128, getUnitSize() * 128);
}

CSize KComponent::getPreferredSize() const { return getSize(); }

bool KComponent::contains(CPoint point) const { return extents_.PtInRect(point); }

// State.

void KComponent::setName(const char* name) { name_ = name; }

KString KComponent::getLabel() const { return name_.isEmpty() ? KString(getClassName()) : name_; }

KString KComponent::paramString() const {
    KString s;
    s.format("Name=\"%s\", Origin(%d,%d)", name_.c_str(), location_.x, location_.y);
    return s;
}

bool KComponent::isShowing() const {
    return visible_ && (parent_ == nullptr || parent_->isShowing());
}

void KComponent::setModified(bool modified) {
    modified_ = modified;
    if (modified && parent_ != nullptr) parent_->setModified(true);
}

void KComponent::setStretch(int stretch) {
    if (stretch >= 0 && stretch <= 3) stretch_ = stretch;
}

bool KComponent::isXORDraw() const {
    for (const KComponent* c = this; c != nullptr; c = c->parent_) {
        if (c->xorDraw_) return true;
    }
    return false;
}

KString KComponent::getTooltipText(CPoint) const { return tooltip_; }

void KComponent::setMenu(const char* menu) {
    menu_ = menu;
    menuByClass_ = false;
}

void KComponent::setMenu(int id) {
    menu_.format("%d", id);
    menuByClass_ = false;
}

// Family.

bool KComponent::isAncestor(const KComponent* component) const {
    if (component == nullptr) return false;
    for (const KComponent* c = parent_; c != nullptr; c = c->parent_) {
        if (c == component) return true;
    }
    return false;
}

KComponent* KComponent::findAncestor(const char* name) const {
    if (name == nullptr || *name == '\0') return nullptr;
    for (KContainer* c = parent_; c != nullptr; c = c->getParent()) {
        if (std::strcmp(c->getName().c_str(), name) == 0) return c;
    }
    return nullptr;
}

void KComponent::enumComponents(std::vector<KComponent*>& list, const char* className) {
    const KClass* cls = className != nullptr ? KClass::find(className) : nullptr;
    if (className == nullptr || (cls != nullptr && isKindOf(cls))) list.push_back(this);
}

HTREEITEM KComponent::populate(CTreeCtrl& tree, HTREEITEM parent) {
    const HTREEITEM item = tree.InsertItem(getLabel().c_str(), parent);
    tree.SetItemData(item, reinterpret_cast<std::uintptr_t>(this));
    return item;
}

// Process-wide slots.

void KComponent::clearClip() {
    KComponent* held = clip_;
    clip_ = nullptr;
    delete held;
}

namespace {

// Takes the component into a slot (the clip or the drag slot) out of its parent.
void hold(KComponent*& slot, KComponent* component) {
    if (component == nullptr || component == slot) return;
    KComponent* old = slot;
    slot = nullptr;
    delete old;
    slot = component;
    component->invalidate(true);
    if (KContainer* parent = component->getParent()) {
        parent->remove(component);
        parent->invalidate(true);
        parent->setModified(true);
    }
}

}  // namespace

void KComponent::cutClip(KComponent* component) { hold(clip_, component); }

KComponent* KComponent::pasteClip(KContainer* container, bool keepCopy) {
    if (clip_ == nullptr || container == nullptr) return nullptr;
    KComponent* held = clip_;
    KContainer* target = container->componentPasting(held);
    if (target == nullptr) {
        container->throwError(nullptr, "Component '%s' cannot be pasted intothe container '%s'",
                              held->getClassName(), container->getName().c_str());
    }
    KComponent* copy = nullptr;
    if (keepCopy) copy = static_cast<KComponent*>(held->clone());
    clip_ = nullptr;
    try {
        target->add(held, held->getName().c_str());
    } catch (...) {
        clip_ = held;
        delete copy;
        throw;
    }
    clip_ = copy;
    held->invalidate(true);
    target->setModified(true);
    return held;
}

void KComponent::setDrag(KComponent* component) { hold(drag_, component); }

void KComponent::clearDrag() {
    KComponent* held = drag_;
    drag_ = nullptr;
    delete held;
}

void KComponent::setFocus(KComponent* component) {
    if (component != nullptr && (!component->isShowing() || !component->isEnabled())) return;
    if (component == focus_) return;
    KComponent* old = focus_;
    if (old != nullptr) {
        old->focusChanged(false);
        if (old->parent_ != nullptr) old->invalidate(true);
    }
    focus_ = component;
    if (component != nullptr) {
        component->focusChanged(true);
        if (KContainer* parent = component->parent_) {
            component->invalidate(true);
            if (parent->getParent() == nullptr) parent->toTail(component);
        }
    }
}

void KComponent::setCapture(KComponent* component) {
    if (component == capture_) return;
    if (capture_ != nullptr) releaseCapture(capture_);
    capture_ = component;
    if (component != nullptr) {
        if (KHost* host = component->getCanvas()) host->setCapture();
    }
}

void KComponent::releaseCapture(const KComponent* component) {
    if (component == nullptr || capture_ != component) return;
    capture_ = nullptr;
    if (KHost* host = component->getCanvas()) host->releaseCapture();
}

void KComponent::setStyle(int style) {
    if (style >= 0 && style <= 2) style_ = style;
}

void KComponent::setTracer(Tracer tracer) { tracer_ = std::move(tracer); }

void KComponent::trace(const KComponent* component, const char* text) {
    if (tracer_) tracer_(component, text != nullptr ? text : "");
}

void KComponent::traceMasterList() {
    if (firstLive_ == nullptr) return;
    KString header;
    header.format("KComponents: %d component(s) still allocated:\n", instanceCount_);
    trace(nullptr, header.c_str());
    for (const KComponent* c = firstLive_; c != nullptr; c = c->nextLive_) {
        KString line;
        line.format("%s %s", c->getClassName(), c->paramString().c_str());
        trace(c, line.c_str());
    }
}

// Output.

void KComponent::paint(KGraphics& graphics) {
    if (!isOpaque()) return;
    graphics.setColor(background_);
    graphics.fillRect(extents_);
}

bool KComponent::paintsAllOf(const CRect& area) const {
    CRect covered;
    return isVisible() && paintsEveryPixel() && covered.IntersectRect(getBounds(), area) &&
           covered == area;
}

void KComponent::paintAll(KGraphics& graphics) {
    if (!visible_) return;
    FlagScope painting(painting_, true);
    CDC* dc = graphics.getDC();
    const int rop = dc->GetROP2();
    if (isXORDraw()) dc->SetROP2(R2_XORPEN);
    graphics += location_;
    paint(graphics);
    graphics -= location_;
    dc->SetROP2(rop);
}

void KComponent::paintXOR(KGraphics& graphics) {
    CDC* dc = graphics.getDC();
    const int rop = dc->SetROP2(R2_NOTXORPEN);
    FlagScope painting(painting_, true);
    graphics += location_;
    paint(graphics);
    graphics -= location_;
    dc->SetROP2(rop);
}

void KComponent::drawFocus(KGraphics&) {}

void KComponent::drawPads(KGraphics& graphics) {
    if (stretch_ == 0) return;
    CPoint centres[8];
    padCentres(getBounds(), centres);
    CDC* dc = graphics.getDC();
    const CPen pen = dc->SelectObject(blackPen_);
    const CBrush brush = dc->SelectObject(whiteBrush_);
    for (int i = 0; i < 8; ++i) {
        if (!padShown(stretch_, i)) continue;
        const CPoint& c = centres[i];
        dc->Rectangle(c.x - PAD_HALF, c.y - PAD_HALF, c.x + PAD_HALF + 1, c.y + PAD_HALF + 1);
    }
    dc->SelectObject(brush);
    dc->SelectObject(pen);
}

void KComponent::invalidate(bool erase) {
    CRect r = extents_;
    r.NormalizeRect();
    if (inFocus(this) && stretch_ > 0) r.InflateRect(getUnitSize() / 2, getUnitSize() / 2);
    invalidateRect(r, erase ? 3 : 0);
}

void KComponent::invalidateRect(CRect rect, int mode) {
    if (painting_) {
        trace(this, "invalidate() called while painting, call ignored.");
        return;
    }
    rect.OffsetRect(location_);
    if (parent_ != nullptr) {
        parent_->invalidateRect(rect, mode);
    } else if (KHost* host = getCanvas()) {
        host->invalidateRect(rect, mode != 0);
    }
}

void KComponent::scrollRect(CRect rect, int dx, int dy) {
    if (painting_) {
        trace(this, "scrollRect() called while painting, call ignored.");
        return;
    }
    KHost* host = getCanvas();
    if (host == nullptr || !isShowing()) return;
    rect.NormalizeRect();
    for (const KComponent* c = this; c != nullptr; c = c->parent_) {
        if (!rect.IntersectRect(rect, c->getExtents())) return;
        rect.OffsetRect(c->location_);
    }
    host->scrollRect(rect, dx, dy);
}

KGraphics* KComponent::getGraphics() {
    KHost* host = getCanvas();
    if (host == nullptr) return nullptr;
    KGraphics* g = getGraphics(host->createClientDC());
    return g;
}

KGraphics* KComponent::getGraphics(CDC* dc) {
    if (dc == nullptr) return nullptr;
    auto* g = new KGraphics(dc, true);
    // Own coordinates: the canvas location of the extents' origin.
    *g += getLocationOnCanvas();
    return g;
}

void KComponent::createMetaFile(const char* path) {
    const CRect bounds = getBounds();
    const int width = std::max(1, bounds.Width()), height = std::max(1, bounds.Height());
    const char* dot = path != nullptr ? std::strrchr(path, '.') : nullptr;
    const KString extension(dot);
    auto paintOn = [&](CDC* dc) {
        KGraphics graphics(dc);
        graphics.setOrigin(bounds.TopLeft());
        paintAll(graphics);
    };
    // The one place where a picture's format follows from the file's extension.
    if (extension.equals(".emf")) {
        CEmfDC dc(CSize(width, height));
        paintOn(&dc);
        if (!dc.Save(path)) throwError(nullptr, "Unable to create metafile.");
        return;
    }
    std::unique_ptr<CCairoDC> dc;
    if (extension.equals(".svg")) {
        dc.reset(CCairoDC::CreateSVG(path, width, height));
    } else if (extension.equals(".pdf")) {
        dc.reset(CCairoDC::CreatePDF(path, width, height));
    }
    if (dc == nullptr) throwError(nullptr, "Unable to create metafile.");
    paintOn(dc.get());
    dc->Finish();
    if (cairo_surface_status(dc->GetSurface()) != CAIRO_STATUS_SUCCESS) {
        throwError(nullptr, "Unable to create metafile.");
    }
}

void KComponent::layoutAll() {}

// Events.

void KComponent::postEvent(const KEvent& event) {
    KHost* host = getCanvas();
    if (host == nullptr) return;
    // The task finds the component again by its place in the tree: it may be gone by then.
    KComponent* root = getTopMost();
    KEvent copy = event;
    host->postTask([this, root, copy]() mutable {
        for (KComponent* c = firstLive_; c != nullptr; c = c->nextLive_) {
            if (c == this) {
                if (this == root || isDescendentOf(root)) deliverEvent(copy);
                return;
            }
        }
    });
}

void KComponent::postAction(const char* name) {
    KEvent event = KEvent::action(this, name);
    auto deliver = [this](KEvent& e) {
        actionEvent(e);
        for (KContainer* c = parent_; c != nullptr && !e.isConsumed(); c = c->getParent()) {
            c->onCommand(e);
        }
    };
    KHost* host = getCanvas();
    if (host == nullptr) {
        deliver(event);
        return;
    }
    // The task finds the component again among the living: it may be gone by then.
    KComponent* root = getTopMost();
    host->postTask([this, root, event, deliver]() mutable {
        for (KComponent* c = firstLive_; c != nullptr; c = c->nextLive_) {
            if (c == this) {
                if (this == root || isDescendentOf(root)) deliver(event);
                return;
            }
        }
    });
}

void KComponent::deliverEvent(KEvent& event) { dispatchEvent(event); }

void KComponent::dispatchEvent(KEvent& event) { processEvent(event); }

void KComponent::processEvent(KEvent& event) {
    switch (event.getType()) {
        case KEvent::KEY_PRESSED:
        case KEvent::KEY_RELEASED:
            processKeyEvent(event);
            break;
        case KEvent::MOUSE_PRESSED:
        case KEvent::MOUSE_RELEASED:
        case KEvent::MOUSE_WHEEL:
            processMouseEvent(event);
            break;
        case KEvent::MOUSE_MOVED:
        case KEvent::MOUSE_DRAGGED:
            processMouseMotionEvent(event);
            break;
        case KEvent::MENU_COMMAND:
            onCommand(event);
            break;
        case KEvent::ACTION:
            actionPerformed(event);
            break;
        case KEvent::NONE:
            break;
    }
}

void KComponent::processKeyEvent(KEvent& event) {
    if (event.getType() != KEvent::KEY_PRESSED || !enabled_) return;
    const int key = event.getKeyCode();
    if (key == KEvent::VK_APPS || (key == KEvent::VK_F10 && event.isShiftDown())) {
        processMenuEvent(event);
    } else if (key == KEvent::VK_RETURN) {
        if (open()) event.consume();
    }
}

void KComponent::processMenuEvent(KEvent& event) {
    const KString name = getMenu();
    if (name.isEmpty()) return;
    const KMenuResource* menu = std::isdigit(static_cast<unsigned char>(name[0]))
                                    ? KMenuResource::find(static_cast<unsigned>(std::atoi(name.c_str())))
                                    : KMenuResource::find(name.c_str());
    const KMenuResource::Item* popup = menu != nullptr ? menu->getPopup() : nullptr;
    if (popup == nullptr) throwError(nullptr, "Unresolved menu -> '%s'", name.c_str());
    event.consume();
    KHost* host = getCanvas();
    if (host == nullptr) return;
    setMenuTarget(this);
    const unsigned id = host->trackPopupMenu(*popup, host->getCursorPos());
    const KMenuResource::Item* item = menu->findCommand(id);
    if (item == nullptr || menuTarget_ != this) return;
    KEvent command = KEvent::command(item->id, item->command);
    command.setSource(this);
    onCommand(command);
}

void KComponent::processMouseEvent(KEvent& event) {
    switch (event.getType()) {
        case KEvent::MOUSE_PRESSED:
            if (event.isRightButton()) {
                if (enabled_) {
                    setFocus(this);
                    processMenuEvent(event);
                }
            } else {
                mousePressed(event);
            }
            break;
        case KEvent::MOUSE_RELEASED:
            mouseReleased(event);
            break;
        case KEvent::MOUSE_WHEEL:
            mouseWheel(event);
            break;
        default:
            break;
    }
}

void KComponent::processMouseMotionEvent(KEvent& event) {
    if (event.getType() == KEvent::MOUSE_DRAGGED) {
        mouseDragged(event);
    } else if (event.getType() == KEvent::MOUSE_MOVED) {
        mouseMoved(event);
    }
}

void KComponent::onCommand(KEvent& event) {
    if (event.isNamed("CLIP.ALL")) {
        event.consume();
        cutClip(this);
    } else if (event.isNamed("CLIP.RANGE")) {
        event.consume();
        KComponent* copy = static_cast<KComponent*>(clone());
        if (copy != nullptr) cutClip(copy);
    } else if (event.isNamed("PASTE.ALL") || event.isNamed("COL.LEFT") ||
               event.isNamed("COL.RIGHT")) {
        // Routed on its way to the containers, the command passes; chosen from this
        // component's own menu, it is a mistake.
        if (event.getSource() == this) throwError(nullptr, "Not a container!");
    } else if (event.isNamed("FILE.METAFILE")) {
        event.consume();
        KHost* host = getCanvas();
        if (host == nullptr) return;
        const KString path = host->getSaveFileName("Enhanced Meta-File (*.emf)", ".emf");
        if (!path.isEmpty()) createMetaFile(path.c_str());
    }
}

void KComponent::mousePressed(KEvent& event) {
    if (!enabled_) return;
    event.consume();
    setFocus(this);
    if (event.getClickCount() >= 2) {
        open();
        return;
    }
    setCapture(this);
    dragState = DragState();
    if (getParentDragConstraint() == KLayout::DRAG_FREE) {
        const CPoint inParent = event.getPoint() + location_;
        dragState.component = this;
        dragState.part = hitTest(inParent);
        dragState.anchor = inParent;
        dragState.start = getBounds();
    }
}

void KComponent::mouseDragged(KEvent& event) {
    if (dragState.component != this || dragState.part == HIT_NONE) return;
    event.consume();
    dragTo(event.getPoint() + location_);
}

void KComponent::dragTo(CPoint pointInParent) {
    const int grid = parent_ != nullptr ? parent_->getGrid() : 1;
    auto snap = [grid](int v) { return v >= 0 ? (v + grid / 2) / grid * grid : -((-v + grid / 2) / grid * grid); };
    const int dx = snap(pointInParent.x - dragState.anchor.x);
    const int dy = snap(pointInParent.y - dragState.anchor.y);
    CRect r = dragState.start;
    switch (dragState.part) {
        case HIT_BODY: r.OffsetRect(dx, dy); break;
        case HIT_TOP: r.top += dy; break;
        case HIT_TOP_RIGHT: r.top += dy; r.right += dx; break;
        case HIT_RIGHT: r.right += dx; break;
        case HIT_BOTTOM_RIGHT: r.bottom += dy; r.right += dx; break;
        case HIT_BOTTOM: r.bottom += dy; break;
        case HIT_BOTTOM_LEFT: r.bottom += dy; r.left += dx; break;
        case HIT_LEFT: r.left += dx; break;
        case HIT_TOP_LEFT: r.top += dy; r.left += dx; break;
        default: return;
    }
    const CSize minimum = getMinimumSize();
    if (r.Width() < minimum.cx || r.Height() < minimum.cy) return;
    if (r == getBounds()) return;
    if (KHost* host = getCanvas()) host->setCursor("COMPONENT_DRAG");
    if (parent_ != nullptr) {
        CRect area = getBounds();
        area.InflateRect(getUnitSize() / 2, getUnitSize() / 2);
        parent_->invalidateRect(area, 3);
    }
    setBounds(r);
    layoutAll();
    invalidate(true);
    dragState.moved = true;
}

void KComponent::mouseReleased(KEvent& event) {
    if (!isCaptured(this)) return;
    event.consume();
    releaseCapture(this);
    if (dragState.component == this) {
        if (dragState.moved) setModified(true);
        if (KHost* host = getCanvas()) host->setCursor(nullptr);
        dragState = DragState();
    }
}

void KComponent::mouseWheel(KEvent&) {}

void KComponent::mouseMoved(KEvent& event) {
    const KString text = getTooltipText(event.getPoint());
    if (text.isEmpty()) return;
    KHost* host = getCanvas();
    if (host == nullptr) return;
    event.consume();
    host->showTooltip(text.c_str(), event.getPoint() + getLocationOnCanvas());
}

void KComponent::actionPerformed(KEvent&) {}

void KComponent::focusChanged(bool) {}

bool KComponent::open() { return false; }

void KComponent::actionEvent(const char* name) {
    KEvent event = KEvent::action(this, name);
    actionEvent(event);
}

void KComponent::actionEvent(KEvent& event) {
    if (event.getSource() == nullptr) event.setSource(this);
    // A listener may stop listening while it is told.
    const std::vector<KComponent*> listeners = listeners_;
    for (KComponent* listener : listeners) listener->dispatchEvent(event);
}

void KComponent::addListener(KComponent* listener) {
    if (listener == nullptr) return;
    if (std::find(listeners_.begin(), listeners_.end(), listener) == listeners_.end()) {
        listeners_.push_back(listener);
    }
}

void KComponent::removeListener(KComponent* listener) {
    listeners_.erase(std::remove(listeners_.begin(), listeners_.end(), listener), listeners_.end());
}

int KComponent::hitTest(CPoint point) const {
    const CRect bounds = getBounds();
    if (inFocus(this) && stretch_ > 0) {
        CPoint centres[8];
        padCentres(bounds, centres);
        for (int i = 0; i < 8; ++i) {
            if (!padShown(stretch_, i)) continue;
            CRect pad(centres[i].x - PAD_HALF, centres[i].y - PAD_HALF,
                      centres[i].x + PAD_HALF + 1, centres[i].y + PAD_HALF + 1);
            if (pad.PtInRect(point)) return HIT_TOP + i;
        }
    }
    return bounds.PtInRect(point) ? HIT_BODY : HIT_NONE;
}

unsigned KComponent::getProximity(CPoint) const { return 0; }

void KComponent::throwError(const KException* exception, const char* format, ...) const {
    KString title;
    if (exception != nullptr && !exception->getTitle().isEmpty()) {
        title = exception->getTitle();
    } else {
        title.format("%s Error", getClassName());
    }
    KString text;
    va_list args;
    va_start(args, format);
    text.formatV(format, args);
    va_end(args);
    throw KException(title.c_str(), text.c_str());
}

int KComponent::getParentDragConstraint() const {
    if (parent_ == nullptr || parent_->getLayout() == nullptr) return KLayout::DRAG_NONE;
    return parent_->getLayout()->getDragConstraint();
}

// Object services.

void KComponent::copy(const KObject& other) {
    if (&other == this) throwError(nullptr, "Cannot copy component to itself!");
    const KComponent* c = k_dynamic_cast<KComponent>(const_cast<KObject*>(&other));
    if (c == nullptr) return;
    name_ = c->name_;
    location_ = c->location_;
    extents_ = c->extents_;
    visible_ = c->visible_;
    enabled_ = c->enabled_;
    background_ = c->background_;
    foreground_ = c->foreground_;
    tag_ = c->tag_;
    stretch_ = c->stretch_;
    clipChildren_ = c->clipChildren_;
    insets_ = c->insets_;
    flags_ = c->flags_;
    setMenu(c->getMenu().c_str());
}

namespace {

void writeRect(KArchive& ar, const CRect& r) {
    ar << static_cast<std::int32_t>(r.left) << static_cast<std::int32_t>(r.top)
       << static_cast<std::int32_t>(r.right) << static_cast<std::int32_t>(r.bottom);
}

CRect readRect(KArchive& ar) {
    std::int32_t l, t, r, b;
    ar >> l >> t >> r >> b;
    return CRect(l, t, r, b);
}

}  // namespace

int KComponent::SerialScope::depth_ = 0;
KComponent* KComponent::SerialScope::root_ = nullptr;

KComponent::SerialScope::SerialScope(KComponent* component) {
    if (depth_++ == 0) root_ = component;
}

KComponent::SerialScope::~SerialScope() {
    if (--depth_ == 0) root_ = nullptr;
}

void KComponent::Serialize(KArchive& ar) {
    if (ar.isStoring()) {
        ar << STORED_VERSION;
        ar.writeString(name_);
        ar << static_cast<std::int32_t>(location_.x) << static_cast<std::int32_t>(location_.y);
        writeRect(ar, extents_);
        KBitSet state;
        state.set(0, visible_);
        state.set(1, enabled_);
        state.writeObject(ar);
        ar << static_cast<std::uint32_t>(foreground_) << static_cast<std::uint32_t>(background_);
        ar << tag_ << stretch_;
        writeRect(ar, insets_);
        flags_.writeObject(ar);
        ar << data_;
        std::vector<std::uint32_t> ids;
        enumListeners(ids);
        ar << static_cast<std::int32_t>(ids.size());
        for (std::uint32_t id : ids) ar << id;
        ar.writeString(getMenu());
        return;
    }
    std::int32_t version = 0;
    ar >> version;
    if (version < 0) KException::raise("Archive Error", "Invalid component version %d", version);
    if (version >= 1) {
        name_ = ar.readString();
        std::int32_t x, y;
        ar >> x >> y;
        location_ = CPoint(x, y);
        extents_ = readRect(ar);
        KBitSet state;
        state.readObject(ar);
        visible_ = state.get(0);
        enabled_ = state.get(1);
        std::uint32_t fore, back;
        ar >> fore >> back;
        foreground_ = fore;
        background_ = back;
        std::int32_t stretch;
        ar >> tag_ >> stretch;
        setStretch(stretch);
        insets_ = readRect(ar);
        flags_.readObject(ar);
        ar >> data_;
        std::int32_t count;
        ar >> count;
        if (count < 0) KException::raise("Archive Error", "Invalid listener count %d", count);
        ar.require(static_cast<size_t>(count) * 4);
        pendingListeners_.clear();
        for (std::int32_t i = 0; i < count; ++i) {
            std::uint32_t id;
            ar >> id;
            pendingListeners_.push_back(id);
        }
    }
    if (version >= 2) setMenu(ar.readString().c_str());
    // A plain component loaded on its own can only listen to itself.
    if (!SerialScope::isNested() && !isKindOf(K_CLASS(KContainer))) resolveAll();
}

// Identities are positions in the depth-first order of the tree being stored: the
// outermost component under storage, or this one when it is stored alone.
void KComponent::enumListeners(std::vector<std::uint32_t>& ids) const {
    KComponent* root = SerialScope::isNested() ? SerialScope::getRoot() : const_cast<KComponent*>(this);
    std::vector<KComponent*> table;
    root->enumHashTable(table);
    for (KComponent* listener : listeners_) {
        auto it = std::find(table.begin(), table.end(), listener);
        if (it != table.end()) ids.push_back(static_cast<std::uint32_t>(it - table.begin()));
    }
}

void KComponent::enumHashTable(std::vector<KComponent*>& table) {
    std::vector<KComponent*> all;
    enumComponents(all, nullptr);
    table.insert(table.end(), all.begin(), all.end());
}

void KComponent::applyHashTable(const std::vector<KComponent*>& table) {
    for (std::uint32_t id : pendingListeners_) {
        if (id < table.size()) addListener(table[id]);
    }
    pendingListeners_.clear();
}

void KComponent::resolveAll() {
    std::vector<KComponent*> table;
    enumHashTable(table);
    for (KComponent* c : table) c->applyHashTable(table);
}
