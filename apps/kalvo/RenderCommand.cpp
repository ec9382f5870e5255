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

#include "ChannelSelection.h"
#include "OutputFile.h"
#include "RecordSource.h"

const char* const RenderCommand::HELP =
    "usage: kalvo render [FILE] -o OUT.png|svg|pdf|emf [--channels LIST] [--from T] [--to T]\n"
    "                    [--markers T1,T2] [--size WxH] [--dark] [--primary] [--encoding NAME]\n"
    "\n"
    "Paints the record's time graphs into a picture: analog channels in graphs by their\n"
    "units, status channels that change state in status graphs, all on one time axis with\n"
    "the trigger marked. Works on the embedded sample when no FILE is given.\n"
    "\n"
    "  -o OUT           the picture to write; its extension chooses the format\n"
    "  --channels LIST  channel names or numbers (from 1), separated by commas; all by default\n"
    "  --from T         first time shown, in seconds from the trigger\n"
    "  --to T           last time shown, in seconds from the trigger\n"
    "  --markers T1,T2  shows markers X and O at these times, with their read-outs\n"
    "  --size WxH       the picture's size in pixels (1600x900 by default); taller when the\n"
    "                   graphs need it\n"
    "  --dark           light curves on a dark plot\n"
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

int RenderCommand::run(const CommandLine& options, FILE*) {
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

    KCanvas canvas(options.width, options.height);
    auto* frame = new KGraphFrame(true);
    canvas.setRoot(frame);
    frame->create();
    KString title(record.getName().c_str());
    if (!record.getDevice().isEmpty()) title << " - " << record.getDevice();
    const KString start = record.getProperty("Start");
    if (!start.isEmpty()) title << "   " << start;
    frame->setTitle(title.c_str());
    frame->addRecord(&record, traces);
    if (options.dark) frame->setMode(1);
    if (options.hasFrom || options.hasTo) frame->setXRange(from, to);
    if (options.markers.size() == 2) {
        frame->toggleMarkers();
        frame->setMarkerXPosition(options.markers[0]);
        frame->setMarkerOPosition(options.markers[1]);
    }
    canvas.pumpTasks();
    // Every graph shows: the picture grows taller when the graphs need more room.
    if (KGraphClient* graphs = frame->getGraphClient()) {
        const int needed = graphs->getMinimumSize().cy;
        const int room = graphs->getParent() != nullptr ? graphs->getParent()->getSize().cy : needed;
        if (needed > room) canvas.setSize(options.width, options.height + needed - room);
    }
    canvas.layout();
    canvas.pumpTasks();
    // Written under a temporary name, put in place when complete.
    OutputFile output(options.output);
    if (ext == ".emf") {
        frame->createMetaFile(output.getTemporaryPath().c_str());
    } else {
        canvas.save(output.getTemporaryPath().c_str());
    }
    output.commit();
    return 0;
}
