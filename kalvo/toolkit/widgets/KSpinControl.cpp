#include <kalvo/toolkit/widgets/KSpinControl.h>

#include <algorithm>
#include <cmath>

#include <kalvo/foundation/KArchive.h>
#include <kalvo/foundation/KDouble.h>
#include <kalvo/platform/DeviceModes.h>
#include <kalvo/platform/DrawTextFormat.h>
#include <kalvo/platform/SysColor.h>
#include <kalvo/toolkit/KGraphics.h>
#include <kalvo/toolkit/widgets/KAutoRepeat.h>
#include <kalvo/toolkit/widgets/KBevel.h>
#include <kalvo/toolkit/widgets/KLabel.h>

K_IMPLEMENT_CLASS(KSpinControl, KComponent, 1)

namespace {

constexpr std::int32_t STORED_VERSION = 1;
constexpr int FRAME = 2;    // the box's sunken frame
constexpr int PADDING = 2;  // between the frame and the text
constexpr int PAGE_STEPS = 10;
// Below this a value shows as 0, as the engineering labels have it.
constexpr double ZERO = 1e-15;

// The value rounded to the significant digits, as text in its prefix's scale without
// trailing zeros; prefix receives the prefix letter, or a blank for none.
KString numberText(double value, int digits, char& prefix) {
    prefix = ' ';
    if (std::fabs(value) < ZERO) return KString("0");
    const double scale = std::pow(10.0, digits - 1 - std::floor(std::log10(std::fabs(value))));
    const double rounded = std::round(value * scale) / scale;
    double divisor = 1.0;
    prefix = KDouble::getRangePrefix(rounded, rounded, divisor);
    const double shown = rounded / divisor;
    const int whole = static_cast<int>(std::floor(std::log10(std::fabs(shown)))) + 1;
    const int decimals = std::clamp(digits - whole, 0, 15);
    KString text;
    text.format("%.*f", decimals, shown);
    if (decimals > 0) {
        unsigned end = text.length();
        while (text[end - 1] == '0') --end;
        if (text[end - 1] == '.') --end;
        text = text.substring(0, end);
    }
    return text;
}

CSize textExtent(const char* text) {
    return KGraphics::measureText(KLabel::getLabelFont(), text);
}

}  // namespace

KSpinControl::KSpinControl(const char* name) : KComponent(name) {
    setSize(getUnitSize() * 4, getUnitSize());
    // No menu of its own: a right click goes on to the container's.
    setMenu("");
}

KSpinControl::~KSpinControl() {
    stopRepeat();
}

// Values.

void KSpinControl::setRange(double low, double high) {
    if (!KDouble::isFinite(low) || !KDouble::isFinite(high) || low > high) return;
    low_ = low;
    high_ = high;
    value_ = std::clamp(value_, low_, high_);
    invalidate(true);
}

void KSpinControl::getRange(double& low, double& high) const {
    low = low_;
    high = high_;
}

void KSpinControl::setValue(double value) {
    if (!KDouble::isFinite(value)) return;
    value_ = std::clamp(value, low_, high_);
    invalidate(true);
}

double KSpinControl::getStep() const {
    return step_ > 0.0 ? step_ : (high_ - low_) / 100.0;
}

void KSpinControl::setDigits(int digits) {
    if (digits >= 1 && digits <= 15) digits_ = digits;
}

KString KSpinControl::getText() const {
    char prefix;
    KString text = numberText(value_, digits_, prefix);
    if (!units_.isEmpty()) text.append(' ');
    if (prefix != ' ') text.append(prefix);
    text.append(units_.c_str());
    return text;
}

void KSpinControl::spin(int count) {
    change(std::clamp(value_ + count * getStep(), low_, high_));
}

void KSpinControl::change(double value) {
    if (value == value_) return;
    value_ = value;
    invalidate(true);
    actionEvent("spin.change");
}

// Geometry.

int KSpinControl::buttonWidth() const {
    return std::clamp(getExtents().Height() * 3 / 4, getUnitSize() / 2, getUnitSize());
}

CRect KSpinControl::getTextRect() const {
    CRect r = getExtents();
    r.right = std::max(r.left, r.right - buttonWidth());
    return r;
}

CRect KSpinControl::getUpRect() const {
    const CRect e = getExtents();
    return CRect(std::max(e.left, e.right - buttonWidth()), e.top, e.right, e.top + e.Height() / 2);
}

CRect KSpinControl::getDownRect() const {
    const CRect e = getExtents();
    return CRect(std::max(e.left, e.right - buttonWidth()), e.top + e.Height() / 2, e.right,
                 e.bottom);
}

int KSpinControl::arrowAt(CPoint point) const {
    if (getUpRect().PtInRect(point)) return 1;
    if (getDownRect().PtInRect(point)) return -1;
    return 0;
}

CSize KSpinControl::getPreferredSize() const {
    // Room for a negative value of every digit with a prefix, and the units.
    KString sample("-");
    for (int i = 0; i < digits_; ++i) sample.append('8');
    sample.append(".K");
    if (!units_.isEmpty()) sample.append(' ').append(units_.c_str());
    const int text = textExtent(sample.c_str()).cx + 2 * (FRAME + PADDING);
    return CSize(text + buttonWidth(), getUnitSize());
}

CSize KSpinControl::getMinimumSize() const {
    const int unit = getUnitSize();
    return CSize(unit / 2 + unit, unit * 2 / 3);
}

// Painting.

void KSpinControl::paint(KGraphics& graphics) {
    const bool enabled = isEnabled();
    CRect box = getTextRect();
    if (!box.IsRectEmpty()) {
        graphics.setColor(GetSysColor(enabled ? COLOR_WINDOW : COLOR_BTNFACE));
        graphics.fillRect(box);
        graphics.draw3DRect(box, false);
        box.DeflateRect(1, 1);
        graphics.getDC()->Draw3dRect(box, GetSysColor(COLOR_3DDKSHADOW),
                                     GetSysColor(COLOR_3DLIGHT));
        box.DeflateRect(1 + PADDING, 1);
        CDC* dc = graphics.getDC();
        graphics.setFont(const_cast<CFont*>(&KLabel::getLabelFont()));
        const int mode = dc->SetBkMode(TRANSPARENT);
        const COLORREF color =
            dc->SetTextColor(GetSysColor(enabled ? COLOR_WINDOWTEXT : COLOR_GRAYTEXT));
        dc->DrawText(getText().c_str(), &box, DT_RIGHT | DT_VCENTER | DT_SINGLELINE | DT_NOPREFIX);
        dc->SetTextColor(color);
        dc->SetBkMode(mode);
    }
    const bool on = arrowAt(pointer_) == pressed_;
    const CRect up = getUpRect(), down = getDownRect();
    KBevel::drawButton(graphics, up, pressed_ > 0 && on);
    KBevel::drawButton(graphics, down, pressed_ < 0 && on);
    KBevel::drawArrow(graphics, up, KBevel::UP, enabled && value_<high_, pressed_> 0 && on);
    KBevel::drawArrow(graphics, down, KBevel::DOWN, enabled && value_ > low_, pressed_ < 0 && on);
}

void KSpinControl::drawFocus(KGraphics& graphics) {
    CRect box = getTextRect();
    box.DeflateRect(FRAME + 1, FRAME + 1);
    if (box.IsRectEmpty()) return;
    graphics.setColor(GetSysColor(COLOR_WINDOWTEXT), 1, 2);
    graphics.drawRect(box);
}

// Input.

void KSpinControl::mousePressed(KEvent& event) {
    if (!isEnabled()) return;
    event.consume();
    stopRepeat();
    pointer_ = event.getPoint();
    pressed_ = arrowAt(pointer_);
    if (pressed_ == 0) return;
    setCapture(this);
    invalidate(true);
    act();
    KAutoRepeat::start(this, repeatHost_, repeatTimer_, [this]() { act(); });
}

void KSpinControl::mouseDragged(KEvent& event) {
    if (pressed_ == 0) return;
    event.consume();
    const bool wasOn = arrowAt(pointer_) == pressed_;
    pointer_ = event.getPoint();
    if (wasOn != (arrowAt(pointer_) == pressed_)) invalidate(true);
}

void KSpinControl::mouseReleased(KEvent& event) {
    if (pressed_ == 0) return;
    event.consume();
    stopRepeat();
    pressed_ = 0;
    releaseCapture(this);
    invalidate(true);
}

void KSpinControl::act() {
    if (arrowAt(pointer_) == pressed_) spin(pressed_);
}

void KSpinControl::stopRepeat() {
    KAutoRepeat::stop(repeatHost_, repeatTimer_);
}

void KSpinControl::mouseWheel(KEvent& event) {
    const int notches = event.getWheelNotches();
    if (!isEnabled() || notches == 0) return;
    event.consume();
    // Away from the user counts up.
    spin(notches);
}

void KSpinControl::processKeyEvent(KEvent& event) {
    if (event.getType() == KEvent::KEY_PRESSED && isEnabled()) {
        bool used = true;
        switch (event.getKeyCode()) {
            case KEvent::VK_UP:
                spin(1);
                break;
            case KEvent::VK_DOWN:
                spin(-1);
                break;
            case KEvent::VK_PRIOR:
                spin(PAGE_STEPS);
                break;
            case KEvent::VK_NEXT:
                spin(-PAGE_STEPS);
                break;
            case KEvent::VK_HOME:
                change(low_);
                break;
            case KEvent::VK_END:
                change(high_);
                break;
            default:
                used = false;
                break;
        }
        if (used) {
            event.consume();
            return;
        }
    }
    KComponent::processKeyEvent(event);
}

// Object services.

void KSpinControl::copy(const KObject& other) {
    KComponent::copy(other);
    const KSpinControl* s = k_dynamic_cast<KSpinControl>(const_cast<KObject*>(&other));
    if (s == nullptr) return;
    low_ = s->low_;
    high_ = s->high_;
    value_ = s->value_;
    step_ = s->step_;
    digits_ = s->digits_;
    units_ = s->units_;
}

void KSpinControl::Serialize(KArchive& ar) {
    KComponent::Serialize(ar);
    if (ar.isStoring()) {
        ar << STORED_VERSION << low_ << high_ << value_ << step_
           << static_cast<std::int32_t>(digits_);
        ar.writeString(units_);
        return;
    }
    const std::int32_t version = ar.readVersion(STORED_VERSION, "spin control");
    if (version < 1) return;
    double low, high, value, step;
    std::int32_t digits;
    ar >> low >> high >> value >> step >> digits;
    units_ = ar.readString();
    // Values that the setters refuse leave the defaults.
    setRange(low, high);
    setValue(value);
    if (KDouble::isFinite(step)) step_ = step;
    setDigits(digits);
}
