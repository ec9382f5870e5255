#include <kalvo/analysis/KHarmonicFrame.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include <kalvo/analysis/KAnalysisText.h>
#include <kalvo/analysis/KFftTransform.h>
#include <kalvo/analysis/KFreqGraph.h>
#include <kalvo/foundation/KArchive.h>
#include <kalvo/foundation/KDouble.h>
#include <kalvo/foundation/KVector.h>
#include <kalvo/graph/KCurve.h>
#include <kalvo/graph/KGraphAxis.h>
#include <kalvo/graph/KGraphFrame.h>
#include <kalvo/graph/KGraphMeter.h>
#include <kalvo/graph/KGraphPanel.h>
#include <kalvo/platform/KHost.h>
#include <kalvo/record/KRecord.h>
#include <kalvo/toolkit/KClipboard.h>
#include <kalvo/toolkit/KPanel.h>
#include <kalvo/toolkit/layout/KBorderLayout.h>
#include <kalvo/toolkit/layout/KGridBagLayout.h>
#include <kalvo/toolkit/widgets/KLabel.h>
#include <kalvo/toolkit/widgets/KTableExt.h>

K_IMPLEMENT_CLASS(KHarmonicFrame, KFrame, 1)

namespace {

constexpr std::int32_t STORED_VERSION = 1;
constexpr const char* UPDATE_TASK = "harmonic.update";

int lineHeight() {
    return KComponent::getUnitSize() + 6;
}

KLabel* titleLabel(const char* name, const char* text) {
    auto* label = new KLabel(name);
    label->setText(text);
    label->setEnabled(false);
    label->setStretch(0);
    label->setBackground(RGB(232, 236, 244));
    return label;
}

// The frequency graph's stand-in for a curve of the time graph: its name, colour and hatch.
void mirror(const KCurve* from, KCurve* to) {
    to->setName(from->getName().c_str());
    to->setText(from->getText().c_str());
    to->setLineColor(from->getLineColor());
    to->setGlyphVisible(from->isGlyphVisible());
    to->setUnits(from->getUnits().c_str());
    to->setAnalogState(from->isAnalog());
    to->setVisible(false);
}

}  // namespace

KHarmonicFrame::KHarmonicFrame()
    : KFrame("harmonicframe"),
      markerX_(KDouble::NaN),
      markerO_(KDouble::NaN),
      baseFrequency_(KDouble::NaN),
      transform_(new KFftTransform()) {
    setMenu("KHarmonicFrame");
    setOpaque(false);
}

KHarmonicFrame::~KHarmonicFrame() {
    delete transform_;
}

void KHarmonicFrame::create() {
    setName("harmonicframe");
    const int u = getUnitSize();
    setLayout(new KBorderLayout(0, lineHeight(), 0, 4));
    add(titleLabel("header", "Harmonic Frame"), "North");

    auto* client = new KPanel("client");
    client->setLayout(new KGridBagLayout(100, 100));
    add(client, "Center");

    auto* graphs = new KGraphFrame(true);
    graphs->create();
    client->add(graphs, "0, 0, 100, 55");

    auto* middle = new KPanel("midclient");
    middle->setLayout(new KBorderLayout(0, lineHeight(), 10 * u, lineHeight()));
    middle->add(titleLabel("freqgraphtitle", "Frequency Graph Magnitude"), "North");
    auto* spectrum = new KFreqGraph();
    spectrum->create();
    middle->add(spectrum, "Center");
    middle->add(titleLabel("freqgraphunits", "Harmonics"), "South");
    // The east panel's parts are placed by layoutAll: the meter shows only at times.
    auto* east = new KPanel("eastpanel");
    east->setBackground(0xFFFFFF);
    auto* base = new KLabel("basefq");
    base->setBorder(false);
    base->setStretch(0);
    base->setText("");
    east->add(base);
    middle->add(east, "East");
    client->add(middle, "0, 55, 100, 80");
    setMeter(nullptr);

    auto* lower = new KPanel("lowclient");
    lower->setLayout(new KBorderLayout());
    auto* table = new KTableExt("KTable");
    table->setRowHeaderVisible(true);
    table->setCornerTitle("Harmonic");
    lower->add(table, "Center");
    client->add(lower, "0, 80, 100, 100");

    auto* footer = new KPanel("footer");
    footer->setEnabled(false);
    add(footer, "South");
    updateTransform();
}

// Parts.

KGraphFrame* KHarmonicFrame::getGraphFrame() const {
    auto* frame = k_dynamic_cast<KGraphFrame>(findComponent("client.frame"));
    if (frame == nullptr) throwError(nullptr, "Unable to find graph frame.");
    return frame;
}

KGraphAxis* KHarmonicFrame::getAxis() const {
    return getGraphFrame()->getAxis();
}

KTableExt* KHarmonicFrame::getTable() const {
    auto* table = k_dynamic_cast<KTableExt>(findComponent("client.lowclient.KTable"));
    if (table == nullptr) throwError(nullptr, "Unable to find table.");
    return table;
}

KFreqGraph* KHarmonicFrame::getFrequencyGraph() const {
    auto* graph = k_dynamic_cast<KFreqGraph>(findComponent("client.midclient.KFreqGraph"));
    if (graph == nullptr) throwError(nullptr, "Unable to find frequency graph.");
    return graph;
}

KGraphMeter* KHarmonicFrame::getMeter() const {
    return k_dynamic_cast<KGraphMeter>(findComponent("client.midclient.eastpanel.meter"));
}

void KHarmonicFrame::setMeter(KGraphMeter* meter) {
    auto* east = findContainer("client.midclient.eastpanel");
    if (east == nullptr) return;
    KGraphMeter* current = getMeter();
    if (meter != nullptr && meter == current) return;
    if (current != nullptr) {
        east->remove(current);
        delete current;
    }
    if (meter == nullptr) meter = new KGraphMeter();
    meter->setName("meter");
    meter->setVisible(false);
    east->add(meter);
}

KLabel* KHarmonicFrame::findLabel(const char* path) const {
    return k_dynamic_cast<KLabel>(findComponent(path));
}

KString KHarmonicFrame::getTitle() const {
    const KLabel* label = findLabel("header");
    return label != nullptr ? label->getText() : KString();
}

void KHarmonicFrame::setTitle(const char* title) {
    if (KLabel* label = findLabel("header")) {
        label->setText(title);
        label->repaint();
    }
}

KString KHarmonicFrame::getGraphFrameTitle() const {
    return getGraphFrame()->getTitle();
}

void KHarmonicFrame::setGraphFrameTitle(const char* title) {
    getGraphFrame()->setTitle(title);
}

KString KHarmonicFrame::getFrequencyGraphTitle() const {
    const KLabel* label = findLabel("client.midclient.freqgraphtitle");
    return label != nullptr ? label->getText() : KString();
}

KString KHarmonicFrame::getBaseFrequencyText() const {
    const KLabel* label = findLabel("client.midclient.eastpanel.basefq");
    return label != nullptr ? label->getText() : KString();
}

void KHarmonicFrame::setDataTransform(KDataTransformExt* transform) {
    if (transform == transform_) return;
    delete transform_;
    transform_ = transform != nullptr ? transform : new KFftTransform();
}

// Curves and markers.

bool KHarmonicFrame::addCurve(KCurve* curve) {
    if (curve == nullptr) return false;
    KGraphFrame* frame = getGraphFrame();
    KGraphPanel* graph = frame->getActiveGraph();
    if (graph == nullptr) graph = frame->addAnalogGraph();
    graph->setAutoColoring(autoColoring_);
    if (!graph->addCurve(curve)) return false;
    graph->resetZoomY();
    frame->resetZoomX();
    updateTransform();
    return true;
}

KCurve* KHarmonicFrame::getActiveCurve() const {
    const KGraphPanel* graph = getGraphFrame()->getActiveGraph();
    return graph != nullptr ? graph->getActiveCurve() : nullptr;
}

void KHarmonicFrame::setMarkerXPosition(double x) {
    getGraphFrame()->setMarkerXPosition(x);
}

void KHarmonicFrame::setMarkerOPosition(double x) {
    getGraphFrame()->setMarkerOPosition(x);
}

double KHarmonicFrame::getMarkerXPosition() const {
    return getGraphFrame()->getMarkerXPosition();
}

double KHarmonicFrame::getMarkerOPosition() const {
    return getGraphFrame()->getMarkerOPosition();
}

void KHarmonicFrame::toggleMarkers() {
    getGraphFrame()->toggleMarkers();
}

void KHarmonicFrame::getMarkerPositions(double& x, double& o) const {
    x = markerX_;
    o = markerO_;
}

void KHarmonicFrame::toggleAutoColoring() {
    autoColoring_ = !autoColoring_;
}

void KHarmonicFrame::enableManualPrecision(bool on) {
    getGraphFrame()->enableManualPrecision(on);
    getFrequencyGraph()->enableManualPrecision(on);
    RedrawTable();
}

void KHarmonicFrame::setManualPrecision(int digits) {
    getGraphFrame()->setManualPrecision(digits);
    getFrequencyGraph()->setManualPrecision(digits);
    RedrawTable();
}

// Computing.

void KHarmonicFrame::updateTransform() {
    // Parts still being put together (as while loading) have nothing to compute yet.
    const auto* graphs = k_dynamic_cast<KGraphFrame>(findComponent("client.frame"));
    const KGraphAxis* axis = graphs != nullptr
                                 ? k_dynamic_cast<KGraphAxis>(graphs->findComponent("footer.axis"))
                                 : nullptr;
    if (axis == nullptr || findComponent("client.midclient.KFreqGraph") == nullptr ||
        findComponent("client.lowclient.KTable") == nullptr) {
        return;
    }
    const bool both = axis->isMarkerOEnabled() && axis->isMarkerXEnabled();
    if (!both && !analysisOn_ && getFrequencyGraph()->getResults().isEmpty()) return;
    analysisOn_ = both;
    if (updatePending_) return;
    if (getCanvas() == nullptr) {
        updateHarmonicFrame();
        return;
    }
    // Later, once: the moves that come before it runs are answered together.
    updatePending_ = true;
    postEvent(KEvent::action(this, UPDATE_TASK));
    if (!both) repaint();
}

void KHarmonicFrame::updateHarmonicFrame() {
    const KGraphAxis* axis = getAxis();
    if (axis->isMouseDrag() && !calculateOnDrag_) return;
    axis->getMarkerPositions(markerX_, markerO_);
    updateFreqComponent();
    updateHarmonicLabels();
}

void KHarmonicFrame::updateFreqComponent() {
    KFreqGraph* spectrum = getFrequencyGraph();
    std::vector<KCurve*> curves, mirrors;
    getGraphFrame()->getCurveList(curves);
    spectrum->getCurveList(mirrors);
    if (mirrors.size() != curves.size()) {
        // A new set of curves takes colours of its own: the palette, then its bright forms.
        if (autoColoring_) {
            for (size_t i = 0; i < curves.size(); ++i) {
                curves[i]->setLineColor(i % 12 < 6 ? KCurve::cColors1[i % 6]
                                                   : KCurve::cColors2[i % 6]);
            }
            getGraphFrame()->repaintGraphs();
        }
        spectrum->removeAllCurves();
        for (size_t i = 0; i < curves.size(); ++i) {
            auto* stand = new KCurve();
            mirror(curves[i], stand);
            if (!spectrum->addCurve(stand)) delete stand;
        }
    } else {
        for (size_t i = 0; i < curves.size(); ++i) mirror(curves[i], mirrors[i]);
    }
    updateBuffers();
    spectrum->resetZoomX();
    spectrum->resetZoomY();
    spectrum->repaint();
}

void KHarmonicFrame::updateBuffers() {
    KFreqGraph* spectrum = getFrequencyGraph();
    spectrum->clearResults();
    double t1 = markerX_, t2 = markerO_;
    if (t2 - t1 < 0) std::swap(t1, t2);
    const double length = t2 - t1;
    if (!(length != 0.0) || KDouble::isNaN(length)) {
        baseFrequency_ = KDouble::NaN;
        return;
    }
    baseFrequency_ = 1.0 / length;
    if (!analysisOn_ || transform_ == nullptr) return;
    std::vector<KCurve*> curves;
    getGraphFrame()->getCurveList(curves);
    KVector<KCurve> list;
    for (KCurve* c : curves) list.add(c);
    transform_->transform(list, spectrum->getResults(), t1, t2, spectrum->isNormalizeX(),
                          spectrum->isNormalizeY());
}

void KHarmonicFrame::updateHarmonicLabels() {
    RedrawTable();
    const KGraphAxis* axis = getAxis();
    const bool both = axis->isMarkerXEnabled() && axis->isMarkerOEnabled();
    if (KLabel* label = findLabel("client.midclient.eastpanel.basefq")) {
        KString text;
        if (both && KDouble::isFinite(baseFrequency_)) text.format("Hz %.2f", baseFrequency_);
        if (!label->getText().equals(text.c_str())) {
            label->setText(text.c_str());
            label->repaint();
        }
    }
    if (KLabel* units = findLabel("client.midclient.freqgraphunits")) {
        const char* text = getFrequencyGraph()->isNormalizeX() ? "Harmonics" : "Frequency (Hz)";
        if (!units->getText().equals(text)) {
            units->setText(text);
            units->repaint();
        }
    }
    if (KGraphMeter* meter = getMeter()) {
        std::vector<KCurve*> curves;
        getGraphFrame()->getCurveList(curves);
        const bool shown = !curves.empty() && both;
        const bool changed =
            meter->isVisible() != shown || meter->getRowCount() != static_cast<int>(curves.size());
        meter->setVisible(shown);
        if (shown) {
            meter->setCurveList(curves);
            meter->setMarkerPositions(markerX_, markerO_);
        }
        if (changed && getCanvas() != nullptr) layoutAll();
        meter->repaint();
    }
}

void KHarmonicFrame::RedrawTable(int first, int last) {
    KTableExt* table = getTable();
    const KFreqGraph* spectrum = getFrequencyGraph();
    std::vector<KCurve*> curves;
    getGraphFrame()->getCurveList(curves);
    const KVector<KRecord>& results = spectrum->getResults();
    int bins = 0;
    for (int i = 0; i < results.getCount(); ++i) {
        if (const KRecord* r = results.get(i)) bins = std::max(bins, r->getSampleCount());
    }
    if (last < 0 || last >= bins) last = bins - 1;
    first = std::max(first, 0);
    const int rows = std::max(0, last - first + 1);
    const int columns = 2 * static_cast<int>(curves.size());
    table->setColumnCount(columns);
    table->setRowCount(rows);
    for (size_t c = 0; c < curves.size(); ++c) {
        const KCurve* curve = curves[c];
        for (int k = 0; k < 2; ++k) {
            const int column = 2 * static_cast<int>(c) + k;
            table->setColumnTitle(column, k == 0 ? "Mag" : "Phase");
            table->setColumnSwatch(column, curve->getLineColor(), curve->isGlyphVisible(),
                                   (static_cast<int>(c) + 3) % 6);
        }
    }
    const bool manual = spectrum->isManualPrecision();
    const int precision = spectrum->getManualPrecision();
    KString number;
    for (int row = 0; row < rows; ++row) {
        const int bin = first + row;
        number.format("%d", bin);
        table->setRowTitle(row, number.c_str());
        for (size_t c = 0; c < curves.size(); ++c) {
            const KRecord* r = results.get(static_cast<int>(c));
            const bool has = r != nullptr && bin < r->getSampleCount() && r->getTraceCount() >= 2;
            const int column = 2 * static_cast<int>(c);
            table->setCellText(
                row, column,
                has ? KAnalysisText::magnitude(r->getTrace(0)->getSample(bin), manual, precision)
                          .c_str()
                    : "");
            table->setCellText(
                row, column + 1,
                has ? KAnalysisText::angle(r->getTrace(1)->getSample(bin)).c_str() : "");
        }
    }
}

// Events.

void KHarmonicFrame::layoutAll() {
    // The east panel is as wide as the marker read-out needs.
    if (auto* middle = findContainer("client.midclient")) {
        if (auto* layout = k_dynamic_cast<KBorderLayout>(middle->getLayout())) {
            int width = 10 * getUnitSize();
            if (const KGraphMeter* meter = getMeter(); meter != nullptr && meter->isVisible()) {
                width = std::max(width, static_cast<int>(meter->getPreferredSize().cx) + 8);
            }
            layout->setMargins(-1, -1, std::min(width, std::max(0, middle->getSize().cx / 2)), -1);
        }
    }
    KFrame::layoutAll();
    if (KContainer* east = findContainer("client.midclient.eastpanel")) {
        const CRect r = east->getClientRect();
        if (KComponent* base = east->findComponent("basefq")) {
            base->setBounds(CRect(r.left, r.top, r.right, r.top + lineHeight()));
        }
        if (KGraphMeter* meter = getMeter()) {
            const CSize size = meter->getPreferredSize();
            meter->setBounds(
                CRect(r.left + 4, r.top + lineHeight(),
                      std::min(r.right, r.left + 4 + static_cast<int>(size.cx)),
                      std::min(r.bottom, r.top + lineHeight() + static_cast<int>(size.cy))));
        }
    }
}

void KHarmonicFrame::onCommand(KEvent& event) {
    const KString& name = event.getName();
    KComponent* source = event.getSource();
    const KComponent* middle = findComponent("client.midclient");
    if (name == "markers.moved" || name == "update") {
        event.consume();
        updateTransform();
    } else if (name == "display_switch") {
        event.consume();
        if (KLabel* title = findLabel("client.midclient.freqgraphtitle")) {
            title->setText(getFrequencyGraph()->isPhasePlot() &&
                                   !getFrequencyGraph()->isMagnitudePlot()
                               ? "Frequency Graph Phase"
                               : "Frequency Graph Magnitude");
            title->repaint();
        }
    } else if (source != nullptr && middle != nullptr && middle->isAncestor(source) &&
               (name == "curve.added" || name == "curve.removed" || name == "component_added" ||
                name == "component_removed")) {
        // The spectrum's stand-ins come and go with the time graph's curves.
        event.consume();
    } else if (name == "FRAME.MARKERS") {
        event.consume();
        toggleMarkers();
    } else if (name == "AXIS.LOCK") {
        event.consume();
        getAxis()->toggleMarkerLockStep();
    } else if (name == "FRAME.COPY.BITMAP" || name == "FRAME.COPY.PICTURE") {
        event.consume();
        KClipboard::setComponentPicture(this, name == "FRAME.COPY.BITMAP");
    } else {
        KFrame::onCommand(event);
    }
}

void KHarmonicFrame::actionPerformed(KEvent& event) {
    if (event.getSource() == this && event.isNamed(UPDATE_TASK)) {
        event.consume();
        updatePending_ = false;
        updateHarmonicFrame();
        return;
    }
    KFrame::actionPerformed(event);
}

// Object services.

void KHarmonicFrame::copy(const KObject& other) {
    KFrame::copy(other);
    const auto* f = k_dynamic_cast<KHarmonicFrame>(const_cast<KObject*>(&other));
    if (f == nullptr) return;
    markerX_ = f->markerX_;
    markerO_ = f->markerO_;
    baseFrequency_ = f->baseFrequency_;
    analysisOn_ = f->analysisOn_;
    autoColoring_ = f->autoColoring_;
    calculateOnDrag_ = f->calculateOnDrag_;
}

void KHarmonicFrame::Serialize(KArchive& ar) {
    KFrame::Serialize(ar);
    if (ar.isStoring()) {
        ar << STORED_VERSION << markerX_ << markerO_ << baseFrequency_ << analysisOn_
           << autoColoring_ << calculateOnDrag_;
        return;
    }
    if (ar.readVersion(STORED_VERSION, "harmonic frame") >= 1) {
        ar >> markerX_ >> markerO_ >> baseFrequency_ >> analysisOn_ >> autoColoring_ >>
            calculateOnDrag_;
    }
    // The spectrum is not stored: it is computed again from the curves read back.
    updateTransform();
}
