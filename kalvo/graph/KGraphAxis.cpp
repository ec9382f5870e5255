#include <kalvo/graph/KGraphAxis.h>

#include <algorithm>
#include <cmath>

#include <kalvo/foundation/KArchive.h>
#include <kalvo/foundation/KDate.h>
#include <kalvo/foundation/KDouble.h>
#include <kalvo/foundation/KException.h>
#include <kalvo/graph/KColumnScale.h>
#include <kalvo/graph/KGraphFrame.h>
#include <kalvo/platform/CBitmap.h>
#include <kalvo/platform/DeviceModes.h>
#include <kalvo/platform/DrawTextFormat.h>
#include <kalvo/platform/KHost.h>
#include <kalvo/toolkit/KGraphics.h>
#include <kalvo/toolkit/widgets/KSlider.h>

K_IMPLEMENT_CLASS(KGraphAxis, KContainer, 1)

namespace {

constexpr std::int32_t STORED_VERSION = 1;
constexpr int MARK_REACH = 8;  // a mark answers the pointer strictly closer than this
constexpr int DRAG_INSET = 5;  // a dragged mark stays this far inside the ends
const char* const UNIT_NAMES[6] = {"Seconds", "Minutes", "Hours", "Days", "Months", "Years"};
const char* const UNIT_CODES[6] = {"s", "m", "h", "d", "M", "Y"};
const char* const TIME_FORMATS[5] = {"%M:%S", "%H:%M", "%d/%H", "%m/%d", "%y/%m"};

CFont makeFont(int weight) {
    CFont f;
    f.CreateFont(KComponent::getUnitSize() * 4 / 5, 0, 0, 0, weight, 0, 0, 0, 0, 0, 0, 0, 0, "Arial");
    return f;
}

}  // namespace

const COLORREF KGraphAxis::MARKER_X_COLOR = RGB(220, 0, 0);
const COLORREF KGraphAxis::MARKER_O_COLOR = RGB(0, 0, 220);
const COLORREF KGraphAxis::TRIGGER_COLOR = RGB(230, 120, 0);

KGraphAxis::KGraphAxis()
    : KContainer("axis"), markerX_(KDouble::NaN), markerO_(KDouble::NaN) {
    flags_.set(0);
    flags_.set(5);
    flags_.set(6);
    range_.setBounds(0.0, 1.0);
    range_.computeGrid(false);
    setBackground(0xFFFFFF);
    getAxisFont();
    getBoldFont();
}

KGraphAxis::~KGraphAxis() = default;

const char* KGraphAxis::getUnitName(int unit) { return unit >= 0 && unit < 6 ? UNIT_NAMES[unit] : nullptr; }

const char* KGraphAxis::getUnitCode(int unit) { return unit >= 0 && unit < 6 ? UNIT_CODES[unit] : nullptr; }

const CFont& KGraphAxis::getAxisFont() {
    static const CFont font = makeFont(400);
    return font;
}

const CFont& KGraphAxis::getBoldFont() {
    static const CFont font = makeFont(700);
    return font;
}

void KGraphAxis::create() {
    if (getSlider() != nullptr) return;
    auto* slider = new KSlider("Slider1");
    slider->setDynamicAperture(true);
    slider->addListener(this);
    add(slider);
}

KSlider* KGraphAxis::getSlider() const { return k_dynamic_cast<KSlider>(findComponent("Slider1")); }

KGraphFrame* KGraphAxis::getFrame() const {
    return k_dynamic_cast<KGraphFrame>(findAncestor("frame"));
}

// Range.

bool KGraphAxis::setRange(double lo, double hi) {
    if (!std::isfinite(lo) || !std::isfinite(hi) || !range_.setLimits(lo, hi)) return false;
    range_.computeGrid(snapToGrid_);
    return true;
}

void KGraphAxis::getRange(double& lo, double& hi) const { range_.getLimits(lo, hi); }

void KGraphAxis::setBounds(double lower, double upper) {
    range_.setBounds(lower, upper);
    updateStatusLabels();
}

// Markers.

void KGraphAxis::setMarkerXPosition(double x) {
    double lo, hi;
    range_.getBounds(lo, hi);
    if (!KDouble::isFinite(x) || x < lo || x > hi) return;
    markerX_ = x;
    offsetMarker();
    if (KGraphFrame* frame = getFrame()) frame->syncronizeMarkers();
    updateMarkerLabels();
    repaint();
}

void KGraphAxis::setMarkerOPosition(double x) {
    double lo, hi;
    range_.getBounds(lo, hi);
    if (!KDouble::isFinite(x) || x < lo || x > hi) return;
    markerO_ = x;
    if (markerLock_ && KDouble::isFinite(markerX_)) lockDistance_ = markerO_ - markerX_;
    if (KGraphFrame* frame = getFrame()) frame->syncronizeMarkers();
    updateMarkerLabels();
    repaint();
}

void KGraphAxis::setTriggerPosition(double x) {
    double lo, hi;
    range_.getBounds(lo, hi);
    if (!KDouble::isFinite(x) || x < lo || x > hi) return;
    trigger_ = x;
    if (KGraphFrame* frame = getFrame()) frame->syncronizeMarkers();
    repaint();
}

void KGraphAxis::getMarkerPositions(double& x, double& o) const {
    x = markerX_;
    o = markerO_;
}

void KGraphAxis::setMarkersEnabled(bool on) {
    flags_.set(MARKER_X, on);
    flags_.set(MARKER_O, on);
}

void KGraphAxis::toggleMarkerLockStep() {
    markerLock_ = !markerLock_;
    if (markerLock_) lockDistance_ = markerO_ - markerX_;
}

void KGraphAxis::offsetMarker() {
    if (!markerLock_ || !KDouble::isFinite(lockDistance_) || !KDouble::isFinite(markerX_)) return;
    double lo, hi;
    range_.getBounds(lo, hi);
    markerO_ = std::clamp(markerX_ + lockDistance_, lo, hi);
}

void KGraphAxis::focusMarkerX() {
    range_.containValue(markerX_);
    rangeChanged();
    postAction("update");
}

void KGraphAxis::focusMarkerO() {
    range_.containValue(markerO_);
    rangeChanged();
    postAction("update");
}

void KGraphAxis::focusMarkerT() {
    range_.containValue(trigger_);
    rangeChanged();
    postAction("update");
}

void KGraphAxis::setDynAperture(bool on) {
    if (KSlider* slider = getSlider()) slider->setDynamicAperture(on);
}

bool KGraphAxis::isApertureDynamic() const {
    const KSlider* slider = getSlider();
    return slider != nullptr && slider->isDynamicAperture();
}

void KGraphAxis::setLowSpeed(bool on) {
    if (KSlider* slider = getSlider()) slider->setLowSpeed(on);
}

// Mapping.

int KGraphAxis::toLogicalX(double x) const {
    const CRect r = getClientRect();
    const KColumnScale columns(range_, r.Width());
    if (!columns.isValid()) return r.left;
    return r.left + static_cast<int>(std::clamp(columns.columnOf(x), -1e9, 1e9));
}

double KGraphAxis::toRealX(int px) const {
    const CRect r = getClientRect();
    const int w = std::max(1, static_cast<int>(r.Width()));
    return range_.getMinimum() + (px - r.left) * range_.getRangeSize() / w;
}

// Labels.

KString KGraphAxis::toLabel(double value, int precision, double lo, double hi) const {
    if (!KDouble::isFinite(value)) return KString();
    if (!range_.isUnitized()) return KDouble::toLabel(value, precision, lo, hi);
    if (value < 0) return KString();
    const int unit = range_.getUnitLevel();
    if (unit < 0 || unit > 4) return KString();
    return KDate(static_cast<double>(static_cast<long long>(value + 0.5))).toString(TIME_FORMATS[unit]);
}

KString KGraphAxis::toLabelFixed(double value, int precision, double lo, double hi) const {
    if (!KDouble::isFinite(value)) return KString();
    if (!range_.isUnitized()) return KDouble::toLabelFixed(value, precision, lo, hi);
    return toLabel(value, precision, lo, hi);
}

KString KGraphAxis::formatTime(double seconds) {
    KString text;
    if (!KDouble::isFinite(seconds)) return text;
    if (std::fabs(seconds) < 1.0) {
        text.format("%.3f ms", seconds * 1e3);
    } else {
        text.format("%.6f s", seconds);
    }
    return text;
}

KString KGraphAxis::getTooltipText(CPoint point) const {
    switch (markAt(point.x)) {
        case 0: return "'X' Marker";
        case 1: return "'O' Marker";
        case 2: return "Trigger Time";
        default: return KContainer::getTooltipText(point);
    }
}

int KGraphAxis::markAt(int x) const {
    const double positions[3] = {markerX_, markerO_, trigger_};
    const bool shown[3] = {isMarkerXEnabled(), isMarkerOEnabled(), isTriggerEnabled()};
    for (int k = 0; k < 3; ++k) {
        if (!shown[k] || !range_.contains(positions[k])) continue;
        const int column = toLogicalX(positions[k]);
        if (column - MARK_REACH < x && x < column + MARK_REACH) return k;
    }
    return -1;
}

void KGraphAxis::updateMarkerLabels() {
    if (KGraphFrame* frame = getFrame()) frame->updateMarkerLabels();
}

void KGraphAxis::updateStatusLabels() {
    double lower, upper;
    range_.getBounds(lower, upper);
    updateScrollbar(lower, upper);
    setPanControl(range_.getMinimum(), range_.getMaximum());
    updateMarkerLabels();
}

void KGraphAxis::updateScrollbar(double lo, double hi) {
    KSlider* slider = getSlider();
    if (slider == nullptr) return;
    // The track covers the range in view as well, should it lie outside the bounds.
    slider->setLimits(std::min(lo, range_.getMinimum()), std::max(hi, range_.getMaximum()));
    slider->repaint();
}

void KGraphAxis::setPanControl(double lo, double hi) {
    KSlider* slider = getSlider();
    if (slider == nullptr) return;
    slider->setAperture(lo, hi);
    slider->repaint();
}

void KGraphAxis::getAperture(double& lo, double& hi) const {
    const KSlider* slider = getSlider();
    if (slider == nullptr) {
        getRange(lo, hi);
        return;
    }
    slider->getAperture(lo, hi);
}

// Layout and painting.

CRect KGraphAxis::getTickRect() const {
    CRect r = getClientRect();
    if (const KSlider* slider = getSlider(); slider != nullptr && slider->isVisible()) {
        r.bottom = slider->getBounds().top;
    }
    return r;
}

CSize KGraphAxis::getPreferredSize() const {
    const int u = getUnitSize();
    return CSize(8 * u, u / 4 + u + u * 3 / 4);
}

CSize KGraphAxis::getMinimumSize() const { return getPreferredSize(); }

void KGraphAxis::doLayout() {
    KContainer::doLayout();
    KSlider* slider = getSlider();
    if (slider == nullptr) return;
    const CRect r = getClientRect();
    const int thickness = getUnitSize() * 2 / 3;
    slider->setBounds(CRect(r.left, r.bottom - thickness, r.right, r.bottom));
}

void KGraphAxis::paint(KGraphics& graphics) {
    KContainer::paint(graphics);
    drawGrid(graphics);
    drawMarkers(graphics);
}

void KGraphAxis::drawGrid(KGraphics& graphics) {
    const int u = getUnitSize();
    const int t = u / 4;
    const CRect r = getTickRect();
    const double lo = range_.getMinimum(), hi = range_.getMaximum();
    const double step = range_.getGrid();
    graphics.setColor(0);
    graphics.drawLine(r.left, r.top, r.right, r.top);
    if (!(hi > lo) || !std::isfinite(lo) || !std::isfinite(hi) || r.Width() <= 0) return;
    CDC* dc = graphics.getDC();
    graphics.setFont(const_cast<CFont*>(&getAxisFont()));
    const int mode = dc->SetBkMode(TRANSPARENT);
    const int precision = range_.getPrecision();
    auto label = [&](KString text, int x, unsigned align) {
        text = text.trim();
        if (text.isEmpty()) return;
        if (!range_.isUnitized() && !units_.isEmpty()) text << units_;
        // Centred on its tick, but moved in where it would stick out at the ends.
        const int width = dc->GetTextExtent(text.c_str()).cx;
        int left = align == DT_LEFT ? x : align == DT_RIGHT ? x - width : x - width / 2;
        left = std::max(static_cast<int>(r.left), std::min(left, static_cast<int>(r.right) - width));
        CRect box(left, r.top + t, left + width, r.bottom);
        dc->DrawText(text.c_str(), &box, DT_LEFT | DT_TOP | DT_SINGLELINE | DT_NOPREFIX | DT_NOCLIP);
    };

    const double ppu = r.Width() / (hi - lo);
    const double ppstep = ppu * step;
    const bool timeRange = range_.isUnitized() && hi - lo >= 60.0;
    const double spacing = timeRange ? 2.0 * u : std::max(precision, 4) * u / 2.0;
    if (ppstep >= t && step > 0) {
        const double eps = (hi - lo) * 0.001;
        double x0 = std::ceil(lo / step - 0.01) * step;
        if (timeRange) {
            const KDate start(lo);
            if (start.isValid()) x0 = start.ceil(range_.getUnitLevel());
        }
        if (minorGrids_) {
            for (double x = x0; x <= hi + eps; x += 0.5 * step) {
                const int px = toLogicalX(x);
                graphics.drawLine(px, r.top, px, r.top + t / 2);
            }
        }
        int n = 0;
        for (double x = x0; x <= hi + eps; x = x0 + (++n) * step) {
            const int px = toLogicalX(x);
            graphics.drawLine(px, r.top, px, r.top + t);
            const double shown = std::fabs(x) <= eps ? 0.0 : x;
            if (ppstep >= spacing || (ppstep >= u && n % 2 == 0)) {
                label(toLabel(shown, precision, lo, hi), px, DT_CENTER);
            }
        }
    }
    if (ppstep < u) {
        graphics.drawLine(r.left, r.top, r.left, r.top + t);
        graphics.drawLine(r.right - 1, r.top, r.right - 1, r.top + t);
        label(toLabel(lo, precision, 0, 0), r.left + 4, DT_LEFT);
        label(toLabel(hi, precision, 0, 0), r.right - 4, DT_RIGHT);
    }
    dc->SetBkMode(mode);
}

void KGraphAxis::drawMark(KGraphics& graphics, int cell, double position, int shift, COLORREF color) {
    if (!range_.contains(position)) return;
    CBitmap strip;
    if (!strip.LoadBitmap("GRAPH_MARKERS")) return;
    const CRect source(cell * CELL_WIDTH, 0, (cell + 1) * CELL_WIDTH, strip.GetHeight());
    const int x = toLogicalX(position) - CELL_WIDTH / 2 + shift;
    graphics.drawMask(&strip, &source, CPoint(x, getTickRect().top), color);
}

void KGraphAxis::drawMarkers(KGraphics& graphics) {
    if (isMarkerXEnabled()) drawMark(graphics, CELL_X, markerX_, -2, MARKER_X_COLOR);
    if (isMarkerOEnabled()) drawMark(graphics, CELL_O, markerO_, 2, MARKER_O_COLOR);
    if (isTriggerEnabled()) drawTrigger(graphics);
}

void KGraphAxis::drawTrigger(KGraphics& graphics) {
    if (!range_.contains(trigger_)) return;
    const int x = toLogicalX(trigger_);
    const int top = getTickRect().top;
    const int h = getUnitSize() / 3;
    graphics.setColor(TRIGGER_COLOR);
    graphics.fillTriangle(CPoint(x - h, top), CPoint(x + h + 1, top), CPoint(x, top + h + 1));
}

// Input.

double KGraphAxis::toWholePixels(double delta) const {
    const double width = getClientRect().Width(), span = range_.getRangeSize();
    if (!(width > 0) || !(span > 0) || !std::isfinite(delta) || delta == 0.0) return delta;
    double pixels = std::round(delta * width / span);
    if (pixels == 0.0) pixels = delta > 0 ? 1.0 : -1.0;
    return pixels * span / width;
}

void KGraphAxis::pan(double delta, bool wholePixels) {
    if (wholePixels) delta = toWholePixels(delta);
    if (!std::isfinite(delta) || delta == 0.0) return;
    double lower, upper;
    range_.getBounds(lower, upper);
    double lo = range_.getMinimum() + delta, hi = range_.getMaximum() + delta;
    // Keep the view over the bounds where the bounds are wide enough.
    if (upper - lower >= hi - lo) {
        if (lo < lower) {
            hi += lower - lo;
            lo = lower;
        }
        if (hi > upper) {
            lo -= hi - upper;
            hi = upper;
        }
    }
    if (range_.setLimits(lo, hi)) rangeChanged();
}

void KGraphAxis::rangeChanged() {
    if (KGraphFrame* frame = getFrame()) frame->panGraphs();
    updateStatusLabels();
    repaint();
}

void KGraphAxis::mouseWheel(KEvent& event) {
    event.consume();
    const int notches = event.getWheelDelta() / 120 != 0 ? event.getWheelDelta() / 120
                                                           : (event.getWheelDelta() > 0 ? 1 : -1);
    pan(-notches * range_.getRangeSize() / 10.0);
}

void KGraphAxis::processKeyEvent(KEvent& event) {
    if (event.getType() != KEvent::KEY_PRESSED) {
        KContainer::processKeyEvent(event);
        return;
    }
    double lower, upper;
    range_.getBounds(lower, upper);
    const double span = range_.getRangeSize();
    switch (event.getKeyCode()) {
        case KEvent::VK_LEFT: pan(-range_.getGrid()); break;
        case KEvent::VK_RIGHT: pan(range_.getGrid()); break;
        case KEvent::VK_PRIOR: pan(-span); break;
        case KEvent::VK_NEXT: pan(span); break;
        case KEvent::VK_HOME: pan(lower - range_.getMinimum(), false); break;
        case KEvent::VK_END: pan(upper - range_.getMaximum(), false); break;
        case '+':
        case 0xBB:  // the plus and equals key
            if (KGraphFrame* frame = getFrame()) frame->zoomX(true);
            break;
        case '-':
        case 0xBD:
            if (KGraphFrame* frame = getFrame()) frame->zoomX(false);
            break;
        default:
            KContainer::processKeyEvent(event);
            return;
    }
    event.consume();
}

void KGraphAxis::onCommand(KEvent& event) {
    if (event.isNamed("AXIS.MINOR")) {
        minorGrids_ = !minorGrids_;
        repaint();
    } else if (event.isNamed("AXIS.SNAP")) {
        snapToGrid_ = !snapToGrid_;
    } else if (event.isNamed("AXIS.LOCK")) {
        toggleMarkerLockStep();
    } else if (event.isNamed("AXIS.FOCUS.X")) {
        focusMarkerX();
    } else if (event.isNamed("AXIS.FOCUS.O")) {
        focusMarkerO();
    } else if (event.isNamed("AXIS.FOCUS.T")) {
        focusMarkerT();
    } else {
        KContainer::onCommand(event);
        return;
    }
    event.consume();
}

void KGraphAxis::actionPerformed(KEvent& event) {
    const KSlider* slider = getSlider();
    if (slider == nullptr || event.getSource() != slider) return;
    if (!event.isNamed("slider.change") && !event.isNamed("slider.end")) return;
    double lo, hi;
    slider->getAperture(lo, hi);
    // The thumb dragged along moves the view by whole pixels too, and shows where it went.
    const double was = range_.getMinimum(), span = range_.getRangeSize();
    const bool along = std::fabs((hi - lo) - span) <= span * 1e-9;
    if (along) {
        lo = was + toWholePixels(lo - was);
        hi = lo + span;
    }
    if (!range_.setLimits(lo, hi)) return;
    if (along) setPanControl(lo, hi);
    // The grid follows the new span; the ends stay where the slider put them.
    range_.computeGrid(false);
    if (KGraphFrame* frame = getFrame()) frame->panGraphs();
    updateMarkerLabels();
    repaint();
}

void KGraphAxis::mousePressed(KEvent& event) {
    if (!isEnabled()) return;
    event.consume();
    setFocus(this);
    dragMark_ = markAt(event.getPoint().x);
    if (dragMark_ < 0) return;
    setCapture(this);
    mouseDrag_ = true;
    const double positions[3] = {markerX_, markerO_, trigger_};
    dragPosition_ = positions[dragMark_];
    if (KHost* host = getCanvas()) host->setCursor("HAND_CLOSE");
    if (KGraphFrame* frame = getFrame()) frame->drawVertHair(dragPosition_);
}

void KGraphAxis::mouseDragged(KEvent& event) {
    if (dragMark_ < 0) return;
    event.consume();
    const CRect r = getClientRect();
    const int x = std::clamp(static_cast<int>(event.getPoint().x), static_cast<int>(r.left) + DRAG_INSET,
                             static_cast<int>(r.right) - DRAG_INSET);
    dragPosition_ = toRealX(x);
    if (KGraphFrame* frame = getFrame()) frame->drawVertHair(dragPosition_);
    // The read-outs follow the drag; the graphs take the marker when it is let go.
    if (dragMark_ == 0) {
        markerX_ = dragPosition_;
        offsetMarker();
    } else if (dragMark_ == 1) {
        markerO_ = dragPosition_;
    }
    updateMarkerLabels();
}

void KGraphAxis::mouseReleased(KEvent& event) {
    if (dragMark_ < 0) {
        KContainer::mouseReleased(event);
        return;
    }
    event.consume();
    releaseCapture(this);
    if (KHost* host = getCanvas()) host->setCursor(nullptr);
    if (KGraphFrame* frame = getFrame()) frame->drawVertHair(KDouble::NaN);
    const int mark = dragMark_;
    dragMark_ = -1;
    mouseDrag_ = false;
    if (mark == 0) setMarkerXPosition(dragPosition_);
    if (mark == 1) setMarkerOPosition(dragPosition_);
    if (mark == 2) setTriggerPosition(dragPosition_);
    if (KGraphFrame* frame = getFrame()) frame->repaintGraphs();
    postAction("update");
}

// Object services.

void KGraphAxis::copy(const KObject& other) {
    KContainer::copy(other);
    const auto* a = k_dynamic_cast<KGraphAxis>(const_cast<KObject*>(&other));
    if (a == nullptr) return;
    flags_ = a->flags_;
    minorGrids_ = a->minorGrids_;
    markerX_ = a->markerX_;
    markerO_ = a->markerO_;
    trigger_ = a->trigger_;
    lockDistance_ = a->lockDistance_;
    snapToGrid_ = a->snapToGrid_;
    markerLock_ = a->markerLock_;
    range_ = a->range_;
    units_ = a->units_;
    if (KSlider* slider = getSlider()) slider->addListener(this);
}

void KGraphAxis::Serialize(KArchive& ar) {
    KContainer::Serialize(ar);
    if (ar.isStoring()) {
        ar << STORED_VERSION;
        flags_.writeObject(ar);
        ar << minorGrids_ << markerX_ << markerO_ << trigger_ << lockDistance_ << snapToGrid_
           << markerLock_;
        range_.writeObject(ar);
        ar.writeString(units_);
        return;
    }
    std::int32_t version = 0;
    ar >> version;
    if (version < 0) KException::raise("Archive Error", "Invalid axis version %d", version);
    if (version < 1) return;
    flags_.readObject(ar);
    ar >> minorGrids_ >> markerX_ >> markerO_ >> trigger_ >> lockDistance_ >> snapToGrid_ >>
        markerLock_;
    range_.readObject(ar);
    units_ = ar.readString();
}
