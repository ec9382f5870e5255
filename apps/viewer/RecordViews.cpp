#include "RecordViews.h"

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include <kalvo/analysis/KFreqGraph.h>
#include <kalvo/analysis/KHarmonicFrame.h>
#include <kalvo/analysis/KPhasorFrame.h>
#include <kalvo/foundation/KException.h>
#include <kalvo/graph/KCurve.h>
#include <kalvo/graph/KGraphAxis.h>
#include <kalvo/graph/KGraphFrame.h>
#include <kalvo/graph/KGraphPanel.h>
#include <kalvo/host/gtk/KCanvasView.h>
#include <kalvo/plot/KCharacteristic.h>
#include <kalvo/plot/KImpedancePanel.h>
#include <kalvo/plot/KImpedanceSettings.h>
#include <kalvo/plot/KPlotCurve.h>
#include <kalvo/plot/KPlotFrame.h>
#include <kalvo/plot/KPlotPanel.h>
#include <kalvo/record/KImpedanceTransform.h>
#include <kalvo/record/KPhaseChannels.h>
#include <kalvo/record/KRecord.h>

namespace {

constexpr size_t HARMONIC_CURVES = 12;  // the most curves the harmonic view takes

// A view's own time graphs titled and coloured as the tab's.
void lookLike(KGraphFrame& graphs, const KGraphFrame& timeGraphs) {
    graphs.setTitle(timeGraphs.getTitle().c_str());
    graphs.setMode(timeGraphs.getMode());
}

// A plot frame on the canvas around the plot, its time graphs showing the channels.
KPlotFrame* plotFrameOn(KCanvasView& canvas, KPlotPanel* plot, const KGraphFrame& timeGraphs,
                        KRecord& record, const std::vector<int>& channels) {
    auto* frame = new KPlotFrame();
    canvas.setRoot(frame);
    frame->create(plot);
    frame->addRecord(&record, channels);
    lookLike(*frame->getGraphFrame(), timeGraphs);
    if (timeGraphs.getMode() == 1) plot->setOption(KGraphPanel::INVERTED, true);
    return frame;
}

std::vector<int> analogChannels(const KRecord& record) {
    std::vector<int> analog;
    for (int t = 0; t < record.getTraceCount(); ++t) {
        if (!record.getTrace(t)->isDigital()) analog.push_back(t);
    }
    return analog;
}

// "Ia, Ib and Ic".
std::string channelNames(const KRecord& record, const std::vector<int>& traces) {
    std::string text;
    for (size_t i = 0; i < traces.size(); ++i) {
        if (i > 0) text += i + 1 == traces.size() ? " and " : ", ";
        text += record.getTrace(traces[i])->getName().c_str();
    }
    return text;
}

}  // namespace

KGraphFrame* RecordViews::buildXY(KCanvasView& canvas, KGraphFrame& timeGraphs, KRecord& record,
                                  const KImpedanceSettings&) {
    int voltages[3], currents[3];
    int x, y;
    if (KPhaseChannels::find(record, voltages, currents)) {
        x = currents[0];
        y = voltages[0];
    } else {
        const std::vector<int> analog = analogChannels(record);
        if (analog.size() < 2) {
            KException::raise("XY Plot", "The XY plot needs two analog channels; %s has %d.",
                              record.getName().c_str(), static_cast<int>(analog.size()));
        }
        x = analog[0];
        y = analog[1];
    }
    KPlotFrame* frame = plotFrameOn(canvas, new KPlotPanel(), timeGraphs, record, {x, y});
    KPlotCurve* pair = frame->addPair(&record, x, y);
    KString title;
    title << pair->getYName() << " against " << pair->getXName();
    frame->setTitle(title.c_str());
    follow(timeGraphs, *frame->getGraphFrame(), false);
    canvas.layout();
    frame->getPlotPanel()->resetZoom();
    return frame->getGraphFrame();
}

KGraphFrame* RecordViews::buildImpedance(KCanvasView& canvas, KGraphFrame& timeGraphs,
                                         KRecord& record, const KImpedanceSettings& settings) {
    int channels[6];
    if (!KPhaseChannels::find(record, channels, channels + 3)) {
        KException::raise("Impedance",
                          "The impedance needs three phase voltages and three phase currents; "
                          "none were recognised in %s by their names and units.",
                          record.getName().c_str());
    }
    auto* plane = new KImpedancePanel();
    KPlotFrame* frame =
        plotFrameOn(canvas, plane, timeGraphs, record, std::vector<int>(channels, channels + 6));
    for (int loop = KImpedanceTransform::AG; loop < KImpedanceTransform::LOOP_COUNT; ++loop) {
        KImpedanceTransform transform;
        transform.setLoop(loop);
        transform.setChannels(channels);
        settings.apply(transform);
        auto impedance = std::make_shared<KRecord>();
        if (!transform.transform(&record, *impedance, 0, record.getSampleCount(), false, false)) {
            KException::raise("Impedance", "%s", transform.getError().c_str());
        }
        plane->addLocus(impedance, KImpedanceTransform::getLoopName(loop));
    }
    for (KCharacteristic* zone : settings.makeZones()) plane->addCharacteristic(zone);
    plane->setTimeColoring(false);
    KString title;
    title << "Apparent impedance of the fault loops, " << record.getProperty("Values")
          << " ohms, " << settings.describeK0();
    frame->setTitle(title.c_str());
    follow(timeGraphs, *frame->getGraphFrame(), false);
    canvas.layout();
    plane->resetZoom();
    return frame->getGraphFrame();
}

KGraphFrame* RecordViews::buildHarmonic(KCanvasView& canvas, KGraphFrame& timeGraphs,
                                        KRecord& record, const KImpedanceSettings&) {
    // The analog curves of the graph in use, else the first analog channels.
    std::vector<int> traces;
    if (KGraphPanel* active = timeGraphs.getActiveGraph()) {
        std::vector<KCurve*> curves;
        active->getCurveList(curves);
        for (KCurve* c : curves) {
            const int t = c->getChannel();
            if (c->getSourceRecord() == &record && c->isVisible() && t >= 0 &&
                t < record.getTraceCount() && !record.getTrace(t)->isDigital()) {
                traces.push_back(t);
            }
        }
    }
    if (traces.empty()) traces = analogChannels(record);
    if (traces.empty()) {
        KException::raise("Harmonics", "The harmonics need an analog channel; %s has none.",
                          record.getName().c_str());
    }
    if (traces.size() > HARMONIC_CURVES) traces.resize(HARMONIC_CURVES);
    auto* frame = new KHarmonicFrame();
    canvas.setRoot(frame);
    frame->create();
    frame->setTitle(("Harmonics of " + channelNames(record, traces) + " from X to O").c_str());
    KGraphFrame* graphs = frame->getGraphFrame();
    graphs->addRecord(&record, traces);
    lookLike(*graphs, timeGraphs);
    if (timeGraphs.getMode() == 1) {
        frame->getFrequencyGraph()->setOption(KGraphPanel::INVERTED, true);
    }
    follow(timeGraphs, *graphs, true);
    frame->updateTransform();
    canvas.layout();
    return graphs;
}

KGraphFrame* RecordViews::buildPhasor(KCanvasView& canvas, KGraphFrame& timeGraphs,
                                      KRecord& record, const KImpedanceSettings&) {
    // The phase currents, else the phase voltages, else the first three analog channels.
    int sets[2][3];
    KPhaseChannels::find(record, sets[1], sets[0]);
    std::vector<int> traces;
    for (const int* set : sets) {
        if (traces.empty() && set[0] >= 0 && set[1] >= 0 && set[2] >= 0) {
            traces.assign(set, set + 3);
        }
    }
    if (traces.empty()) {
        traces = analogChannels(record);
        if (traces.size() < 3) {
            KException::raise("Phasors", "The phasors need three analog channels; %s has %d.",
                              record.getName().c_str(), static_cast<int>(traces.size()));
        }
        traces.resize(3);
    }
    auto* frame = new KPhasorFrame();
    canvas.setRoot(frame);
    frame->create();
    frame->setTitle(("Phasors of " + channelNames(record, traces) + " from X to O").c_str());
    KGraphFrame* graphs = frame->getGraphFrame();
    graphs->addRecord(&record, traces);
    lookLike(*graphs, timeGraphs);
    follow(timeGraphs, *graphs, true);
    frame->updateTransform();
    canvas.layout();
    return graphs;
}

void RecordViews::follow(const KGraphFrame& from, KGraphFrame& to, bool needMarkers) {
    const KGraphAxis* axis = from.getAxis();
    double lo, hi;
    axis->getRange(lo, hi);
    to.setXRange(lo, hi);
    const bool shown = axis->isMarkerXEnabled() && axis->isMarkerOEnabled() &&
                       std::isfinite(axis->getMarkerXPosition()) &&
                       std::isfinite(axis->getMarkerOPosition());
    double x = axis->getMarkerXPosition(), o = axis->getMarkerOPosition();
    if (!shown && needMarkers) {
        x = axis->getTriggerPosition();
        if (!(x >= lo && x <= hi)) x = lo;
        const double line = from.getLineFrequency() > 0 ? from.getLineFrequency() : 50.0;
        o = x + 1.0 / line;
    }
    KGraphAxis* toAxis = to.getAxis();
    const bool want = shown || needMarkers;
    if (want != (toAxis->isMarkerXEnabled() && toAxis->isMarkerOEnabled())) to.toggleMarkers();
    if (want) {
        to.setMarkerXPosition(x);
        to.setMarkerOPosition(o);
    }
    to.syncronizeMarkers();
    to.updateMarkerLabels();
    to.repaintGraphs();
}
