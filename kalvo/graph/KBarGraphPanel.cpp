#include <kalvo/graph/KBarGraphPanel.h>

#include <algorithm>
#include <cmath>

#include <kalvo/foundation/KArchive.h>
#include <kalvo/foundation/KBitSet.h>
#include <kalvo/foundation/KDouble.h>
#include <kalvo/foundation/KException.h>
#include <kalvo/graph/KCurve.h>
#include <kalvo/graph/KCurveClient.h>
#include <kalvo/graph/KGraphAxis.h>
#include <kalvo/graph/KGraphMeter.h>
#include <kalvo/platform/DeviceModes.h>
#include <kalvo/platform/DrawTextFormat.h>
#include <kalvo/platform/KHost.h>
#include <kalvo/platform/SysColor.h>
#include <kalvo/toolkit/KGraphics.h>
#include <kalvo/toolkit/widgets/KSpinControl.h>

K_IMPLEMENT_CLASS(KBarGraphPanel, KGraphPanel, 1)

namespace {

constexpr std::int32_t STORED_VERSION = 6;
// The five switches' bits in the stored form.
enum { X_RANGE_UPDATE, Y_RANGE_UPDATE, MANUAL_RANGE_Y, AUTO_RANGE_CTRL, METER_ENABLED };

}  // namespace

KBarGraphPanel::KBarGraphPanel(bool meter) : meterEnabled_(meter) {
    setName("KBarGraphPanel");
    setMenu("KBarGraphPanel");
}

const char* KBarGraphPanel::getDisplayModeName(int mode) {
    static const char* const names[3] = {"Overlay", "Offset", "Stack"};
    return mode >= 0 && mode <= 2 ? names[mode] : nullptr;
}

const char* KBarGraphPanel::getDisplayOptionName(int option) {
    static const char* const names[3] = {"Bars", "Columns", "Columns Filled"};
    return option >= 3 && option <= 5 ? names[option - 3] : nullptr;
}

void KBarGraphPanel::create() {
    if (getOffsetControl() == nullptr) {
        double lo, hi;
        getYRange().getLimits(lo, hi);
        addOffsetControl()->setRange(lo, hi);
    }
    if (meterEnabled_ && getMeter() == nullptr) setMeter(nullptr);
    KGraphPanel::create();
}

void KBarGraphPanel::setDisplayMode(int mode) {
    if (mode < OVERLAY || mode > STACK) return;
    displayMode_ = mode;
}

void KBarGraphPanel::setDisplayOption(int option) {
    if (option < BARS || option > COLUMNS_FILLED) return;
    displayOption_ = option;
}

// Ranges.

void KBarGraphPanel::setAutoRangeExtents(double lower, double upper) {
    autoLower_ = lower;
    autoUpper_ = upper;
}

void KBarGraphPanel::getAutoRangeExtents(double& lower, double& upper) const {
    double low, high;
    findYExtents(low, high);
    lower = autoLower_;
    upper = autoUpper_;
    if (low < autoLower_) lower = low;
    // The high end lands in lower.
    if (high > autoUpper_) lower = high;
}

void KBarGraphPanel::getStackedYRange(double& low, double& high) const {
    std::vector<KCurve*> curves;
    getCurveList(curves);
    if (curves.empty()) return;
    low = high = 0.0;
    for (size_t i = 0; i < curves.size(); ++i) {
        // The whole panel's range for each curve, not the curve's own: the stack is given
        // room for every curve reaching the extremes of all.
        double a, b;
        findYExtents(a, b);
        if (a < 0) low += a;
        if (b > 0) high += b;
    }
}

bool KBarGraphPanel::resetZoomY() {
    if (manualRangeY_) return false;
    double lo, hi;
    if (displayMode_ == STACK) {
        lo = hi = KDouble::NaN;
        getStackedYRange(lo, hi);
    } else if (autoRangeCtrl_) {
        getAutoRangeExtents(lo, hi);
    } else {
        findYExtents(lo, hi);
    }
    if (!KDouble::isFinite(lo) || !KDouble::isFinite(hi)) return false;
    KRange& range = getYRange();
    range.setBounds(lo, hi);
    range.setLimits(lo, hi);
    range.computeGrid(true);
    repaint();
    return true;
}

// Offset control.

void KBarGraphPanel::updateOffsetControl() {
    KSpinControl* spin = getOffsetControl();
    if (spin == nullptr) return;
    KCurve* curve = getActiveCurve();
    const bool shown = curve != nullptr && isOffsetEnabled();
    if (spin->isVisible() != shown) {
        spin->setVisible(shown);
        if (getCanvas() != nullptr) doLayout();
    }
    if (curve == nullptr || !isShowing()) return;
    double lo, hi;
    curve->getYExtents(lo, hi);
    if (KDouble::isFinite(lo) && KDouble::isFinite(hi) && hi > lo) spin->setRange(lo, hi);
    spin->setUnits(curve->getUnits().c_str());
    spin->setValue(curve->getYOffset());
    spin->repaint();
}

bool KBarGraphPanel::properties(CWnd*) {
    KHost* host = getCanvas();
    if (host == nullptr) return false;
    double lower, upper;
    getAutoRangeExtents(lower, upper);
    KString text;
    text.format(
        "Display mode: %s\nDisplay option: %s\nShow hatch: %s\nManual range: %s\nAuto range: %s "
        "(%g to %g)",
        getDisplayModeName(displayMode_), getDisplayOptionName(displayOption_),
        isHatchEnabled() ? "yes" : "no", manualRangeY_ ? "yes" : "no",
        autoRangeCtrl_ ? "yes" : "no", autoLower_, autoUpper_);
    host->messageBox(text.c_str(), "Bar Graph Properties",
                     KHost::MB_OK | KHost::MB_ICONINFORMATION);
    setModified(true);
    postAction("modified");
    return true;
}

// Layout.

void KBarGraphPanel::doLayout() {
    KPanel::doLayout();
    plot_ = layoutPlot();
    layoutLegend(layoutOffsetControl(plot_.top));
}

// Painting.

COLORREF KBarGraphPanel::hatchBackground(const KGraphics&) const {
    return isInverted() ? 0 : GetSysColor(COLOR_WINDOW);
}

int KBarGraphPanel::barWidth(double step, int count) const {
    const KRange& xr = getXRange();
    const double span = xr.getMaximum() - xr.getMinimum();
    if (!(span > 0) || !std::isfinite(step) || count < 1) return 1;
    const double pixels = std::fabs(step) * (plot_.right - plot_.left) / span;
    return std::max(1, static_cast<int>(std::floor(pixels + 0.5)) / count - 1);
}

void KBarGraphPanel::drawBar(KGraphics& graphics, const KCurve* curve, int index, int left,
                             int right, int base, int value, bool hatched) {
    const COLORREF color = curveColor(curve);
    graphics.setColor(color, 3);
    const int baseY = plot_.top + base, valueY = plot_.top + value;
    if (displayOption_ == BARS) {
        graphics.drawLine(plot_.left + left, baseY, plot_.left + left, valueY);
        return;
    }
    CRect column(plot_.left + left, std::min(baseY, valueY), plot_.left + std::max(left + 1, right),
                 std::max(baseY, valueY));
    if (column.Height() == 0) column.bottom += 1;
    if (hatched) {
        graphics.fillHatchedRect(column, color, hatchBackground(graphics), (index + 3) % 6);
        graphics.setColor(color, 1);
        graphics.drawRect(column);
    } else if (displayOption_ == COLUMNS) {
        graphics.setColor(color, 1);
        graphics.drawRect(column);
    } else {
        graphics.fillRect(column);
    }
}

void KBarGraphPanel::drawCurves(KGraphics& graphics) {
    std::vector<KCurve*> curves;
    getCurveList(curves);
    if (displayMode_ == STACK) {
        drawStackedSegments(graphics, curves, 0, -1);
        return;
    }
    for (KCurve* c : curves) drawSegments(graphics, c, 0, -1);
}

void KBarGraphPanel::drawSegments(KGraphics& graphics, const KCurve* constCurve, int first,
                                  int last) {
    auto* curve = const_cast<KCurve*>(constCurve);
    const double* x = curve->getXData();
    const double* y = curve->getYData();
    const int n = curve->getSampleCount();
    if (x == nullptr || y == nullptr || n <= 0) return;
    if (last < 0 || last > n) last = n;
    if (last < 2) last = 2;
    if (first < 0) first = 0;
    if (first + 2 > last) first = last - 2;
    std::vector<KCurve*> curves;
    getCurveList(curves);
    const int index =
        static_cast<int>(std::find(curves.begin(), curves.end(), curve) - curves.begin());
    const int width =
        barWidth(n > 1 ? x[1] - x[0] : getXRange().getRangeSize(), static_cast<int>(curves.size()));
    const int shift = displayMode_ == OFFSET ? width * index : 0;
    const CRect clip = getDataRectangle();
    const int base = toLogicalY(getXIntercept());
    // A curve of one sample is drawn over two: the second is not there to draw.
    for (int i = first; i < last && i < n; ++i) {
        if (!KDouble::isFinite(y[i])) continue;
        const int px = toLogicalX(x[i]) + shift;
        const int value = toLogicalY(y[i]);
        if (!clip.PtInRect(CPoint(plot_.left + px, plot_.top + base)) &&
            !clip.PtInRect(CPoint(plot_.left + px, plot_.top + value))) {
            continue;
        }
        drawBar(graphics, curve, index, px, px + width, base, value, isHatchEnabled());
    }
}

void KBarGraphPanel::drawStackedSegments(KGraphics& graphics, std::vector<KCurve*>& curves,
                                         int first, int last) {
    int longest = 0;
    for (KCurve* c : curves) longest = std::max(longest, c->getSampleCount());
    const double level = getXIntercept();
    std::vector<double> above(static_cast<size_t>(longest), level),
        below(static_cast<size_t>(longest), level);
    const CRect clip = getDataRectangle();
    for (size_t k = 0; k < curves.size(); ++k) {
        KCurve* curve = curves[k];
        const double* x = curve->getXData();
        const double* y = curve->getYData();
        const int n = curve->getSampleCount();
        if (x == nullptr || y == nullptr || n <= 0) continue;
        int to = last < 0 || last > n ? n : last;
        const int from = std::clamp(first, 0, to);
        const int width = barWidth(n > 1 ? x[1] - x[0] : getXRange().getRangeSize(), 1);
        for (int i = from; i < to; ++i) {
            if (!KDouble::isFinite(y[i])) continue;
            double& total = y[i] >= 0 ? above[i] : below[i];
            const int base = toLogicalY(total);
            total += y[i];
            const int value = toLogicalY(total);
            const int px = toLogicalX(x[i]);
            if (!clip.PtInRect(CPoint(plot_.left + px, plot_.top + base)) &&
                !clip.PtInRect(CPoint(plot_.left + px, plot_.top + value))) {
                continue;
            }
            drawBar(graphics, curve, static_cast<int>(k), px, px + width, base, value,
                    isHatchEnabled());
        }
    }
}

void KBarGraphPanel::drawYAxis(KGraphics& graphics) {
    if (plot_.Height() < 2 * getUnitSize()) {
        drawYLimits(graphics);
    } else {
        KGraphPanel::drawYAxis(graphics);
    }
}

// Events.

void KBarGraphPanel::processKeyEvent(KEvent& event) {
    if (event.getType() == KEvent::KEY_PRESSED && !event.isConsumed() && !event.isControlDown()) {
        const int key = event.getKeyCode();
        if (key == 'B' || key == 'D') {
            event.consume();
            if (key == 'B') {
                setDisplayOption(displayOption_ == COLUMNS_FILLED ? BARS : displayOption_ + 1);
            } else {
                setDisplayMode((displayMode_ + 1) % 3);
                resetZoomY();
            }
            repaint();
            return;
        }
    }
    KGraphPanel::processKeyEvent(event);
}

void KBarGraphPanel::onCommand(KEvent& event) {
    const bool fromLegend = event.getSource() == getCurveClient();
    if (fromLegend && (event.isNamed("component_added") || event.isNamed("component_removed"))) {
        event.consume();
        updateOffsetControl();
        updateMarkerLabels();
        postAction(event.isNamed("component_added") ? "curve.added" : "curve.removed");
        return;
    }
    if (fromLegend && event.isNamed("component_activated")) updateOffsetControl();
    const KString& name = event.getName();
    static const char* const modes[3] = {"BAR.OVERLAY", "BAR.OFFSET", "BAR.STACK"};
    static const char* const options[3] = {"BAR.BARS", "BAR.COLUMNS", "BAR.FILLED"};
    for (int k = 0; k < 3; ++k) {
        if (name == modes[k] || name == options[k]) {
            event.consume();
            if (name == modes[k]) {
                setDisplayMode(k);
                resetZoomY();
            } else {
                setDisplayOption(BARS + k);
            }
            repaint();
            return;
        }
    }
    if (name == "BAR.PROPERTIES") {
        event.consume();
        properties(nullptr);
        return;
    }
    if (name == "GRAPH.OFFSET") {
        event.consume();
        setOffsetEnabled(!isOffsetEnabled());
        updateOffsetControl();
        repaint();
        return;
    }
    KGraphPanel::onCommand(event);
}

// Object services.

void KBarGraphPanel::copy(const KObject& other) {
    KGraphPanel::copy(other);
    const auto* b = k_dynamic_cast<KBarGraphPanel>(const_cast<KObject*>(&other));
    if (b == nullptr) return;
    xRangeUpdate_ = b->xRangeUpdate_;
    yRangeUpdate_ = b->yRangeUpdate_;
    manualRangeY_ = b->manualRangeY_;
    autoRangeCtrl_ = b->autoRangeCtrl_;
    meterEnabled_ = b->meterEnabled_;
    layoutValue1_ = b->layoutValue1_;
    layoutValue2_ = b->layoutValue2_;
    autoUpper_ = b->autoUpper_;
    autoLower_ = b->autoLower_;
    displayMode_ = b->displayMode_;
    displayOption_ = b->displayOption_;
    spare_ = b->spare_;
    if (KSpinControl* spin = getOffsetControl()) spin->addListener(this);
}

void KBarGraphPanel::Serialize(KArchive& ar) {
    KGraphPanel::Serialize(ar);
    if (ar.isStoring()) {
        KBitSet bits;
        bits.set(X_RANGE_UPDATE, xRangeUpdate_);
        bits.set(Y_RANGE_UPDATE, yRangeUpdate_);
        bits.set(MANUAL_RANGE_Y, manualRangeY_);
        bits.set(AUTO_RANGE_CTRL, autoRangeCtrl_);
        bits.set(METER_ENABLED, meterEnabled_);
        ar << STORED_VERSION;
        bits.writeObject(ar);
        ar << layoutValue1_ << layoutValue2_ << spare_ << displayMode_ << displayOption_;
        ar.writeObject(getMeter());
        ar << autoUpper_ << autoLower_;
        return;
    }
    const std::int32_t version = ar.readVersion(STORED_VERSION, "bar graph");
    if (version >= 1) {
        KBitSet bits;
        bits.readObject(ar);
        xRangeUpdate_ = bits.get(X_RANGE_UPDATE);
        yRangeUpdate_ = bits.get(Y_RANGE_UPDATE);
        manualRangeY_ = bits.get(MANUAL_RANGE_Y);
        autoRangeCtrl_ = bits.get(AUTO_RANGE_CTRL);
        meterEnabled_ = bits.get(METER_ENABLED);
        ar >> layoutValue1_ >> layoutValue2_;
    }
    if (version >= 2) ar >> spare_;
    std::int32_t value;
    if (version >= 3) {
        ar >> value;
        setDisplayMode(value);
    }
    if (version >= 4) {
        ar >> value;
        setDisplayOption(value);
    }
    if (version >= 5) {
        KObject* object = ar.readObject();
        // Normally the meter among the children read already; one of its own is put there.
        if (object != nullptr && k_dynamic_cast<KGraphMeter>(object) == nullptr) {
            KException::raise("Archive Error", "A bar graph's meter is a %s",
                              object->getClassName());
        }
        auto* meter = static_cast<KGraphMeter*>(object);
        if (meter != nullptr && meter->getParent() != this) setMeter(meter);
    }
    if (version >= 6) ar >> autoUpper_ >> autoLower_;
    if (KSpinControl* spin = getOffsetControl()) spin->addListener(this);
}
