#include "RecordViews.h"

#include <cmath>
#include <memory>
#include <vector>

#include <kalvo/foundation/KException.h>
#include <kalvo/graph/KGraphAxis.h>
#include <kalvo/graph/KGraphFrame.h>
#include <kalvo/host/gtk/KCanvasView.h>
#include <kalvo/plot/KImpedancePanel.h>
#include <kalvo/plot/KPlotCurve.h>
#include <kalvo/plot/KPlotFrame.h>
#include <kalvo/plot/KPlotPanel.h>
#include <kalvo/record/KImpedanceTransform.h>
#include <kalvo/record/KPhaseChannels.h>
#include <kalvo/record/KRecord.h>

namespace {

// A plot frame on the canvas around the plot, its time graphs showing the channels.
KPlotFrame* plotFrameOn(KCanvasView& canvas, KPlotPanel* plot, const KGraphFrame& timeGraphs,
                        KRecord& record, const std::vector<int>& channels) {
    auto* frame = new KPlotFrame();
    canvas.setRoot(frame);
    frame->create(plot);
    frame->addRecord(&record, channels);
    KGraphFrame* graphs = frame->getGraphFrame();
    graphs->setTitle(timeGraphs.getTitle().c_str());
    graphs->setMode(timeGraphs.getMode());
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

}  // namespace

KGraphFrame* RecordViews::buildXY(KCanvasView& canvas, KGraphFrame& timeGraphs, KRecord& record) {
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
                                         KRecord& record) {
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
        auto impedance = std::make_shared<KRecord>();
        if (!transform.transform(&record, *impedance, 0, record.getSampleCount(), false, false)) {
            KException::raise("Impedance", "%s", transform.getError().c_str());
        }
        plane->addLocus(impedance, KImpedanceTransform::getLoopName(loop));
    }
    plane->setTimeColoring(false);
    KString title;
    title << "Apparent impedance of the fault loops, " << record.getProperty("Values")
          << " ohms, no k0";
    frame->setTitle(title.c_str());
    follow(timeGraphs, *frame->getGraphFrame(), false);
    canvas.layout();
    plane->resetZoom();
    return frame->getGraphFrame();
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
