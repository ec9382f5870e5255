#include "ExportCommand.h"

#include <charconv>
#include <cmath>
#include <memory>
#include <string>

#include <kalvo/foundation/KException.h>

#include "RecordSource.h"

const char* const ExportCommand::HELP =
    "usage: kalvo export [FILE] [--channels LIST] [--from T] [--to T] [-o OUT.csv]\n"
    "                    [--primary] [--encoding NAME]\n"
    "\n"
    "Writes comma-separated columns: the time in seconds from the trigger (to the\n"
    "nanosecond) and the values of each chosen channel, in the fewest digits that read back\n"
    "as the same number; a missing sample is an empty field. The first line names the\n"
    "columns. Works on the embedded sample when no FILE is given.\n"
    "\n"
    "  --channels LIST  channel names or numbers (from 1), separated by commas; all by default\n"
    "  --from T         first time, in seconds from the trigger\n"
    "  --to T           last time, in seconds from the trigger\n"
    "  -o OUT.csv       the file to write; standard output by default\n"
    "  --primary        values on the primary side of the instrument transformers\n"
    "  --encoding NAME  character set of the texts: auto (default), utf-8, latin1, cp1251, gbk\n";

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

int ExportCommand::run(const CommandLine& options, FILE* out) {
    RecordSource source(options);
    const KRecord& r = source.record;
    const std::vector<int> traces = source.selectTraces(options.channels, false);
    const int n = r.getSampleCount();
    int first = 0, end = n;
    source.findStretch(options.hasFrom ? options.from : -INFINITY,
                       options.hasTo ? options.to : INFINITY, true, first, end);

    std::unique_ptr<FILE, int (*)(FILE*)> file(nullptr, fclose);
    if (!options.output.empty()) {
        file.reset(fopen(options.output.c_str(), "w"));
        if (!file)
            KException::raise("Export", "%s: cannot create the file", options.output.c_str());
        out = file.get();
    }
    std::string line = "time";
    for (int k : traces) line += "," + field(r.getTrace(k)->getName().c_str());
    line += "\n";
    fputs(line.c_str(), out);
    const double* x = r.getXData();
    char number[32];
    for (int i = first; i < end; ++i) {
        snprintf(number, sizeof number, "%.9f", x[i]);
        line = number;
        for (int k : traces) {
            line += ',';
            const double v = r.getTrace(k)->getData()[i];
            if (std::isnan(v)) continue;
            const auto result = std::to_chars(number, number + sizeof number, v);
            line.append(number, result.ptr);
        }
        line += '\n';
        fputs(line.c_str(), out);
    }
    if (fflush(out) != 0 || ferror(out))
        KException::raise("Export", "%s: writing failed",
                          options.output.empty() ? "standard output" : options.output.c_str());
    return 0;
}
