#include <kalvo/toolkit/widgets/KScrollPane.h>

#include <algorithm>
#include <cmath>
#include <functional>

#include <kalvo/foundation/KArchive.h>
#include <kalvo/platform/SysColor.h>

K_IMPLEMENT_CLASS(KScrollPane, KContainer, 1)

namespace {

constexpr std::int32_t STORED_VERSION = 1;
constexpr int WHEEL_UNITS = 3;  // units scrolled by a notch of the wheel

}  // namespace

KScrollPane::KScrollPane(const char* name) : KContainer(name) {
    // The corner between the two sliders shows the pane's own face.
    setBackground(GetSysColor(COLOR_BTNFACE));
    // Plumbing around a view: a right click goes on to the pane's container.
    setMenu("");
    ensureParts();
}

void KScrollPane::ensureParts() {
    auto part = [this](const char* name, const KClass* type, std::function<KComponent*()> make) {
        KComponent* found = findComponent(name);
        if (found == nullptr) {
            add(make());
        } else if (!found->isKindOf(type)) {
            throwError(nullptr, "The scroll pane's '%s' is a %s, not a %s", name,
                       found->getClassName(), type->getClassName());
        }
    };
    part("viewport", K_CLASS(KViewport), [] { return new KViewport("viewport"); });
    for (bool vertical : {true, false}) {
        part(vertical ? "vscroll" : "hscroll", K_CLASS(KSlider), [vertical] {
            auto* slider = new KSlider(vertical ? "vscroll" : "hscroll", vertical);
            slider->setVisible(false);
            return slider;
        });
    }
    getVerticalSlider()->addListener(this);
    getHorizontalSlider()->addListener(this);
}

void KScrollPane::setView(KComponent* view) {
    getViewport()->setView(view);
    if (getCanvas() != nullptr) layoutAll();
}

KComponent* KScrollPane::getView() const {
    const KViewport* viewport = getViewport();
    return viewport != nullptr ? viewport->getView() : nullptr;
}

KViewport* KScrollPane::getViewport() const {
    return k_dynamic_cast<KViewport>(findComponent("viewport"));
}

KSlider* KScrollPane::getVerticalSlider() const {
    return k_dynamic_cast<KSlider>(findComponent("vscroll"));
}

KSlider* KScrollPane::getHorizontalSlider() const {
    return k_dynamic_cast<KSlider>(findComponent("hscroll"));
}

void KScrollPane::setViewBuffering(bool on) {
    if (KViewport* viewport = getViewport()) viewport->setBuffered(on);
}

bool KScrollPane::isViewBuffering() const {
    const KViewport* viewport = getViewport();
    return viewport != nullptr && viewport->isBuffered();
}

// Scrolling.

void KScrollPane::scrollTo(CPoint position) {
    KViewport* viewport = getViewport();
    if (viewport == nullptr) return;
    if (!horizontalScrolling_) position.x = 0;
    viewport->setViewPosition(position);
    updateSliders();
}

CPoint KScrollPane::getScrollPosition() const {
    const KViewport* viewport = getViewport();
    return viewport != nullptr ? viewport->getViewPosition() : CPoint();
}

void KScrollPane::scrollRectToVisible(CRect rect) {
    const KViewport* viewport = getViewport();
    if (viewport == nullptr) return;
    rect.NormalizeRect();
    const CSize room = viewport->getSize();
    CPoint p = getScrollPosition();
    // Past the far side first, so that a rectangle larger than the viewport shows its start.
    if (rect.right > p.x + room.cx) p.x = rect.right - room.cx;
    if (rect.left < p.x) p.x = rect.left;
    if (rect.bottom > p.y + room.cy) p.y = rect.bottom - room.cy;
    if (rect.top < p.y) p.y = rect.top;
    scrollTo(p);
}

void KScrollPane::updateSliders() {
    const KViewport* viewport = getViewport();
    KSlider* vertical = getVerticalSlider();
    KSlider* horizontal = getHorizontalSlider();
    const KComponent* view = getView();
    if (viewport == nullptr || vertical == nullptr || horizontal == nullptr) return;
    const CSize size = view != nullptr ? view->getSize() : CSize();
    const CSize room = viewport->getSize();
    const CPoint p = viewport->getViewPosition();
    vertical->setLimits(0, size.cy);
    vertical->setAperture(p.y, p.y + room.cy);
    horizontal->setLimits(0, size.cx);
    horizontal->setAperture(p.x, p.x + room.cx);
}

// Layout.

CSize KScrollPane::viewSizeFor(CSize room) const {
    const KComponent* view = getView();
    if (view == nullptr) return room;
    const CSize preferred = view->getPreferredSize();
    return CSize(horizontalTracking_ ? room.cx : preferred.cx,
                 verticalTracking_ ? std::max(room.cy, view->getMinimumSize().cy) : preferred.cy);
}

void KScrollPane::doLayout() {
    KViewport* viewport = getViewport();
    KSlider* vertical = getVerticalSlider();
    KSlider* horizontal = getHorizontalSlider();
    if (viewport == nullptr || vertical == nullptr || horizontal == nullptr) return;
    const CRect client = getClientRect();
    const int thickness = getUnitSize();
    // A slider takes room from the viewport, which may call for the other one: settle on
    // both (each can only turn on).
    bool needVertical = false, needHorizontal = false;
    CSize room, size;
    for (;;) {
        room = CSize(std::max(0, client.Width() - (needVertical ? thickness : 0)),
                     std::max(0, client.Height() - (needHorizontal ? thickness : 0)));
        size = viewSizeFor(room);
        const bool wantVertical = size.cy > room.cy;
        const bool wantHorizontal = horizontalScrolling_ && size.cx > room.cx;
        if ((!wantVertical || needVertical) && (!wantHorizontal || needHorizontal)) break;
        needVertical = needVertical || wantVertical;
        needHorizontal = needHorizontal || wantHorizontal;
    }
    viewport->setBounds(CRect(client.TopLeft(), room));
    if (KComponent* view = getView()) view->setSize(size);
    vertical->setVisible(needVertical);
    vertical->setBounds(
        CRect(client.left + room.cx, client.top, client.right, client.top + room.cy));
    horizontal->setVisible(needHorizontal);
    horizontal->setBounds(
        CRect(client.left, client.top + room.cy, client.left + room.cx, client.bottom));
    CPoint position = viewport->getViewPosition();
    if (!horizontalScrolling_) position.x = 0;
    viewport->setViewPosition(position);
    viewport->doLayout();
    updateSliders();
}

CSize KScrollPane::getMinimumSize() const {
    const CRect insets = getInsets();
    const int least = 2 * getUnitSize();
    return CSize(least + insets.left + insets.right, least + insets.top + insets.bottom);
}

CSize KScrollPane::getPreferredSize() const {
    const KComponent* view = getView();
    if (view == nullptr) return getSize();
    const CRect insets = getInsets();
    return view->getPreferredSize() + CSize(insets.left + insets.right, insets.top + insets.bottom);
}

// Events.

void KScrollPane::actionPerformed(KEvent& event) {
    if (!event.isNamed("slider.change")) return;
    const KSlider* slider = k_dynamic_cast<KSlider>(event.getSource());
    if (slider == nullptr) return;
    double low, high;
    slider->getAperture(low, high);
    CPoint p = getScrollPosition();
    if (slider == getVerticalSlider()) {
        p.y = static_cast<int>(std::lround(low));
    } else if (slider == getHorizontalSlider()) {
        p.x = static_cast<int>(std::lround(low));
    } else {
        return;
    }
    event.consume();
    scrollTo(p);
}

void KScrollPane::onCommand(KEvent& event) {
    if (event.getType() == KEvent::ACTION && event.isNamed("layout.change") &&
        isDescendent(event.getSource())) {
        event.consume();
        layoutAll();
        invalidate(true);
        return;
    }
    KContainer::onCommand(event);
}

void KScrollPane::mouseWheel(KEvent& event) {
    const int notches = event.getWheelNotches();
    const KSlider* slider = event.isShiftDown() ? getHorizontalSlider() : getVerticalSlider();
    if (notches == 0 || slider == nullptr || !slider->isVisible()) return;
    event.consume();
    // Away from the user scrolls toward the top (or the left).
    const int pixels = -notches * WHEEL_UNITS * getUnitSize();
    const CPoint p = getScrollPosition();
    scrollTo(event.isShiftDown() ? CPoint(p.x + pixels, p.y) : CPoint(p.x, p.y + pixels));
}

void KScrollPane::processKeyEvent(KEvent& event) {
    const int key = event.getKeyCode();
    const KSlider* slider = getVerticalSlider();
    const KViewport* viewport = getViewport();
    if (event.getType() == KEvent::KEY_PRESSED &&
        (key == KEvent::VK_PRIOR || key == KEvent::VK_NEXT) && slider != nullptr &&
        slider->isVisible() && viewport != nullptr) {
        event.consume();
        const int page = viewport->getSize().cy;
        const CPoint p = getScrollPosition();
        scrollTo(CPoint(p.x, p.y + (key == KEvent::VK_NEXT ? page : -page)));
        return;
    }
    KContainer::processKeyEvent(event);
}

// Object services.

void KScrollPane::copy(const KObject& other) {
    KContainer::copy(other);
    if (const KScrollPane* pane = k_dynamic_cast<KScrollPane>(const_cast<KObject*>(&other))) {
        horizontalScrolling_ = pane->horizontalScrolling_;
        horizontalTracking_ = pane->horizontalTracking_;
        verticalTracking_ = pane->verticalTracking_;
    }
    // Clones do not listen: the new sliders are wired again.
    ensureParts();
}

void KScrollPane::Serialize(KArchive& ar) {
    if (ar.isStoring()) {
        KContainer::Serialize(ar);
        ar << STORED_VERSION << horizontalScrolling_ << horizontalTracking_ << verticalTracking_;
        return;
    }
    // The stored parts replace the ones the constructor made.
    while (getComponentCount() > 0) delete getComponent(getComponentCount() - 1);
    KContainer::Serialize(ar);
    const std::int32_t version = ar.readVersion(STORED_VERSION, "scroll pane");
    if (version >= 1) ar >> horizontalScrolling_ >> horizontalTracking_ >> verticalTracking_;
    ensureParts();
}
