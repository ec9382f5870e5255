#include <kalvo/io/KComtradeRecordWriter.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>

#include <kalvo/io/KComtradeReader.h>
#include <kalvo/io/KComtradeWriter.h>

namespace {

double property(const KRecord::Trace& t, const char* key, double fallback) {
    const KString text = t.getProperty(key);
    if (text.isEmpty()) return fallback;
    char* end = nullptr;
    const double v = strtod(text.c_str(), &end);
    return *end == '\0' && std::isfinite(v) ? v : fallback;
}

// The raw value whose scale * raw + offset is exactly v, when there is one near: a whole
// number for integer file types (and whenever one does it), else a double next to the quotient.
double rawFor(double v, double scale, double offset, bool integer) {
    if (std::isnan(v)) return v;
    if (scale == 0.0) return 0.0;
    const double x = (v - offset) / scale;
    const double whole = std::round(x);
    if (integer || scale * whole + offset == v) return whole;
    for (double direction : {INFINITY, -INFINITY}) {
        double candidate = x;
        for (int k = 0; k < 3; ++k) {
            if (scale * candidate + offset == v) return candidate;
            candidate = std::nextafter(candidate, direction);
        }
    }
    return x;
}

}  // namespace

KComtradeFile KComtradeRecordWriter::toFile(const KRecord& record,
                                            KComtradeConfig::Revision revision,
                                            KComtradeConfig::FileType type) {
    KComtradeFile file;
    KComtradeConfig& c = file.config;
    c.revision = revision;
    c.fileType = type;
    c.station = record.getName();
    c.device = record.getDevice();
    const KString frequency = record.getProperty(KComtradeReader::LINE_FREQUENCY);
    c.lineFrequency = frequency.isEmpty() ? 60.0 : atof(frequency.c_str());
    const KString multiplier = record.getProperty(KComtradeReader::TIME_MULTIPLIER);
    c.timeMultiplier = multiplier.isEmpty() ? 1.0 : atof(multiplier.c_str());
    if (!(c.timeMultiplier > 0.0)) c.timeMultiplier = 1.0;
    c.timeCode = record.getProperty(KComtradeReader::TIME_CODE);
    c.localCode = record.getProperty(KComtradeReader::LOCAL_CODE);
    c.timeQuality = record.getProperty(KComtradeReader::TIME_QUALITY);
    c.leapSecond = record.getProperty(KComtradeReader::LEAP_SECOND);
    file.header = record.getProperty(KComtradeReader::HEADER);
    file.information = record.getProperty(KComtradeReader::INFORMATION);
    setStamps(record, c);

    const int n = record.getSampleCount();
    const bool primary = record.getProperty(KComtradeReader::VALUES).equals("primary");
    int analogs = 0, digitals = 0;
    for (int k = 0; k < record.getTraceCount(); ++k)
        ++((record.getTrace(k)->getFlags() & KComtradeReader::DIGITAL) ? digitals : analogs);
    file.data.resize(n, analogs, digitals);
    int a = 0, d = 0;
    for (int k = 0; k < record.getTraceCount(); ++k) {
        const KRecord::Trace& t = *record.getTrace(k);
        if (t.getFlags() & KComtradeReader::DIGITAL) {
            KComtradeConfig::Digital channel;
            channel.index = static_cast<int>(property(t, KComtradeReader::CHANNEL, d + 1));
            channel.id = t.getName();
            channel.phase = t.getPhase();
            channel.circuit = t.getCircuit();
            channel.normal = property(t, KComtradeReader::NORMAL, 0) != 0.0;
            for (int i = 0; i < n; ++i) {
                const double v = t.getData()[i];
                file.data.setDigital(d, i, v != 0.0 && !std::isnan(v));
            }
            c.digitals.push_back(channel);
            ++d;
        } else {
            KComtradeConfig::Analog channel;
            channel.index = static_cast<int>(property(t, KComtradeReader::CHANNEL, a + 1));
            setAnalog(t, type, primary, channel, file.data.getAnalogs<double>(a));
            c.analogs.push_back(channel);
            ++a;
        }
    }
    setRates(record, c, file.data);
    return file;
}

void KComtradeRecordWriter::setAnalog(const KRecord::Trace& t, KComtradeConfig::FileType type,
                                      bool primary, KComtradeConfig::Analog& channel,
                                      double* raw) {
    channel.id = t.getName();
    channel.units = t.getUnits();
    channel.phase = t.getPhase();
    channel.circuit = t.getCircuit();
    channel.primary = t.getPrimary();
    channel.secondary = t.getSecondary();
    channel.ps = primary ? 'P' : 'S';
    channel.skew = property(t, KComtradeReader::SKEW, 0.0);
    channel.a = t.getScale();
    channel.b = t.getOffset();
    channel.min = property(t, KComtradeReader::MIN, -32767);
    channel.max = property(t, KComtradeReader::MAX, 32767);
    const int n = t.getCount();
    const double* v = t.getData();
    const bool integer = type == KComtradeConfig::BINARY || type == KComtradeConfig::BINARY32;
    const double limit = type == KComtradeConfig::BINARY ? 32767.0 : 2147483647.0;
    bool fits = true;
    for (int i = 0; i < n && fits; ++i) {
        const double r = rawFor(v[i], channel.a, channel.b, integer);
        raw[i] = r;
        if (std::isnan(r) || type == KComtradeConfig::ASCII) continue;
        fits = channel.a * r + channel.b == v[i] &&
               (integer ? std::fabs(r) <= limit : static_cast<double>(static_cast<float>(r)) == r);
    }
    if (fits) return;
    if (type == KComtradeConfig::FLOAT32) {
        // Floats hold real values as they are, to their own precision.
        channel.a = 1.0;
        channel.b = 0.0;
        for (int i = 0; i < n; ++i) raw[i] = static_cast<float>(v[i]);
        return;
    }
    // The trace's own scale does not give raw values the file type can hold: spread the
    // values over the type's range instead.
    double lo = INFINITY, hi = -INFINITY;
    for (int i = 0; i < n; ++i)
        if (std::isfinite(v[i])) lo = std::min(lo, v[i]), hi = std::max(hi, v[i]);
    if (!(lo <= hi)) lo = hi = 0.0;
    const double span = type == KComtradeConfig::BINARY ? 32767.0 : 2147483647.0;
    channel.b = 0.5 * (lo + hi);
    channel.a = hi > lo ? (hi - lo) / (2.0 * span - 2.0) : 1.0;
    channel.min = -span;
    channel.max = span;
    for (int i = 0; i < n; ++i) {
        const double r = rawFor(v[i], channel.a, channel.b, true);
        raw[i] = std::isnan(r) ? r : std::clamp(r, -span, span);
    }
}

void KComtradeRecordWriter::setStamps(const KRecord& record, KComtradeConfig& config) {
    KString reason;
    bool swapped;
    for (auto [key, stamp] : {std::pair{KComtradeReader::START, &config.start},
                              std::pair{KComtradeReader::TRIGGER, &config.trigger}}) {
        const KString text = record.getProperty(key);
        const unsigned comma = text.indexOf(',');
        if (comma == KString::NOT_FOUND ||
            !stamp->parse(text.substring(0, comma).c_str(), text.substring(comma + 1).c_str(),
                          false, reason, swapped))
            *stamp = KComtradeStamp::fromNanoseconds(0, 6);
    }
    if (record.getProperty(KComtradeReader::START).isEmpty()) {
        // A record from elsewhere: the trigger sits at its value on the domain.
        const double trigger = record.getTriggerValue();
        const double first = record.getSampleCount() > 0 ? record.getXData()[0] : 0.0;
        if (std::isfinite(trigger) && trigger >= first)
            config.trigger = KComtradeStamp::fromNanoseconds(
                static_cast<int64_t>(std::llround((trigger - first) * 1e6)) * 1000, 6);
        else
            config.trigger = config.start;
    }
}

void KComtradeRecordWriter::setRates(const KRecord& record, KComtradeConfig& config,
                                     KComtradeData& data) {
    const int n = record.getSampleCount();
    const double* x = record.getXData();
    // The sampling table the record was read with, when it still describes the samples.
    config.rates.clear();
    const KString text = record.getProperty(KComtradeReader::SAMPLING_RATES);
    const char* p = text.c_str();
    while (*p) {
        char* end = nullptr;
        KComtradeConfig::Rate r;
        r.rate = strtod(p, &end);
        if (*end != ',') break;
        r.endSample = static_cast<int64_t>(strtod(end + 1, &end));
        config.rates.push_back(r);
        if (*end != ';') break;
        p = end + 1;
    }
    if (config.rates.empty() || config.rates.back().endSample != n) {
        // Runs of constant interval, rates rounded to a millionth of a hertz.
        config.rates.clear();
        int start = 0;
        while (start + 1 < n) {
            int end = start + 1;
            const double step = x[start + 1] - x[start];
            while (end + 1 < n && std::fabs((x[end + 1] - x[end]) - step) <= 1e-6 * step) ++end;
            config.rates.push_back({std::round(1e6 / step) / 1e6, end + 1});
            start = end + 1;
        }
        if (config.rates.empty()) config.rates.push_back({1.0, n});
        config.rates.back().endSample = n;
    }
    // Time stamps from the domain, in the unit the start stamp implies; binary stamps count
    // round in 32 bits, as recorders' counters do.
    const double unit = config.getTimeStampUnit();
    const bool binary = config.fileType != KComtradeConfig::ASCII;
    for (int i = 0; i < n; ++i) {
        const double stamp = std::round((x[i] - x[0]) / unit);
        data.timeStamps[static_cast<size_t>(i)] = binary ? std::fmod(stamp, 4294967296.0) : stamp;
    }
}

void KComtradeRecordWriter::write(const KRecord& record, const char* path,
                                  KComtradeConfig::Revision revision,
                                  KComtradeConfig::FileType type) {
    KComtradeWriter::write(toFile(record, revision, type), path);
}
