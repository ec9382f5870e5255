#include "InfoCommand.h"

#include <cmath>
#include <string>

#include <kalvo/io/KComtradeReader.h>

#include "RecordSource.h"

const char* const InfoCommand::HELP =
    "usage: kalvo info [FILE] [--primary] [--encoding NAME]\n"
    "\n"
    "Prints the station, device, revision, file type, line frequency, start and trigger\n"
    "times and sampling table of a COMTRADE record (FILE.cfg, FILE.dat or FILE.cff; the\n"
    "embedded sample when no FILE is given), then each channel's name, units, kind, minimum,\n"
    "maximum and RMS, and what the reader had to mend in the files.\n"
    "\n"
    "  --primary        values on the primary side of the instrument transformers\n"
    "  --encoding NAME  character set of the texts: auto (default), utf-8, latin1, cp1251, gbk\n";

namespace {

// Minimum, maximum and RMS of the samples that are numbers; NaN for none.
void statistics(const KRecord::Trace& t, double& lo, double& hi, double& rms, int& missing) {
    lo = INFINITY;
    hi = -INFINITY;
    double squares = 0.0;
    int n = 0;
    missing = 0;
    for (int i = 0; i < t.getCount(); ++i) {
        const double v = t.getData()[i];
        if (std::isnan(v)) {
            ++missing;
            continue;
        }
        lo = std::fmin(lo, v);
        hi = std::fmax(hi, v);
        squares += v * v;
        ++n;
    }
    if (n == 0) lo = hi = NAN;
    rms = n > 0 ? std::sqrt(squares / n) : NAN;
}

}  // namespace

int InfoCommand::run(const CommandLine& options, FILE* out) {
    RecordSource source(options);
    KRecord& r = source.record;
    auto property = [&](const char* key) { return std::string(r.getProperty(key).c_str()); };
    const int n = r.getSampleCount();
    fprintf(out, "Record:          %s\n", source.name.c_str());
    fprintf(out, "Station:         %s\n", r.getName().c_str());
    fprintf(out, "Device:          %s\n", r.getDevice().c_str());
    fprintf(out, "Revision:        %s\n", property(KComtradeReader::REVISION).c_str());
    fprintf(out, "File type:       %s\n", property(KComtradeReader::FILE_TYPE).c_str());
    fprintf(out, "Line frequency:  %s Hz\n", property(KComtradeReader::LINE_FREQUENCY).c_str());
    fprintf(out, "Start:           %s\n", property(KComtradeReader::START).c_str());
    const double trigger = n > 0 ? -r.getDomainValue(0) : 0.0;
    fprintf(out, "Trigger:         %s (%.9g s after the start)\n",
            property(KComtradeReader::TRIGGER).c_str(), trigger);
    fprintf(out, "Samples:         %d", n);
    if (n > 0)
        fprintf(out, ", %.9g s to %.9g s from the trigger", r.getDomainValue(0),
                r.getDomainValue(n - 1));
    fprintf(out, "\n");

    const auto& rates = source.getReader().getConfig().rates;
    fprintf(out, "Sampling rates:  ");
    if (rates.size() == 1 && rates[0].rate == 0.0) fprintf(out, "none (time from the time stamps)");
    for (size_t k = 0; k < rates.size() && rates[0].rate > 0.0; ++k)
        fprintf(out, "%s%.9g Hz to sample %lld", k > 0 ? ", " : "", rates[k].rate,
                static_cast<long long>(rates[k].endSample));
    fprintf(out, "\n");

    fprintf(out, "\nSampling table (runs of a constant interval):\n");
    if (n >= 2) {
        r.computeSamplingTable();
        const int runs = r.getSampleInfoCount();
        fprintf(out, "  %5s  %10s  %10s  %14s\n", "run", "first", "last", "rate (Hz)");
        int first = 0;
        for (int k = 0; k < runs; ++k) {
            const KRecord::SampleInfo* info = r.getSampleInfo(k);
            if (k < 20 || k == runs - 1)
                fprintf(out, "  %5d  %10d  %10d  %14.6f\n", k + 1, first + 1, info->getEndIndex(),
                        info->getRate());
            else if (k == 20)
                fprintf(out, "  %5s  (%d more runs)\n", "...", runs - 21);
            first = info->getEndIndex();
        }
    } else {
        fprintf(out, "  (fewer than two samples)\n");
    }

    fprintf(out, "\nChannels (%s values):\n", property(KComtradeReader::VALUES).c_str());
    fprintf(out, "  %4s  %-24s  %-8s  %-7s  %14s  %14s  %14s\n", "#", "name", "units", "kind",
            "minimum", "maximum", "RMS");
    for (int k = 0; k < r.getTraceCount(); ++k) {
        const KRecord::Trace& t = *r.getTrace(k);
        const bool digital = t.getFlags() & KComtradeReader::DIGITAL;
        double lo, hi, rms;
        int missing;
        statistics(t, lo, hi, rms, missing);
        fprintf(out, "  %4d  %-24s  %-8s  %-7s  %14.6g  %14.6g  %14.6g", k + 1, t.getName().c_str(),
                t.getUnits().c_str(), digital ? "digital" : "analog", lo, hi, rms);
        if (missing > 0) fprintf(out, "  (%d missing)", missing);
        fprintf(out, "\n");
    }

    const KStringArray& warnings = source.getReader().getWarnings();
    fprintf(out, "\nWarnings:%s\n", warnings.getCount() == 0 ? " none" : "");
    for (int i = 0; i < warnings.getCount(); ++i) fprintf(out, "  - %s\n", warnings.get(i));
    return 0;
}
