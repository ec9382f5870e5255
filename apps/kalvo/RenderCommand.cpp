#include "RenderCommand.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <string>

#include <kalvo/foundation/KException.h>
#include <kalvo/graph/KGraphAxis.h>
#include <kalvo/graph/KGraphClient.h>
#include <kalvo/graph/KGraphFrame.h>
#include <kalvo/host/headless/KCanvas.h>

#include "AnalysisViews.h"
#include "ChannelSelection.h"
#include "OutputFile.h"
#include "PlotViews.h"
#include "RecordSource.h"

const char* const RenderCommand::HELP =
    "usage: kalvo render [FILE] -o OUT.png|svg|pdf|emf [--view VIEW] [--channels LIST]\n"
    "                    [--from T] [--to T] [--markers T1,T2] [--size WxH] [--dark]\n"
    "                    [--primary] [--encoding NAME]\n"
    "       kalvo render [FILE] -o OUT --view harmonic|phasor [--markers T1,T2]\n"
    "                    [--rotation ABC|ACB]\n"
    "       kalvo render [FILE] -o OUT --view plot --x CH --y CH [--mode xy|polar|scatter]\n"
    "       kalvo render [FILE] -o OUT --view impedance --loop AG|BG|CG|AB|BC|CA [--k0 MAG,ANGLE]\n"
    "                    [--mho REACH,ANGLE[,OFFSET]]... [--quad X,R,ANGLE]...\n"
    "\n"
    "Paints a view of the record into a picture. Works on the embedded sample when no FILE is\n"
    "given. The views:\n"
    "  time       (the default) the time graphs: analog channels in graphs by their units,\n"
    "             status channels that change state in status graphs, all on one time axis\n"
    "             with the trigger marked\n"
    "  plot       beside the time graphs of the two channels, channel --y against channel\n"
    "             --x (a name or number; --x time for the time) over the stretch between the\n"
    "             --markers, or the time shown: xy draws the line through the points in time\n"
    "             order, polar takes --x as magnitude and --y as angle in degrees, scatter the\n"
    "             points alone\n"
    "  impedance  beside the time graphs of the phase voltages and currents, the apparent\n"
    "             impedance of each --loop (from one-cycle phasors) on the R-X plane, coloured\n"
    "             by time, with the zones given and where the locus enters them; ohms are\n"
    "             primary with --primary, else secondary\n"
    "  harmonic   the harmonic frame: the analog channels (the first 12 unless --channels\n"
    "             names them) over time, the spectrum of the stretch between the markers and\n"
    "             the table of its harmonics\n"
    "  phasor     the phasor frame: three analog channels (the first set of phases A, B and C\n"
    "             unless --channels names them) over time, their phasors over the stretch\n"
    "             between the markers and their positive-, negative- and zero-sequence\n"
    "             components\n"
    "\n"
    "  -o OUT           the picture to write; its extension chooses the format\n"
    "  --view VIEW      time, plot, impedance, harmonic or phasor\n"
    "  --channels LIST  channel names or numbers (from 1), separated by commas; all by default;\n"
    "                   for the impedance, the phase voltages and currents VA,VB,VC,IA,IB,IC\n"
    "                   (found by their names and units by default)\n"
    "  --from T         first time shown, in seconds from the trigger\n"
    "  --to T           last time shown, in seconds from the trigger\n"
    "  --markers T1,T2  shows markers X and O at these times, with their read-outs; for the\n"
    "                   harmonic and phasor views the stretch analysed (by default the cycle of\n"
    "                   the line that starts at the trigger)\n"
    "  --size WxH       the picture's size in pixels (1600x900 by default); taller when the\n"
    "                   graphs need it\n"
    "  --dark           light curves on a dark plot\n"
    "  --x CH, --y CH   the plot's two channels\n"
    "  --mode MODE      xy (the default), polar or scatter\n"
    "  --loop L         the fault loop(s), separated by commas: AG, BG, CG, AB, BC, CA\n"
    "  --k0 MAG,ANGLE   the residual compensation factor k0 = (Z0 - Z1) / 3 Z1 of the\n"
    "                   phase-to-ground loops, magnitude and angle in degrees (0 by default)\n"
    "  --mho R,A[,O]    a mho zone: reach R ohms at A degrees, offset O ohms back; repeatable\n"
    "  --quad X,R,A     a quadrilateral zone: reactive reach X and resistive reach R ohms,\n"
    "                   line angle A degrees; repeatable\n"
    "  --rotation R     the phasor view's phase rotation, ABC (default) or ACB\n"
    "  --primary        values on the primary side of the instrument transformers\n"
    "  --encoding NAME  character set of the texts: auto (default), utf-8, latin1, cp1251, gbk\n";

namespace {

const char* const FORMATS[] = {".png", ".svg", ".pdf", ".emf"};

std::string extensionOf(const std::string& path) {
    const size_t dot = path.rfind('.');
    const size_t slash = path.rfind('/');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return "";
    std::string ext = path.substr(dot);
    for (char& c : ext) c = static_cast<char>(tolower(static_cast<unsigned char>(c)));
    return ext;
}

}  // namespace

void RenderCommand::showTimeGraphs(KCanvas& canvas, KGraphFrame& frame, Input& input,
                                   const std::vector<int>& channels) {
    const CommandLine& options = input.options;
    frame.setTitle(input.title.c_str());
    frame.addRecord(&input.record, channels);
    if (options.dark) frame.setMode(1);
    if (options.hasFrom || options.hasTo) {
        const double* x = input.record.getXData();
        const int n = input.record.getSampleCount();
        frame.setXRange(options.hasFrom ? options.from : x[0], options.hasTo ? options.to : x[n - 1]);
    }
    if (options.markers.size() == 2) {
        frame.toggleMarkers();
        frame.setMarkerXPosition(options.markers[0]);
        frame.setMarkerOPosition(options.markers[1]);
    }
    canvas.pumpTasks();
    // Every graph shows: the picture grows taller when the graphs need more room.
    if (KGraphClient* graphs = frame.getGraphClient()) {
        const int needed = graphs->getMinimumSize().cy;
        const int room = graphs->getParent() != nullptr ? graphs->getParent()->getSize().cy : needed;
        if (needed > room) canvas.setSize(canvas.getWidth(), canvas.getHeight() + needed - room);
    }
    canvas.layout();
    canvas.pumpTasks();
}

namespace {

void renderTime(KCanvas& canvas, RenderCommand::Input& input) {
    auto* frame = new KGraphFrame(true);
    canvas.setRoot(frame);
    frame->create();
    RenderCommand::showTimeGraphs(canvas, *frame, input, input.channels);
}

// The views, by the name --view takes.
const struct {
    const char* name;
    RenderCommand::View view;
} VIEWS[] = {
    {"time", renderTime},
    {"plot", PlotViews::renderPlot},
    {"impedance", PlotViews::renderImpedance},
    {"harmonic", AnalysisViews::renderHarmonic},
    {"phasor", AnalysisViews::renderPhasor},
};

}  // namespace

int RenderCommand::run(const CommandLine& options, FILE*) {
    if (options.output.empty()) KException::raise("Usage", "render needs a picture to write: -o OUT.png");
    const std::string ext = extensionOf(options.output);
    if (std::none_of(std::begin(FORMATS), std::end(FORMATS), [&](const char* f) { return ext == f; })) {
        KException::raise("Usage", "%s: unknown picture type '%s' (use .png, .svg, .pdf or .emf)",
                          options.output.c_str(), ext.c_str());
    }
    const std::string viewName = options.view.empty() ? "time" : options.view;
    const auto view = std::find_if(std::begin(VIEWS), std::end(VIEWS), [&](const auto& v) { return viewName == v.name; });
    if (view == std::end(VIEWS)) {
        std::string names;
        for (const auto& v : VIEWS) names += std::string(names.empty() ? "" : ", ") + v.name;
        KException::raise("Usage", "unknown view '%s' (%s)", viewName.c_str(), names.c_str());
    }
    RecordSource source(options);
    KRecord record;
    source.read(record);
    source.done();
    const std::vector<int> traces = ChannelSelection(source.getReader().getConfig(), source.getName())
                                        .select(options.channels, ChannelSelection::ANY);
    const char* name = source.getName().c_str();
    const int n = record.getSampleCount();
    if (n == 0) KException::raise("Render", "%s holds no samples", name);
    const double* x = record.getXData();
    const double first = x[0], last = x[n - 1];
    const double from = options.hasFrom ? options.from : first;
    const double to = options.hasTo ? options.to : last;
    // A nanosecond of slack: times are computed, and a sample exactly at a bound belongs in.
    constexpr double SLACK = 1e-9;
    const bool inWindow = std::any_of(x, x + n, [&](double t) { return t >= from - SLACK && t <= to + SLACK; });
    if (!inWindow) {
        KException::raise("Usage", "no sample from %s s to %s s: %s spans %s s to %s s from the trigger",
                          RecordSource::seconds(from).c_str(), RecordSource::seconds(to).c_str(), name,
                          RecordSource::seconds(first).c_str(), RecordSource::seconds(last).c_str());
    }
    for (double m : options.markers) {
        if (m < std::min(first, last) - SLACK || m > std::max(first, last) + SLACK) {
            KException::raise("Usage", "a marker at %s s lies outside %s, which spans %s s to %s s from the trigger",
                              RecordSource::seconds(m).c_str(), name, RecordSource::seconds(first).c_str(),
                              RecordSource::seconds(last).c_str());
        }
    }

    KString title(record.getName().c_str());
    if (!record.getDevice().isEmpty()) title << " - " << record.getDevice();
    const KString start = record.getProperty("Start");
    if (!start.isEmpty()) title << "   " << start;
    Input input{options, source, record, traces, !options.channels.empty(), title};
    KCanvas canvas(options.width, options.height);
    view->view(canvas, input);
    // Written under a temporary name, put in place when complete.
    OutputFile output(options.output);
    if (ext == ".emf") {
        canvas.getRoot()->createMetaFile(output.getTemporaryPath().c_str());
    } else {
        canvas.save(output.getTemporaryPath().c_str());
    }
    output.commit();
    return 0;
}
