#include "PlotViews.h"

#include <strings.h>
#include <memory>

#include <kalvo/foundation/KException.h>
#include <kalvo/graph/KGraphFrame.h>
#include <kalvo/host/headless/KCanvas.h>
#include <kalvo/plot/KCharacteristic.h>
#include <kalvo/plot/KImpedancePanel.h>
#include <kalvo/plot/KPlotCurve.h>
#include <kalvo/plot/KPlotFrame.h>
#include <kalvo/plot/KPlotPanel.h>
#include <kalvo/record/KImpedanceTransform.h>
#include <kalvo/record/KRecord.h>

#include "ChannelSelection.h"
#include "DisplayText.h"
#include "ImpedanceOptions.h"
#include "RecordSource.h"

namespace {

// The one analog channel an option names, or the domain for "time".
int channelOf(RenderCommand::Input& input, const char* option, const std::string& item) {
    if (item.empty()) KException::raise("Usage", "--view plot needs --x CH and --y CH");
    if (strcasecmp(item.c_str(), "time") == 0) return KPlotCurve::DOMAIN;
    const std::vector<int> found =
        ChannelSelection(input.source.getReader().getConfig(), input.source.getName())
            .select({item}, ChannelSelection::ANALOG);
    if (found.size() != 1)
        KException::raise(
            "Usage", "%s names %s ('%s'); it takes one", option,
            RecordSource::count(static_cast<long long>(found.size()), "channel").c_str(),
            DisplayText::escape(item).c_str());
    return found.front();
}

// The frame on the canvas, with the plot panel given.
KPlotFrame* frameOn(KCanvas& canvas, KPlotPanel* plot) {
    auto* frame = new KPlotFrame();
    canvas.setRoot(frame);
    frame->create(plot);
    canvas.layout();
    return frame;
}

}  // namespace

void PlotViews::renderPlot(KCanvas& canvas, RenderCommand::Input& input) {
    const CommandLine& options = input.options;
    const int x = channelOf(input, "--x", options.xChannel);
    const int y = channelOf(input, "--y", options.yChannel);
    KPlotFrame* frame = frameOn(canvas, new KPlotPanel());
    std::vector<int> shown = input.channels;
    if (!input.channelsGiven) {
        shown.clear();
        if (x != KPlotCurve::DOMAIN) shown.push_back(x);
        if (y != x) shown.push_back(y);
    }
    RenderCommand::showTimeGraphs(canvas, *frame->getGraphFrame(), input, shown);
    KPlotPanel* plot = frame->getPlotPanel();
    plot->setMode(options.plotMode == "polar"     ? KPlotPanel::POLAR
                  : options.plotMode == "scatter" ? KPlotPanel::SCATTER
                                                  : KPlotPanel::XY);
    if (options.dark) plot->setOption(KGraphPanel::INVERTED, true);
    KPlotCurve* pair = frame->addPair(&input.record, x, y);
    KString title;
    if (plot->getMode() == KPlotPanel::POLAR) {
        title << pair->getXName() << " at the angle " << pair->getYName();
    } else {
        title << pair->getYName() << " against " << pair->getXName();
    }
    frame->setTitle(title.c_str());
    frame->updateAperture();
    canvas.layout();
    plot->resetZoom();
    canvas.pumpTasks();
}

void PlotViews::renderImpedance(KCanvas& canvas, RenderCommand::Input& input) {
    const ImpedanceOptions wanted(input.options, input.source, input.record);
    auto* plane = new KImpedancePanel();
    KPlotFrame* frame = frameOn(canvas, plane);
    RenderCommand::showTimeGraphs(canvas, *frame->getGraphFrame(), input,
                                  std::vector<int>(wanted.channels, wanted.channels + 6));
    if (input.options.dark) plane->setOption(KGraphPanel::INVERTED, true);
    KString loops;
    for (int loop : wanted.loops) {
        KImpedanceTransform transform;
        wanted.setUp(transform, loop);
        auto impedance = std::make_shared<KRecord>();
        if (!transform.transform(&input.record, *impedance, 0, input.record.getSampleCount(), false,
                                 false))
            KException::raise("Impedance", "%s", transform.getError().c_str());
        plane->addLocus(impedance, KImpedanceTransform::getLoopName(loop));
        loops << (loops.isEmpty() ? "" : ", ") << KImpedanceTransform::getLoopName(loop);
    }
    for (KCharacteristic* zone : wanted.getSettings().makeZones()) plane->addCharacteristic(zone);
    // Several loci are told apart by their colours; one is coloured by time.
    plane->setTimeColoring(wanted.loops.size() == 1);
    KString title;
    title << "Apparent impedance " << loops << ", " << input.record.getProperty("Values")
          << " ohms, " << wanted.getSettings().describeK0().c_str();
    frame->setTitle(title.c_str());
    frame->updateAperture();
    canvas.layout();
    plane->resetZoom();
    canvas.pumpTasks();
}
