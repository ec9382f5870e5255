#include "RecordSource.h"

#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <kalvo/foundation/KException.h>

#include "EmbeddedSample.h"

RecordSource::RecordSource(const CommandLine& options) {
    reader_.setPrimaryValues(options.primary);
    reader_.setEncoding(options.encoding);
    if (options.file.empty()) {
        name = std::string("embedded sample ") + EmbeddedSample::NAME;
        reader_.read(EmbeddedSample::config(), EmbeddedSample::data(), EmbeddedSample::NAME,
                     record);
        return;
    }
    name = options.file;
    // Progress for data that take a while to read: anything over 16 MB.
    std::string data = options.file;
    const std::string companion = KComtradeStream::findCompanion(options.file, "dat");
    if (!companion.empty()) data = companion;
    struct stat info;
    const bool large = stat(data.c_str(), &info) == 0 && info.st_size > (16 << 20);
    int shown = -1;
    if (large) {
        reader_.setProgress([&shown, this](double done) {
            const int percent = static_cast<int>(done * 100);
            if (percent == shown) return;
            shown = percent;
            fprintf(stderr, "\rreading %s: %d%%", name.c_str(), percent);
            fflush(stderr);
        });
    }
    reader_.read(options.file.c_str(), record);
    if (large) fprintf(stderr, "\rreading %s: done\n", name.c_str());
}

std::vector<int> RecordSource::selectTraces(const std::vector<std::string>& list,
                                            bool analogOnly) const {
    std::vector<int> traces;
    const int count = record.getTraceCount();
    if (list.empty()) {
        for (int k = 0; k < count; ++k)
            if (!analogOnly || !(record.getTrace(k)->getFlags() & KComtradeReader::DIGITAL))
                traces.push_back(k);
        return traces;
    }
    for (const std::string& item : list) {
        int found = -1;
        for (int k = 0; k < count && found < 0; ++k)
            if (strcmp(record.getTrace(k)->getName().c_str(), item.c_str()) == 0) found = k;
        for (int k = 0; k < count && found < 0; ++k)
            if (record.getTrace(k)->getName().equals(item.c_str())) found = k;
        char* end = nullptr;
        const long number = strtol(item.c_str(), &end, 10);
        if (found < 0 && *end == '\0' && number >= 1 && number <= count)
            found = static_cast<int>(number - 1);
        if (found < 0)
            KException::raise("Usage", "%s has no channel '%s' (kalvo info lists them)",
                              name.c_str(), item.c_str());
        traces.push_back(found);
    }
    return traces;
}

void RecordSource::findStretch(double from, double to, bool toIncluded, int& first,
                               int& end) const {
    // A nanosecond of slack: times are computed, and a sample exactly at a bound belongs in.
    constexpr double SLACK = 1e-9;
    const int n = record.getSampleCount();
    const double* x = record.getXData();
    first = 0;
    while (first < n && x[first] < from - SLACK) ++first;
    end = first;
    while (end < n && (toIncluded ? x[end] <= to + SLACK : x[end] < to - SLACK)) ++end;
}
