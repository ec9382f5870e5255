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
#include "RecordSource.h"
#include "RenderScene.h"

const char* const RenderCommand::HELP =
    "usage: kalvo render [FILE] -o OUT.png|svg|pdf|emf [--view NAME] [--channels LIST]\n"
    "                    [--from T] [--to T] [--markers T1,T2] [--size WxH] [--dark]\n"
    "                    [--rotation ABC|ACB] [--primary] [--encoding NAME]\n"
    "\n"
    "Paints a view of the record into a picture, as the viewer shows it. Works on the embedded\n"
    "sample when no FILE is given.\n"
    "\n"
    "views:\n"
    "  time       (the default) the time graphs: analog channels in graphs by their units,\n"
    "             status channels that change state in status graphs, all on one time axis\n"
    "             with the trigger marked\n"
    "  harmonic   the harmonic frame: the analog channels (the first 12 unless --channels\n"
    "             names them) over time, the spectrum of the stretch between the markers and\n"
    "             the table of its harmonics\n"
    "  phasor     the phasor frame: three analog channels (the first three-phase set unless\n"
    "             --channels names them) over time, their phasors over the stretch between the\n"
    "             markers and their positive-, negative- and zero-sequence components\n"
    "\n"
    "  -o OUT           the picture to write; its extension chooses the format\n"
    "  --view NAME      time, harmonic or phasor\n"
    "  --channels LIST  channel names or numbers (from 1), separated by commas; all by default\n"
    "  --from T         first time shown, in seconds from the trigger\n"
    "  --to T           last time shown, in seconds from the trigger\n"
    "  --markers T1,T2  shows markers X and O at these times, with their read-outs; for the\n"
    "                   harmonic and phasor views the stretch analysed (by default the cycle of\n"
    "                   the line that starts at the trigger)\n"
    "  --size WxH       the picture's size in pixels (1600x900 by default); the time view grows\n"
    "                   taller when its graphs need it\n"
    "  --dark           light curves on a dark plot\n"
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

// The time graphs of the chosen channels, the window and markers of the options.
void timeView(KCanvas& canvas, RenderScene& scene) {
    const CommandLine& options = scene.options;
    KRecord& record = scene.record;
    const ChannelSelection selection(scene.source.getReader().getConfig(), scene.source.getName());
    const std::vector<int> traces = selection.select(options.channels, ChannelSelection::ANY);
    auto* frame = new KGraphFrame(true);
    canvas.setRoot(frame);
    frame->create();
    frame->setTitle(scene.title.c_str());
    frame->addRecord(&record, traces);
    if (options.dark) frame->setMode(1);
    if (options.hasFrom || options.hasTo) {
        const int n = record.getSampleCount();
        frame->setXRange(options.hasFrom ? options.from : record.getXData()[0],
                         options.hasTo ? options.to : record.getXData()[n - 1]);
    }
    if (options.markers.size() == 2) {
        frame->toggleMarkers();
        frame->setMarkerXPosition(options.markers[0]);
        frame->setMarkerOPosition(options.markers[1]);
    }
    canvas.pumpTasks();
    // Every graph shows: the picture grows taller when the graphs need more room.
    if (KGraphClient* graphs = frame->getGraphClient()) {
        const int needed = graphs->getMinimumSize().cy;
        const KContainer* place = graphs->getParent();
        const int room = place != nullptr ? place->getSize().cy : needed;
        if (needed > room) canvas.setSize(options.width, options.height + needed - room);
    }
    canvas.layout();
    canvas.pumpTasks();
}

// The views, by their --view names.
const RenderView VIEWS[] = {
    {"time", timeView},
    {"harmonic", AnalysisViews::harmonic},
    {"phasor", AnalysisViews::phasor},
};

}  // namespace

int RenderCommand::run(const CommandLine& options, FILE*) {
    const RenderView* view = nullptr;
    std::string names;
    for (const RenderView& v : VIEWS) {
        if (options.view == v.name) view = &v;
        names += names.empty() ? v.name : std::string(", ") + v.name;
    }
    if (view == nullptr) {
        KException::raise("Usage", "unknown view '%s' (%s)", options.view.c_str(), names.c_str());
    }
    if (options.output.empty()) KException::raise("Usage", "render needs a picture to write: -o OUT.png");
    const std::string ext = extensionOf(options.output);
    if (std::none_of(std::begin(FORMATS), std::end(FORMATS), [&](const char* f) { return ext == f; })) {
        KException::raise("Usage", "%s: unknown picture type '%s' (use .png, .svg, .pdf or .emf)",
                          options.output.c_str(), ext.c_str());
    }
    RecordSource source(options);
    KRecord record;
    source.read(record);
    source.done();
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

    KCanvas canvas(options.width, options.height);
    KString title(record.getName().c_str());
    if (!record.getDevice().isEmpty()) title << " - " << record.getDevice();
    const KString start = record.getProperty("Start");
    if (!start.isEmpty()) title << "   " << start;
    RenderScene scene{options, source, record, title};
    view->build(canvas, scene);
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
