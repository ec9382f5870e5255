#include <kalvo/toolkit/widgets/KSlider.h>

#include <algorithm>
#include <cmath>

#include <kalvo/foundation/KArchive.h>
#include <kalvo/foundation/KDouble.h>
#include <kalvo/platform/KHost.h>
#include <kalvo/platform/SysColor.h>
#include <kalvo/toolkit/KGraphics.h>
#include <kalvo/toolkit/widgets/KAutoRepeat.h>
#include <kalvo/toolkit/widgets/KBevel.h>

K_IMPLEMENT_CLASS(KSlider, KComponent, 1)

namespace {

constexpr std::int32_t STORED_VERSION = 1;
constexpr int MIN_THUMB = 8;  // the shortest thumb, in pixels
constexpr int END_GRIP = 3;   // how far into the thumb its ends can be grabbed

}  // namespace

KSlider::KSlider(const char* name, bool vertical) : KComponent(name), vertical_(vertical) {
    const int unit = getUnitSize();
    setSize(vertical ? unit : unit * 6, vertical ? unit * 6 : unit);
    // A slider has no menu of its own: a right click goes on to its container's.
    setMenu("");
}

KSlider::~KSlider() {
    stopRepeat();
}

// Values.

void KSlider::setLimits(double minimum, double maximum) {
    if (!KDouble::isFinite(minimum) || !KDouble::isFinite(maximum) || minimum > maximum) return;
    minimum_ = minimum;
    maximum_ = maximum;
    setAperture(low_, high_);
}

void KSlider::getLimits(double& minimum, double& maximum) const {
    minimum = minimum_;
    maximum = maximum_;
}

void KSlider::setAperture(double low, double high) {
    if (!KDouble::isFinite(low) || !KDouble::isFinite(high) || low > high) return;
    const double width = high - low;
    if (width >= maximum_ - minimum_) {
        low = minimum_;
        high = maximum_;
    } else if (low < minimum_) {
        low = minimum_;
        high = minimum_ + width;
    } else if (high > maximum_) {
        high = maximum_;
        low = maximum_ - width;
    }
    if (low == low_ && high == high_) return;
    low_ = low;
    high_ = high;
    invalidate(true);
}

void KSlider::getAperture(double& low, double& high) const {
    low = low_;
    high = high_;
}

void KSlider::setMinAperture(double width) {
    if (KDouble::isFinite(width) && width >= 0.0) minAperture_ = width;
}

// The user's moves.

namespace {

// A step or page when the aperture has no width: a share of the limits instead.
double widthOr(double aperture, double limits) {
    return aperture > 0.0 ? aperture : limits / 10.0;
}

}  // namespace

void KSlider::step(int count) {
    const double width = widthOr(high_ - low_, maximum_ - minimum_);
    moveBy(count * width / (lowSpeed_ ? 100.0 : 10.0));
}

void KSlider::page(int count) {
    moveBy(count * widthOr(high_ - low_, maximum_ - minimum_));
}

void KSlider::toMinimum() {
    moveBy(minimum_ - low_);
}

void KSlider::toMaximum() {
    moveBy(maximum_ - high_);
}

void KSlider::moveBy(double delta) {
    const double width = high_ - low_;
    const double low = std::clamp(low_ + delta, minimum_, std::max(minimum_, maximum_ - width));
    if (low == low_) return;
    low_ = low;
    high_ = low + width;
    invalidate(true);
    changed();
}

void KSlider::changed() {
    actionEvent("slider.change");
}

// Geometry.

int KSlider::along(CPoint point) const {
    return vertical_ ? point.y : point.x;
}

CRect KSlider::span(int from, int to) const {
    const CRect e = getExtents();
    return vertical_ ? CRect(e.left, from, e.right, to) : CRect(from, e.top, to, e.bottom);
}

int KSlider::buttonLength() const {
    const CRect e = getExtents();
    const int length = vertical_ ? e.Height() : e.Width();
    const int thickness = vertical_ ? e.Width() : e.Height();
    return std::max(0, std::min(thickness, length / 2));
}

CRect KSlider::getTrackRect() const {
    const CRect e = getExtents();
    const int b = buttonLength();
    return vertical_ ? span(e.top + b, e.bottom - b) : span(e.left + b, e.right - b);
}

int KSlider::toPixel(double value) const {
    const CRect track = getTrackRect();
    const int start = along(track.TopLeft());
    const int length = along(track.BottomRight()) - start;
    const double range = maximum_ - minimum_;
    if (range <= 0.0) return start;
    return start + static_cast<int>(std::lround((value - minimum_) / range * length));
}

double KSlider::toValue(int pixel) const {
    const CRect track = getTrackRect();
    const int start = along(track.TopLeft());
    const int length = along(track.BottomRight()) - start;
    if (length <= 0) return minimum_;
    return minimum_ + (pixel - start) * (maximum_ - minimum_) / length;
}

CRect KSlider::getThumbRect() const {
    const CRect track = getTrackRect();
    const int start = along(track.TopLeft());
    const int end = along(track.BottomRight());
    if (end <= start) return CRect();
    if (maximum_ <= minimum_) return track;
    int from = toPixel(low_);
    int to = toPixel(high_);
    // Too short to grab: lengthened about its middle, kept inside the track.
    const int shortest = std::min(MIN_THUMB, end - start);
    if (to - from < shortest) {
        from = std::clamp((from + to - shortest) / 2, start, end - shortest);
        to = from + shortest;
    }
    return span(from, to);
}

KSlider::Part KSlider::partAt(CPoint point) const {
    if (!getExtents().PtInRect(point)) return NONE;
    const CRect e = getExtents();
    const int p = along(point);
    const int b = buttonLength();
    const int start = along(e.TopLeft());
    const int end = along(e.BottomRight());
    if (p < start + b) return STEP_DOWN;
    if (p >= end - b) return STEP_UP;
    const CRect thumb = getThumbRect();
    const int from = along(thumb.TopLeft());
    const int to = along(thumb.BottomRight());
    if (dynamic_ && isEnabled() && to > from) {
        // The ends reach a pixel outside the thumb; a short thumb keeps a middle to drag.
        const int grip = std::min(END_GRIP, (to - from) / 3);
        if (p >= from - 1 && p < from + grip) return LOW_END;
        if (p >= to - grip && p <= to) return HIGH_END;
    }
    if (p < from) return PAGE_DOWN;
    if (p >= to) return PAGE_UP;
    return THUMB;
}

CSize KSlider::getPreferredSize() const {
    const CSize size = getSize();
    return vertical_ ? CSize(getUnitSize(), size.cy) : CSize(size.cx, getUnitSize());
}

CSize KSlider::getMinimumSize() const {
    const int unit = getUnitSize();
    return vertical_ ? CSize(unit / 2, unit * 2) : CSize(unit * 2, unit / 2);
}

KString KSlider::getTooltipText(CPoint point) const {
    const Part part = partAt(point);
    if (part != LOW_END && part != HIGH_END) return KComponent::getTooltipText(point);
    KString text;
    text.format("Aperture: %s to %s", KDouble::toString(low_).c_str(),
                KDouble::toString(high_).c_str());
    return text;
}

// Painting.

void KSlider::paint(KGraphics& graphics) {
    const CRect e = getExtents();
    const int b = buttonLength();
    const bool enabled = isEnabled();
    const bool pointerOn = partAt(pointer_) == pressed_;
    const CRect down = vertical_ ? span(e.top, e.top + b) : span(e.left, e.left + b);
    const CRect up = vertical_ ? span(e.bottom - b, e.bottom) : span(e.right - b, e.right);
    const bool downPressed = pressed_ == STEP_DOWN && pointerOn;
    const bool upPressed = pressed_ == STEP_UP && pointerOn;
    KBevel::drawButton(graphics, down, downPressed);
    KBevel::drawButton(graphics, up, upPressed);
    KBevel::drawArrow(graphics, down, vertical_ ? KBevel::UP : KBevel::LEFT, enabled, downPressed);
    KBevel::drawArrow(graphics, up, vertical_ ? KBevel::DOWN : KBevel::RIGHT, enabled, upPressed);

    // The track: a fine checker of the face on white, darkened where a page is held.
    const CRect track = getTrackRect();
    if (track.IsRectEmpty()) return;
    graphics.setColor(GetSysColor(COLOR_BTNHIGHLIGHT));
    graphics.fillRect(track);
    graphics.fillShadedRect(track, GetSysColor(COLOR_SCROLLBAR));
    if (!enabled) return;
    const CRect thumb = getThumbRect();
    const int from = along(thumb.TopLeft());
    const int to = along(thumb.BottomRight());
    if ((pressed_ == PAGE_DOWN || pressed_ == PAGE_UP) && pointerOn) {
        const CRect held = pressed_ == PAGE_DOWN ? span(along(track.TopLeft()), from)
                                                 : span(to, along(track.BottomRight()));
        graphics.fillShadedRect(held, GetSysColor(COLOR_3DDKSHADOW));
    }
    KBevel::drawButton(graphics, thumb, false);
    // Grooves mark the ends that can be dragged.
    if (dynamic_ && to - from >= 4 * END_GRIP) {
        // Across the thumb, inside its bevel.
        const int first = (vertical_ ? thumb.left : thumb.top) + 3;
        const int last = (vertical_ ? thumb.right : thumb.bottom) - 3;
        KBevel::drawGroove(graphics, from + END_GRIP, first, last, !vertical_);
        KBevel::drawGroove(graphics, to - END_GRIP - 2, first, last, !vertical_);
    }
}

// Input.

void KSlider::mousePressed(KEvent& event) {
    if (!isEnabled()) return;
    event.consume();
    stopRepeat();
    pointer_ = event.getPoint();
    pressed_ = partAt(pointer_);
    if (pressed_ == NONE) return;
    setCapture(this);
    pressPixel_ = along(pointer_);
    pressLow_ = low_;
    pressHigh_ = high_;
    updateCursor(pressed_);
    invalidate(true);
    if (pressed_ != THUMB && pressed_ != LOW_END && pressed_ != HIGH_END) startRepeat(pressed_);
}

void KSlider::mouseDragged(KEvent& event) {
    if (pressed_ == NONE) return;
    event.consume();
    const bool wasOn = partAt(pointer_) == pressed_;
    pointer_ = event.getPoint();
    const double delta = toValue(along(pointer_)) - toValue(pressPixel_);
    switch (pressed_) {
        case THUMB:
            moveBy(pressLow_ + delta - low_);
            break;
        case LOW_END:
        case HIGH_END: {
            double low = low_, high = high_;
            if (pressed_ == LOW_END) {
                low = std::clamp(pressLow_ + delta, minimum_,
                                 std::max(minimum_, high_ - minAperture_));
            } else {
                high = std::clamp(pressHigh_ + delta, std::min(maximum_, low_ + minAperture_),
                                  maximum_);
            }
            if (low == low_ && high == high_) break;
            low_ = low;
            high_ = high;
            invalidate(true);
            changed();
            break;
        }
        default:
            // A held button shows pressed only while the pointer is on it.
            if (wasOn != (partAt(pointer_) == pressed_)) invalidate(true);
            break;
    }
}

void KSlider::mouseReleased(KEvent& event) {
    if (pressed_ == NONE) return;
    event.consume();
    stopRepeat();
    pressed_ = NONE;
    releaseCapture(this);
    pointer_ = event.getPoint();
    updateCursor(partAt(pointer_));
    invalidate(true);
    actionEvent("slider.end");
}

void KSlider::mouseMoved(KEvent& event) {
    if (!isEnabled()) return;
    updateCursor(partAt(event.getPoint()));
    KComponent::mouseMoved(event);
}

void KSlider::mouseWheel(KEvent& event) {
    const int notches = event.getWheelNotches();
    if (!isEnabled() || notches == 0) return;
    event.consume();
    // Away from the user moves toward the minimum.
    step(-notches);
    actionEvent("slider.end");
}

void KSlider::processKeyEvent(KEvent& event) {
    if (event.getType() == KEvent::KEY_PRESSED && isEnabled()) {
        bool used = true;
        switch (event.getKeyCode()) {
            case KEvent::VK_LEFT:
            case KEvent::VK_UP:
                step(-1);
                break;
            case KEvent::VK_RIGHT:
            case KEvent::VK_DOWN:
                step(1);
                break;
            case KEvent::VK_PRIOR:
                page(-1);
                break;
            case KEvent::VK_NEXT:
                page(1);
                break;
            case KEvent::VK_HOME:
                toMinimum();
                break;
            case KEvent::VK_END:
                toMaximum();
                break;
            default:
                used = false;
                break;
        }
        if (used) {
            event.consume();
            actionEvent("slider.end");
            return;
        }
    }
    KComponent::processKeyEvent(event);
}

void KSlider::act(Part part) {
    // Paging stops too once the thumb has reached the pointer.
    if (partAt(pointer_) != part) return;
    switch (part) {
        case STEP_DOWN:
            step(-1);
            break;
        case STEP_UP:
            step(1);
            break;
        case PAGE_DOWN:
            page(-1);
            break;
        case PAGE_UP:
            page(1);
            break;
        default:
            break;
    }
}

void KSlider::startRepeat(Part part) {
    act(part);
    KAutoRepeat::start(this, repeatHost_, repeatTimer_, [this, part]() { act(part); });
}

void KSlider::stopRepeat() {
    KAutoRepeat::stop(repeatHost_, repeatTimer_);
}

void KSlider::updateCursor(Part part) {
    const bool onEnd =
        part == LOW_END || part == HIGH_END || (pressed_ == LOW_END || pressed_ == HIGH_END);
    if (onEnd == apertureCursor_) return;
    KHost* host = getCanvas();
    if (host == nullptr) return;
    apertureCursor_ = onEnd;
    host->setCursor(onEnd ? (vertical_ ? "VERT_APERTURE" : "HORZ_APERTURE") : nullptr);
}

// Object services.

void KSlider::copy(const KObject& other) {
    KComponent::copy(other);
    const KSlider* s = k_dynamic_cast<KSlider>(const_cast<KObject*>(&other));
    if (s == nullptr) return;
    vertical_ = s->vertical_;
    minimum_ = s->minimum_;
    maximum_ = s->maximum_;
    low_ = s->low_;
    high_ = s->high_;
    minAperture_ = s->minAperture_;
    dynamic_ = s->dynamic_;
    lowSpeed_ = s->lowSpeed_;
}

void KSlider::Serialize(KArchive& ar) {
    KComponent::Serialize(ar);
    if (ar.isStoring()) {
        ar << STORED_VERSION << vertical_ << minimum_ << maximum_ << low_ << high_ << minAperture_
           << dynamic_ << lowSpeed_;
        return;
    }
    const std::int32_t version = ar.readVersion(STORED_VERSION, "slider");
    if (version < 1) return;
    double minimum, maximum, low, high, minAperture;
    ar >> vertical_ >> minimum >> maximum >> low >> high >> minAperture >> dynamic_ >> lowSpeed_;
    // Values that the setters refuse leave the defaults.
    setLimits(minimum, maximum);
    setAperture(low, high);
    setMinAperture(minAperture);
}
