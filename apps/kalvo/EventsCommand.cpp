#include "EventsCommand.h"

#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include <kalvo/io/KComtradeStream.h>

#include "ChannelSelection.h"
#include "DisplayText.h"
#include "RecordSource.h"

const char* const EventsCommand::HELP =
    "usage: kalvo events [FILE] [--channels LIST] [--encoding NAME] [--quiet]\n"
    "\n"
    "Lists what the status channels did: first each one's state at the first sample, then\n"
    "every change of state in time order, with the time in seconds from the trigger and the\n"
    "date and time of day (both to the microsecond), the channel's number and name, the new\n"
    "state and whether that is the channel's normal state. Changes at the same sample are\n"
    "listed in channel order. Works on the embedded sample when no FILE is given; the data\n"
    "file is read once, in little memory.\n"
    "\n"
    "  --channels LIST  numbers from 1, ranges (1-4), names and patterns (TRIP*, 52?),\n"
    "                   separated by commas; all status channels by default\n"
    "  --encoding NAME  character set of the texts: auto (default), utf-8, latin1, cp1251, gbk\n"
    "  --quiet          no progress line while a large file is read\n"
    "\n"
    "Exit status: 0 done, 1 a file that cannot be read or makes no sense, 2 a usage error.\n";

namespace {

// The date and time of day of a sample t seconds after the first one, to the microsecond.
std::string clock(const KComtradeStamp& start, double t) {
    const int64_t ns = start.getNanoseconds() + static_cast<int64_t>(std::llround(t * 1e6)) * 1000;
    return KComtradeStamp::fromNanoseconds(ns, 6).toDisplayString().c_str();
}

}  // namespace

int EventsCommand::run(const CommandLine& options, FILE* out) {
    RecordSource source(options);
    KComtradeStream stream;
    source.open(stream);
    const KComtradeConfig& c = stream.getConfig();
    const int analogs = static_cast<int>(c.analogs.size());
    std::vector<int> channels =
        ChannelSelection(c, source.getName()).select(options.channels, ChannelSelection::DIGITAL);
    for (int& k : channels) k -= analogs;  // status channel index

    fputs(DisplayText::wrap("Events of " + DisplayText::escape(source.getName()), 100).c_str(), out);
    fprintf(out, "Start %s, trigger %s; %s\n", c.start.toDisplayString().c_str(),
            c.trigger.toDisplayString().c_str(),
            RecordSource::count(static_cast<long long>(channels.size()), "status channel").c_str());
    if (channels.empty()) {
        fprintf(out, "\n(no status channels)\n");
        return 0;
    }
    auto row = [&](double t, int k, int state) {
        const auto& d = c.digitals[static_cast<size_t>(k)];
        char time[32];
        snprintf(time, sizeof time, "%.6f", std::fabs(t - stream.getTriggerTime()) < 5e-7
                                                ? 0.0
                                                : t - stream.getTriggerTime());
        fprintf(out, "  %13s  %s  %5d  %s  %d  %s\n", time, clock(c.start, t).c_str(),
                analogs + k + 1, DisplayText::fit(DisplayText::escape(d.id.c_str()), 32).c_str(),
                state, state == d.normal ? "(normal)" : "(abnormal)");
    };
    auto heading = [&](const char* title) {
        fprintf(out, "\n%s\n  %13s  %-26s  %5s  %s  %s\n", title, "time (s)", "date and time", "#",
                DisplayText::fit("channel", 32).c_str(), "state");
    };
    std::vector<int> state(channels.size());
    long long changes = 0;
    KComtradeStream::Block block;
    while (stream.next(block)) {
        const KComtradeData& d = block.data;
        int64_t i = 0;
        if (block.first == 0) {
            heading("States at the first sample:");
            for (size_t j = 0; j < channels.size(); ++j) {
                state[j] = d.getDigital(channels[j], 0);
                row(block.times[0], channels[j], state[j]);
            }
            heading("Changes:");
            i = 1;
        }
        // Most samples change nothing: compare whole status words first.
        const int wordCount = d.getWordCount();
        auto changed = [&](int64_t at) {
            for (int w = 0; w < wordCount; ++w)
                if (d.getWords(w)[at] != d.getWords(w)[at - 1]) return true;
            return false;
        };
        for (; i < d.getSampleCount(); ++i) {
            if (i > 0 && !changed(i)) continue;
            for (size_t j = 0; j < channels.size(); ++j) {
                const int now = d.getDigital(channels[j], i);
                if (now == state[j]) continue;
                state[j] = now;
                ++changes;
                row(block.times[static_cast<size_t>(i)], channels[j], now);
            }
        }
    }
    source.done();
    if (stream.getSampleCount() == 0)
        fprintf(out, "\n(no samples)\n");
    else if (changes == 0)
        fprintf(out, "  (none: every channel keeps its first state)\n");
    else
        fprintf(out, "\n%s\n", RecordSource::count(changes, "change").c_str());
    return 0;
}
