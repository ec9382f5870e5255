#include <kalvo/graph/KGraphFrame.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>

#include <kalvo/foundation/KArchive.h>
#include <kalvo/foundation/KDate.h>
#include <kalvo/foundation/KDouble.h>
#include <kalvo/foundation/KException.h>
#include <kalvo/graph/KBarGraphPanel.h>
#include <kalvo/graph/KCurve.h>
#include <kalvo/graph/KCurveClient.h>
#include <kalvo/graph/KGraphAxis.h>
#include <kalvo/graph/KGraphClient.h>
#include <kalvo/graph/KGraphPanel.h>
#include <kalvo/graph/KGraphPanelAnalog.h>
#include <kalvo/graph/KGraphPanelDigital.h>
#include <kalvo/platform/KHost.h>
#include <kalvo/platform/KWaitCursor.h>
#include <kalvo/platform/RasterOp.h>
#include <kalvo/record/KRecord.h>
#include <kalvo/toolkit/KClipboard.h>
#include <kalvo/toolkit/KGraphics.h>
#include <kalvo/toolkit/KPanel.h>
#include <kalvo/toolkit/layout/KBorderLayout.h>
#include <kalvo/toolkit/layout/KGridLayout.h>
#include <kalvo/toolkit/widgets/KLabel.h>
#include <kalvo/toolkit/widgets/KScrollPane.h>

K_IMPLEMENT_CLASS(KGraphFrame, KFrame, 1)

namespace {

constexpr std::int32_t STORED_VERSION = 1;
const char* const READOUTS[6] = {"cn1.x", "cn1.o", "cn1.d", "cn3.c", "cn3.f", "cn3.l"};

int footerHeight() { return 3 * (KComponent::getUnitSize() - 2); }
int headerHeight() { return KComponent::getUnitSize() + 6; }

KContainer* readoutColumn(const char* name, bool leftAligned, CRect insets) {
    auto* column = new KPanel(name);
    column->setLayout(new KGridLayout(3, 1, 0, 0));
    column->setInsets(insets);
    column->setEnabled(false);
    column->setBackground(0xFFFFFF);
    const char* const names[2][3] = {{"x", "o", "d"}, {"c", "f", "l"}};
    for (const char* label : names[leftAligned ? 1 : 0]) {
        auto* l = new KLabel(label);
        l->setBorder(false);
        l->setFillStyle(KLabel::FILL_NONE);
        l->setStretch(0);
        l->setHorizontalAlignment(leftAligned ? KLabel::LEFT : KLabel::RIGHT);
        column->add(l);
    }
    return column;
}

// Appends a row per finite value to a record of one trace, from time start at the step; a
// value that is not finite is skipped without advancing the time.
void appendRows(KRecord& record, const double* values, long count, double start, double step) {
    double t = start;
    for (long i = 0; i < count; ++i) {
        if (!KDouble::isFinite(values[i])) continue;
        record.setDomainValue(t);
        record.setTraceValue(0, values[i]);
        record.commit();
        t += step;
    }
}

}  // namespace

KGraphFrame::KGraphFrame(bool scroll, bool)
    : KFrame("frame"), scroll_(scroll), hair_(KDouble::NaN), previewX_(KDouble::NaN),
      previewO_(KDouble::NaN), toldX_(KDouble::NaN), toldO_(KDouble::NaN) {
    setStretch(0);
    setMenu("KGraphFrame");
    // Header, graphs and footer cover the frame.
    setOpaque(false);
}

KGraphFrame::~KGraphFrame() = default;

void KGraphFrame::create() {
    setName("frame");
    setLayout(new KBorderLayout(0, headerHeight(), 0, footerHeight()));

    auto* header = new KLabel("header");
    header->setText("Advanced Graph Frame");
    header->setEnabled(false);
    header->setStretch(0);
    header->setBackground(RGB(232, 236, 244));
    add(header, "North");

    auto* graphs = new KGraphClient();
    if (scroll_) {
        auto* pane = new KScrollPane("client");
        pane->setHorizontalScrolling(false);
        pane->setHorizontalTracking(true);
        pane->setVerticalTracking(true);
        pane->setViewBuffering(true);
        pane->setView(graphs);
        add(pane, "Center");
    } else {
        graphs->setName("client");
        add(graphs, "Center");
    }

    auto* footer = new KPanel("footer");
    footer->setBackground(0xFFFFFF);
    footer->setEnabled(false);
    footer->setLayout(new KBorderLayout(6 * getUnitSize(), 0, 8 * getUnitSize(), 0));
    footer->add(readoutColumn("cn1", false, CRect(2, 0, 2, 0)), "West");
    auto* axis = new KGraphAxis();
    axis->create();
    axis->setUnits("s");
    footer->add(axis, "Center");
    footer->add(readoutColumn("cn3", true, CRect(1, 0, 2, 0)), "East");
    add(footer, "South");
    updateMarkerLabels();
}

// Parts.

KGraphAxis* KGraphFrame::getAxis() const {
    auto* axis = k_dynamic_cast<KGraphAxis>(findComponent("footer.axis"));
    if (axis == nullptr) throwError(nullptr, "Unable to find axis panel.");
    return axis;
}

KGraphClient* KGraphFrame::getGraphClient() const {
    if (KScrollPane* pane = getScrollPane()) return k_dynamic_cast<KGraphClient>(pane->getView());
    return k_dynamic_cast<KGraphClient>(findComponent("client"));
}

KScrollPane* KGraphFrame::getScrollPane() const { return k_dynamic_cast<KScrollPane>(findComponent("client")); }

KString KGraphFrame::getTitle() const {
    const auto* header = k_dynamic_cast<KLabel>(findComponent("header"));
    return header != nullptr ? header->getText() : KString();
}

void KGraphFrame::setTitle(const char* title) {
    if (auto* header = k_dynamic_cast<KLabel>(findComponent("header"))) {
        header->setText(title);
        header->repaint();
    }
}

KLabel* KGraphFrame::getReadout(int index) const {
    if (index < 0 || index > 5) return nullptr;
    KString path("footer.");
    path << READOUTS[index];
    return k_dynamic_cast<KLabel>(findComponent(path.c_str()));
}

// Graphs.

template <class T>
T* KGraphFrame::addGraph(T* graph) {
    KGraphClient* client = getGraphClient();
    if (client == nullptr) {
        delete graph;
        throwError(nullptr, "Unable to find client panel.");
    }
    graph->create();
    KGraphAxis* axis = getAxis();
    graph->getXRange() = axis->getXRange();
    client->add(graph);
    setActiveGraph(graph);
    syncronizeFlags();
    if (getCanvas() != nullptr && !building_) layoutAll();
    return graph;
}

KGraphPanel* KGraphFrame::addAnalogGraph() { return addGraph(new KGraphPanelAnalog()); }

KGraphPanel* KGraphFrame::addDigitalGraph() { return addGraph(new KGraphPanelDigital()); }

KGraphPanel* KGraphFrame::addBarGraph() { return addGraph(new KBarGraphPanel()); }

void KGraphFrame::getGraphList(std::vector<KGraphPanel*>& list) const {
    if (const KGraphClient* client = getGraphClient()) client->getGraphList(list);
}

void KGraphFrame::setActiveGraph(KGraphPanel* graph) {
    std::vector<KGraphPanel*> graphs;
    getGraphList(graphs);
    if (std::find(graphs.begin(), graphs.end(), graph) == graphs.end()) return;
    for (KGraphPanel* g : graphs) {
        if (g->isActive() != (g == graph)) {
            g->setActive(g == graph);
            g->repaint();
        }
    }
}

KGraphPanel* KGraphFrame::getActiveGraph() const {
    std::vector<KGraphPanel*> graphs;
    getGraphList(graphs);
    for (KGraphPanel* g : graphs) {
        if (g->isActive()) return g;
    }
    return graphs.empty() ? nullptr : graphs.front();
}

void KGraphFrame::focusGraph(KGraphPanel* graph) {
    setActiveGraph(graph);
    setFocus(graph);
    if (KScrollPane* pane = getScrollPane(); pane != nullptr && graph != nullptr) {
        pane->scrollRectToVisible(graph->getBounds());
    }
}

void KGraphFrame::removeGraph(KGraphPanel* graph) {
    KGraphClient* client = getGraphClient();
    if (client == nullptr || graph == nullptr || !client->isChild(graph)) return;
    delete graph;
    if (getCanvas() != nullptr) layoutAll();
    repaint();
}

void KGraphFrame::moveGraph(KGraphPanel* graph, Move move) {
    KGraphClient* client = getGraphClient();
    if (client == nullptr || !client->isChild(graph) || !userOperations_) return;
    switch (move) {
        case MOVE_UP: client->toPrev(graph); break;
        case MOVE_DOWN: client->toNext(graph); break;
        case MOVE_TOP: client->toHead(graph); break;
        case MOVE_BOTTOM: client->toTail(graph); break;
    }
    if (getCanvas() != nullptr) layoutAll();
    repaint();
}

KContainer* KGraphFrame::componentPasting(KComponent* component) {
    if (!userOperations_) return nullptr;
    if (k_dynamic_cast<KGraphPanel>(component) != nullptr) return getGraphClient();
    if (k_dynamic_cast<KCurve>(component) != nullptr) {
        if (KGraphPanel* graph = getActiveGraph()) return graph->componentPasting(component);
    }
    return nullptr;
}

// Records.

void KGraphFrame::addRecord(KRecord* record, const std::vector<int>& traces) {
    if (record == nullptr || record->getTraceCount() == 0) return;
    std::vector<int> chosen = traces;
    if (chosen.empty()) {
        for (int t = 0; t < record->getTraceCount(); ++t) chosen.push_back(t);
    }
    const KString frequency = record->getProperty(KRecord::LINE_FREQUENCY);
    if (!frequency.isEmpty()) setLineFrequency(KDouble::valueOf(frequency.c_str()));

    // Analog channels by their units, in order of first appearance.
    std::vector<std::pair<KString, std::vector<int>>> groups;
    std::vector<int> status;
    for (int t : chosen) {
        const KRecord::Trace* trace = record->getTrace(t);
        if (trace == nullptr) continue;
        if (trace->isDigital()) {
            // A status that is low all through says nothing; one that changes or is set
            // somewhere is shown.
            if (trace->findMaxValue(0, 0) >= 0.5) status.push_back(t);
            continue;
        }
        auto it = std::find_if(groups.begin(), groups.end(),
                               [&](const auto& g) { return g.first.equals(trace->getUnits()); });
        if (it == groups.end()) {
            groups.emplace_back(trace->getUnits(), std::vector<int>());
            it = groups.end() - 1;
        }
        it->second.push_back(t);
    }
    // The frame is laid out once, when every graph is in.
    building_ = true;

    auto fill = [&](KGraphPanel* graph, int trace) {
        auto* curve = new KCurve();
        record->selectTrace(trace);
        curve->setProducer(record);
        curve->setUnits(record->getTrace(trace)->getUnits().c_str());
        if (!graph->addCurve(curve)) {
            delete curve;
            return false;
        }
        return true;
    };
    for (const auto& [units, members] : groups) {
        KGraphPanel* graph = nullptr;
        for (int t : members) {
            if (graph == nullptr || !fill(graph, t)) {
                graph = addAnalogGraph();
                if (auto* analog = k_dynamic_cast<KGraphPanelAnalog>(graph); analog != nullptr && !units.isEmpty()) {
                    analog->setYLabel(units.c_str());
                    analog->setExtendedText(0, units.c_str(), KLabel::LEFT, 0x404040);
                }
                fill(graph, t);
            }
        }
    }
    KGraphPanel* digital = nullptr;
    for (int t : status) {
        if (digital == nullptr || !fill(digital, t)) {
            digital = addDigitalGraph();
            fill(digital, t);
        }
    }

    building_ = false;
    if (getCanvas() != nullptr) layoutAll();
    KGraphAxis* axis = getAxis();
    axis->setMarkersEnabled(false);
    double lo, hi;
    findXExtents(lo, hi);
    if (std::isfinite(lo) && std::isfinite(hi)) {
        if (lo == hi) {
            lo -= 0.5;
            hi += 0.5;
        }
        axis->getXRange().setBounds(lo, hi);
        const double trigger = record->getTriggerValue();
        if (std::isfinite(trigger) && trigger >= lo && trigger <= hi) {
            axis->setTriggerPosition(trigger);
            axis->setTriggerEnabled(true);
        } else {
            axis->setTriggerEnabled(false);
        }
    }
    resetZoomX();
    resetZoomY();
    syncronizeMarkers();
    updateMarkerLabels();
}

// Curves.

KCurve* KGraphFrame::insertCurve(double* values, long count, double start, double end, const char* name) {
    if (values == nullptr || count < 1) return nullptr;
    auto record = std::make_shared<KRecord>();
    record->create(1, 0, 1024);
    double step = 1.0;
    if (end > start && count > 1) {
        step = (end - start) / static_cast<double>(count - 1);
        if (!(step > 0.0)) step = 1.0;
    }
    {
        const KWaitCursor wait;
        appendRows(*record, values, count, start, step);
    }
    record->setTraceName(0, name);
    record->selectTrace(0);
    auto* curve = new KCurve();
    curve->setText(name);
    curve->setSharedProducer(record);
    KGraphPanel* graph = getActiveGraph();
    if (graph == nullptr) graph = addAnalogGraph();
    if (!graph->addCurve(curve)) {
        delete curve;
        return nullptr;
    }
    graph->resetZoomY();
    syncronizeGraphs(nullptr);
    return curve;
}

bool KGraphFrame::appendData(KCurve* curve, double* values, long count) {
    if (curve == nullptr || values == nullptr || count < 1) return false;
    // Only a record the curve keeps for itself takes new samples.
    auto* record = k_dynamic_cast<KRecord>(curve->getSharedProducer().get());
    if (record == nullptr || record->getTraceCount() != 1) return false;
    const int n = record->getSampleCount();
    double step = 1.0;
    if (n >= 2) step = record->getDomainValue(n - 1) - record->getDomainValue(n - 2);
    appendRows(*record, values, count, n > 0 ? record->getDomainValue(n - 1) + step : 0.0, step);
    record->updateObservers();
    syncronizeGraphs(nullptr);
    repaintGraphs();
    return true;
}

bool KGraphFrame::appendDataToCurve(double* values, long count, int index) {
    std::vector<KCurve*> curves;
    getCurveList(curves);
    if (index < 0 || index >= static_cast<int>(curves.size())) return false;
    return appendData(curves[index], values, count);
}

bool KGraphFrame::appendDataToCurve(double* values, long count, const char* name) {
    return appendData(findCurve(name), values, count);
}

KCurve* KGraphFrame::findCurve(const char* name) const {
    std::vector<KGraphPanel*> graphs;
    getGraphList(graphs);
    for (KGraphPanel* g : graphs) {
        if (KCurve* c = g->findCurve(name)) return c;
    }
    return nullptr;
}

bool KGraphFrame::removeCurve(const char* name) { return removeCurve(findCurve(name)); }

bool KGraphFrame::removeCurve(KCurve* curve) {
    std::vector<KCurve*> curves;
    getCurveList(curves);
    if (curve == nullptr || std::find(curves.begin(), curves.end(), curve) == curves.end()) return false;
    delete curve;
    repaintGraphs();
    return true;
}

bool KGraphFrame::removeCurve(int index) {
    std::vector<KCurve*> curves;
    getCurveList(curves);
    return index >= 0 && index < static_cast<int>(curves.size()) && removeCurve(curves[index]);
}

void KGraphFrame::getCurveList(std::vector<KCurve*>& list) const {
    std::vector<KGraphPanel*> graphs;
    getGraphList(graphs);
    for (KGraphPanel* g : graphs) g->getCurveList(list);
}

void KGraphFrame::dropCurve(KCurve* curve) {
    if (!userOperations_) return;
    const CPoint at = curve->getDropPoint();
    std::vector<KGraphPanel*> graphs;
    getGraphList(graphs);
    KGraphPanel* from = nullptr;
    KGraphPanel* to = nullptr;
    for (KGraphPanel* g : graphs) {
        if (curve->isDescendentOf(g)) from = g;
        CRect r(CPoint(0, 0), g->getSize());
        r.OffsetRect(g->getLocationOnCanvas());
        if (g->isShowing() && r.PtInRect(at)) to = g;
    }
    KCurveClient* client = to != nullptr ? to->getCurveClient() : nullptr;
    if (from == nullptr || to == nullptr || to == from || client == nullptr || !client->canContain(curve)) {
        return;
    }
    // The curve keeps its colour and settings; both graphs fit their values again.
    client->add(curve);
    from->resetZoomY();
    to->resetZoomY();
    scheduleRefresh();
}

// Time range and markers.

void KGraphFrame::setXRange(double lo, double hi) {
    KGraphAxis* axis = getAxis();
    if (!axis->setRange(lo, hi)) return;
    syncronizeRanges(nullptr);
    axis->updateStatusLabels();
    repaintGraphs();
}

void KGraphFrame::findXExtents(double& lo, double& hi) const {
    lo = hi = KDouble::NaN;
    std::vector<KGraphPanel*> graphs;
    getGraphList(graphs);
    for (KGraphPanel* g : graphs) {
        double a, b;
        g->findXExtents(a, b);
        if (std::isfinite(a) && !(a >= lo)) lo = a;
        if (std::isfinite(b) && !(b <= hi)) hi = b;
    }
}

void KGraphFrame::resetZoomX() {
    double lo, hi;
    findXExtents(lo, hi);
    if (!std::isfinite(lo) || !std::isfinite(hi)) return;
    if (lo == hi) {
        lo -= 0.5;
        hi += 0.5;
    }
    KGraphAxis* axis = getAxis();
    axis->getXRange().setBounds(lo, hi);
    if (!axis->getXRange().setLimits(lo, hi)) return;
    axis->getXRange().computeGrid(false);
    std::vector<KGraphPanel*> graphs;
    getGraphList(graphs);
    for (KGraphPanel* g : graphs) g->clearHistory();
    syncronizeRanges(nullptr);
    axis->updateStatusLabels();
    repaintGraphs();
}

void KGraphFrame::resetZoomY() {
    std::vector<KGraphPanel*> graphs;
    getGraphList(graphs);
    for (KGraphPanel* g : graphs) g->resetZoomY();
    if (getCanvas() != nullptr) layoutAll();
}

void KGraphFrame::zoomX(bool in) {
    KGraphPanel* graph = getActiveGraph();
    if (graph == nullptr) return;
    if (in) {
        graph->zoomInX();
    } else {
        graph->zoomOutX();
    }
}

void KGraphFrame::panDisplay(double delta) {
    KGraphAxis* axis = getAxis();
    double lo, hi;
    axis->getRange(lo, hi);
    setAperture(lo + delta, hi + delta);
}

void KGraphFrame::setAperture(double lo, double hi) {
    KGraphAxis* axis = getAxis();
    if (!std::isfinite(lo) || !std::isfinite(hi) || !axis->getXRange().setLimits(lo, hi)) return;
    axis->getXRange().computeGrid(false);
    panGraphs();
    axis->setPanControl(lo, hi);
    updateMarkerLabels();
}

void KGraphFrame::getAperture(double& lo, double& hi) const { getAxis()->getAperture(lo, hi); }

void KGraphFrame::setMarkerXPosition(double x) { getAxis()->setMarkerXPosition(x); }

void KGraphFrame::setMarkerOPosition(double x) { getAxis()->setMarkerOPosition(x); }

double KGraphFrame::getMarkerXPosition() const { return getAxis()->getMarkerXPosition(); }

double KGraphFrame::getMarkerOPosition() const { return getAxis()->getMarkerOPosition(); }

void KGraphFrame::toggleMarkers() {
    KGraphAxis* axis = getAxis();
    axis->setMarkersEnabled(!(axis->isMarkerXEnabled() || axis->isMarkerOEnabled()));
    axis->repaint();
    double lo, hi;
    findXExtents(lo, hi);
    if (!std::isfinite(lo) || !std::isfinite(hi)) axis->getXRange().getLimits(lo, hi);
    double x, o;
    axis->getMarkerPositions(x, o);
    if (!KDouble::isFinite(x)) axis->setMarkerXPosition(lo);
    if (!KDouble::isFinite(o)) axis->setMarkerOPosition(lo);
    syncronizeMarkers();
    updateMarkerLabels();
    repaintGraphs();
}

void KGraphFrame::toggleTrigger() {
    KGraphAxis* axis = getAxis();
    axis->setTriggerEnabled(!axis->isTriggerEnabled());
    axis->repaint();
    syncronizeMarkers();
    repaintGraphs();
}

void KGraphFrame::drawVertHair(double x) {
    std::vector<KGraphPanel*> graphs;
    getGraphList(graphs);
    auto draw = [&](double t) {
        for (KGraphPanel* g : graphs) {
            if (!g->isShowing() || !g->getXRange().contains(t)) continue;
            std::unique_ptr<KGraphics> graphics(g->getGraphics());
            if (graphics == nullptr) continue;
            const CRect plot = g->getPlotRectangle();
            graphics->clipRect(CRect(plot.left, plot.top, plot.right + 1, plot.bottom + 1));
            const int px = plot.left + g->toLogicalX(t);
            CDC* dc = graphics->getDC();
            dc->SetROP2(R2_NOT);
            dc->MoveTo(px, plot.top);
            dc->LineTo(px, plot.bottom + 1);
        }
    };
    if (KDouble::isFinite(hair_)) draw(hair_);
    hair_ = x;
    if (KDouble::isFinite(hair_)) draw(hair_);
    if (!KDouble::isFinite(x)) {
        previewX_ = previewO_ = KDouble::NaN;
        updateMarkerLabels();
    }
}

void KGraphFrame::previewMarker(int which, double x) {
    if (which == 0) previewX_ = x;
    if (which == 1) previewO_ = x;
    updateMarkerLabels();
}

// Keeping in step.

void KGraphFrame::syncronizeRanges(KGraphPanel* graph) {
    KGraphAxis* axis = getAxis();
    KRange& range = axis->getXRange();
    if (graph != nullptr) {
        double lower, upper;
        range.getBounds(lower, upper);
        range = graph->getXRange();
        range.setBounds(lower, upper);
    }
    std::vector<KGraphPanel*> graphs;
    getGraphList(graphs);
    for (KGraphPanel* g : graphs) {
        if (g != graph) g->getXRange() = range;
    }
    if (graph != nullptr) graph->getXRange() = range;
}

void KGraphFrame::syncronizeGraphs(KGraphPanel* graph) {
    KGraphAxis* axis = getAxis();
    // The bounds follow the data, which may have grown.
    double lo, hi;
    findXExtents(lo, hi);
    if (std::isfinite(lo) && std::isfinite(hi)) axis->getXRange().setBounds(lo, hi);
    syncronizeRanges(graph);
    axis->updateStatusLabels();
    double a, b;
    axis->getRange(a, b);
    axis->setPanControl(a, b);
    syncronizeFlags();
    updateMarkerLabels();
    updateOffsetControls();
    axis->repaint();
}

void KGraphFrame::syncronizeMarkers() {
    KGraphAxis* axis = getAxis();
    double x, o;
    axis->getMarkerPositions(x, o);
    std::vector<KGraphPanel*> graphs;
    getGraphList(graphs);
    for (KGraphPanel* g : graphs) {
        g->setFlag(KGraphPanel::MARKER_O, axis->isMarkerOEnabled());
        g->setFlag(KGraphPanel::MARKER_X, axis->isMarkerXEnabled());
        g->setFlag(KGraphPanel::TRIGGER, axis->isTriggerEnabled());
        g->setTriggerPosition(axis->getTriggerPosition());
        g->setMarkerPositions(x, o);
    }
    const int shown = (axis->isMarkerXEnabled() ? 1 : 0) | (axis->isMarkerOEnabled() ? 2 : 0);
    const auto same = [](double a, double b) {
        return a == b || (KDouble::isNaN(a) && KDouble::isNaN(b));
    };
    if (shown != toldShown_ || !same(x, toldX_) || !same(o, toldO_)) {
        toldShown_ = shown;
        toldX_ = x;
        toldO_ = o;
        postAction("markers.moved");
    }
}

void KGraphFrame::syncronizeFlags() { syncronizeMarkers(); }

void KGraphFrame::updateMarkerLabels() {
    KGraphAxis* axis = k_dynamic_cast<KGraphAxis>(findComponent("footer.axis"));
    if (axis == nullptr) return;
    double x, o;
    axis->getMarkerPositions(x, o);
    if (KDouble::isFinite(previewX_)) x = previewX_;
    if (KDouble::isFinite(previewO_)) o = previewO_;
    const bool xOn = axis->isMarkerXEnabled(), oOn = axis->isMarkerOEnabled();
    setReadout(0, markerText('X', xOn ? x : KDouble::NaN).c_str());
    setReadout(1, markerText('O', oOn ? o : KDouble::NaN).c_str());
    const double d = xOn && oOn ? o - x : KDouble::NaN;
    KString text;
    if (KDouble::isFinite(d)) {
        text << "O-X " << KGraphAxis::formatTime(d);
    } else {
        text = "O-X  ---";
    }
    setReadout(2, text.c_str());
    // Cycles of the line frequency between the markers, and the frequency whose period
    // the difference is.
    KString cycles, frequency, line;
    if (KDouble::isFinite(d) && lineFrequency_ > 0) {
        cycles.format("%.2f cycles", d * lineFrequency_);
    } else {
        cycles = "cycles  ---";
    }
    if (KDouble::isFinite(d) && d != 0.0) {
        frequency.format("1/(O-X) %s", (KDouble::toLabel(1.0 / std::fabs(d), 3).trim() + "Hz").c_str());
    } else {
        frequency = "1/(O-X)  ---";
    }
    if (lineFrequency_ > 0) {
        line.format("line %g Hz", lineFrequency_);
    } else {
        line = "line  ---";
    }
    setReadout(3, cycles.c_str());
    setReadout(4, frequency.c_str());
    setReadout(5, line.c_str());
    // The graphs' meters read the markers as they were let go.
    if (!KDouble::isFinite(hair_)) {
        std::vector<KGraphPanel*> graphs;
        getGraphList(graphs);
        for (KGraphPanel* g : graphs) g->updateMarkerLabels();
    }
    actionEvent("view.change");
}

KString KGraphFrame::markerText(char name, double x) const {
    KString text;
    text << name << " ";
    if (KDouble::isFinite(x) && getAxis()->getXRange().isUnitized()) {
        // A time of day on a calendar axis.
        text << KDate(x).toString("%b %d, %y %H:%M:%S");
    } else if (KDouble::isFinite(x)) {
        text << KGraphAxis::formatTime(x);
    } else {
        text << " ---";
    }
    return text;
}

void KGraphFrame::setReadout(int index, const char* text) {
    KLabel* label = getReadout(index);
    if (label == nullptr || label->getText().equals(text)) return;
    label->setText(text);
    label->setTextColor(index == 0 ? KGraphAxis::MARKER_X_COLOR : index == 1 ? KGraphAxis::MARKER_O_COLOR : 0);
    label->repaint();
}

void KGraphFrame::updateOffsetControls() {
    std::vector<KGraphPanel*> graphs;
    getGraphList(graphs);
    for (KGraphPanel* g : graphs) g->updateOffsetControl();
}

void KGraphFrame::setLeftMarginDyn(int margin) {
    std::vector<KGraphPanel*> graphs;
    getGraphList(graphs);
    for (KGraphPanel* g : graphs) g->setLeftMargin(margin);
}

void KGraphFrame::setRightMarginDyn(int margin) {
    std::vector<KGraphPanel*> graphs;
    getGraphList(graphs);
    for (KGraphPanel* g : graphs) g->setRightMargin(margin);
}

void KGraphFrame::resizeMargins() {
    std::vector<KGraphPanel*> graphs;
    getGraphList(graphs);
    const int u = getUnitSize();
    // The read-outs left of the axis need room for a time.
    int left = 6 * u, right = 8 * u;
    for (KGraphPanel* g : graphs) {
        left = std::max(left, g->getLeftMarginNeeded());
        right = std::max(right, g->getRightMarginNeeded());
    }
    setLeftMarginDyn(left);
    setRightMarginDyn(right);
    for (KGraphPanel* g : graphs) g->layoutAll();
    auto* footer = k_dynamic_cast<KContainer>(findComponent("footer"));
    auto* layout = footer != nullptr ? k_dynamic_cast<KBorderLayout>(footer->getLayout()) : nullptr;
    if (layout == nullptr || graphs.empty()) return;
    // The axis spans the plots exactly, wherever the stack scrolled them.
    const KGraphPanel* first = graphs.front();
    const CRect plot = first->getPlotRectangle();
    const int plotLeft = first->getLocationOnCanvas().x + plot.left;
    const int plotRight = first->getLocationOnCanvas().x + plot.right;
    const CRect inner = footer->getClientRect();
    const int footerLeft = footer->getLocationOnCanvas().x + inner.left;
    const int footerRight = footer->getLocationOnCanvas().x + inner.right;
    layout->setMargins(std::max(0, plotLeft - footerLeft), -1, std::max(0, footerRight - plotRight), -1);
    footer->layoutAll();
}

void KGraphFrame::layoutAll() {
    KFrame::layoutAll();
    resizeMargins();
}

void KGraphFrame::refresh() {
    syncronizeGraphs(nullptr);
    if (getCanvas() != nullptr) layoutAll();
    repaintGraphs();
}

void KGraphFrame::scheduleRefresh() {
    if (getCanvas() == nullptr) {
        refresh();
        return;
    }
    if (refreshPending_) return;
    refreshPending_ = true;
    postEvent(KEvent::command(0, "FRAME.REFRESH"));
}

void KGraphFrame::panGraphs() {
    // The hair drawn over the plots in XOR goes with neither a move nor a paint.
    if (KDouble::isFinite(hair_)) {
        syncronizeRanges(nullptr);
        repaintGraphs();
        return;
    }
    const KRange& range = getAxis()->getXRange();
    std::vector<KGraphPanel*> graphs;
    getGraphList(graphs);
    for (KGraphPanel* g : graphs) g->panTo(range);
    if (KComponent* footer = findComponent("footer")) footer->repaint();
}

void KGraphFrame::repaintGraphs() {
    if (KComponent* client = findComponent("client")) client->repaint();
    if (KComponent* footer = findComponent("footer")) footer->repaint();
}

// Settings.

void KGraphFrame::setMode(int mode) {
    if (mode < 0 || mode > 1) return;
    mode_ = mode;
    std::vector<KGraphPanel*> graphs;
    getGraphList(graphs);
    for (KGraphPanel* g : graphs) g->setOption(KGraphPanel::INVERTED, mode == 1);
    repaintGraphs();
}

void KGraphFrame::setFlag(int bit, bool on) {
    std::vector<KGraphPanel*> graphs;
    getGraphList(graphs);
    for (KGraphPanel* g : graphs) g->setFlag(bit, on);
    repaintGraphs();
}

void KGraphFrame::enableManualPrecision(bool on) {
    std::vector<KGraphPanel*> graphs;
    getGraphList(graphs);
    for (KGraphPanel* g : graphs) g->enableManualPrecision(on);
    repaintGraphs();
}

void KGraphFrame::setManualPrecision(int digits) {
    std::vector<KGraphPanel*> graphs;
    getGraphList(graphs);
    for (KGraphPanel* g : graphs) g->setManualPrecision(digits);
    repaintGraphs();
}

void KGraphFrame::setLineFrequency(double hz) {
    if (KDouble::isFinite(hz) && hz >= 0) lineFrequency_ = hz;
    updateMarkerLabels();
}

bool KGraphFrame::properties(CWnd*) {
    KHost* host = getCanvas();
    if (host == nullptr) return false;
    std::vector<KGraphPanel*> graphs;
    getGraphList(graphs);
    std::vector<KCurve*> curves;
    getCurveList(curves);
    double lo, hi;
    getAxis()->getRange(lo, hi);
    KString text;
    text.format("%s\n\nGraphs: %d\nCurves: %d\nTime: %s to %s", getTitle().c_str(),
                static_cast<int>(graphs.size()), static_cast<int>(curves.size()), KGraphAxis::formatTime(lo).c_str(),
                KGraphAxis::formatTime(hi).c_str());
    if (lineFrequency_ > 0) text << "\nLine frequency: " << KDouble::toString(lineFrequency_).c_str() << " Hz";
    host->messageBox(text.c_str(), "Frame Properties", KHost::MB_OK | KHost::MB_ICONINFORMATION);
    return true;
}

// Events.

void KGraphFrame::processKeyEvent(KEvent& event) {
    if (event.getType() == KEvent::KEY_PRESSED && !event.isConsumed()) {
        if (event.getKeyCode() == KEvent::VK_INSERT && userOperations_) {
            event.consume();
            focusGraph(addAnalogGraph());
            return;
        }
        if (event.getKeyCode() == 'M' && defaultOperations_) {
            event.consume();
            toggleMarkers();
            return;
        }
    }
    KFrame::processKeyEvent(event);
}

void KGraphFrame::mouseWheel(KEvent& event) {
    // The wheel over the frame, where no graph took it, scrolls the stack of graphs.
    if (KScrollPane* pane = getScrollPane()) {
        KEvent e = event;
        e.translate(pane->getLocation());
        pane->mouseWheel(e);
        if (e.isConsumed()) event.consume();
    }
}

void KGraphFrame::onCommand(KEvent& event) {
    const KString& name = event.getName();
    if (name == "FRAME.ADD.ANALOG" || name == "FRAME.ADD.DIGITAL" || name == "FRAME.ADD.BAR") {
        event.consume();
        if (userOperations_) {
            focusGraph(name == "FRAME.ADD.ANALOG"    ? addAnalogGraph()
                       : name == "FRAME.ADD.DIGITAL" ? addDigitalGraph()
                                                     : addBarGraph());
        }
    } else if (name == "FRAME.MARKERS") {
        event.consume();
        toggleMarkers();
    } else if (name == "FRAME.PROPERTIES") {
        event.consume();
        properties(nullptr);
    } else if (name == "FRAME.COPY.BITMAP" || name == "FRAME.COPY.PICTURE") {
        event.consume();
        KClipboard::setComponentPicture(this, name == "FRAME.COPY.BITMAP");
    } else if (name == "COL.LEFT" || name == "COL.RIGHT") {
        // Send to back and bring to front: the frame among its siblings.
        event.consume();
        if (KContainer* parent = getParent()) {
            if (name == "COL.LEFT") {
                parent->toHead(this);
            } else {
                parent->toTail(this);
            }
            parent->repaint();
        }
    } else if ((name == "activate" || name == "component_activated") && event.getSource() != nullptr) {
        // A curve chosen in a legend: its graph becomes the active one.
        for (KContainer* c = event.getSource()->getParent(); c != nullptr && c != this; c = c->getParent()) {
            if (auto* graph = k_dynamic_cast<KGraphPanel>(c)) {
                setActiveGraph(graph);
                break;
            }
        }
    } else if (name == "curve.added" || name == "curve.removed" || name == "component_added" ||
               name == "component_removed" || name == "update") {
        event.consume();
        scheduleRefresh();
    } else if (name == "FRAME.REFRESH") {
        event.consume();
        refreshPending_ = false;
        refresh();
    } else if (name == "drag" && k_dynamic_cast<KCurve>(event.getSource()) != nullptr) {
        event.consume();
        dropCurve(static_cast<KCurve*>(event.getSource()));
    } else if (name == "CLIP.ALL" || name == "PASTE.ALL") {
        if (!userOperations_) {
            event.consume();
            return;
        }
        KFrame::onCommand(event);
    } else {
        KFrame::onCommand(event);
    }
}

// Object services.

void KGraphFrame::copy(const KObject& other) {
    KFrame::copy(other);
    const auto* f = k_dynamic_cast<KGraphFrame>(const_cast<KObject*>(&other));
    if (f == nullptr) return;
    scroll_ = f->scroll_;
    mode_ = f->mode_;
    lineFrequency_ = f->lineFrequency_;
    userOperations_ = f->userOperations_;
    defaultOperations_ = f->defaultOperations_;
}

void KGraphFrame::Serialize(KArchive& ar) {
    KFrame::Serialize(ar);
    std::vector<KCurve*> curves;
    getCurveList(curves);
    if (ar.isStoring()) {
        ar << STORED_VERSION << scroll_ << mode_ << lineFrequency_ << userOperations_ << defaultOperations_;
        KCurve::storeRecords(ar, curves);
        return;
    }
    std::int32_t version = 0;
    ar >> version;
    if (version < 0) KException::raise("Archive Error", "Invalid graph frame version %d", version);
    if (version < 1) return;
    ar >> scroll_ >> mode_ >> lineFrequency_ >> userOperations_ >> defaultOperations_;
    KCurve::loadRecords(ar, curves, "Graph frame");
    syncronizeMarkers();
}
