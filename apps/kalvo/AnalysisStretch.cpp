#include "AnalysisStretch.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include <kalvo/foundation/KException.h>
#include <kalvo/io/KComtradeReader.h>
#include <kalvo/record/KRecord.h>

#include "RecordSource.h"

namespace {

constexpr double SLACK = 1e-9;  // a nanosecond: times are computed, a sample at a bound belongs in

}  // namespace

AnalysisStretch AnalysisStretch::choose(const KRecord& r, const CommandLine& options, const std::string& name,
                                        const char* title) {
    const double lineFrequency = atof(r.getProperty(KComtradeReader::LINE_FREQUENCY).c_str());
    const double cycle = lineFrequency > 0 ? 1.0 / lineFrequency : 0.0;
    const int count = r.getSampleCount();
    if (count == 0) KException::raise(title, "%s holds no samples", name.c_str());
    const double* all = r.getXData();
    const bool chosen = options.hasFrom || options.hasTo;
    double from = options.hasFrom ? options.from : r.getTriggerValue();
    double to = options.hasTo ? options.to : from + cycle;
    if (!options.hasFrom && options.hasTo) from = to - cycle;
    if (!chosen) {
        // The cycle at the trigger, moved inside the record when it does not fit there; the
        // whole record when it is shorter than a cycle or has no line frequency.
        const double step = count > 1 ? all[1] - all[0] : 0.0;
        const double last = all[count - 1] + step;
        if (to > last) to = last, from = to - cycle;
        if (from < all[0] || cycle == 0.0) from = all[0], to = std::min(from + cycle, last);
        if (cycle == 0.0) to = last;
    }
    if (!(to > from))
        KException::raise("Usage", "the record has no line frequency: give --from and --to");
    AnalysisStretch s;
    s.lineFrequency = lineFrequency;
    while (s.first < count && all[s.first] < from - SLACK) ++s.first;
    s.end = s.first;
    while (s.end < count && all[s.end] < to - SLACK) ++s.end;
    if (!chosen && s.first + 1 < count) {
        // A stretch of one sampling rate: cut where the rate changes, or, with too few samples
        // in a cycle, as many as keep one rate from the start of the stretch.
        if (s.end - s.first < 2) s.end = std::min(count, s.first + 2 + 1024);
        const double step = all[s.first + 1] - all[s.first];
        int k = s.first + 2;
        while (k < s.end && std::fabs((all[k] - all[k - 1]) - step) <= 1e-3 * step) ++k;
        s.end = std::min(s.end, k);
    }
    const int n = s.end - s.first;
    if (n < 2) {
        KException::raise(
            "Usage",
            "%s has %s from %s s to %s s; at least 2 are needed (the record spans %s s to %s s "
            "from the trigger)",
            name.c_str(), RecordSource::count(n, "sample").c_str(),
            RecordSource::seconds(from).c_str(), RecordSource::seconds(to).c_str(),
            RecordSource::seconds(all[0]).c_str(), RecordSource::seconds(all[count - 1]).c_str());
    }
    const double* x = all + s.first;
    const double step = x[1] - x[0];
    for (int i = 1; i < n; ++i) {
        if (std::fabs((x[i] - x[i - 1]) - step) > 1e-3 * step) {
            KException::raise("Usage",
                              "the sampling rate changes at %s s, inside the stretch; choose a "
                              "stretch of one rate",
                              RecordSource::seconds(x[i - 1]).c_str());
        }
    }
    s.from = x[0];
    s.to = x[0] + n * step;
    const double cycles = (s.to - s.from) * lineFrequency;
    if (lineFrequency > 0 && std::lround(cycles) >= 1 &&
        std::fabs(cycles - std::lround(cycles)) < 0.01) {
        s.cycles = static_cast<int>(std::lround(cycles));
    }
    return s;
}
