#include <kalvo/analysis/KPhasorFrame.h>

#include <algorithm>
#include <cmath>

#include <kalvo/analysis/KFftTransform.h>
#include <kalvo/analysis/KPhasorPanel.h>
#include <kalvo/foundation/KArchive.h>
#include <kalvo/foundation/KDouble.h>
#include <kalvo/foundation/KVector.h>
#include <kalvo/graph/KCurve.h>
#include <kalvo/graph/KGraphAxis.h>
#include <kalvo/graph/KGraphFrame.h>
#include <kalvo/graph/KGraphPanel.h>
#include <kalvo/platform/KHost.h>
#include <kalvo/record/KRecord.h>
#include <kalvo/toolkit/KClipboard.h>
#include <kalvo/toolkit/layout/KBorderLayout.h>
#include <kalvo/toolkit/layout/KGridBagLayout.h>
#include <kalvo/toolkit/layout/KGridLayout.h>
#include <kalvo/toolkit/widgets/KLabel.h>

K_IMPLEMENT_CLASS(KPhasorFrame, KPanel, 1)

namespace {

constexpr std::int32_t STORED_VERSION = 1;
constexpr const char* UPDATE_TASK = "phasor.update";
constexpr double PI = 3.14159265358979323846;

using Phasor = KSymmetricalComponents::Phasor;

int lineHeight() {
    return KComponent::getUnitSize() + 6;
}

const Phasor NONE(KDouble::NaN, KDouble::NaN);

bool known(Phasor p) {
    return KDouble::isFinite(p.real()) && KDouble::isFinite(p.imag());
}

KLabel* plainLabel(const char* name, const char* text) {
    auto* label = new KLabel(name);
    label->setText(text);
    label->setEnabled(false);
    label->setStretch(0);
    label->setBackground(RGB(232, 236, 244));
    return label;
}

}  // namespace

KPhasorFrame::KPhasorFrame()
    : KPanel("phasorframe"),
      regionFrom_(KDouble::NaN),
      regionTo_(KDouble::NaN),
      baseFrequency_(KDouble::NaN),
      transform_(new KFftTransform()) {
    setMenu("KPhasorFrame");
    setOpaque(false);
    for (int i = 0; i < 3; ++i) phasors_[i] = sequences_[i] = NONE;
}

KPhasorFrame::~KPhasorFrame() {
    delete transform_;
}

void KPhasorFrame::create() {
    setName("phasorframe");
    setLayout(new KBorderLayout(0, lineHeight(), 0, lineHeight()));
    add(plainLabel("header", "Phasor Frame"), "North");

    auto* client = new KPanel("client");
    client->setLayout(new KGridBagLayout(100, 100));
    add(client, "Center");
    auto* graphs = new KGraphFrame(true);
    graphs->create();
    rearrangeAxisFooter(graphs);
    client->add(graphs, "0, 0, 100, 55");
    auto* sub = new KPanel("subclient");
    sub->setLayout(new KBorderLayout());
    client->add(sub, "0, 55, 100, 100");
    auto* centre = new KPanel("centerpanel");
    centre->setLayout(new KGridLayout(1, 0, 2, 0));
    sub->add(centre, "Center");
    for (int k = 0; k < PANELS; ++k) {
        auto* panel = new KPhasorPanel();
        KString name;
        panel->setName(name.format("phasor%d", k).c_str());
        panel->create();
        centre->add(panel);
    }

    auto* footer = new KPanel("footer");
    footer->setLayout(new KBorderLayout());
    auto* base = new KLabel("basefq");
    base->setBorder(false);
    base->setStretch(0);
    base->setHorizontalAlignment(KLabel::LEFT);
    footer->add(base, "Center");
    add(footer, "South");
    updateTransform();
}

void KPhasorFrame::rearrangeAxisFooter(KGraphFrame* frame) {
    auto* footer = frame->findContainer("footer");
    auto* left = footer != nullptr ? footer->findContainer("cn1") : nullptr;
    auto* footerLayout =
        footer != nullptr ? k_dynamic_cast<KBorderLayout>(footer->getLayout()) : nullptr;
    auto* frameLayout = k_dynamic_cast<KBorderLayout>(frame->getLayout());
    if (left == nullptr || footerLayout == nullptr || frameLayout == nullptr) return;
    // The frame lines the axis up with the plots through the west margin, which now holds a
    // blank; the three read-outs stand in a row under the axis.
    footer->remove(left);
    auto* blank = new KPanel("cn0");
    blank->setBackground(0xFFFFFF);
    blank->setEnabled(false);
    footer->add(blank, "West");
    left->setLayout(new KGridLayout(1, 3, 0, 0));
    const int row = getUnitSize() - 2;
    footerLayout->setMargins(-1, -1, -1, row);
    footer->add(left, "South");
    frameLayout->setMargins(-1, -1, -1, frameLayout->getMargins().bottom + row);
}

// Parts.

KGraphFrame* KPhasorFrame::getGraphFrame() const {
    auto* frame = k_dynamic_cast<KGraphFrame>(findComponent("client.frame"));
    if (frame == nullptr) throwError(nullptr, "Unable to find graph frame.");
    return frame;
}

KGraphAxis* KPhasorFrame::getAxis() const {
    return getGraphFrame()->getAxis();
}

void KPhasorFrame::getPhasorPanelList(std::vector<KPhasorPanel*>& list) const {
    const KContainer* centre = findContainer("client.subclient.centerpanel");
    if (centre == nullptr) return;
    for (int i = 0; i < centre->getComponentCount(); ++i) {
        if (auto* panel = k_dynamic_cast<KPhasorPanel>(centre->getComponent(i)))
            list.push_back(panel);
    }
}

KPhasorPanel* KPhasorFrame::getPhasorGraph(int index) const {
    std::vector<KPhasorPanel*> panels;
    getPhasorPanelList(panels);
    return index >= 0 && index < static_cast<int>(panels.size()) ? panels[index] : nullptr;
}

KString KPhasorFrame::getTitle() const {
    const auto* header = k_dynamic_cast<KLabel>(findComponent("header"));
    return header != nullptr ? header->getText() : KString();
}

void KPhasorFrame::setTitle(const char* title) {
    if (auto* header = k_dynamic_cast<KLabel>(findComponent("header"))) {
        header->setText(title);
        header->repaint();
    }
}

void KPhasorFrame::setGraphFrameTitle(const char* title) {
    getGraphFrame()->setTitle(title);
}

KString KPhasorFrame::getGraphFrameTitle() const {
    return getGraphFrame()->getTitle();
}

// Curves.

bool KPhasorFrame::addCurve(KCurve* curve) {
    if (curve == nullptr) return false;
    std::vector<KCurve*> curves;
    getCurveList(curves);
    if (static_cast<int>(curves.size()) >= maximumCurves_) return false;
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

void KPhasorFrame::getCurveList(std::vector<KCurve*>& list) const {
    getGraphFrame()->getCurveList(list);
}

KCurve* KPhasorFrame::getActiveCurve() const {
    const KGraphPanel* graph = getGraphFrame()->getActiveGraph();
    return graph != nullptr ? graph->getActiveCurve() : nullptr;
}

// Markers and settings.

void KPhasorFrame::toggleMarkers() {
    getGraphFrame()->toggleMarkers();
}

void KPhasorFrame::toggleMarkerLockStep() {
    getAxis()->toggleMarkerLockStep();
}

bool KPhasorFrame::isMarkerLock() const {
    return getAxis()->isMarkerLock();
}

void KPhasorFrame::setMarkerXPosition(double x) {
    getGraphFrame()->setMarkerXPosition(x);
}

void KPhasorFrame::setMarkerOPosition(double x) {
    getGraphFrame()->setMarkerOPosition(x);
}

double KPhasorFrame::getMarkerXPosition() const {
    return getGraphFrame()->getMarkerXPosition();
}

double KPhasorFrame::getMarkerOPosition() const {
    return getGraphFrame()->getMarkerOPosition();
}

void KPhasorFrame::setAperture(double lo, double hi) {
    getGraphFrame()->setAperture(lo, hi);
}

void KPhasorFrame::getAperture(double& lo, double& hi) const {
    getGraphFrame()->getAperture(lo, hi);
}

void KPhasorFrame::setPanControl(double lo, double hi) {
    getAxis()->setPanControl(lo, hi);
}

void KPhasorFrame::toggleAutoColoring() {
    autoColoring_ = !autoColoring_;
}

void KPhasorFrame::setRegionBounds(double from, double to) {
    if (!KDouble::isFinite(from) || !KDouble::isFinite(to)) return;
    KGraphFrame* frame = getGraphFrame();
    if (!getAxis()->isMarkersEnabled()) frame->toggleMarkers();
    frame->setMarkerXPosition(from);
    frame->setMarkerOPosition(to);
}

void KPhasorFrame::getRegionBounds(double& from, double& to) const {
    from = regionFrom_;
    to = regionTo_;
}

void KPhasorFrame::setMaximumCurves(int maximum) {
    if (maximum >= 1 && maximum <= 32) maximumCurves_ = maximum;
}

void KPhasorFrame::setPhaseRotation(const char* rotation) {
    if (!KSymmetricalComponents::parseRotation(rotation, rotation_)) return;
    updateTransform();
}

const char* KPhasorFrame::getPhaseRotation() const {
    return KSymmetricalComponents::getRotationName(rotation_);
}

void KPhasorFrame::setDataTransform(KDataTransformExt* transform) {
    if (transform == transform_) return;
    delete transform_;
    transform_ = transform != nullptr ? transform : new KFftTransform();
}

void KPhasorFrame::enableManualPrecision(bool on) {
    manualPrecision_ = on;
    std::vector<KPhasorPanel*> panels;
    getPhasorPanelList(panels);
    for (KPhasorPanel* p : panels) {
        p->enableManualPrecision(on);
        p->updatePhasorLabels();
    }
}

void KPhasorFrame::setManualPrecision(int digits) {
    if (digits < 0 || digits > 15) return;
    precision_ = digits;
    std::vector<KPhasorPanel*> panels;
    getPhasorPanelList(panels);
    for (KPhasorPanel* p : panels) {
        p->setManualPrecision(digits);
        p->updatePhasorLabels();
    }
}

KSymmetricalComponents::Phasor KPhasorFrame::getPhasor(int index) const {
    return index >= 0 && index < 3 ? phasors_[index] : NONE;
}

KSymmetricalComponents::Phasor KPhasorFrame::getSequence(int sequence) const {
    return sequence >= 0 && sequence < 3 ? sequences_[sequence] : NONE;
}

// Computing.

bool KPhasorFrame::computePhasor(KDataTransform& transform, const double* values, int count,
                                 double& rms, double& degrees) {
    rms = degrees = KDouble::NaN;
    if (values == nullptr || count < 2) return false;
    std::vector<double> zeros(static_cast<size_t>(count), 0.0);
    KVector<double> in, out;
    in.add(const_cast<double*>(values));
    in.add(zeros.data());
    int n = count;
    const bool done = transform.transform(in, out, n) && out.getCount() >= 3;
    if (done) {
        // The kernel is e^(+i...): the cosine's phase is that of re - i im.
        const double re = out.get(1)[1], im = out.get(2)[1];
        rms = std::sqrt(2.0) / count * std::hypot(re, im);
        degrees = std::atan2(-im, re) * 180.0 / PI;
    }
    KDataTransform::deleteColumns(out);
    return done && KDouble::isFinite(rms);
}

void KPhasorFrame::updateTransform() {
    // Parts still being put together (as while loading) have nothing to compute yet.
    const auto* graphs = k_dynamic_cast<KGraphFrame>(findComponent("client.frame"));
    if (updatePending_ || graphs == nullptr || graphs->findComponent("footer.axis") == nullptr)
        return;
    if (getCanvas() == nullptr) {
        updatePhasors();
        return;
    }
    updatePending_ = true;
    postEvent(KEvent::action(this, UPDATE_TASK));
}

void KPhasorFrame::updatePhasors() {
    KGraphFrame* frame = getGraphFrame();
    const KGraphAxis* axis = frame->getAxis();
    if (axis->isMouseDrag()) return;
    std::vector<KCurve*> all, curves;
    frame->getCurveList(all);
    for (KCurve* c : all) {
        if (c->isAnalog() && curves.size() < 3) curves.push_back(c);
    }
    // A new set of curves takes the first colours of the palette, one each.
    if (autoColoring_ && curves.size() != colored_) {
        for (size_t i = 0; i < curves.size(); ++i)
            curves[i]->setLineColorIndex(static_cast<int>(i));
        frame->repaintGraphs();
    }
    colored_ = curves.size();
    for (int i = 0; i < 3; ++i) phasors_[i] = sequences_[i] = NONE;
    double t1, t2;
    axis->getMarkerPositions(t1, t2);
    if (t2 < t1) std::swap(t1, t2);
    const bool both = axis->isMarkerXEnabled() && axis->isMarkerOEnabled();
    baseFrequency_ = KDouble::NaN;
    if (both && KDouble::isFinite(t1) && KDouble::isFinite(t2) && t2 > t1) {
        regionFrom_ = t1;
        regionTo_ = t2;
        baseFrequency_ = 1.0 / (t2 - t1);
        for (size_t i = 0; i < curves.size(); ++i) {
            KCurve* curve = curves[i];
            KRecord* record = curve->getRecord();
            const int first = curve->findIndex(t1), end = curve->findIndex(t2);
            if (record == nullptr || first < 0 || end <= first || record->getYData() == nullptr)
                continue;
            double rms, degrees;
            if (computePhasor(*transform_, record->getYData() + first, end - first, rms, degrees)) {
                phasors_[i] = KSymmetricalComponents::fromPolar(rms, degrees);
            }
        }
        if (known(phasors_[0]) && known(phasors_[1]) && known(phasors_[2])) {
            KSymmetricalComponents::compute(phasors_, rotation_, sequences_);
        }
    }
    // One scale for all diagrams: no sequence component exceeds the largest phase quantity.
    double range = 0.0;
    for (const Phasor& p : phasors_) {
        if (known(p)) range = std::max(range, std::abs(p));
    }
    static const char* const titles[PANELS] = {nullptr, "PosSeq", "NegSeq", "ZeroSeq"};
    static const char symbols[PANELS] = {' ', '+', '-', '0'};
    static const KSymmetricalComponents::Sequence sequenceOf[PANELS] = {
        KSymmetricalComponents::ZERO, KSymmetricalComponents::POSITIVE,
        KSymmetricalComponents::NEGATIVE, KSymmetricalComponents::ZERO};
    std::vector<KPhasorPanel*> panels;
    getPhasorPanelList(panels);
    for (size_t k = 0; k < panels.size() && k < PANELS; ++k) {
        KPhasorPanel* panel = panels[k];
        KString title;
        if (k == 0) {
            title.format("Phase%s", getPhaseRotation());
        } else {
            title = titles[k];
        }
        panel->setTitle(title.c_str());
        Phasor shown[3];
        if (k == 0) {
            for (int i = 0; i < 3; ++i) shown[i] = phasors_[i];
        } else if (known(sequences_[sequenceOf[k]])) {
            KSymmetricalComponents::expand(sequences_[sequenceOf[k]], sequenceOf[k], rotation_,
                                           shown);
        } else {
            for (Phasor& p : shown) p = NONE;
        }
        for (int i = 0; i < 3; ++i) {
            KString label;
            panel->setTraceLabel(label.format("%c%c", 'A' + i, symbols[k]), i);
            panel->setColor(i < static_cast<int>(curves.size()) ? curves[i]->getLineColor()
                                                                : KCurve::cColors1[i],
                            i);
            panel->setMagnitude(known(shown[i]) ? std::abs(shown[i]) : KDouble::NaN, i);
            panel->setPhase(
                known(shown[i]) ? KSymmetricalComponents::degreesOf(shown[i]) : KDouble::NaN, i);
        }
        panel->setRange(range);
        panel->enableManualPrecision(manualPrecision_);
        panel->setManualPrecision(precision_);
        panel->updatePhasorLabels();
    }
    updateFooter();
}

void KPhasorFrame::updateFooter() {
    auto* label = k_dynamic_cast<KLabel>(findComponent("footer.basefq"));
    if (label == nullptr) return;
    KString text;
    if (KDouble::isFinite(baseFrequency_)) {
        text.format(" Hz %.2f    rotation %s", baseFrequency_, getPhaseRotation());
    } else {
        text.format(" rotation %s", getPhaseRotation());
    }
    if (!label->getText().equals(text.c_str())) {
        label->setText(text.c_str());
        label->repaint();
    }
}

// Events.

CSize KPhasorFrame::getMinimumSize() const {
    const int u = getUnitSize();
    return CSize(PANELS * 8 * u, 30 * u);
}

CSize KPhasorFrame::getMaximumSize() const {
    return CSize(20000, 20000);
}

void KPhasorFrame::onCommand(KEvent& event) {
    const KString& name = event.getName();
    if (name == "markers.moved" || name == "update") {
        event.consume();
        updateTransform();
    } else if (name == "FRAME.MARKERS") {
        event.consume();
        toggleMarkers();
    } else if (name == "AXIS.LOCK") {
        event.consume();
        toggleMarkerLockStep();
    } else if (name == "FRAME.COPY.BITMAP" || name == "FRAME.COPY.PICTURE") {
        event.consume();
        KClipboard::setComponentPicture(this, name == "FRAME.COPY.BITMAP");
    } else {
        KPanel::onCommand(event);
    }
}

void KPhasorFrame::actionPerformed(KEvent& event) {
    if (event.getSource() == this && event.isNamed(UPDATE_TASK)) {
        event.consume();
        updatePending_ = false;
        updatePhasors();
        return;
    }
    KPanel::actionPerformed(event);
}

// Object services.

void KPhasorFrame::copy(const KObject& other) {
    KPanel::copy(other);
    const auto* f = k_dynamic_cast<KPhasorFrame>(const_cast<KObject*>(&other));
    if (f == nullptr) return;
    regionFrom_ = f->regionFrom_;
    regionTo_ = f->regionTo_;
    baseFrequency_ = f->baseFrequency_;
    maximumCurves_ = f->maximumCurves_;
    rotation_ = f->rotation_;
    autoColoring_ = f->autoColoring_;
    manualPrecision_ = f->manualPrecision_;
    precision_ = f->precision_;
    for (int i = 0; i < 3; ++i) {
        phasors_[i] = f->phasors_[i];
        sequences_[i] = f->sequences_[i];
    }
}

void KPhasorFrame::Serialize(KArchive& ar) {
    KPanel::Serialize(ar);
    if (ar.isStoring()) {
        ar << STORED_VERSION << regionFrom_ << regionTo_ << baseFrequency_ << maximumCurves_;
        ar.writeString(getPhaseRotation());
        ar << autoColoring_ << manualPrecision_ << precision_;
        return;
    }
    if (ar.readVersion(STORED_VERSION, "phasor frame") >= 1) {
        std::int32_t maximum, precision;
        ar >> regionFrom_ >> regionTo_ >> baseFrequency_ >> maximum;
        const KString rotation = ar.readString();
        ar >> autoColoring_ >> manualPrecision_ >> precision;
        setMaximumCurves(maximum);
        KSymmetricalComponents::parseRotation(rotation.c_str(), rotation_);
        if (precision >= 0 && precision <= 15) precision_ = precision;
    }
    // The phasors are not stored: they are computed again from the curves read back.
    updateTransform();
}
