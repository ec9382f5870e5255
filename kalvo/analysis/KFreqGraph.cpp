#include <kalvo/analysis/KFreqGraph.h>

#include <algorithm>
#include <cmath>

#include <kalvo/foundation/KArchive.h>
#include <kalvo/foundation/KDouble.h>
#include <kalvo/graph/KCurve.h>
#include <kalvo/graph/KCurveClient.h>
#include <kalvo/platform/KHost.h>
#include <kalvo/record/KRecord.h>
#include <kalvo/toolkit/KClipboard.h>
#include <kalvo/toolkit/KGraphics.h>

K_IMPLEMENT_CLASS(KFreqGraph, KBarGraphPanel, 1)

namespace {
constexpr std::int32_t STORED_VERSION = 1;
}

KFreqGraph::KFreqGraph() : KBarGraphPanel(false) {
    setName("KFreqGraph");
    setMenu("KFreqGraph");
    setOwnXAxis(true);
    // Its curves keep the colours of the curves they stand for.
    setAutoColoring(false);
    setFlag(TRIGGER, false);
    setMarkersEnabled(false);
    setDisplayMode(OFFSET);
    setDisplayOption(COLUMNS_FILLED);
    freqFlags_.set(NORMALIZE_X);
    freqFlags_.set(MAGNITUDE_PLOT);
}

KFreqGraph::~KFreqGraph() {
    clearResults();
}

void KFreqGraph::create() {
    KBarGraphPanel::create();
    if (KCurveClient* legend = getCurveClient()) legend->setVisible(false);
}

int KFreqGraph::getRightMarginNeeded() const {
    return getUnitSize();
}

void KFreqGraph::toggleFlag(int bit) {
    if (bit < NORMALIZE_X || bit > PHASE_PLOT) return;
    freqFlags_.set(bit, !freqFlags_.get(bit));
}

void KFreqGraph::setMagnitudePlot(bool on) {
    freqFlags_.set(MAGNITUDE_PLOT, on);
    freqFlags_.set(PHASE_PLOT, !on);
    postAction("display_switch");
    refresh();
}

void KFreqGraph::setPhasePlot(bool on) {
    freqFlags_.set(PHASE_PLOT, on);
    freqFlags_.set(MAGNITUDE_PLOT, !on);
    postAction("display_switch");
    refresh();
}

int KFreqGraph::getShownTrace() const {
    return isPhasePlot() && !isMagnitudePlot() ? 1 : 0;
}

void KFreqGraph::refresh() {
    resetZoomY();
    repaint();
}

// Results.

void KFreqGraph::clearResults() {
    for (int i = results_.getCount() - 1; i >= 0; --i) delete results_.get(i);
    results_.removeAll();
}

KRecord* KFreqGraph::getResult(const KCurve* curve) const {
    std::vector<KCurve*> curves;
    getCurveList(curves);
    const auto it = std::find(curves.begin(), curves.end(), curve);
    return it == curves.end() ? nullptr : results_.get(static_cast<int>(it - curves.begin()));
}

void KFreqGraph::findXExtents(double& lo, double& hi) const {
    lo = hi = KDouble::NaN;
    for (int i = 0; i < results_.getCount(); ++i) {
        const KRecord* r = results_.get(i);
        const int n = r != nullptr ? r->getSampleCount() : 0;
        if (n < 1) continue;
        const double* f = r->getXData();
        const double bin = n > 1 ? f[1] - f[0] : 1.0;
        if (!(f[0] >= lo)) lo = f[0];
        if (!(f[n - 1] + bin <= hi)) hi = f[n - 1] + bin;
    }
}

void KFreqGraph::findYExtents(double& lo, double& hi) const {
    lo = hi = KDouble::NaN;
    const int trace = getShownTrace();
    for (int i = 0; i < results_.getCount(); ++i) {
        const KRecord* r = results_.get(i);
        if (r == nullptr || r->getTraceCount() <= trace) continue;
        const double* v = r->getTrace(trace)->getData();
        for (int k = 0; k < r->getSampleCount(); ++k) {
            if (!KDouble::isFinite(v[k])) continue;
            if (!(v[k] >= lo)) lo = v[k];
            if (!(v[k] <= hi)) hi = v[k];
        }
    }
}

bool KFreqGraph::resetZoomX() {
    double lo, hi;
    findXExtents(lo, hi);
    if (!KDouble::isFinite(lo) || !KDouble::isFinite(hi) || !(hi > lo)) return false;
    KRange& range = getXRange();
    range.setBounds(lo, hi);
    if (!range.setLimits(lo, hi)) return false;
    range.computeGrid(false);
    clearHistory();
    repaint();
    return true;
}

bool KFreqGraph::resetZoomY() {
    if (isManualRangeY()) return false;
    double lo = -180.0, hi = 180.0;
    if (getShownTrace() == 0) {
        findYExtents(lo, hi);
        if (!KDouble::isFinite(lo) || !KDouble::isFinite(hi)) return false;
        // Columns stand on zero: it is always in view.
        lo = std::min(lo, 0.0);
        hi = std::max(hi, 0.0);
        if (hi == lo) hi = lo + 1.0;
    }
    KRange& range = getYRange();
    range.setBounds(lo, hi);
    if (!range.setLimits(lo, hi)) return false;
    range.computeGrid(true);
    repaint();
    return true;
}

// Drawing.

void KFreqGraph::drawCurves(KGraphics& graphics) {
    std::vector<KCurve*> curves;
    getCurveList(curves);
    for (KCurve* c : curves) drawSegments(graphics, c, 0, -1);
}

void KFreqGraph::drawSegments(KGraphics& graphics, const KCurve* curve, int first, int last) {
    std::vector<KCurve*> curves;
    getCurveList(curves);
    const int index =
        static_cast<int>(std::find(curves.begin(), curves.end(), curve) - curves.begin());
    KRecord* record = results_.get(index);
    const int trace = getShownTrace();
    if (record == nullptr || record->getSampleCount() < 2 || record->getTraceCount() <= trace)
        return;
    record->selectTrace(trace);
    const double* f = record->getXData();
    const double* v = record->getYData();
    if (f == nullptr || v == nullptr) return;
    const int n = record->getSampleCount();
    const KRange& xr = getXRange();
    const double xmin = xr.getMinimum(), xmax = xr.getMaximum();
    if (!(xmax > xmin)) return;
    const double xscale = (plot_.right - plot_.left) / (xmax - xmin);
    // A column per curve within each bin, a pixel apart.
    const double bin = std::fabs(f[1] - f[0]);
    const int width = std::max(1, static_cast<int>(std::floor(xscale * bin + 0.5)) /
                                          std::max(1, static_cast<int>(curves.size())) -
                                      1);
    const int group = width * index;
    // Only the rows in view, and one either side.
    if (last < 0) last = n;
    const int low = record->findIndex(xmin) - 1;
    if (low >= first) first = low;
    const int high = record->findIndex(xmax) + 2;
    if (last >= high) last = high;
    last = std::max(2, std::min(last, n));
    first = std::clamp(first, 0, last - 2);
    CRect reach = getDataRectangle();
    reach.InflateRect(getUnitSize(), getUnitSize());
    const int base = toLogicalY(getXIntercept());
    const bool hatched = curve->isGlyphVisible();
    for (int i = first; i < last; ++i) {
        if (!KDouble::isFinite(v[i])) continue;
        int px = toLogicalX(f[i]);
        if (getDisplayMode() == OFFSET) px += group;
        const int value = toLogicalY(v[i]);
        if (!reach.PtInRect(CPoint(plot_.left + px, plot_.top + base)) &&
            !reach.PtInRect(CPoint(plot_.left + px, plot_.top + value))) {
            continue;
        }
        drawBar(graphics, curve, index, px + 1, px + width - 1, base, value, hatched);
    }
}

// Copying.

KString KFreqGraph::getCopyText(double from, double to) const {
    std::vector<KCurve*> curves;
    getCurveList(curves);
    std::vector<std::pair<const KCurve*, KRecord*>> columns;
    for (size_t i = 0; i < curves.size(); ++i) {
        if (KRecord* r = results_.get(static_cast<int>(i))) columns.emplace_back(curves[i], r);
    }
    KString text;
    const KRecord* first = columns.empty() ? nullptr : columns.front().second;
    int firstRow = first != nullptr ? std::max(1, first->findIndex(from)) : 1;
    const int lastRow = first != nullptr ? first->findIndex(to) : -1;
    const int rows = std::max(0, lastRow - firstRow + 1);
    text.ensureCapacity(
        static_cast<unsigned>((curves.size() + 1) * static_cast<size_t>(rows) * 10 + 64));
    text << "Harmonic";
    KString field;
    for (const auto& [curve, record] : columns) {
        text << field.format(",%s_%s", curve->getText().c_str(), "Magnitude");
        text << field.format(",%s_%s", curve->getText().c_str(), "Phase");
    }
    text << "\n";
    for (int row = firstRow; row <= lastRow; ++row) {
        bool placed = false;
        for (const auto& column : columns) {
            if (row < column.second->getSampleCount()) {
                text << field.format("%f", column.second->getDomainValue(row));
                placed = true;
                break;
            }
        }
        if (!placed) break;
        for (const auto& [curve, record] : columns) {
            if (row < record->getSampleCount()) {
                text << field.format(",%f", record->getTrace(0)->getSample(row));
                text << field.format(",%f", record->getTrace(1)->getSample(row));
            } else {
                text << ",,";
            }
        }
        text << "\n";
    }
    return text;
}

bool KFreqGraph::copyData(double from, double to) {
    if (getCurveCount() == 0) return false;
    if (from > to) std::swap(from, to);
    const KString text = getCopyText(from, to);
    KHost* host = getCanvas();
    return KClipboard::setData(text.c_str(), host != nullptr ? host->getWindow() : 0) != 0;
}

// Events.

void KFreqGraph::processKeyEvent(KEvent& event) {
    if (event.getType() == KEvent::KEY_PRESSED && !event.isConsumed() && !event.isControlDown()) {
        const char* command = nullptr;
        switch (event.getKeyCode()) {
            case 'A':
                command = "FREQ.MAGNITUDE";
                break;
            case 'H':
                command = "FREQ.PHASE";
                break;
            case 'F':
                command = "FREQ.NORMALIZE.X";
                break;
            case 'U':
                command = "FREQ.NORMALIZE.Y";
                break;
            default:
                break;
        }
        if (command != nullptr) {
            event.consume();
            KEvent c = KEvent::command(0, command);
            c.setSource(this);
            onCommand(c);
            return;
        }
    }
    KBarGraphPanel::processKeyEvent(event);
}

void KFreqGraph::onCommand(KEvent& event) {
    const KString& name = event.getName();
    if (name == "FREQ.MAGNITUDE" || name == "FREQ.PHASE") {
        event.consume();
        if (name == "FREQ.MAGNITUDE") {
            setMagnitudePlot(true);
        } else {
            setPhasePlot(true);
        }
        return;
    }
    if (name == "FREQ.NORMALIZE.X" || name == "FREQ.NORMALIZE.Y") {
        event.consume();
        toggleFlag(name == "FREQ.NORMALIZE.X" ? NORMALIZE_X : NORMALIZE_Y);
        // The results are the frame's to compute again.
        postAction("update");
        return;
    }
    KBarGraphPanel::onCommand(event);
}

// Object services.

void KFreqGraph::copy(const KObject& other) {
    KBarGraphPanel::copy(other);
    if (const auto* g = k_dynamic_cast<KFreqGraph>(const_cast<KObject*>(&other)))
        freqFlags_ = g->freqFlags_;
}

void KFreqGraph::Serialize(KArchive& ar) {
    KBarGraphPanel::Serialize(ar);
    if (ar.isStoring()) {
        ar << STORED_VERSION;
        KBitSet bits;
        for (int b = NORMALIZE_X; b <= PHASE_PLOT; ++b) bits.set(b, freqFlags_.get(b));
        bits.writeObject(ar);
        return;
    }
    if (ar.readVersion(STORED_VERSION, "frequency graph") >= 1) {
        KBitSet bits;
        bits.readObject(ar);
        freqFlags_ = KBitSet();
        for (int b = NORMALIZE_X; b <= PHASE_PLOT; ++b) freqFlags_.set(b, bits.get(b));
    }
}
