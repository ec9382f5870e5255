#include "InfoCommand.h"

#include <cmath>
#include <string>
#include <vector>

#include <kalvo/foundation/KDouble.h>
#include <kalvo/io/KComtradeStream.h>

#include "DisplayText.h"
#include "JsonWriter.h"
#include "RecordSource.h"

const char* const InfoCommand::HELP =
    "usage: kalvo info [FILE] [--json] [--header] [--primary] [--encoding NAME] [--quiet]\n"
    "\n"
    "Prints the station, device, revision, file type, line frequency, start and trigger\n"
    "times, the sampling rates the configuration declares, each analog channel's phase,\n"
    "units, minimum, maximum and RMS, each status channel's normal and first state and how\n"
    "often it changes, the header and information texts, and what the reader had to mend\n"
    "in the files. FILE is FILE.cfg (with FILE.dat), FILE.dat or FILE.cff; without it, the\n"
    "embedded sample. The data file is read once, in little memory, whatever its size.\n"
    "\n"
    "  --json           everything above as one JSON document\n"
    "  --header         the header text in full (by default its first lines)\n"
    "  --primary        values on the primary side of the instrument transformers\n"
    "  --encoding NAME  character set of the texts: auto (default), utf-8, latin1, cp1251, gbk\n"
    "  --quiet          no progress line while a large file is read\n"
    "\n"
    "Exit status: 0 done, 1 a file that cannot be read or makes no sense, 2 a usage error.\n";

namespace {

struct AnalogStats {
    double lo = INFINITY, hi = -INFINITY, squares = 0.0;
    long long count = 0, missing = 0;
    double rms() const { return count > 0 ? std::sqrt(squares / count) : NAN; }
};

struct StatusStats {
    int first = 0, last = 0;
    long long changes = 0;
};

// The information file's sections: "[name]" lines and the lines under each.
struct Section {
    std::string name;
    std::vector<std::string> lines;
};

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    size_t start = 0;
    while (start < text.size()) {
        const size_t end = text.find('\n', start);
        lines.push_back(text.substr(start, end - start));
        if (end == std::string::npos) break;
        start = end + 1;
    }
    while (!lines.empty() && lines.back().find_first_not_of(" \t") == std::string::npos)
        lines.pop_back();
    return lines;
}

std::vector<Section> sectionsOf(const std::string& text) {
    std::vector<Section> sections;
    for (const std::string& line : linesOf(text)) {
        const size_t open = line.find_first_not_of(" \t");
        if (open == std::string::npos) continue;
        const size_t close = line.find(']', open);
        if (line[open] == '[' && close != std::string::npos) {
            sections.push_back({line.substr(open + 1, close - open - 1), {}});
        } else if (!sections.empty()) {
            sections.back().lines.push_back(line.substr(open));
        }
    }
    return sections;
}

std::string number(double v) {
    char text[32];
    snprintf(text, sizeof text, "%.6g", v);
    return std::isnan(v) ? std::string("-") : std::string(text);
}

}  // namespace

int InfoCommand::run(const CommandLine& options, FILE* out) {
    RecordSource source(options);
    KComtradeStream stream;
    source.open(stream);
    const KComtradeConfig& c = stream.getConfig();
    const size_t analogs = c.analogs.size(), digitals = c.digitals.size();

    std::vector<double> scale(analogs), offset(analogs);
    for (size_t k = 0; k < analogs; ++k)
        source.getReader().getCalibration(c.analogs[k], scale[k], offset[k]);
    std::vector<AnalogStats> analog(analogs);
    std::vector<StatusStats> status(digitals);
    KComtradeStream::Block block;
    double firstTime = NAN;
    while (stream.next(block)) {
        const KComtradeData& d = block.data;
        const int64_t n = d.getSampleCount();
        if (block.first == 0) firstTime = block.times[0];
        for (size_t k = 0; k < analogs; ++k) {
            AnalogStats& s = analog[k];
            d.visitAnalogs(static_cast<int>(k), [&](const auto* raw) {
                double lo = s.lo, hi = s.hi, squares = 0.0;
                long long missing = 0;
                for (int64_t i = 0; i < n; ++i) {
                    const double v = scale[k] * KComtradeData::toDouble(raw[i]) + offset[k];
                    if (v != v) {  // NaN: a missing sample
                        ++missing;
                        continue;
                    }
                    lo = v < lo ? v : lo;
                    hi = v > hi ? v : hi;
                    squares += v * v;
                }
                s.lo = lo;
                s.hi = hi;
                s.squares += squares;
                s.missing += missing;
                s.count += n - missing;
            });
        }
        for (size_t k = 0; k < digitals; ++k) {
            StatusStats& s = status[k];
            const uint16_t* words = d.getWords(static_cast<int>(k >> 4));
            const int bit = static_cast<int>(k & 15);
            int previous = block.first == 0 ? ((words[0] >> bit) & 1) : s.last;
            if (block.first == 0) s.first = previous;
            for (int64_t i = 0; i < n; ++i) {
                const int state = (words[i] >> bit) & 1;
                s.changes += state != previous;
                previous = state;
            }
            s.last = previous;
        }
    }
    source.done();
    const long long samples = stream.getSampleCount();
    const double trigger = stream.getTriggerTime();
    const double from = samples > 0 ? firstTime - trigger : NAN;
    const double to = samples > 0 ? stream.getLastTime() - trigger : NAN;
    const bool stamps = !c.hasSamplingRate();
    const std::string header(stream.getHeader().c_str());
    const std::string information(stream.getInformation().c_str());
    const KStringArray& warnings = stream.getWarnings();
    const char* values = options.primary ? "primary" : "secondary";
    const std::string revisionText(c.revisionText.c_str());
    const std::string revision = std::to_string(static_cast<int>(c.revision));

    if (options.json) {
        JsonWriter json(out);
        json.beginObject();
        json.key("record").value(source.getName());
        json.key("station").value(c.station.c_str());
        json.key("device").value(c.device.c_str());
        json.key("revision").value(static_cast<int>(c.revision));
        json.key("revisionWritten").value(revisionText);
        json.key("fileType").value(KComtradeConfig::getFileTypeName(c.fileType));
        json.key("lineFrequency").value(c.lineFrequency);
        json.key("start").value(c.start.toDisplayString().c_str());
        json.key("trigger").value(c.trigger.toDisplayString().c_str());
        json.key("triggerAfterStart").value(trigger);
        json.key("timeMultiplier").value(c.timeMultiplier);
        json.key("samples").value(samples);
        json.key("firstTime").value(from);
        json.key("lastTime").value(to);
        json.key("values").value(values);
        json.key("samplingRates").beginArray();
        if (!stamps)
            for (const auto& r : c.rates)
                json.beginObject()
                    .key("rate")
                    .value(r.rate)
                    .key("lastSample")
                    .value(static_cast<long long>(r.endSample))
                    .endObject();
        json.endArray();
        json.key("timeFromTimeStamps").value(stamps);
        json.key("timeStampInterval");
        if (stamps)
            json.value(stream.getStampInterval());
        else
            json.null();
        json.key("analogChannels").beginArray();
        for (size_t k = 0; k < analogs; ++k) {
            const auto& a = c.analogs[k];
            const AnalogStats& s = analog[k];
            json.beginObject();
            json.key("number").value(static_cast<int>(k + 1));
            json.key("index").value(a.index);
            json.key("name").value(a.id.c_str());
            json.key("phase").value(a.phase.c_str());
            json.key("circuit").value(a.circuit.c_str());
            json.key("units").value(a.units.c_str());
            json.key("minimum").value(s.count > 0 ? s.lo : NAN);
            json.key("maximum").value(s.count > 0 ? s.hi : NAN);
            json.key("rms").value(s.rms());
            json.key("missing").value(s.missing);
            json.endObject();
        }
        json.endArray();
        json.key("statusChannels").beginArray();
        for (size_t k = 0; k < digitals; ++k) {
            const auto& d = c.digitals[k];
            json.beginObject();
            json.key("number").value(static_cast<int>(analogs + k + 1));
            json.key("index").value(d.index);
            json.key("name").value(d.id.c_str());
            json.key("phase").value(d.phase.c_str());
            json.key("circuit").value(d.circuit.c_str());
            json.key("normal").value(d.normal);
            json.key("first").value(status[k].first);
            json.key("changes").value(status[k].changes);
            json.endObject();
        }
        json.endArray();
        json.key("header");
        if (header.empty())
            json.null();
        else
            json.value(header);
        json.key("information");
        if (information.empty()) {
            json.null();
        } else {
            json.beginObject().key("text").value(information).key("sections").beginArray();
            for (const Section& s : sectionsOf(information)) {
                json.beginObject().key("name").value(s.name).key("lines").beginArray();
                for (const std::string& line : s.lines) json.value(line);
                json.endArray().endObject();
            }
            json.endArray().endObject();
        }
        json.key("warnings").beginArray();
        for (int i = 0; i < warnings.getCount(); ++i) json.value(warnings.get(i));
        json.endArray();
        json.endObject();
        json.finish();
        return 0;
    }

    auto text = [](const KString& s) { return DisplayText::escape(s.c_str()); };
    fputs(DisplayText::wrap(DisplayText::escape(source.getName()), 100, "Record:          ",
                            "                 ")
              .c_str(),
          out);
    fprintf(out, "Station:         %s\n", text(c.station).c_str());
    fprintf(out, "Device:          %s\n", text(c.device).c_str());
    fprintf(out, "Revision:        %s", revision.c_str());
    if (revisionText != revision)
        fprintf(out, " (written '%s')", DisplayText::escape(revisionText).c_str());
    fprintf(out, "\nFile type:       %s\n", KComtradeConfig::getFileTypeName(c.fileType));
    fprintf(out, "Line frequency:  %s Hz\n", KDouble::toExactString(c.lineFrequency).c_str());
    fprintf(out, "Start:           %s\n", c.start.toDisplayString().c_str());
    fprintf(out, "Trigger:         %s (%s s after the start)\n",
            c.trigger.toDisplayString().c_str(), RecordSource::seconds(trigger).c_str());
    fprintf(out, "Samples:         %s", RecordSource::count(samples, "sample").c_str());
    if (samples > 0)
        fprintf(out, ", %s s to %s s from the trigger", RecordSource::seconds(from).c_str(),
                RecordSource::seconds(to).c_str());
    fprintf(out, "\n");
    if (stamps) {
        const double interval = stream.getStampInterval();
        std::string text = "none declared; the time of each sample is its time stamp";
        if (interval > 0) {
            char rate[32];
            snprintf(rate, sizeof rate, "%.6g", 1.0 / interval);
            text += " (typical interval " + RecordSource::seconds(interval) + " s, " + rate + " Hz)";
        }
        fputs(DisplayText::wrap(text, 100, "Sampling rates:  ", "                 ").c_str(), out);
    } else {
        fprintf(out, "Sampling rates:  %s, as the configuration declares them:\n",
                RecordSource::count(static_cast<long long>(c.rates.size()), "run").c_str());
        fprintf(out, "  %5s  %16s  %12s\n", "run", "rate (Hz)", "last sample");
        for (size_t k = 0; k < c.rates.size(); ++k) {
            if (k == 20 && c.rates.size() > 21) {
                fprintf(out, "  %5s  (%zu more runs)\n", "...", c.rates.size() - 21);
                k = c.rates.size() - 1;
            }
            fprintf(out, "  %5zu  %16.9g  %12lld\n", k + 1, c.rates[k].rate,
                    static_cast<long long>(c.rates[k].endSample));
        }
    }

    fprintf(out, "\nAnalog channels (%s values): %zu\n", values, analogs);
    if (analogs > 0)
        fprintf(out, "  %4s  %s  %s  %s  %12s  %12s  %12s  %7s\n", "#",
                DisplayText::fit("name", 22).c_str(), DisplayText::fit("phase", 5).c_str(),
                DisplayText::fit("units", 7).c_str(), "minimum", "maximum", "RMS", "missing");
    for (size_t k = 0; k < analogs; ++k) {
        const auto& a = c.analogs[k];
        const AnalogStats& s = analog[k];
        fprintf(out, "  %4zu  %s  %s  %s  %12s  %12s  %12s  %7lld\n", k + 1,
                DisplayText::fit(text(a.id), 22).c_str(), DisplayText::fit(text(a.phase), 5).c_str(),
                DisplayText::fit(text(a.units), 7).c_str(), number(s.count ? s.lo : NAN).c_str(),
                number(s.count ? s.hi : NAN).c_str(), number(s.rms()).c_str(), s.missing);
    }
    fprintf(out, "\nStatus channels: %zu\n", digitals);
    if (digitals > 0)
        fprintf(out, "  %4s  %s  %s  %6s  %5s  %7s\n", "#", DisplayText::fit("name", 32).c_str(),
                DisplayText::fit("phase", 5).c_str(), "normal", "first", "changes");
    for (size_t k = 0; k < digitals; ++k) {
        const auto& d = c.digitals[k];
        fprintf(out, "  %4zu  %s  %s  %6d  %5d  %7lld\n", analogs + k + 1,
                DisplayText::fit(text(d.id), 32).c_str(), DisplayText::fit(text(d.phase), 5).c_str(),
                d.normal, status[k].first, status[k].changes);
    }

    // The texts that came with the record, each line cut to the width of the rest.
    auto showLines = [&](const std::vector<std::string>& lines, size_t limit) {
        for (size_t i = 0; i < lines.size() && i < limit; ++i)
            fprintf(out, "  %s\n",
                    options.header ? DisplayText::escape(lines[i]).c_str()
                                   : DisplayText::fit(DisplayText::escape(lines[i]), 96).c_str());
        if (lines.size() > limit)
            fprintf(out, "  (%zu more lines; kalvo info --header prints them all)\n",
                    lines.size() - limit);
    };
    if (!header.empty()) {
        const std::vector<std::string> lines = linesOf(DisplayText::escapeLines(header));
        fprintf(out, "\nHeader: %s\n", RecordSource::count(static_cast<long long>(lines.size()), "line").c_str());
        showLines(lines, options.header ? lines.size() : 10);
    }
    if (!information.empty()) {
        const std::vector<Section> sections = sectionsOf(DisplayText::escapeLines(information));
        if (sections.empty()) {
            const std::vector<std::string> lines = linesOf(DisplayText::escapeLines(information));
            fprintf(out, "\nInformation: %s, no sections\n",
                    RecordSource::count(static_cast<long long>(lines.size()), "line").c_str());
            showLines(lines, options.header ? lines.size() : 10);
        } else {
            fprintf(out, "\nInformation: %s\n",
                    RecordSource::count(static_cast<long long>(sections.size()), "section").c_str());
            for (const Section& s : sections) {
                fprintf(out, "  [%s]\n", DisplayText::fit(s.name, 94).c_str());
                for (size_t i = 0; i < s.lines.size() && i < 10; ++i)
                    fprintf(out, "    %s\n", DisplayText::fit(s.lines[i], 94).c_str());
                if (s.lines.size() > 10) fprintf(out, "    (%zu more lines)\n", s.lines.size() - 10);
            }
        }
    }

    fprintf(out, "\nWarnings:%s\n", warnings.getCount() == 0 ? " none" : "");
    for (int i = 0; i < warnings.getCount(); ++i)
        fputs(DisplayText::wrap(DisplayText::escape(warnings.get(i)), 100, "  - ", "    ").c_str(),
              out);
    return 0;
}
