#include <kalvo/toolkit/KContainer.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include <kalvo/foundation/KArchive.h>
#include <kalvo/platform/CDC.h>
#include <kalvo/toolkit/KGraphics.h>
#include <kalvo/toolkit/KToolkit.h>
#include <kalvo/toolkit/layout/KLayout.h>

K_IMPLEMENT_CLASS(KContainer, KComponent, 1)

int KContainer::containerCount_ = 0;

namespace {
constexpr std::int32_t STORED_VERSION = 1;
constexpr COLORREF FOCUS_FRAME = 0x808080;

// The containers whose children are being read, outermost first: an archive that names one
// of them (or any component already placed) as a child again is corrupt.
std::vector<const KContainer*> loading;

struct LoadingMark {
    explicit LoadingMark(const KContainer* c) { loading.push_back(c); }
    ~LoadingMark() { loading.pop_back(); }
};
}  // namespace

KContainer::KContainer(const char* name) : KComponent(name), layout_(new KLayout()) {
    children_.reserve(10);
    setClipChildren(true);
    ++containerCount_;
}

KContainer::~KContainer() {
    // The children must not come back to remove themselves from a list being torn down.
    std::vector<KComponent*> children;
    children.swap(children_);
    for (KComponent* child : children) {
        child->setParent(nullptr);
        delete child;
    }
    delete layout_;
    --containerCount_;
}

void KContainer::add(KComponent* component, const char* constraint) {
    if (component == nullptr || component->getParent() == this) return;
    layout_->addLayoutComponent(component, constraint);
    if (k_dynamic_cast<KContainer>(component) != nullptr) {
        for (const KComponent* c = this; c != nullptr; c = c->getParent()) {
            if (c == component) throwError(nullptr, "Adding container to itself");
        }
    }
    if (KContainer* old = component->getParent()) old->remove(component);
    children_.push_back(component);
    component->setParent(this);
    componentAdded(component);
    relayout(component);
}

void KContainer::remove(KComponent* component) {
    auto it = std::find(children_.begin(), children_.end(), component);
    if (it == children_.end()) return;
    KComponent* focus = getFocus();
    if (focus == component || (focus != nullptr && focus->isDescendentOf(component))) {
        setFocus(nullptr);
    }
    children_.erase(it);
    component->setParent(nullptr);
    componentRemoved(component);
    relayout(component);
}

void KContainer::relayout(KComponent* component) {
    if (getCanvas() == nullptr) return;
    if (layout_->getDragConstraint() == KLayout::DRAG_FREE) {
        component->layoutAll();
    } else {
        layoutAll();
    }
}

void KContainer::removeAll() {
    while (!children_.empty()) remove(children_.back());
}

KComponent* KContainer::getComponent(int index) const {
    return index >= 0 && index < getComponentCount() ? children_[index] : nullptr;
}

int KContainer::getIndex(const KComponent* component) const {
    auto it = std::find(children_.begin(), children_.end(), component);
    return it == children_.end() ? -1 : static_cast<int>(it - children_.begin());
}

void KContainer::getComponentList(std::vector<KComponent*>& list) const {
    list.insert(list.end(), children_.begin(), children_.end());
}

void KContainer::getComponentListAll(std::vector<KComponent*>& list) const {
    for (KComponent* child : children_) {
        list.push_back(child);
        if (const KContainer* c = k_dynamic_cast<KContainer>(child)) c->getComponentListAll(list);
    }
}

KComponent* KContainer::findComponent(const char* path) const {
    if (path == nullptr || *path == '\0') return nullptr;
    const char* dot = std::strchr(path, '.');
    const size_t length = dot != nullptr ? static_cast<size_t>(dot - path) : std::strlen(path);
    for (KComponent* child : children_) {
        const KString& name = child->getName();
        if (name.length() != length || std::memcmp(name.c_str(), path, length) != 0) continue;
        if (dot == nullptr) return child;
        if (const KContainer* c = k_dynamic_cast<KContainer>(child)) {
            return c->findComponent(dot + 1);
        }
    }
    return nullptr;
}

KContainer* KContainer::findContainer(const char* path) const {
    return k_dynamic_cast<KContainer>(findComponent(path));
}

KComponent* KContainer::getComponentAt(CPoint point) const {
    KComponent* focus = getFocus();
    if (focus != nullptr && focus->getParent() == this &&
        focus->contains(point - focus->getLocation())) {
        return focus;
    }
    KComponent* best = nullptr;
    unsigned bestProximity = 0;
    for (auto it = children_.rbegin(); it != children_.rend(); ++it) {
        KComponent* child = *it;
        const CPoint local = point - child->getLocation();
        if (!child->isShowing() || !child->contains(local)) continue;
        const unsigned proximity = child->getProximity(local);
        if (proximity == 0) return child;
        if (best == nullptr || proximity < bestProximity) {
            best = child;
            bestProximity = proximity;
        }
    }
    return best;
}

KComponent* KContainer::findComponentAt(CPoint point) const {
    KComponent* c = getComponentAt(point);
    while (const KContainer* container = k_dynamic_cast<KContainer>(c)) {
        point -= container->getLocation();
        c = container->getComponentAt(point);
    }
    return c;
}

bool KContainer::isDescendent(const KComponent* component) const {
    return component != nullptr && component != this && component->isDescendentOf(this);
}

void KContainer::move(KComponent* component, int to) {
    const int from = getIndex(component);
    if (from < 0) return;
    to = std::clamp(to, 0, getComponentCount() - 1);
    if (to == from) return;
    children_.erase(children_.begin() + from);
    children_.insert(children_.begin() + to, component);
}

void KContainer::toPrev(KComponent* component) { move(component, getIndex(component) - 1); }

void KContainer::toNext(KComponent* component) {
    const int index = getIndex(component);
    if (index >= 0) move(component, index + 1);
}

void KContainer::toHead(KComponent* component) { move(component, 0); }

void KContainer::toTail(KComponent* component) { move(component, getComponentCount() - 1); }

void KContainer::setLayout(KLayout* layout) {
    if (layout == layout_) return;
    delete layout_;
    layout_ = layout != nullptr ? layout : new KLayout();
}

void KContainer::doLayout() { layout_->layoutContainer(this); }

void KContainer::layoutAll() {
    doLayout();
    for (KComponent* child : children_) child->layoutAll();
}

KContainer* KContainer::componentPasting(KComponent*) { return this; }

KHost* KContainer::getCanvas() const {
    return host_ != nullptr ? host_ : KComponent::getCanvas();
}

void KContainer::setModified(bool modified) {
    KComponent::setModified(modified);
    if (!modified) {
        for (KComponent* child : children_) child->setModified(false);
    }
}

bool KContainer::isModified() const {
    if (KComponent::isModified()) return true;
    return std::any_of(children_.begin(), children_.end(),
                       [](const KComponent* c) { return c->isModified(); });
}

namespace {

// The parts of each rectangle outside the hole: up to four bands around it.
void subtractRect(std::vector<CRect>& rects, const CRect& hole) {
    std::vector<CRect> out;
    for (const CRect& r : rects) {
        CRect common;
        if (!common.IntersectRect(r, hole)) {
            out.push_back(r);
            continue;
        }
        if (r.top < common.top) out.emplace_back(r.left, r.top, r.right, common.top);
        if (common.bottom < r.bottom) out.emplace_back(r.left, common.bottom, r.right, r.bottom);
        if (r.left < common.left) out.emplace_back(r.left, common.top, common.left, common.bottom);
        if (common.right < r.right)
            out.emplace_back(common.right, common.top, r.right, common.bottom);
    }
    rects.swap(out);
}

}  // namespace

std::vector<CRect> KContainer::uncoveredByChildren(bool printing) const {
    std::vector<CRect> uncovered{getExtents()};
    for (KComponent* child : children_) {
        if (uncovered.empty()) break;
        if (!child->isVisible() || child->isXORDraw() || !child->paintsEveryPixel()) continue;
        if (printing && !child->isPrintable()) continue;
        subtractRect(uncovered, child->getBounds());
    }
    return uncovered;
}

bool KContainer::paintsEveryPixel() const {
    return isOpaque() || uncoveredByChildren(false).empty();
}

void KContainer::paint(KGraphics& graphics) {
    if (!isOpaque()) return;
    graphics.setColor(getBackground());
    for (const CRect& r : uncoveredByChildren(graphics.isPrinting())) graphics.fillRect(r);
}

void KContainer::paintAll(KGraphics& graphics) {
    KComponent::paintAll(graphics);
    if (!isShowing() || isXORDraw()) return;
    const CPoint location = getLocation();
    graphics += location;
    // Metafiles are played back at other places and scales, where a recorded clip would
    // cut the picture.
    const bool clip = isClipChildren() && !graphics.getDC()->IsMetaFile();
    const CRect savedClip = graphics.getClipBounds();
    if (clip) graphics.clipRect(getExtents());
    const bool printing = graphics.isPrinting();
    const int drag = layout_->getDragConstraint();
    for (KComponent* child : children_) {
        CRect area = child->getBounds();
        area.InflateRect(1, 1);
        if (!graphics.contains(area)) continue;
        if (printing && !child->isPrintable()) continue;
        {
            KGraphics copy(graphics);
            child->paintAll(copy);
        }
        if (!inFocus(child) || !child->isVisible()) continue;
        if (drag != KLayout::DRAG_FREE) {
            graphics += child->getLocation();
            child->drawFocus(graphics);
            graphics -= child->getLocation();
        } else {
            if (getStyle() == 0) {
                KGraphics copy(graphics);
                copy.setColor(FOCUS_FRAME);
                CRect frame = child->getBounds();
                frame.InflateRect(1, 1);
                copy.drawRect(frame);
            }
            child->drawPads(graphics);
        }
    }
    if (clip) graphics.setClip(savedClip);
    graphics -= location;
}

void KContainer::enumComponents(std::vector<KComponent*>& list, const char* className) {
    KComponent::enumComponents(list, className);
    for (KComponent* child : children_) child->enumComponents(list, className);
}

void KContainer::populateAll(CTreeCtrl& tree, HTREEITEM parent) {
    const HTREEITEM item = populate(tree, parent);
    for (KComponent* child : children_) child->populateAll(tree, item);
}

KComponent* KContainer::childToward(const KComponent* descendant) const {
    for (const KComponent* c = descendant; c != nullptr; c = c->getParent()) {
        if (c->getParent() == this) return const_cast<KComponent*>(c);
    }
    return nullptr;
}

void KContainer::deliverEvent(KEvent& event) {
    if (event.isMouse()) {
        KComponent* target = nullptr;
        KComponent* capture = getCapture();
        if (capture != nullptr && capture != this) {
            target = childToward(capture);
        } else if (capture == nullptr) {
            target = getComponentAt(event.getPoint());
        }
        if (target != nullptr) {
            const CPoint point = event.getPoint();
            event.translate(target->getLocation());
            target->deliverEvent(event);
            event.setPoint(point);
            if (event.isConsumed()) return;
        }
    } else if (event.isKey() || event.getType() == KEvent::MENU_COMMAND) {
        if (KComponent* child = childToward(getFocus())) {
            child->deliverEvent(event);
            if (event.isConsumed()) return;
        }
    }
    dispatchEvent(event);
}

void KContainer::onCommand(KEvent& event) {
    KComponent* focus = getFocus();
    KComponent* child = isChild(focus) ? focus : nullptr;
    if (event.isNamed("PASTE.ALL")) {
        event.consume();
        pasteClip(this, true);
    } else if (event.isNamed("COL.LEFT")) {
        event.consume();
        if (child != nullptr) {
            toPrev(child);
            invalidate(true);
        }
    } else if (event.isNamed("COL.RIGHT")) {
        event.consume();
        if (child != nullptr) {
            toNext(child);
            invalidate(true);
        }
    } else {
        KComponent::onCommand(event);
    }
}

void KContainer::processKeyEvent(KEvent& event) {
    KComponent* focus = getFocus();
    if (event.getType() == KEvent::KEY_PRESSED && isChild(focus) &&
        getLayout()->getDragConstraint() == KLayout::DRAG_FREE && !event.isConsumed()) {
        // Arrow keys move a freely placed child by one grid step.
        int dx = 0, dy = 0;
        switch (event.getKeyCode()) {
            case KEvent::VK_LEFT: dx = -grid_; break;
            case KEvent::VK_RIGHT: dx = grid_; break;
            case KEvent::VK_UP: dy = -grid_; break;
            case KEvent::VK_DOWN: dy = grid_; break;
            default: break;
        }
        if (dx != 0 || dy != 0) {
            event.consume();
            focus->invalidate(true);
            focus->translate(dx, dy);
            focus->invalidate(true);
            setModified(true);
            return;
        }
    }
    KComponent::processKeyEvent(event);
}

void KContainer::componentAdded(KComponent*) {}

void KContainer::componentRemoved(KComponent*) {}

void KContainer::copy(const KObject& other) {
    KComponent::copy(other);
    const KContainer* c = k_dynamic_cast<KContainer>(const_cast<KObject*>(&other));
    if (c == nullptr) return;
    grid_ = c->grid_;
    reserved_ = c->reserved_;
    setLayout(static_cast<KLayout*>(c->layout_->clone()));
    // The copy replaces this container's children: the old ones are its own to delete.
    std::vector<KComponent*> old(children_);
    removeAll();
    for (KComponent* child : old) delete child;
    for (const KComponent* child : c->children_) {
        auto* copy = static_cast<KComponent*>(child->clone());
        if (copy == nullptr) continue;
        children_.push_back(copy);
        copy->setParent(this);
    }
}

void KContainer::Serialize(KArchive& ar) {
    KComponent::Serialize(ar);
    if (ar.isStoring()) {
        ar << STORED_VERSION;
        SerialScope scope(this);
        ar.writeCount(static_cast<std::uint32_t>(children_.size()));
        for (KComponent* child : children_) ar.writeObject(child);
        ar.writeObject(layout_);
        return;
    }
    // Every toolkit class must be linked in for the archive to create it by name.
    KToolkit::getClasses();
    std::int32_t version = 0;
    ar >> version;
    if (version < 1) return;
    {
        SerialScope scope(this);
        LoadingMark mark(this);
        const std::uint32_t count = ar.readCount();
        for (std::uint32_t i = 0; i < count; ++i) {
            auto* child = static_cast<KComponent*>(ar.readObject(K_CLASS(KComponent)));
            if (child == nullptr) continue;
            if (child->getParent() != nullptr ||
                std::find(loading.begin(), loading.end(), child) != loading.end()) {
                KException::raise("Archive Error", "Component '%s' stored twice in '%s'",
                                  child->getLabel().c_str(), getLabel().c_str());
            }
            children_.push_back(child);
            child->setParent(this);
        }
        KObject* layout = ar.readObject(K_CLASS(KLayout));
        setLayout(static_cast<KLayout*>(layout));
    }
    if (!SerialScope::isNested()) resolveAll();
}
