#include "RecordSource.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>

#include "DisplayText.h"
#include "EmbeddedSample.h"

RecordSource::RecordSource(const CommandLine& options) : options_(options) {
    reader_.setPrimaryValues(options.primary);
    reader_.setEncoding(options.encoding);
    name_ = options.file.empty() ? std::string("embedded sample ") + EmbeddedSample::NAME
                                 : options.file;
}

RecordSource::~RecordSource() { done(); }

KComtradeStream::Options RecordSource::streamOptions() {
    KComtradeStream::Options o;
    o.encoding = options_.encoding;
    // Progress for data that take a while to read: anything over 16 MB.
    struct stat info;
    const std::string data = KComtradeStream::getExtension(options_.file) == ".cfg"
                                 ? KComtradeStream::findCompanion(options_.file, "dat")
                                 : options_.file;
    const bool large = !options_.file.empty() && stat(data.c_str(), &info) == 0 &&
                       info.st_size > (16 << 20);
    if (large && !options_.quiet && isatty(STDERR_FILENO)) {
        o.progress = [this](double share) {
            const int percent = static_cast<int>(share * 100);
            if (percent == shown_) return;
            shown_ = percent;
            fprintf(stderr, "\rreading %s: %d%%", DisplayText::escape(name_).c_str(), percent);
            fflush(stderr);
        };
    }
    return o;
}

void RecordSource::done() {
    if (shown_ < 0) return;
    fprintf(stderr, "\rreading %s: done\n", DisplayText::escape(name_).c_str());
    shown_ = -1;
}

void RecordSource::open(KComtradeStream& stream) {
    const KComtradeStream::Options o = streamOptions();
    if (options_.file.empty()) {
        stream.openConfig(EmbeddedSample::config(), EmbeddedSample::NAME, o);
        stream.openData(EmbeddedSample::data(), EmbeddedSample::NAME);
    } else {
        stream.open(options_.file.c_str(), o);
    }
}

void RecordSource::read(KRecord& record) {
    KComtradeStream stream;
    open(stream);
    reader_.read(stream, record);
    done();
}

std::string RecordSource::seconds(double t) {
    char text[32];
    snprintf(text, sizeof text, "%.9f", std::fabs(t) < 5e-10 ? 0.0 : t);
    // The nanosecond digits, without the zeros that say nothing.
    std::string s(text);
    while (s.back() == '0') s.pop_back();
    if (s.back() == '.') s.pop_back();
    return s;
}

std::string RecordSource::count(long long n, const char* thing) {
    return std::to_string(n) + " " + thing + (n == 1 ? "" : "s");
}
