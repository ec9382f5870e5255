#include <kalvo/graph/KGraphPanel.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>

#include <kalvo/foundation/KArchive.h>
#include <kalvo/foundation/KDate.h>
#include <kalvo/foundation/KDouble.h>
#include <kalvo/foundation/KException.h>
#include <kalvo/graph/KCurve.h>
#include <kalvo/graph/KCurveClient.h>
#include <kalvo/graph/KGraphAxis.h>
#include <kalvo/graph/KGraphFrame.h>
#include <kalvo/graph/KGraphMeter.h>
#include <kalvo/graph/KWaveformPainter.h>
#include <kalvo/platform/DeviceModes.h>
#include <kalvo/platform/DrawTextFormat.h>
#include <kalvo/platform/KHost.h>
#include <kalvo/platform/PenStyle.h>
#include <kalvo/platform/RasterOp.h>
#include <kalvo/platform/SysColor.h>
#include <kalvo/record/KRecord.h>
#include <kalvo/toolkit/KClipboard.h>
#include <kalvo/toolkit/KGraphics.h>
#include <kalvo/toolkit/widgets/KSpinControl.h>

K_IMPLEMENT_CLASS(KGraphPanel, KPanel, 1)

namespace {

constexpr std::int32_t STORED_VERSION = 1;
constexpr int MARKER_REACH = 4;  // a marker's line answers the pointer this close
constexpr int LEAST_BOX = 4;     // a drag narrower than this is a click, not a zoom
constexpr COLORREF ACTIVE_BACKGROUND = 0xF0FBFF;

// The ticks of a range: multiples of its grid from its minimum to its maximum.
template <class F>
void forEachTick(const KRange& range, F f) {
    const double lo = range.getMinimum(), hi = range.getMaximum(), step = range.getGrid();
    if (!(hi > lo) || !(step > 0) || !std::isfinite(lo) || !std::isfinite(hi)) return;
    if ((hi - lo) / step > 1000) return;
    const double eps = (hi - lo) * 0.001;
    const double first = std::ceil(lo / step - 0.01) * step;
    for (int n = 0;; ++n) {
        const double v = first + n * step;
        if (v > hi + eps) break;
        f(std::fabs(v) <= eps ? 0.0 : v);
    }
}

int wheelNotches(const KEvent& event) {
    const int d = event.getWheelDelta();
    if (d / 120 != 0) return d / 120;
    return d > 0 ? 1 : (d < 0 ? -1 : 0);
}

}  // namespace

const COLORREF KGraphPanel::cColors1[6] = {RGB(0, 0, 128),   RGB(0, 128, 0),   RGB(128, 0, 0),
                                           RGB(0, 128, 128), RGB(128, 0, 128), RGB(128, 128, 0)};
const COLORREF KGraphPanel::cColors2[6] = {RGB(0, 0, 255),   RGB(0, 255, 0),   RGB(255, 0, 0),
                                           RGB(0, 255, 255), RGB(255, 0, 255), RGB(255, 255, 0)};

KGraphPanel::KGraphPanel() : KPanel("graph"), markerX_(KDouble::NaN), markerO_(KDouble::NaN) {
    flags_.set(GRID);
    flags_.set(TICKS);
    flags_.set(TRIGGER);
    xRange_.computeGrid(false);
    yRange_.setLimits(-1.0, 1.0);
    yRange_.computeGrid(false);
    setBackground(GetSysColor(COLOR_BTNFACE));
    setInsets(CRect(1, 1, 1, 1));
}

KGraphPanel::~KGraphPanel() = default;

void KGraphPanel::create() {
    if (getCurveClient() != nullptr) return;
    auto* client = new KCurveClient();
    client->create();
    client->setMaximumCurves(32);
    client->setBackground(GetSysColor(COLOR_BTNFACE));
    add(client);
}

KCurveClient* KGraphPanel::getCurveClient() const {
    return k_dynamic_cast<KCurveClient>(findComponent("client"));
}

KGraphFrame* KGraphPanel::getFrame() const {
    return k_dynamic_cast<KGraphFrame>(findAncestor("frame"));
}

void KGraphPanel::setMarkersEnabled(bool on) {
    flags_.set(MARKER_X, on);
    flags_.set(MARKER_O, on);
}

void KGraphPanel::setCrossHairEnabled(bool on) {
    if (!on && crossHairShown_) xorCrossHair(crossHairAt_);
    crossHair_ = on;
}

void KGraphPanel::setManualPrecision(int digits) {
    if (digits >= 0 && digits <= 15) precision_ = digits;
}

// Curves.

bool KGraphPanel::addCurve(KCurve* curve) {
    KCurveClient* client = getCurveClient();
    if (curve == nullptr || client == nullptr || !client->canContain(curve)) return false;
    if (autoColoring_) curve->setLineColorIndex(client->getCurveCount());
    client->add(curve);
    return true;
}

bool KGraphPanel::removeCurve(const char* name) {
    KCurve* curve = findCurve(name);
    if (curve == nullptr) return false;
    delete curve;
    repaint();
    return true;
}

void KGraphPanel::removeAllCurves() {
    std::vector<KCurve*> curves;
    getCurveList(curves);
    for (auto it = curves.rbegin(); it != curves.rend(); ++it) delete *it;
    repaint();
}

KCurve* KGraphPanel::findCurve(const char* name) const {
    if (name == nullptr) return nullptr;
    std::vector<KCurve*> curves;
    getCurveList(curves);
    for (KCurve* c : curves) {
        if (c->getText().equals(name)) return c;
    }
    for (KCurve* c : curves) {
        if (c->getName().equals(name)) return c;
    }
    return nullptr;
}

void KGraphPanel::getCurveList(std::vector<KCurve*>& list) const {
    if (const KCurveClient* client = getCurveClient()) client->getCurveList(list);
}

int KGraphPanel::getCurveCount() const {
    const KCurveClient* client = getCurveClient();
    return client != nullptr ? client->getCurveCount() : 0;
}

void KGraphPanel::setActiveCurve(KCurve* curve) {
    if (KCurveClient* client = getCurveClient()) client->setActiveCurve(curve);
}

KCurve* KGraphPanel::getActiveCurve() const {
    const KCurveClient* client = getCurveClient();
    return client != nullptr ? client->getActiveCurve() : nullptr;
}

int KGraphPanel::getMaximumCurves() const {
    const KCurveClient* client = getCurveClient();
    return client != nullptr ? client->getMaximumCurves() : 0;
}

int KGraphPanel::getMinimumCurves() const {
    const KCurveClient* client = getCurveClient();
    return client != nullptr ? client->getMinimumCurves() : 0;
}

void KGraphPanel::setMaximumCurves(int maximum) {
    if (KCurveClient* client = getCurveClient()) client->setMaximumCurves(maximum);
}

void KGraphPanel::setMinimumCurves(int minimum) {
    if (KCurveClient* client = getCurveClient()) client->setMinimumCurves(minimum);
}

bool KGraphPanel::canContain(const KComponent* component) const {
    const KCurveClient* client = getCurveClient();
    return client != nullptr && client->canContain(component);
}

// Ranges.

bool KGraphPanel::setXRange(double lo, double hi) {
    if (!std::isfinite(lo) || !std::isfinite(hi) || !xRange_.setLimits(lo, hi)) return false;
    xRange_.computeGrid(true);
    return true;
}

bool KGraphPanel::setYRange(double lo, double hi) {
    if (!std::isfinite(lo) || !std::isfinite(hi) || !yRange_.setLimits(lo, hi)) return false;
    yRange_.computeGrid(true);
    return true;
}

void KGraphPanel::findXExtents(double& lo, double& hi) const {
    lo = hi = KDouble::NaN;
    std::vector<KCurve*> curves;
    getCurveList(curves);
    for (KCurve* c : curves) {
        double a, b;
        c->getXExtents(a, b);
        if (std::isfinite(a) && !(a >= lo)) lo = a;
        if (std::isfinite(b) && !(b <= hi)) hi = b;
    }
}

void KGraphPanel::findYExtents(double& lo, double& hi) const {
    lo = hi = KDouble::NaN;
    std::vector<KCurve*> curves;
    getCurveList(curves);
    for (KCurve* c : curves) {
        if (!c->isVisible()) continue;
        double a, b;
        c->getYExtents(a, b);
        if (std::isfinite(a) && !(a >= lo)) lo = a;
        if (std::isfinite(b) && !(b <= hi)) hi = b;
    }
}

bool KGraphPanel::resetZoomX() {
    double lo, hi;
    findXExtents(lo, hi);
    if (!std::isfinite(lo) || !std::isfinite(hi)) return false;
    if (lo == hi) {
        lo -= 0.5;
        hi += 0.5;
    }
    xRange_.setBounds(lo, hi);
    if (!xRange_.setLimits(lo, hi)) return false;
    xRange_.computeGrid(false);
    clearHistory();
    rangeChanged();
    return true;
}

bool KGraphPanel::resetZoomBoundedX() {
    double lo, hi;
    xRange_.getBounds(lo, hi);
    if (!xRange_.setLimits(lo, hi)) return false;
    xRange_.computeGrid(false);
    clearHistory();
    rangeChanged();
    return true;
}

bool KGraphPanel::resetZoomY() {
    double lo, hi;
    findYExtents(lo, hi);
    if (KDouble::isNaN(lo) && KDouble::isNaN(hi)) return false;
    yRange_.setBounds(lo, hi);
    if (!yRange_.setLimits(lo, hi)) return false;
    yRange_.computeGrid(true);
    repaint();
    return true;
}

bool KGraphPanel::zoomIndex(int first, int last) {
    KCurve* curve = getActiveCurve();
    if (curve == nullptr) return false;
    const double* x = curve->getXData();
    const int n = curve->getSampleCount();
    if (x == nullptr || first < 0 || last >= n || first >= last) return false;
    if (!canZoom(x[first], x[last])) return false;
    if (!setXRange(x[first], x[last])) return false;
    recordZoom();
    rangeChanged();
    return true;
}

void KGraphPanel::setApeture(double lo, double hi) {
    if (!std::isfinite(lo) || !std::isfinite(hi) || !xRange_.setLimits(lo, hi)) return;
    xRange_.computeGrid(false);
}

void KGraphPanel::getApeture(double& lo, double& hi) const { xRange_.getLimits(lo, hi); }

void KGraphPanel::panTo(const KRange& range) {
    const int w = plot_.right - plot_.left;
    const KColumnScale was = getColumnScale();
    const double gridWas = xRange_.getGrid();
    const int reachWas = edgeReach(range.getMinimum() > xRange_.getMinimum());
    xRange_ = range;
    const KColumnScale now = getColumnScale();
    // The columns the picture moves right by, when every time moves as many.
    const double whole = was.getFirst() - now.getFirst();
    bool pans = now.isPanOf(was) && xRange_.getGrid() == gridWas && std::fabs(whole) < w;
    // Nothing may stand over the plot: XOR feedback, children, marks at fixed columns.
    pans = pans && getCanvas() != nullptr && isShowing() && !crossHairShown_ && !boxShown_ &&
           drag_ == Drag::NONE && isPlotPannable();
    for (int i = 0; pans && i < getComponentCount(); ++i) {
        const KComponent* child = getComponent(i);
        CRect common;
        pans = !child->isVisible() || !common.IntersectRect(child->getBounds(), getDataRectangle());
    }
    if (!pans) {
        repaint();
        return;
    }
    // Time labels of the panel's own under the plot.
    if (ownXAxis_) {
        const CRect e = getExtents();
        repaintRect(CRect(e.left, plot_.bottom + 2, e.right, e.bottom));
    }
    // Within a column the plot shows the same.
    if (whole == 0) return;
    const int dx = static_cast<int>(whole);
    // The plot's inside moves; its edge (a thick one in focus) stays where it is.
    scrollRect(CRect(plot_.left + 2, plot_.top + 1, plot_.right + 1, plot_.bottom + 1), dx, 0);
    // Painted again: the columns that came into view with as many more as the edge they
    // came over reached in, and the columns by the other edge, which is new there.
    const int reach = edgeReach(dx > 0);
    CRect entered(plot_.left - 1, plot_.top, plot_.left + 2 + dx + reachWas, plot_.bottom + 2);
    CRect other(plot_.right + 1 - reach, plot_.top, plot_.right + 2, plot_.bottom + 2);
    if (dx < 0) {
        entered = CRect(plot_.right + 1 + dx - reachWas, plot_.top, plot_.right + 2, plot_.bottom + 2);
        other = CRect(plot_.left - 1, plot_.top, plot_.left + 2 + reach, plot_.bottom + 2);
    }
    repaintRect(entered);
    repaintRect(other);
    // Marker lines on the window moved along; those that left the plot are gone.
    for (std::vector<int>& shown : markersShown_) {
        for (int& x : shown) x += dx;
        std::erase_if(shown, [&](int x) { return x < plot_.left || x > plot_.right; });
    }
}

int KGraphPanel::edgeReach(bool right) {
    // Marks by the edge: grid lines and ticks left out on it, the trigger's head cut off,
    // points and wide lines reaching over it.
    int reach = getUnitSize() / 4 + 2;
    const KWaveformPainter painter(plot_, getColumnScale(), 0.0, 1.0);
    std::vector<KCurve*> curves;
    getCurveList(curves);
    for (KCurve* c : curves) {
        if (!c->isVisible()) continue;
        const int lines = painter.edgeReach(c->getXData(), c->getSampleCount(), &c->getSummary(), right);
        reach = std::max(reach, lines + c->getLineWidth() + 2);
    }
    return reach;
}

// Mapping.

int KGraphPanel::toLogicalX(double x) const {
    const KColumnScale columns = getColumnScale();
    if (!columns.isValid()) return 0;
    return static_cast<int>(std::clamp(columns.columnOf(x), -1e9, 1e9));
}

KColumnScale KGraphPanel::getColumnScale() const { return KColumnScale(xRange_, plot_.right - plot_.left); }

int KGraphPanel::toLogicalY(double y) const {
    const double lo = yRange_.getMinimum(), hi = yRange_.getMaximum();
    if (!(hi > lo)) return 0;
    const double v = (plot_.bottom - plot_.top) / (hi - lo) * (hi - y) + 0.5;
    return static_cast<int>(std::clamp(v, -1e9, 1e9));
}

double KGraphPanel::toRealX(int px) const {
    int w = plot_.right - plot_.left;
    if (w < 1) w = 1;
    return xRange_.getMinimum() + (px - plot_.left) * xRange_.getRangeSize() / w;
}

double KGraphPanel::toRealY(int py) const {
    int h = plot_.bottom - plot_.top;
    if (h < 1) h = 1;
    return yRange_.getMaximum() - (py - plot_.top) * yRange_.getRangeSize() / h;
}

// Zoom.

bool KGraphPanel::canZoom(double lo, double hi) const {
    if (!std::isfinite(lo) || !std::isfinite(hi)) return false;
    if (lo <= -1e15 || hi >= 1e15) return false;
    if (lo >= -1e-15 && std::fabs(hi) < 1e-15) return false;
    // Both ends scaled together to one digit before the point.
    double a = lo, b = hi;
    double m = std::max(std::fabs(a), std::fabs(b));
    while (m >= 1.0) {
        a *= 0.1;
        b *= 0.1;
        m *= 0.1;
    }
    while (m > 0.0 && m < 0.1) {
        a *= 10.0;
        b *= 10.0;
        m *= 10.0;
    }
    const double d = b - a;
    return std::isfinite(d) && d >= 0.0001;
}

bool KGraphPanel::zoomBy(bool time, double quarter) {
    KRange& range = time ? xRange_ : yRange_;
    const double lo = range.getMinimum(), hi = range.getMaximum(), w = hi - lo;
    const double a = lo + w * quarter, b = hi - w * quarter;
    if (!canZoom(a, b) || !(time ? setXRange(a, b) : setYRange(a, b))) return false;
    recordZoom();
    if (time) {
        rangeChanged();
    } else {
        repaint();
    }
    return true;
}

bool KGraphPanel::zoomInX() { return zoomBy(true, 0.25); }

bool KGraphPanel::zoomOutX() { return zoomBy(true, -0.25); }

bool KGraphPanel::zoomInY() { return zoomBy(false, 0.25); }

bool KGraphPanel::zoomOutY() { return zoomBy(false, -0.25); }

bool KGraphPanel::zoomIn() {
    const bool x = zoomInX();
    const bool y = zoomInY();
    return x || y;
}

bool KGraphPanel::zoomOut() {
    const bool x = zoomOutX();
    const bool y = zoomOutY();
    return x || y;
}

bool KGraphPanel::zoomTo(double xlo, double xhi, double ylo, double yhi) {
    if (xlo > xhi) std::swap(xlo, xhi);
    if (ylo > yhi) std::swap(ylo, yhi);
    if (!canZoom(xlo, xhi)) return false;
    const bool values = std::isfinite(ylo) && std::isfinite(yhi) && canZoom(ylo, yhi);
    if (!xRange_.setLimits(xlo, xhi)) return false;
    xRange_.computeGrid(false);
    if (values && yRange_.setLimits(ylo, yhi)) yRange_.computeGrid(false);
    recordZoom();
    rangeChanged();
    return true;
}

void KGraphPanel::recordZoom() {
    constrainRanges();
    // The steps after the present one are dropped, as a new branch begins.
    if (historyPosition_ != NO_STEP) {
        history_.resize(static_cast<std::size_t>(historyPosition_) + 1);
    }
    history_.push_back(ZoomStep{xRange_, yRange_});
    // The oldest steps go when the history is full.
    while (static_cast<int>(history_.size()) > HISTORY_SIZE) history_.erase(history_.begin());
    historyPosition_ = static_cast<int>(history_.size()) - 1;
}

void KGraphPanel::clearHistory() {
    history_.clear();
    historyPosition_ = NO_STEP;
}

bool KGraphPanel::isAtMinimum() const { return historyPosition_ == NO_STEP || historyPosition_ <= 0; }

bool KGraphPanel::isAtMaximum() const {
    return historyPosition_ == NO_STEP || historyPosition_ >= static_cast<int>(history_.size()) - 1;
}

void KGraphPanel::applyStep(const ZoomStep& step) {
    xRange_ = step.x;
    yRange_ = step.y;
    rangeChanged();
}

bool KGraphPanel::undoZoom() {
    if (historyPosition_ == NO_STEP) return false;
    if (historyPosition_ <= 0) throwError(nullptr, "Stack underflow error.");
    --historyPosition_;
    applyStep(history_[historyPosition_]);
    return true;
}

bool KGraphPanel::redoZoom() {
    if (isAtMaximum()) return false;
    ++historyPosition_;
    applyStep(history_[historyPosition_]);
    return true;
}

void KGraphPanel::rangeChanged() {
    if (KGraphFrame* frame = getFrame()) {
        frame->syncronizeGraphs(this);
        frame->repaintGraphs();
    } else {
        repaint();
    }
}

// Markers.

void KGraphPanel::setMarkerXPosition(double x) {
    if (KGraphFrame* frame = getFrame()) {
        frame->setMarkerXPosition(x);
    } else if (KDouble::isFinite(x)) {
        markerX_ = x;
        repaint();
    }
}

void KGraphPanel::setMarkerOPosition(double x) {
    if (KGraphFrame* frame = getFrame()) {
        frame->setMarkerOPosition(x);
    } else if (KDouble::isFinite(x)) {
        markerO_ = x;
        repaint();
    }
}

int KGraphPanel::markerAt(int x) const {
    const double positions[2] = {markerX_, markerO_};
    const bool shown[2] = {isMarkerXEnabled(), isMarkerOEnabled()};
    for (int k = 0; k < 2; ++k) {
        if (!shown[k] || !xRange_.contains(positions[k])) continue;
        if (std::abs(toLogicalX(positions[k]) - x) <= MARKER_REACH) return k;
    }
    return -1;
}

void KGraphPanel::toggleMarkers() {
    if (KGraphFrame* frame = getFrame()) {
        frame->toggleMarkers();
        return;
    }
    const bool on = !(isMarkerXEnabled() || isMarkerOEnabled());
    setMarkersEnabled(on);
    double lo, hi;
    findXExtents(lo, hi);
    if (!KDouble::isFinite(markerX_)) markerX_ = lo;
    if (!KDouble::isFinite(markerO_)) markerO_ = lo;
    repaint();
}

// Data exchange.

bool KGraphPanel::copyData(double from, double to) {
    std::vector<KCurve*> curves;
    getCurveList(curves);
    if (curves.empty()) return false;
    if (from > to) std::swap(from, to);
    KCurve* first = curves[0];
    const double* x = first->getXData();
    if (x == nullptr) return false;
    int i0 = first->findIndex(from), i1 = first->findIndex(to);
    if (i0 < 0 || i1 < 0) return false;
    // The sample at or after from, up to the one at or before to.
    if (x[i0] < from && i0 + 1 <= i1) ++i0;
    if (x[i1] > to && i1 > i0) --i1;
    KString::setMaxSize(-1);
    KString::setIncrement(4096);
    KString text;
    text.ensureCapacity(static_cast<unsigned>(i1 - i0 + 2) * 16u * static_cast<unsigned>(curves.size() + 1));
    text << "Domain";
    for (KCurve* c : curves) text << "," << c->getText();
    text << "\n";
    char cell[512];
    for (int i = i0; i <= i1; ++i) {
        std::snprintf(cell, sizeof cell, "%f", x[i]);
        text << cell;
        for (KCurve* c : curves) {
            const double v = c == first ? first->getYData()[i] : c->getValueAt(x[i]);
            std::snprintf(cell, sizeof cell, ",%f", v);
            text << cell;
        }
        text << "\n";
    }
    KHost* host = getCanvas();
    const bool placed = KClipboard::setData(text.c_str(), host != nullptr ? host->getWindow() : 0) != 0;
    KString::setMaxSize(65535);
    KString::setIncrement(0);
    return placed;
}

bool KGraphPanel::copyVisibleData() { return copyData(xRange_.getMinimum(), xRange_.getMaximum()); }

bool KGraphPanel::copyEntireData() {
    double lo, hi;
    findXExtents(lo, hi);
    return std::isfinite(lo) && copyData(lo, hi);
}

bool KGraphPanel::pasteClipboardData() {
    KHost* host = getCanvas();
    const HWND owner = host != nullptr ? host->getWindow() : 0;
    unsigned long length = 0;
    if (!KClipboard::getDataLength(1, &length, owner) || length == 0) return false;
    std::vector<char> text(length + 1, '\0');
    const int read = KClipboard::getData(1, text.data(), static_cast<int>(length), owner);
    std::vector<KCurve*> list;
    return pasteRawData(list, text.data(), read);
}

bool KGraphPanel::pasteRawData(std::vector<KCurve*>& list, char* text, int length) {
    auto record = std::make_shared<KRecord>();
    if (text == nullptr || !record->pasteRawData(text, length)) return false;
    // The curves share the pasted record and keep it alive between them.
    for (int t = 0; t < record->getTraceCount(); ++t) {
        auto* curve = new KCurve();
        record->selectTrace(t);
        curve->setSharedProducer(record);
        if (!addCurve(curve)) {
            delete curve;
            break;
        }
        list.push_back(curve);
    }
    if (list.empty()) return false;
    resetZoomY();
    rangeChanged();
    return true;
}

// Labels.

KString KGraphPanel::toLabel(double value, int precision, double lo, double hi, bool vertical) const {
    if (!KDouble::isFinite(value)) return KString();
    if (manualPrecision_) precision = precision_;
    const KRange& range = vertical ? yRange_ : xRange_;
    if (!vertical && range.isUnitized()) {
        return KDate(value).toString("%Y %b %d %H:%M:%S");
    }
    return KDouble::toLabel(value, precision, lo, hi);
}

KString KGraphPanel::toLabelFixed(double value, int precision, double lo, double hi, bool vertical) const {
    if (!KDouble::isFinite(value)) return KString();
    if (manualPrecision_) precision = precision_;
    if (!vertical && xRange_.isUnitized()) return toLabel(value, precision, lo, hi, vertical);
    return KDouble::toLabelFixed(value, precision, lo, hi);
}

KString KGraphPanel::getTooltipText(CPoint point) const {
    if (!toolTip_ || !plot_.PtInRect(point)) return KComponent::getTooltipText(point);
    const int m = markerAt(point.x - plot_.left);
    if (m < 0) return KComponent::getTooltipText(point);
    const double t = m == 0 ? markerX_ : markerO_;
    KString text;
    text.format("'%c' Marker\n%s", m == 0 ? 'X' : 'O', KGraphAxis::formatTime(t).c_str());
    return text;
}

KString KGraphPanel::getCrossHairText(CPoint point) const {
    const double t = toRealX(point.x);
    KString text;
    if (xRange_.isUnitized()) {
        text.format("x:\t%s", KDate(t).toString("%Y %b %d %H:%M:%S").c_str());
    } else {
        text.format("x:\t%s", KGraphAxis::formatTime(t).c_str());
    }
    std::vector<KCurve*> curves;
    getCurveList(curves);
    const int digits = manualPrecision_ ? precision_ : 3;
    int n = 0;
    for (KCurve* c : curves) {
        ++n;
        const double v = c->getValueAt(t);
        KString line;
        if (!KDouble::isFinite(v)) {
            line.format("\ny%d:\t", n);
        } else if (!c->isAnalog()) {
            line.format("\ny%d:\t%s", n, c->getStateString(v).c_str());
        } else {
            line.format("\ny%d:\t%.*f", n, digits, v);
            if (!c->getUnits().isEmpty()) line << " " << c->getUnits();
        }
        line << "  " << c->getText();
        text << line;
    }
    return text;
}

void KGraphPanel::calculateCrosshair(CPoint point) {
    if (crossHairShown_) xorCrossHair(crossHairAt_);
    if (!plot_.PtInRect(point)) {
        if (KHost* host = getCanvas()) host->hideTooltip();
        return;
    }
    xorCrossHair(point);
    if (KHost* host = getCanvas()) {
        host->showTooltip(getCrossHairText(point).c_str(), point + getLocationOnCanvas());
    }
}

// Frame moves.

void KGraphPanel::removeGraph() {
    if (KGraphFrame* frame = getFrame()) frame->removeGraph(this);
}

void KGraphPanel::raiseGraph() {
    if (KGraphFrame* frame = getFrame()) frame->moveGraph(this, KGraphFrame::MOVE_UP);
}

void KGraphPanel::lowerGraph() {
    if (KGraphFrame* frame = getFrame()) frame->moveGraph(this, KGraphFrame::MOVE_DOWN);
}

// Layout.

int KGraphPanel::getLeftMarginNeeded() const {
    const int u = getUnitSize();
    int widest = 2 * u;
    const int precision = yRange_.getPrecision();
    forEachTick(yRange_, [&](double v) {
        const KString label = toLabel(v, precision, yRange_.getMinimum(), yRange_.getMaximum(), true);
        widest = std::max(widest, static_cast<int>(KGraphics::measureText(KGraphAxis::getAxisFont(), label.trim().c_str()).cx));
    });
    return widest + u / 4 + 6;
}

int KGraphPanel::getRightMarginNeeded() const {
    const int u = getUnitSize();
    const KCurveClient* client = getCurveClient();
    int needed = client != nullptr && client->isVisible() ? client->getPreferredSize().cx : 4 * u;
    if (const KGraphMeter* meter = getMeter(); meter != nullptr && meter->isVisible()) {
        needed = std::max(needed, static_cast<int>(meter->getPreferredSize().cx));
    }
    return std::clamp(needed + 8, 5 * u, 16 * u);
}

CRect KGraphPanel::layoutPlot() {
    const int u = getUnitSize();
    const CRect r = getClientRect();
    const int left = leftMargin_ > 0 ? leftMargin_ : getLeftMarginNeeded();
    const int right = rightMargin_ > 0 ? rightMargin_ : getRightMarginNeeded();
    const int bottom = ownXAxis_ ? u + u / 4 : u / 3;
    CRect plot(r.left + left, r.top + u / 3, r.right - right, r.bottom - bottom);
    if (plot.right < plot.left) plot.right = plot.left;
    if (plot.bottom < plot.top) plot.bottom = plot.top;
    return plot;
}

void KGraphPanel::doLayout() {
    KPanel::doLayout();
    plot_ = layoutPlot();
    layoutLegend(plot_.top);
}

KSpinControl* KGraphPanel::getOffsetControl() const {
    return k_dynamic_cast<KSpinControl>(findComponent("spin"));
}

KSpinControl* KGraphPanel::addOffsetControl() {
    KSpinControl* spin = getOffsetControl();
    if (spin != nullptr) return spin;
    spin = new KSpinControl("spin");
    spin->setVisible(false);
    spin->addListener(this);
    add(spin);
    return spin;
}

int KGraphPanel::layoutOffsetControl(int top) {
    KSpinControl* spin = getOffsetControl();
    if (spin == nullptr || !spin->isVisible()) return top;
    const CSize size = spin->getPreferredSize();
    spin->setBounds(CRect(CPoint(plot_.right + 6, top), size));
    return top + size.cy + 4;
}

void KGraphPanel::layoutLegend(int top) {
    const CRect r = getClientRect();
    const int left = plot_.right + 6;
    const int right = std::max(left, static_cast<int>(r.right) - 2);
    KCurveClient* client = getCurveClient();
    if (client != nullptr && client->isVisible()) {
        const CSize size = client->getPreferredSize();
        const int bottom = std::min(static_cast<int>(r.bottom) - 2, top + static_cast<int>(size.cy));
        client->setBounds(CRect(left, top, right, bottom));
        top = bottom + 4;
    }
    if (KGraphMeter* meter = getMeter()) {
        const CSize size = meter->getPreferredSize();
        meter->setBounds(CRect(left, top, std::min(right, left + static_cast<int>(size.cx)),
                               std::min(static_cast<int>(r.bottom) - 2, top + static_cast<int>(size.cy))));
    }
}

void KGraphPanel::setMeter(KGraphMeter* meter) {
    KGraphMeter* current = getMeter();
    if (meter != nullptr && meter == current) return;
    if (current != nullptr) {
        remove(current);
        delete current;
    }
    if (meter == nullptr) meter = new KGraphMeter();
    meter->setName("meter");
    meter->setVisible(false);
    add(meter);
}

KGraphMeter* KGraphPanel::getMeter() const { return k_dynamic_cast<KGraphMeter>(findComponent("meter")); }

void KGraphPanel::updateMarkerLabels() {
    KGraphMeter* meter = getMeter();
    if (meter == nullptr) return;
    std::vector<KCurve*> curves;
    getCurveList(curves);
    const bool shown = !curves.empty() && isMarkerXEnabled() && isMarkerOEnabled();
    KCurveClient* client = getCurveClient();
    const bool meterWas = meter->isVisible(), legendWas = client != nullptr && client->isVisible();
    const CRect plotWas = plot_, meterBoundsWas = meter->getBounds();
    meter->setVisible(shown);
    if (client != nullptr) client->setVisible(showsLegend() && !shown);
    if (shown) {
        meter->setCurveList(curves);
        meter->setMarkerPositions(markerX_, markerO_);
    }
    if (getCanvas() != nullptr) doLayout();
    // A meter that came or went may need another room beside the plots, which the frame
    // gives all its graphs alike.
    if (meter->isVisible() != meterWas) {
        if (KGraphFrame* frame = getFrame()) frame->scheduleRefresh();
    }
    const bool sameLayout = meter->isVisible() == meterWas && plot_ == plotWas &&
                            plot_ == markersPlot_ &&
                            (client != nullptr && client->isVisible()) == legendWas;
    // XOR feedback on the plot is forgotten by a paint, so only a whole one may cover it.
    if (!sameLayout || markersLost_ || crossHairShown_ || boxShown_) {
        repaint();
        return;
    }
    repaintMarkerColumns();
    // The meter repaints itself; one of another size also its new place, and leaves the old
    // to the panel.
    if (meter->getBounds() != meterBoundsWas) {
        repaintRect(meterBoundsWas);
        meter->repaint();
    }
}

void KGraphPanel::repaintMarkerColumns() {
    for (int m = 0; m < 2; ++m) {
        const int now = markerColumnOf(m);
        const std::vector<int>& shown = markersShown_[m];
        if (shown.size() == 1 && shown.front() == now) continue;
        for (const int x : shown) repaintRect(markerColumn(x));
        if (now != NO_COLUMN) repaintRect(markerColumn(now));
    }
}

CSize KGraphPanel::getMinimumSize() const {
    const int u = getUnitSize();
    // Tall enough for the legend or the meter beside the plot.
    int beside = 0;
    if (const KCurveClient* client = getCurveClient(); client != nullptr && client->isVisible()) {
        beside = client->getPreferredSize().cy;
    }
    if (const KGraphMeter* meter = getMeter(); meter != nullptr && meter->isVisible()) {
        beside = std::max(beside, static_cast<int>(meter->getPreferredSize().cy));
    }
    return CSize(12 * u, std::max(4 * u, beside + 2 * u));
}

CSize KGraphPanel::getPreferredSize() const {
    const int u = getUnitSize();
    return CSize(40 * u, 10 * u);
}

CRect KGraphPanel::getDataRectangle() const {
    CRect r = plot_;
    r.right += 1;
    r.bottom += 1;
    return r;
}

// Painting.

COLORREF KGraphPanel::curveColor(const KCurve* curve) const {
    const COLORREF color = curve->getLineColor();
    if (!isInverted()) return color;
    for (int i = 0; i < 6; ++i) {
        if (color == cColors1[i]) return cColors2[i];
    }
    return color == 0 ? 0xFFFFFF : color;
}

COLORREF KGraphPanel::gridColor() const { return isInverted() ? RGB(90, 90, 90) : RGB(200, 200, 200); }

COLORREF KGraphPanel::textColor() const { return 0; }

COLORREF KGraphPanel::plotColor(const KGraphics& graphics) const {
    if (isInverted()) return 0;
    if (active_ && !graphics.isPrinting()) return ACTIVE_BACKGROUND;
    return GetSysColor(COLOR_WINDOW);
}

void KGraphPanel::paint(KGraphics& graphics) {
    // The panel's background around the plot, and the plot's own: every pixel once.
    if (isOpaque()) {
        const CRect e = getExtents(), d = getDataRectangle();
        graphics.setColor(getBackground());
        graphics.fillRect(e.left, e.top, e.right, d.top);
        graphics.fillRect(e.left, d.bottom, e.right, e.bottom);
        graphics.fillRect(e.left, d.top, d.left, d.bottom);
        graphics.fillRect(d.right, d.top, e.right, d.bottom);
    }
    drawPlotBackground(graphics);
    if (isGridEnabled()) {
        drawXGrid(graphics);
        drawYGrid(graphics);
    }
    if (isTicksEnabled()) drawTicks(graphics);
    if (ownXAxis_) drawXAxis(graphics);
    drawYAxis(graphics);
    if (isXInterEnabled()) drawXIntercept(graphics);
    if (isYInterEnabled()) drawYIntercept(graphics);
    if (graphics.getDC()->RectVisible(getDataRectangle())) {
        KGraphics clipped(graphics);
        clipped.clipRect(getDataRectangle());
        drawCurves(clipped);
    }
    if (isTriggerEnabled()) drawTrigger(graphics);
    drawMarkers(graphics);
    drawPlotEdge(graphics);
    // XOR feedback under way was painted over: it is drawn afresh.
    if (crossHairShown_) crossHairShown_ = false;
    if (boxShown_) boxShown_ = false;
}

void KGraphPanel::drawCurves(KGraphics& graphics) {
    std::vector<KCurve*> curves;
    getCurveList(curves);
    int index = 0;
    for (KCurve* c : curves) {
        ++index;
        if (c->isVisible()) drawCurve(graphics, c, index);
    }
}

void KGraphPanel::drawCurve(KGraphics& graphics, KCurve* curve, int) {
    drawSegments(graphics, curve, 0, -1);
}

void KGraphPanel::drawSegments(KGraphics&, const KCurve*, int, int) {}

void KGraphPanel::drawPlotBackground(KGraphics& graphics) {
    graphics.setColor(plotColor(graphics));
    graphics.fillRect(getDataRectangle());
}

void KGraphPanel::drawXGrid(KGraphics& graphics) {
    KGraphics g(graphics);
    g.setColor(gridColor(), 1, PS_DOT);
    forEachTick(xRange_, [&](double v) {
        const int x = plot_.left + toLogicalX(v);
        if (x > plot_.left && x < plot_.right) g.drawLine(x, plot_.top, x, plot_.bottom + 1);
    });
}

void KGraphPanel::drawYGrid(KGraphics& graphics) {
    KGraphics g(graphics);
    g.setColor(gridColor(), 1, PS_DOT);
    forEachTick(yRange_, [&](double v) {
        const int y = plot_.top + toLogicalY(v);
        if (y > plot_.top && y < plot_.bottom) drawGridRow(g, y);
    });
}

void KGraphPanel::drawGridRow(KGraphics& graphics, int y) {
    // The pattern starts a whole number of periods from the column of time's origin.
    const KColumnScale columns = getColumnScale();
    const double origin = columns.isValid() ? -columns.getFirst() : 0.0;
    const int phase = static_cast<int>(std::fmod(std::fmod(origin, PS_PATTERN_PERIOD) + PS_PATTERN_PERIOD,
                                                 PS_PATTERN_PERIOD));
    KGraphics row(graphics);
    row.clipRect(CRect(plot_.left, y, plot_.right + 1, y + 1));
    row.drawLine(plot_.left - PS_PATTERN_PERIOD + phase, y, plot_.right + 1, y);
}

void KGraphPanel::drawYLimits(KGraphics& graphics) {
    const KRange& yr = getYRange();
    CDC* dc = graphics.getDC();
    graphics.setFont(const_cast<CFont*>(&KGraphAxis::getAxisFont()));
    graphics.setColor(textColor());
    const int mode = dc->SetBkMode(TRANSPARENT);
    const int precision = yr.getPrecision();
    const int right = plot_.left - getUnitSize() / 4 - 2;
    const KString top = toLabel(yr.getMaximum(), precision, yr.getMinimum(), yr.getMaximum(), true);
    const KString bottom = toLabel(yr.getMinimum(), precision, yr.getMinimum(), yr.getMaximum(), true);
    CRect upper(getClientRect().left, plot_.top, right, plot_.bottom);
    CRect lower = upper;
    dc->DrawText(top.trim().c_str(), &upper, DT_RIGHT | DT_TOP | DT_SINGLELINE | DT_NOCLIP);
    dc->DrawText(bottom.trim().c_str(), &lower, DT_RIGHT | DT_BOTTOM | DT_SINGLELINE | DT_NOCLIP);
    dc->SetBkMode(mode);
}

void KGraphPanel::drawTicks(KGraphics& graphics) {
    const int t = getUnitSize() / 4;
    graphics.setColor(isInverted() ? 0xFFFFFF : 0);
    forEachTick(yRange_, [&](double v) {
        const int y = plot_.top + toLogicalY(v);
        if (y >= plot_.top && y <= plot_.bottom) graphics.drawLine(plot_.left - t, y, plot_.left, y);
    });
    forEachTick(xRange_, [&](double v) {
        const int x = plot_.left + toLogicalX(v);
        if (x >= plot_.left && x <= plot_.right) graphics.drawLine(x, plot_.bottom, x, plot_.bottom - t);
    });
}

void KGraphPanel::drawXAxis(KGraphics& graphics) {
    const int u = getUnitSize();
    CDC* dc = graphics.getDC();
    graphics.setFont(const_cast<CFont*>(&KGraphAxis::getAxisFont()));
    graphics.setColor(textColor());
    const int mode = dc->SetBkMode(TRANSPARENT);
    const int precision = xRange_.getPrecision();
    forEachTick(xRange_, [&](double v) {
        const int x = plot_.left + toLogicalX(v);
        const KString label = toLabel(v, precision, xRange_.getMinimum(), xRange_.getMaximum(), false);
        CRect box(x - 3 * u, plot_.bottom + 2, x + 3 * u, plot_.bottom + u + u / 4);
        dc->DrawText(label.trim().c_str(), &box, DT_CENTER | DT_TOP | DT_SINGLELINE | DT_NOCLIP);
    });
    dc->SetBkMode(mode);
}

void KGraphPanel::drawYAxis(KGraphics& graphics) {
    const int u = getUnitSize();
    CDC* dc = graphics.getDC();
    graphics.setFont(const_cast<CFont*>(&KGraphAxis::getAxisFont()));
    graphics.setColor(textColor());
    const int mode = dc->SetBkMode(TRANSPARENT);
    const int precision = yRange_.getPrecision();
    const int t = u / 4;
    TEXTMETRIC tm;
    dc->GetTextMetrics(&tm);
    const int lineHeight = tm.tmHeight;
    // Labels stand apart by at least a line; crowded ones are thinned out.
    int lastY = 1 << 30;
    forEachTick(yRange_, [&](double v) {
        const int y = plot_.top + toLogicalY(v);
        if (y < plot_.top - 1 || y > plot_.bottom + 1 || std::abs(lastY - y) < lineHeight) return;
        lastY = y;
        const KString label = toLabel(v, precision, yRange_.getMinimum(), yRange_.getMaximum(), true);
        CRect box(getClientRect().left, y - lineHeight / 2, plot_.left - t - 2, y + lineHeight);
        dc->DrawText(label.trim().c_str(), &box, DT_RIGHT | DT_TOP | DT_SINGLELINE | DT_NOCLIP);
    });
    dc->SetBkMode(mode);
}

void KGraphPanel::drawXIntercept(KGraphics& graphics) {
    if (!yRange_.contains(xIntercept_)) return;
    const int y = plot_.top + toLogicalY(xIntercept_);
    graphics.setColor(isInverted() ? RGB(160, 160, 160) : RGB(96, 96, 96));
    graphics.drawLine(plot_.left, y, plot_.right + 1, y);
}

void KGraphPanel::drawYIntercept(KGraphics& graphics) {
    if (!xRange_.contains(yIntercept_)) return;
    const int x = plot_.left + toLogicalX(yIntercept_);
    graphics.setColor(isInverted() ? RGB(160, 160, 160) : RGB(96, 96, 96));
    graphics.drawLine(x, plot_.top, x, plot_.bottom + 1);
}

CRect KGraphPanel::markerColumn(int x) const {
    return CRect(x - 1, plot_.top, x + 2, plot_.bottom + 2);
}

int KGraphPanel::markerColumnOf(int m) const {
    const bool shown = m == 0 ? isMarkerXEnabled() : isMarkerOEnabled();
    const double t = m == 0 ? markerX_ : markerO_;
    return shown && xRange_.contains(t) ? plot_.left + toLogicalX(t) : NO_COLUMN;
}

void KGraphPanel::drawMarkers(KGraphics& graphics) {
    const int columns[2] = {markerColumnOf(0), markerColumnOf(1)};
    const COLORREF colors[2] = {KGraphAxis::MARKER_X_COLOR, KGraphAxis::MARKER_O_COLOR};
    KGraphics g(graphics);
    for (int m = 0; m < 2; ++m) {
        if (columns[m] == NO_COLUMN) continue;
        g.setColor(colors[m], 1, PS_DASH);
        g.drawLine(columns[m], plot_.top, columns[m], plot_.bottom + 1);
    }
    // What the window shows now. Pictures painted elsewhere leave that alone.
    if (!graphics.getDC()->HasPixels()) return;
    const CRect clip = graphics.getClipBounds();
    if (markersPlot_ != plot_) {
        // A plot laid out anew is painted whole before its markers are tracked.
        markersPlot_ = plot_;
        markersLost_ = true;
        for (auto& shown : markersShown_) shown.clear();
    }
    CRect common;
    if (markersLost_ && common.IntersectRect(clip, plot_) && common == plot_) markersLost_ = false;
    for (int m = 0; m < 2; ++m) {
        std::vector<int>& shown = markersShown_[m];
        // Lines the clip covered are gone; the new one is there where the clip let it be.
        std::erase_if(shown, [&](int x) {
            return common.IntersectRect(clip, markerColumn(x)) && common == markerColumn(x);
        });
        if (columns[m] != NO_COLUMN && common.IntersectRect(clip, markerColumn(columns[m])) &&
            std::find(shown.begin(), shown.end(), columns[m]) == shown.end()) {
            shown.push_back(columns[m]);
        }
        if (shown.size() > 4) markersLost_ = true;
    }
}

void KGraphPanel::drawTrigger(KGraphics& graphics) {
    if (!xRange_.contains(trigger_)) return;
    const int x = plot_.left + toLogicalX(trigger_);
    KGraphics g(graphics);
    g.setColor(KGraphAxis::TRIGGER_COLOR, 1, PS_DASHDOT);
    g.drawLine(x, plot_.top, x, plot_.bottom + 1);
    // The head by an edge is cut off there: what lies outside the plot stays put in a pan.
    const int h = getUnitSize() / 4;
    g.clipRect(getDataRectangle());
    g.setColor(KGraphAxis::TRIGGER_COLOR);
    g.fillTriangle(CPoint(x - h, plot_.top), CPoint(x + h + 1, plot_.top), CPoint(x, plot_.top + h + 1));
}

void KGraphPanel::drawTracker(KGraphics& graphics, CRect box) {
    graphics.getDC()->SetROP2(R2_NOT);
    graphics.getDC()->SelectStockObject(NULL_BRUSH);
    graphics.getDC()->Rectangle(box);
}

void KGraphPanel::drawHorzHair(KGraphics& graphics, int y) {
    graphics.getDC()->SetROP2(R2_NOT);
    graphics.getDC()->MoveTo(plot_.left, y);
    graphics.getDC()->LineTo(plot_.right + 1, y);
}

void KGraphPanel::drawVertHair(KGraphics& graphics, int x) {
    graphics.getDC()->SetROP2(R2_NOT);
    graphics.getDC()->MoveTo(x, plot_.top);
    graphics.getDC()->LineTo(x, plot_.bottom + 1);
}

void KGraphPanel::drawPlotEdge(KGraphics& graphics) {
    const bool thick = inFocus(this) && !graphics.isPrinting();
    graphics.setColor(RGB(160, 160, 160));
    graphics.drawRect(CRect(plot_.left, plot_.top, plot_.right + 2, plot_.bottom + 2));
    graphics.setColor(isInverted() ? 0xFFFFFF : 0, thick ? 3 : 1);
    graphics.drawLine(plot_.left, plot_.top, plot_.left, plot_.bottom + 2);
}

// XOR feedback straight onto the host.

void KGraphPanel::xorBox(CRect box) {
    std::unique_ptr<KGraphics> g(getGraphics());
    if (g == nullptr) return;
    g->clipRect(getDataRectangle());
    drawTracker(*g, box);
    boxShown_ = !boxShown_;
}

void KGraphPanel::xorCrossHair(CPoint point) {
    std::unique_ptr<KGraphics> g(getGraphics());
    if (g == nullptr) return;
    g->clipRect(getDataRectangle());
    drawHorzHair(*g, point.y);
    drawVertHair(*g, point.x);
    crossHairShown_ = !crossHairShown_;
    crossHairAt_ = point;
}

// Input.

void KGraphPanel::focusChanged(bool gained) {
    KPanel::focusChanged(gained);
    if (gained) {
        if (KGraphFrame* frame = getFrame()) frame->setActiveGraph(this);
    }
}

void KGraphPanel::mousePressed(KEvent& event) {
    if (!isEnabled()) return;
    event.consume();
    setFocus(this);
    const CPoint p = event.getPoint();
    if (!plot_.PtInRect(p)) return;
    if (crossHairShown_) xorCrossHair(crossHairAt_);
    setCapture(this);
    dragStart_ = p;
    const int m = markerAt(p.x - plot_.left);
    if (m >= 0) {
        drag_ = m == 0 ? Drag::MARKER_X : Drag::MARKER_O;
        if (KHost* host = getCanvas()) host->setCursor("HAND_CLOSE");
        const double t = m == 0 ? markerX_ : markerO_;
        if (KGraphFrame* frame = getFrame()) frame->drawVertHair(t);
        return;
    }
    drag_ = Drag::BOX;
    xOnly_ = event.isShiftDown() || isTimeOnly();
    box_ = CRect(p, p);
}

void KGraphPanel::mouseDragged(KEvent& event) {
    if (drag_ == Drag::NONE) return;
    event.consume();
    CPoint p = event.getPoint();
    p.x = std::clamp(static_cast<int>(p.x), static_cast<int>(plot_.left), static_cast<int>(plot_.right));
    p.y = std::clamp(static_cast<int>(p.y), static_cast<int>(plot_.top), static_cast<int>(plot_.bottom));
    if (drag_ == Drag::BOX) {
        if (boxShown_) xorBox(box_);
        box_ = xOnly_ ? CRect(dragStart_.x, plot_.top, p.x, plot_.bottom + 1) : CRect(dragStart_, p);
        box_.NormalizeRect();
        xorBox(box_);
        return;
    }
    const double t = toRealX(p.x);
    if (KGraphFrame* frame = getFrame()) {
        frame->drawVertHair(t);
        frame->previewMarker(drag_ == Drag::MARKER_X ? 0 : 1, t);
    }
}

void KGraphPanel::endDrag() {
    if (boxShown_) xorBox(box_);
    drag_ = Drag::NONE;
    releaseCapture(this);
    if (KHost* host = getCanvas()) host->setCursor(nullptr);
}

void KGraphPanel::mouseReleased(KEvent& event) {
    if (drag_ == Drag::NONE) {
        KPanel::mouseReleased(event);
        return;
    }
    event.consume();
    const Drag drag = drag_;
    const CRect box = box_;
    const CPoint p = event.getPoint();
    endDrag();
    if (drag == Drag::BOX) {
        if (box.Width() < LEAST_BOX || (!xOnly_ && box.Height() < LEAST_BOX)) return;
        const double x0 = toRealX(box.left), x1 = toRealX(box.right);
        if (xOnly_) {
            zoomTo(x0, x1, KDouble::NaN, KDouble::NaN);
        } else {
            zoomTo(x0, x1, toRealY(box.bottom), toRealY(box.top));
        }
        return;
    }
    const int x = std::clamp(static_cast<int>(p.x), static_cast<int>(plot_.left), static_cast<int>(plot_.right));
    const double t = toRealX(x);
    if (KGraphFrame* frame = getFrame()) {
        frame->drawVertHair(KDouble::NaN);
        if (drag == Drag::MARKER_X) frame->setMarkerXPosition(t);
        if (drag == Drag::MARKER_O) frame->setMarkerOPosition(t);
        frame->repaintGraphs();
    } else {
        if (drag == Drag::MARKER_X) setMarkerXPosition(t);
        if (drag == Drag::MARKER_O) setMarkerOPosition(t);
    }
    postAction("update");
}

void KGraphPanel::mouseMoved(KEvent& event) {
    const CPoint p = event.getPoint();
    if (crossHair_) {
        event.consume();
        calculateCrosshair(p);
        return;
    }
    if (KHost* host = getCanvas(); host != nullptr && plot_.PtInRect(p)) {
        host->setCursor(markerAt(p.x - plot_.left) >= 0 ? "HAND_OPEN" : nullptr);
    }
    KPanel::mouseMoved(event);
}

void KGraphPanel::mouseWheel(KEvent& event) {
    const int notches = wheelNotches(event);
    const CPoint p = event.getPoint();
    if (notches == 0 || !plot_.PtInRect(p)) return;
    event.consume();
    if (event.isShiftDown()) {
        // A tenth of the view a notch, in whole columns, so that the plots' pictures can
        // move along.
        const int w = std::max(1, static_cast<int>(plot_.Width()));
        const double shift = -notches * std::max(1.0, std::round(w / 10.0)) * xRange_.getRangeSize() / w;
        const double lo = xRange_.getMinimum() + shift, hi = xRange_.getMaximum() + shift;
        if (KGraphFrame* frame = getFrame()) {
            frame->setAperture(lo, hi);
        } else {
            setApeture(lo, hi);
            rangeChanged();
        }
        return;
    }
    const double factor = std::pow(0.8, notches);
    if (event.isControlDown() && !isTimeOnly()) {
        const double v = toRealY(p.y), lo = yRange_.getMinimum(), hi = yRange_.getMaximum();
        zoomTo(xRange_.getMinimum(), xRange_.getMaximum(), v - (v - lo) * factor, v + (hi - v) * factor);
        return;
    }
    const double t = toRealX(p.x), lo = xRange_.getMinimum(), hi = xRange_.getMaximum();
    zoomTo(t - (t - lo) * factor, t + (hi - t) * factor, KDouble::NaN, KDouble::NaN);
}

void KGraphPanel::processKeyEvent(KEvent& event) {
    if (event.getType() != KEvent::KEY_PRESSED || event.isConsumed()) {
        KPanel::processKeyEvent(event);
        return;
    }
    const char* command = nullptr;
    switch (event.getKeyCode()) {
        case '+': case '=': case 0x6B: case 0xBB: command = "GRAPH.ZOOMIN"; break;
        case '-': case 0x6D: case 0xBD: command = "GRAPH.ZOOMOUT"; break;
        case 'P': command = "GRAPH.PREVIOUS"; break;
        case 'N': command = "GRAPH.NEXT"; break;
        case 'X': command = "GRAPH.XEXTENTS"; break;
        case 'Y': command = "GRAPH.YEXTENTS"; break;
        case 'R': command = "GRAPH.RESET"; break;
        case 'G': command = "GRAPH.GRID"; break;
        case 'I': command = "GRAPH.TICKS"; break;
        case 'L': command = "GRAPH.GLYPHS"; break;
        case 'T': command = "GRAPH.TRIGGER"; break;
        case 'M': command = "GRAPH.MARKERS"; break;
        case 'O': command = "GRAPH.OFFSET"; break;
        case 'Q': command = "GRAPH.XINTER"; break;
        case 'W': command = "GRAPH.YINTER"; break;
        case 'C': command = "GRAPH.CROSSHAIR"; break;
        default: break;
    }
    if (command == nullptr) {
        KPanel::processKeyEvent(event);
        return;
    }
    event.consume();
    KEvent c = KEvent::command(0, command);
    c.setSource(this);
    onCommand(c);
}

void KGraphPanel::actionPerformed(KEvent& event) {
    KSpinControl* spin = getOffsetControl();
    if (spin == nullptr || event.getSource() != spin || !event.isNamed("spin.change")) {
        KPanel::actionPerformed(event);
        return;
    }
    if (KCurve* curve = getActiveCurve()) {
        curve->setYOffset(spin->getValue());
        repaint();
    }
}

void KGraphPanel::onCommand(KEvent& event) {
    const KString& name = event.getName();
    bool handled = true;
    if (name == "GRAPH.ZOOMIN") {
        zoomInX();
    } else if (name == "GRAPH.ZOOMOUT") {
        zoomOutX();
    } else if (name == "GRAPH.PREVIOUS") {
        if (!isAtMinimum()) undoZoom();
    } else if (name == "GRAPH.NEXT") {
        redoZoom();
    } else if (name == "GRAPH.XEXTENTS") {
        resetZoomX();
    } else if (name == "GRAPH.YEXTENTS") {
        resetZoomY();
    } else if (name == "GRAPH.RESET") {
        resetZoomY();
        resetZoomX();
    } else if (name == "GRAPH.GRID") {
        toggleFlag(GRID);
        repaint();
    } else if (name == "GRAPH.TICKS") {
        toggleFlag(TICKS);
        repaint();
    } else if (name == "GRAPH.GLYPHS") {
        toggleFlag(GLYPHS);
        repaint();
    } else if (name == "GRAPH.TRIGGER") {
        if (KGraphFrame* frame = getFrame()) {
            frame->toggleTrigger();
        } else {
            toggleFlag(TRIGGER);
            repaint();
        }
    } else if (name == "GRAPH.MARKERS") {
        toggleMarkers();
    } else if (name == "GRAPH.OFFSET") {
        offsetEnabled_ = !offsetEnabled_;
        layoutAll();
        repaint();
    } else if (name == "GRAPH.XINTER") {
        toggleFlag(X_INTERCEPT);
        repaint();
    } else if (name == "GRAPH.YINTER") {
        toggleFlag(Y_INTERCEPT);
        repaint();
    } else if (name == "GRAPH.CROSSHAIR") {
        setCrossHairEnabled(!crossHair_);
    } else if (name == "CURVE.COPY.VISIBLE" || name == "CURVE.COPY.ALL") {
        const bool visible = name == "CURVE.COPY.VISIBLE";
        if (auto* curve = k_dynamic_cast<KCurve>(event.getSource())) {
            double lo = xRange_.getMinimum(), hi = xRange_.getMaximum();
            if (!visible) curve->getXExtents(lo, hi);
            curve->copyData(lo, hi);
        } else if (visible) {
            copyVisibleData();
        } else {
            copyEntireData();
        }
    } else if (name == "GRAPH.UP" || name == "GRAPH.DOWN" || name == "GRAPH.TOP" || name == "GRAPH.BOTTOM") {
        if (KGraphFrame* frame = getFrame()) {
            frame->moveGraph(this, name == "GRAPH.UP"     ? KGraphFrame::MOVE_UP
                                   : name == "GRAPH.DOWN" ? KGraphFrame::MOVE_DOWN
                                   : name == "GRAPH.TOP"  ? KGraphFrame::MOVE_TOP
                                                          : KGraphFrame::MOVE_BOTTOM);
        }
    } else if (name == "update" && k_dynamic_cast<KCurve>(event.getSource()) != nullptr) {
        // A curve's data were rebuilt: the frame may need its extents; the panel repaints.
        repaint();
        handled = false;
    } else {
        handled = false;
    }
    if (handled) {
        event.consume();
        return;
    }
    KPanel::onCommand(event);
}

// Object services.

void KGraphPanel::copy(const KObject& other) {
    KPanel::copy(other);
    const auto* g = k_dynamic_cast<KGraphPanel>(const_cast<KObject*>(&other));
    if (g == nullptr) return;
    flags_ = g->flags_;
    options_ = g->options_;
    autoColoring_ = g->autoColoring_;
    active_ = false;
    offsetEnabled_ = g->offsetEnabled_;
    offsetLocation_ = g->offsetLocation_;
    legendMode_ = g->legendMode_;
    opMode_ = g->opMode_;
    toolTip_ = g->toolTip_;
    crossHair_ = g->crossHair_;
    measuring_ = g->measuring_;
    xRange_ = g->xRange_;
    yRange_ = g->yRange_;
    markerX_ = g->markerX_;
    markerO_ = g->markerO_;
    trigger_ = g->trigger_;
    xIntercept_ = g->xIntercept_;
    yIntercept_ = g->yIntercept_;
    xLabel_ = g->xLabel_;
    yLabel_ = g->yLabel_;
    manualPrecision_ = g->manualPrecision_;
    precision_ = g->precision_;
    leftMargin_ = g->leftMargin_;
    rightMargin_ = g->rightMargin_;
    ownXAxis_ = g->ownXAxis_;
    clearHistory();
}

void KGraphPanel::Serialize(KArchive& ar) {
    KPanel::Serialize(ar);
    if (ar.isStoring()) {
        ar << STORED_VERSION;
        flags_.writeObject(ar);
        options_.writeObject(ar);
        ar << autoColoring_ << offsetEnabled_ << offsetLocation_ << legendMode_ << opMode_ << toolTip_
           << crossHair_ << measuring_;
        xRange_.writeObject(ar);
        yRange_.writeObject(ar);
        ar << markerX_ << markerO_ << trigger_ << xIntercept_ << yIntercept_;
        ar.writeString(xLabel_);
        ar.writeString(yLabel_);
        ar << manualPrecision_ << precision_ << leftMargin_ << rightMargin_ << ownXAxis_;
        return;
    }
    std::int32_t version = 0;
    ar >> version;
    if (version < 0) KException::raise("Archive Error", "Invalid graph version %d", version);
    if (version < 1) return;
    flags_.readObject(ar);
    options_.readObject(ar);
    ar >> autoColoring_ >> offsetEnabled_ >> offsetLocation_ >> legendMode_ >> opMode_ >> toolTip_ >>
        crossHair_ >> measuring_;
    xRange_.readObject(ar);
    yRange_.readObject(ar);
    ar >> markerX_ >> markerO_ >> trigger_ >> xIntercept_ >> yIntercept_;
    xLabel_ = ar.readString();
    yLabel_ = ar.readString();
    std::int32_t precision;
    ar >> manualPrecision_ >> precision >> leftMargin_ >> rightMargin_ >> ownXAxis_;
    setManualPrecision(precision);
    clearHistory();
}
