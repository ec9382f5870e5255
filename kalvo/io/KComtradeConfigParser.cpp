#include <kalvo/io/KComtradeConfigParser.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <string>

#include <kalvo/foundation/KException.h>

namespace {

std::string_view trim(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) s.remove_prefix(1);
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t')) s.remove_suffix(1);
    return s;
}

// A field as a message shows it: cut short, so that a line of binary junk stays readable.
std::string shown(std::string_view s) {
    std::string out(s.substr(0, 40));
    if (s.size() > 40) out += "...";
    for (char& c : out)
        if (static_cast<unsigned char>(c) < 0x20) c = '?';
    return out;
}

}  // namespace

KComtradeConfigParser::KComtradeConfigParser(const char* fileName, int firstLine)
    : fileName_(fileName), firstLine_(firstLine) {}

void KComtradeConfigParser::fail(const Line& line, const char* expected) const {
    KException::raise("COMTRADE Error", "%s, line %d: expected %s, found '%s'", fileName_.c_str(),
                      line.number, expected, shown(line.text).c_str());
}

const KComtradeConfigParser::Line& KComtradeConfigParser::next(const char* expected) {
    if (atEnd()) {
        const int number = lines_.empty() ? firstLine_ : lines_.back().number + 1;
        KException::raise("COMTRADE Error", "%s, line %d: expected %s, found the end of the file",
                          fileName_.c_str(), number, expected);
    }
    return lines_[pos_++];
}

std::vector<std::string> KComtradeConfigParser::fields(const Line& line) const {
    std::vector<std::string> out;
    std::string_view rest = line.text;
    while (true) {
        const size_t comma = rest.find(',');
        out.emplace_back(trim(rest.substr(0, comma)));
        if (comma == std::string_view::npos) break;
        rest.remove_prefix(comma + 1);
    }
    return out;
}

double KComtradeConfigParser::number(const Line& line, const std::string& field,
                                     const char* what) const {
    const char* begin = field.c_str();
    char* end = nullptr;
    const double v = strtod(begin, &end);
    if (field.empty() || *end != '\0' || !std::isfinite(v)) {
        KString expected;
        expected.format("%s (a number)", what);
        KException::raise("COMTRADE Error", "%s, line %d: expected %s, found '%s'",
                          fileName_.c_str(), line.number, expected.c_str(), shown(field).c_str());
    }
    return v;
}

long long KComtradeConfigParser::integer(const Line& line, const std::string& field,
                                         const char* what) const {
    const char* begin = field.c_str();
    char* end = nullptr;
    errno = 0;
    const long long v = strtoll(begin, &end, 10);
    if (field.empty() || *end != '\0' || errno == ERANGE || v < 0 || v > 2000000000LL) {
        KString expected;
        expected.format("%s (a whole number)", what);
        KException::raise("COMTRADE Error", "%s, line %d: expected %s, found '%s'",
                          fileName_.c_str(), line.number, expected.c_str(), shown(field).c_str());
    }
    return v;
}

void KComtradeConfigParser::checkCharacters(std::string_view line, int number) const {
    int column = 1;
    for (const char c : line) {
        const auto u = static_cast<unsigned char>(c);
        if ((u < 0x20 && c != '\t' && c != '\r') || u == 0x7F)
            KException::raise("COMTRADE Error",
                              "%s, line %d, column %d: control character 0x%02X inside the line",
                              fileName_.c_str(), number, column, u);
        column += (u & 0xC0) != 0x80;  // columns count characters, not UTF-8 bytes
    }
}

void KComtradeConfigParser::note(const char* what, int channel) {
    notes_[what].push_back(channel);
}

KComtradeConfig KComtradeConfigParser::parse(std::string_view text, KStringArray& warnings) {
    warnings_ = &warnings;
    lines_.clear();
    notes_.clear();
    pos_ = 0;
    if (text.size() >= 3 && text.substr(0, 3) == "\xEF\xBB\xBF") text.remove_prefix(3);
    int lineNumber = firstLine_;
    bool blank = false, padded = false;
    while (!text.empty()) {
        const size_t eol = text.find('\n');
        std::string_view line = text.substr(0, eol);
        text.remove_prefix(eol == std::string_view::npos ? text.size() : eol + 1);
        while (!line.empty() && (line.back() == '\r' || line.back() == '\x1A')) {
            padded |= line.back() == '\x1A';
            line.remove_suffix(1);
        }
        if (trim(line).empty()) {
            blank |= !text.empty() && !padded;
        } else {
            checkCharacters(line, lineNumber);
            lines_.push_back({line, lineNumber});
        }
        ++lineNumber;
    }
    if (padded) warnings.add("end-of-file characters (0x1A) after the configuration ignored");

    KComtradeConfig config;
    parseHeader(config);
    int analogs = 0, digitals = 0;
    parseCounts(analogs, digitals);
    config.analogs.reserve(static_cast<size_t>(std::min<size_t>(analogs, lines_.size())));
    for (int i = 0; i < analogs; ++i) parseAnalog(config);
    for (int i = 0; i < digitals; ++i) parseDigital(config);
    {
        const Line& line = next("the line frequency");
        config.lineFrequency = number(line, fields(line)[0], "the line frequency");
    }
    parseRates(config);
    parseStamp(config, config.start, "the time stamp of the first sample");
    parseStamp(config, config.trigger, "the time stamp of the trigger");
    parseTail(config);

    for (const auto& [what, channels] : notes_) {
        KString list;
        for (size_t i = 0; i < channels.size() && i < 8; ++i) {
            KString n;
            n.format(i == 0 ? "%d" : ", %d", channels[i]);
            list << n;
        }
        if (channels.size() > 8) list << ", ...";
        KString w;
        w.format("%s (channel %s)", what.c_str(), list.c_str());
        warnings.add(w.c_str());
    }
    if (blank) warnings.add("blank lines in the configuration ignored");
    return config;
}

void KComtradeConfigParser::parseHeader(KComtradeConfig& config) {
    const Line& line = next("station name, recording device and revision year");
    const auto f = fields(line);
    config.station = f[0].c_str();
    config.device = f.size() > 1 ? f[1].c_str() : "";
    if (f.size() < 2) warnings_->add("line 1 has no recording device");
    config.revisionText = f.size() > 2 ? f[2].c_str() : "";
    const std::string& rev = f.size() > 2 ? f[2] : std::string();
    if (rev.empty()) {
        config.revision = KComtradeConfig::REV_1991;
        return;
    }
    char* end = nullptr;
    const long year = strtol(rev.c_str(), &end, 10);
    if (*end != '\0') {
        config.revision = KComtradeConfig::REV_1999;
    } else if (year == 1991 || year == 1999 || year == 2013) {
        config.revision = static_cast<KComtradeConfig::Revision>(year);
        return;
    } else {
        config.revision = year > 2013 ? KComtradeConfig::REV_2013 : KComtradeConfig::REV_1999;
    }
    KString w;
    w.format("revision year '%s' is not a revision of the format; read as %d", shown(rev).c_str(),
             static_cast<int>(config.revision));
    warnings_->add(w.c_str());
}

void KComtradeConfigParser::parseCounts(int& analogs, int& digitals) {
    const char* expected = "the channel counts as 'total,nnA,nnD'";
    const Line& line = next(expected);
    const auto f = fields(line);
    if (f.size() < 3) fail(line, expected);
    auto count = [&](const std::string& field, char kind) {
        if (field.empty() || toupper(static_cast<unsigned char>(field.back())) != kind)
            fail(line, expected);
        return static_cast<int>(
            integer(line, field.substr(0, field.size() - 1),
                    kind == 'A' ? "the analog channel count" : "the digital channel count"));
    };
    const long long total = integer(line, f[0], "the total channel count");
    analogs = count(f[1], 'A');
    digitals = count(f[2], 'D');
    if (analogs + digitals > static_cast<int>(lines_.size()))
        fail(line, "no more channels than the file has lines");
    if (total != analogs + digitals) {
        KString w;
        w.format("line %d: total channel count %lld is not %d + %d; the two counts used",
                 line.number, total, analogs, digitals);
        warnings_->add(w.c_str());
    }
}

void KComtradeConfigParser::parseAnalog(KComtradeConfig& config) {
    const char* expected = "an analog channel line (10 or 13 fields)";
    const Line& line = next(expected);
    const auto f = fields(line);
    if (f.size() < 10) fail(line, expected);
    KComtradeConfig::Analog a;
    a.index = static_cast<int>(integer(line, f[0], "the analog channel number"));
    a.id = f[1].c_str();
    a.phase = f[2].c_str();
    a.circuit = f[3].c_str();
    a.units = f[4].c_str();
    a.a = number(line, f[5], "the channel multiplier a");
    a.b = f[6].empty() ? 0.0 : number(line, f[6], "the channel offset b");
    if (f[6].empty()) note("empty offset b taken as 0", a.index);
    a.skew = f[7].empty() ? 0.0 : number(line, f[7], "the channel skew");
    if (f[7].empty()) note("empty skew taken as 0", a.index);
    a.min = f[8].empty() ? -32767.0 : number(line, f[8], "the channel minimum");
    a.max = f[9].empty() ? 32767.0 : number(line, f[9], "the channel maximum");
    if (f.size() >= 13) {
        a.primary = number(line, f[10], "the primary ratio factor");
        a.secondary = number(line, f[11], "the secondary ratio factor");
        const std::string& ps = f[12];
        if (ps.size() == 1 && (toupper(ps[0]) == 'P' || toupper(ps[0]) == 'S')) {
            if (islower(static_cast<unsigned char>(ps[0])))
                note("lower-case primary/secondary flag", a.index);
            a.ps = static_cast<char>(toupper(ps[0]));
        } else {
            fail(line, "the primary/secondary flag P or S in field 13");
        }
        if (f.size() > 13) note("fields after the 13th ignored", a.index);
    } else if (config.revision != KComtradeConfig::REV_1991) {
        if (f.size() > 10) fail(line, expected);
        note("no ratio fields; primary and secondary taken as 1, values as secondary", a.index);
    }
    config.analogs.push_back(a);
}

void KComtradeConfigParser::parseDigital(KComtradeConfig& config) {
    const char* expected = "a digital channel line (3 or 5 fields)";
    const Line& line = next(expected);
    const auto f = fields(line);
    if (f.size() < 3) fail(line, expected);
    KComtradeConfig::Digital d;
    d.index = static_cast<int>(integer(line, f[0], "the digital channel number"));
    d.id = f[1].c_str();
    std::string normal;
    if (f.size() == 3) {
        normal = f[2];
    } else {
        d.phase = f[2].c_str();
        d.circuit = f[3].c_str();
        if (f.size() >= 5) {
            normal = f[4];
        } else {
            note("no normal state; taken as 0", d.index);
        }
        if (f.size() > 5) note("fields after the 5th ignored", d.index);
    }
    if (!normal.empty()) {
        if (normal != "0" && normal != "1") fail(line, "the normal state 0 or 1");
        d.normal = normal[0] - '0';
    }
    config.digitals.push_back(d);
}

void KComtradeConfigParser::parseRates(KComtradeConfig& config) {
    const Line& countLine = next("the number of sampling rates");
    const long long nrates =
        integer(countLine, fields(countLine)[0], "the number of sampling rates");
    if (nrates > static_cast<long long>(lines_.size()))
        fail(countLine, "no more sampling rates than the file has lines");
    config.rates.clear();
    const long long lines = nrates > 0 ? nrates : 1;
    int64_t previous = 0;
    int emptyRuns = 0;
    for (long long i = 0; i < lines; ++i) {
        const char* expected = "a sampling rate line 'rate,last sample number'";
        const Line& line = next(expected);
        const auto f = fields(line);
        if (f.size() < 2) fail(line, expected);
        KComtradeConfig::Rate r;
        r.rate = number(line, f[0], "the sampling rate");
        r.endSample = integer(line, f[1], "the last sample number of the rate");
        if (nrates > 0 && r.rate <= 0.0) fail(line, "a sampling rate above 0");
        if (nrates == 0) r.rate = 0.0;
        if (r.endSample < previous) fail(line, "a last sample number not below the one before");
        if (i > 0 && r.endSample == previous) ++emptyRuns;
        previous = r.endSample;
        config.rates.push_back(r);
    }
    if (emptyRuns > 0) {
        KString w;
        w.format("%d sampling rate runs hold no samples; ignored", emptyRuns);
        warnings_->add(w.c_str());
    }
}

void KComtradeConfigParser::parseStamp(KComtradeConfig& config, KComtradeStamp& stamp,
                                       const char* what) {
    const Line& line = next(what);
    const size_t comma = line.text.find(',');
    if (comma == std::string_view::npos) fail(line, "a date and a time as 'dd/mm/yyyy,hh:mm:ss'");
    const std::string date(trim(line.text.substr(0, comma)));
    std::string time(trim(line.text.substr(comma + 1)));
    KString reason;
    bool swapped = false;
    const bool monthFirst = config.revision == KComtradeConfig::REV_1991;
    if (!stamp.parse(date.c_str(), time.c_str(), monthFirst, reason, swapped))
        fail(line, reason.c_str());
    if (swapped) {
        KString w;
        w.format("line %d: the date '%s' only makes sense with day and month swapped; read so",
                 line.number, date.c_str());
        warnings_->add(w.c_str());
    }
}

void KComtradeConfigParser::parseTail(KComtradeConfig& config) {
    const char* expected = "the data file type ASCII, BINARY, BINARY32 or FLOAT32";
    const Line& line = next(expected);
    const std::string type = fields(line)[0];
    if (!KComtradeConfig::parseFileType(type.c_str(), config.fileType)) fail(line, expected);
    if (type != KComtradeConfig::getFileTypeName(config.fileType)) {
        KString w;
        w.format("line %d: file type written '%s'", line.number, shown(type).c_str());
        warnings_->add(w.c_str());
    }
    if (config.fileType != KComtradeConfig::ASCII && config.fileType != KComtradeConfig::BINARY &&
        config.revision != KComtradeConfig::REV_2013) {
        KString w;
        w.format("file type %s belongs to the 2013 revision", type.c_str());
        warnings_->add(w.c_str());
    }
    if (atEnd()) {
        if (config.revision != KComtradeConfig::REV_1991)
            warnings_->add("no time multiplier line; taken as 1");
        return;
    }
    const Line& mult = next("the time multiplier");
    config.timeMultiplier = number(mult, fields(mult)[0], "the time multiplier");
    if (config.timeMultiplier <= 0.0) fail(mult, "a time multiplier above 0");
    if (atEnd()) {
        if (config.revision == KComtradeConfig::REV_2013)
            warnings_->add("no time code and time quality lines");
        return;
    }
    const Line& codes = next("the time code and local code");
    auto f = fields(codes);
    config.timeCode = f[0].c_str();
    config.localCode = f.size() > 1 ? f[1].c_str() : "";
    if (atEnd()) return;
    const Line& quality = next("the time quality and leap second indicator");
    f = fields(quality);
    config.timeQuality = f[0].c_str();
    config.leapSecond = f.size() > 1 ? f[1].c_str() : "";
    if (!atEnd()) {
        KString w;
        w.format("line %d and after: text after the configuration ignored", lines_[pos_].number);
        warnings_->add(w.c_str());
    }
}
