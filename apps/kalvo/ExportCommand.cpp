#include "ExportCommand.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

#include <kalvo/foundation/KException.h>
#include <kalvo/io/KComtradeStream.h>

#include "ChannelSelection.h"
#include "OutputFile.h"
#include "RecordSource.h"

const char* const ExportCommand::HELP =
    "usage: kalvo export [FILE] [--channels LIST] [--from T] [--to T] [-o OUT.csv]\n"
    "                    [--primary] [--encoding NAME] [--quiet]\n"
    "\n"
    "Writes comma-separated columns: the time in seconds from the trigger (to the\n"
    "nanosecond) and the values of each chosen channel (status channels as 0 or 1) in the\n"
    "fewest digits that read back as the same sample (a FLOAT32 sample as the float it is);\n"
    "a missing sample is an empty field. The first line names the columns. Works on the\n"
    "embedded sample when no FILE is given. The data file is read once, in little memory.\n"
    "\n"
    "  --channels LIST  numbers from 1, ranges (1-4), names and patterns (I*, V?),\n"
    "                   separated by commas; all channels by default\n"
    "  --from T         first time, in seconds from the trigger\n"
    "  --to T           last time, in seconds from the trigger\n"
    "  -o OUT.csv       the file to write (in place only when all went well); standard\n"
    "                   output by default\n"
    "  --primary        values on the primary side of the instrument transformers\n"
    "  --encoding NAME  character set of the texts: auto (default), utf-8, latin1, cp1251, gbk\n"
    "  --quiet          no progress line while a large file is read\n"
    "\n"
    "Exit status: 0 done, 1 a file that cannot be read or written or makes no sense, 2 a usage\n"
    "error (among them a window with no sample in it).\n";

namespace {

// A name as a CSV field: quoted when it holds a comma, quote or line end.
std::string field(const char* name) {
    std::string s(name);
    if (s.find_first_of(",\"\r\n") == std::string::npos) return s;
    std::string quoted = "\"";
    for (char c : s) quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
    return quoted + "\"";
}

}  // namespace

void ExportCommand::appendValue(std::string& line, double v) {
    char text[32];
    const auto result = std::to_chars(text, text + sizeof text, v);
    // a * raw + b leaves rounding noise in the last bits (0.01 * 27278 is 272.78000000000003):
    // when the shortest form needs more than fifteen digits, fifteen (what such a product
    // keeps) are taken if they come within two units of the last place.
    if (result.ptr - text > 17) {
        char rounded[32];
        const auto fifteen =
            std::to_chars(rounded, rounded + sizeof rounded, v, std::chars_format::general, 15);
        double back = 0.0;
        std::from_chars(rounded, fifteen.ptr, back);
        if (fifteen.ptr - rounded < result.ptr - text &&
            std::fabs(back - v) <= 2 * std::fabs(std::nextafter(v, 0.0) - v)) {
            line.append(rounded, fifteen.ptr);
            return;
        }
    }
    line.append(text, result.ptr);
}

void ExportCommand::appendValue(std::string& line, float v) {
    char text[32];
    const auto result = std::to_chars(text, text + sizeof text, v);
    line.append(text, result.ptr);
}

int ExportCommand::run(const CommandLine& options, FILE* out) {
    RecordSource source(options);
    KComtradeStream stream;
    source.open(stream);
    const KComtradeConfig& c = stream.getConfig();
    const std::vector<int> channels =
        ChannelSelection(c, source.getName()).select(options.channels, ChannelSelection::ANY);
    const int analogs = static_cast<int>(c.analogs.size());
    std::vector<double> scale(c.analogs.size()), offset(c.analogs.size());
    for (size_t k = 0; k < c.analogs.size(); ++k)
        source.getReader().getCalibration(c.analogs[k], scale[k], offset[k]);
    // FLOAT32 samples taken as they are are written as floats.
    const bool floats = c.fileType == KComtradeConfig::FLOAT32;

    OutputFile output(options.output, out);
    const double from = options.hasFrom ? options.from : -INFINITY;
    const double to = options.hasTo ? options.to : INFINITY;
    // A nanosecond of slack: times are computed, and a sample exactly at a bound belongs in.
    constexpr double SLACK = 1e-9;
    long long written = 0;
    double first = NAN, last = NAN;
    std::string line;
    KComtradeStream::Block block;
    while (stream.next(block)) {
        const KComtradeData& d = block.data;
        const double trigger = stream.getTriggerTime();
        if (block.first == 0) first = block.times[0] - trigger;
        last = block.times.back() - trigger;
        for (int64_t i = 0; i < d.getSampleCount(); ++i) {
            const double t = block.times[static_cast<size_t>(i)] - trigger;
            if (t < from - SLACK || t > to + SLACK) continue;
            if (written++ == 0) {
                line = "time";
                for (int k : channels)
                    line += "," + field(k < analogs ? c.analogs[static_cast<size_t>(k)].id.c_str()
                                                    : c.digitals[static_cast<size_t>(k - analogs)]
                                                          .id.c_str());
                line += "\n";
                fputs(line.c_str(), output.get());
            }
            char time[48];
            const auto end = std::to_chars(time, time + sizeof time, std::fabs(t) < 5e-10 ? 0.0 : t,
                                           std::chars_format::fixed, 9);
            line.assign(time, end.ptr);
            for (int k : channels) {
                line += ',';
                if (k >= analogs) {
                    line += d.getDigital(k - analogs, i) ? '1' : '0';
                    continue;
                }
                const double raw = d.getAnalog(k, i);
                if (std::isnan(raw)) continue;
                if (floats && scale[static_cast<size_t>(k)] == 1.0 &&
                    offset[static_cast<size_t>(k)] == 0.0)
                    appendValue(line, static_cast<float>(raw));
                else
                    appendValue(line, scale[static_cast<size_t>(k)] * raw +
                                          offset[static_cast<size_t>(k)]);
            }
            line += '\n';
            fputs(line.c_str(), output.get());
        }
    }
    source.done();
    if (written == 0) {
        const std::string window = std::string(options.hasFrom ? RecordSource::seconds(from) + " s" : "the start") +
                                   " to " + (options.hasTo ? RecordSource::seconds(to) + " s" : "the end");
        if (stream.getSampleCount() == 0)
            KException::raise("Export", "%s holds no samples", source.getName().c_str());
        KException::raise("Usage",
                          "no sample from %s: %s spans %s s to %s s from the trigger",
                          window.c_str(), source.getName().c_str(),
                          RecordSource::seconds(first).c_str(), RecordSource::seconds(last).c_str());
    }
    output.commit();
    return 0;
}
