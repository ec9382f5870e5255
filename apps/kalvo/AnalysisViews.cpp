#include "AnalysisViews.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

#include <kalvo/analysis/KFreqGraph.h>
#include <kalvo/analysis/KHarmonicFrame.h>
#include <kalvo/analysis/KPhasorFrame.h>
#include <kalvo/foundation/KException.h>
#include <kalvo/graph/KGraphAxis.h>
#include <kalvo/graph/KGraphFrame.h>
#include <kalvo/graph/KGraphPanel.h>
#include <kalvo/host/headless/KCanvas.h>
#include <kalvo/io/KComtradeReader.h>
#include <kalvo/record/KRecord.h>

#include "AnalysisStretch.h"
#include "ChannelSelection.h"
#include "PhasorsCommand.h"
#include "RecordSource.h"

namespace {

constexpr int HARMONIC_CHANNELS = 12;  // the harmonic view's channels when none are named

// The time graph of the frames: the record's channels, the window and the markers of the
// options, the line frequency for the read-outs.
void fillTimeGraph(KGraphFrame* graphs, RenderCommand::Input& input, const std::vector<int>& traces,
                   bool inOrder) {
    const CommandLine& options = input.options;
    KRecord& record = input.record;
    graphs->setTitle(input.title.c_str());
    // Graphs by units, unless the channels must keep their order and their units differ:
    // then a graph each, in order.
    bool sameUnits = true;
    for (int t : traces) {
        sameUnits = sameUnits &&
                    record.getTrace(t)->getUnits().equals(record.getTrace(traces[0])->getUnits());
    }
    if (sameUnits || !inOrder) {
        graphs->addRecord(&record, traces);
    } else {
        for (int t : traces) graphs->addRecord(&record, {t});
    }
    const double line = atof(record.getProperty(KComtradeReader::LINE_FREQUENCY).c_str());
    if (line > 0) graphs->setLineFrequency(line);
    if (options.dark) graphs->setMode(1);
    if (options.hasFrom || options.hasTo) {
        const int n = record.getSampleCount();
        graphs->setXRange(options.hasFrom ? options.from : record.getXData()[0],
                          options.hasTo ? options.to : record.getXData()[n - 1]);
    }
    // The stretch: the markers given, or the cycle from the trigger (whatever the window).
    double x, o;
    if (options.markers.size() == 2) {
        x = options.markers[0];
        o = options.markers[1];
    } else {
        CommandLine stretchOptions = options;
        stretchOptions.hasFrom = stretchOptions.hasTo = false;
        AnalysisStretch s;
        try {
            s = AnalysisStretch::choose(record, stretchOptions, input.source.getName(), "Render");
        } catch (const KException&) {
            // A record without a stretch to analyse shows its time graph alone.
            return;
        }
        // A marker takes the samples from the last one before it: a hair after the stretch's
        // first sample (and after its end) the frames analyse exactly its samples.
        const double hair = (s.to - s.from) / (s.end - s.first) * 1e-3;
        x = s.from + hair;
        o = s.to + hair;
    }
    double lo, hi;
    graphs->getAxis()->getXRange().getBounds(lo, hi);
    if (!graphs->getAxis()->isMarkersEnabled()) graphs->toggleMarkers();
    graphs->setMarkerXPosition(std::clamp(x, lo, hi));
    graphs->setMarkerOPosition(std::clamp(o, lo, hi));
}

void settle(KCanvas& canvas) {
    canvas.layout();
    canvas.pumpTasks();
    canvas.layout();
    canvas.pumpTasks();
}

}  // namespace

void AnalysisViews::renderHarmonic(KCanvas& canvas, RenderCommand::Input& input) {
    const KComtradeConfig& config = input.source.getReader().getConfig();
    std::vector<int> traces = ChannelSelection(config, input.source.getName())
                                  .select(input.options.channels, ChannelSelection::ANALOG);
    if (traces.empty())
        KException::raise("Render", "%s has no analog channels", input.source.getName().c_str());
    if (input.options.channels.empty() && traces.size() > HARMONIC_CHANNELS)
        traces.resize(HARMONIC_CHANNELS);
    auto* frame = new KHarmonicFrame();
    canvas.setRoot(frame);
    frame->create();
    if (input.options.dark) frame->getFrequencyGraph()->setOption(KGraphPanel::INVERTED, true);
    fillTimeGraph(frame->getGraphFrame(), input, traces, false);
    frame->updateTransform();
    settle(canvas);
}

void AnalysisViews::renderPhasor(KCanvas& canvas, RenderCommand::Input& input) {
    const KComtradeConfig& config = input.source.getReader().getConfig();
    std::vector<int> traces =
        input.options.channels.empty()
            ? PhasorsCommand::defaultChannels(input.record, static_cast<int>(config.analogs.size()))
            : ChannelSelection(config, input.source.getName())
                  .select(input.options.channels, ChannelSelection::ANALOG);
    if (traces.empty())
        KException::raise("Render", "%s has no analog channels", input.source.getName().c_str());
    if (traces.size() > 3) {
        KException::raise("Usage",
                          "the phasor view shows three channels, the phases A, B and C; %d given",
                          static_cast<int>(traces.size()));
    }
    auto* frame = new KPhasorFrame();
    canvas.setRoot(frame);
    frame->create();
    frame->setPhaseRotation(input.options.rotation.c_str());
    fillTimeGraph(frame->getGraphFrame(), input, traces, true);
    frame->updateTransform();
    settle(canvas);
}
