#include <kalvo/plot/KPlayControl.h>

#include <algorithm>

#include <kalvo/toolkit/KGraphics.h>
#include <kalvo/toolkit/widgets/KLabel.h>
#include <kalvo/toolkit/widgets/KSpinControl.h>

K_IMPLEMENT_CLASS(KPlayControl, KPanel, 1)

KPlayControl::KPlayControl() : KPanel("play") {
    setBackground(0xFFFFFF);
}

void KPlayControl::create() {
    if (getSpeedControl() == nullptr) {
        auto* speed = new KSpinControl("speed");
        speed->setRange(SLOWEST, FASTEST);
        speed->setStep(5);
        speed->setDigits(4);
        speed->setUnits("ms/s");
        speed->setValue(40);
        speed->setTooltipText("Play speed: milliseconds of the record per second");
        add(speed);
    }
    getSpeedControl()->addListener(this);
    if (getReadout() == nullptr) {
        auto* time = new KLabel("time");
        time->setBorder(false);
        time->setFillStyle(KLabel::FILL_NONE);
        time->setHorizontalAlignment(KLabel::LEFT);
        time->setStretch(0);
        add(time);
    }
}

KSpinControl* KPlayControl::getSpeedControl() const {
    return k_dynamic_cast<KSpinControl>(findComponent("speed"));
}

KLabel* KPlayControl::getReadout() const {
    return k_dynamic_cast<KLabel>(findComponent("time"));
}

void KPlayControl::setPlaying(bool playing) {
    if (playing_ == playing) return;
    playing_ = playing;
    repaintRect(getButtonRect());
}

void KPlayControl::setSpeed(double msPerSecond) {
    if (KSpinControl* speed = getSpeedControl()) {
        speed->setValue(std::clamp(msPerSecond, SLOWEST, FASTEST));
        speed->repaint();
    }
}

double KPlayControl::getSpeed() const {
    const KSpinControl* speed = getSpeedControl();
    return speed != nullptr ? speed->getValue() : 40.0;
}

void KPlayControl::setReadout(const char* text) {
    KLabel* label = getReadout();
    if (label == nullptr || label->getText().equals(text)) return;
    label->setText(text);
    label->repaint();
}

CRect KPlayControl::getButtonRect() const {
    const CRect r = getClientRect();
    const int side = std::max(8, static_cast<int>(r.Height()) - 6);
    const int top = r.top + (r.Height() - side) / 2;
    return CRect(r.left + 4, top, r.left + 4 + side, top + side);
}

CSize KPlayControl::getPreferredSize() const {
    const int u = getUnitSize();
    return CSize(30 * u, u + u / 2);
}

CSize KPlayControl::getMinimumSize() const {
    const int u = getUnitSize();
    return CSize(12 * u, u + u / 2);
}

void KPlayControl::doLayout() {
    KPanel::doLayout();
    const CRect r = getClientRect();
    const CRect button = getButtonRect();
    int left = button.right + 6;
    if (KSpinControl* speed = getSpeedControl()) {
        const CSize size = speed->getPreferredSize();
        const int width = std::max(static_cast<int>(size.cx), 6 * getUnitSize());
        const int top = r.top + (r.Height() - size.cy) / 2;
        speed->setBounds(CRect(left, top, left + width, top + size.cy));
        left += width + 10;
    }
    if (KLabel* time = getReadout())
        time->setBounds(
            CRect(left, r.top, std::max(left, static_cast<int>(r.right) - 4), r.bottom));
}

void KPlayControl::paint(KGraphics& graphics) {
    KPanel::paint(graphics);
    const CRect b = getButtonRect();
    graphics.setColor(RGB(232, 236, 244));
    graphics.fillRect(b);
    graphics.setColor(RGB(120, 120, 120));
    graphics.drawRect(b);
    const int s = b.Width();
    graphics.setColor(RGB(40, 40, 40));
    if (playing_) {
        // Pause: two bars.
        const int w = std::max(2, s / 5);
        graphics.fillRect(b.left + s * 3 / 10, b.top + s / 4, b.left + s * 3 / 10 + w,
                          b.bottom - s / 4);
        graphics.fillRect(b.right - s * 3 / 10 - w, b.top + s / 4, b.right - s * 3 / 10,
                          b.bottom - s / 4);
    } else {
        // Play: a triangle pointing right.
        graphics.fillTriangle(CPoint(b.left + s / 3, b.top + s / 4),
                              CPoint(b.left + s / 3, b.bottom - s / 4),
                              CPoint(b.right - s / 4, b.top + s / 2));
    }
}

void KPlayControl::mousePressed(KEvent& event) {
    if (isEnabled() && getButtonRect().PtInRect(event.getPoint())) {
        event.consume();
        actionEvent("play.toggle");
        return;
    }
    KPanel::mousePressed(event);
}

KString KPlayControl::getTooltipText(CPoint point) const {
    if (getButtonRect().PtInRect(point)) return playing_ ? "Pause (Space)" : "Play (Space)";
    return KPanel::getTooltipText(point);
}

void KPlayControl::actionPerformed(KEvent& event) {
    if (event.getSource() == getSpeedControl() && event.isNamed("spin.change")) {
        actionEvent("play.speed");
        return;
    }
    KPanel::actionPerformed(event);
}

void KPlayControl::copy(const KObject& other) {
    KPanel::copy(other);
    if (KSpinControl* speed = getSpeedControl()) speed->addListener(this);
}
