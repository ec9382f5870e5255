#include <kalvo/io/KComtradeReader.h>

#include <climits>
#include <cmath>
#include <string>

#include <kalvo/foundation/KDouble.h>
#include <kalvo/foundation/KException.h>

void KComtradeReader::read(const char* path, KRecord& record) {
    KComtradeStream stream;
    stream.open(path, options_);
    read(stream, record);
    record.setFileName(path);
}

void KComtradeReader::read(std::string_view config, std::string_view data, const char* name,
                           KRecord& record) {
    KComtradeStream stream;
    stream.openConfig(config, name, options_);
    stream.openData(data, name);
    read(stream, record);
    record.setFileName(name);
}

void KComtradeReader::read(KComtradeStream& stream, KRecord& record) {
    try {
        describe(stream.getConfig(), stream.getHeader(), stream.getInformation(), record);
        record.setFileName(stream.getConfigPath().c_str());
        const int64_t expected = stream.getExpectedSampleCount();
        if (expected > INT_MAX)
            KException::raise("COMTRADE Error", "%s: %lld samples are more than a record holds",
                              stream.getDataPath().c_str(), static_cast<long long>(expected));
        // Binary data tell their exact count: every trace is then allocated once.
        record.ensureCapacity(static_cast<int>(expected));
        KComtradeStream::Block block;
        double origin = 0.0;
        while (stream.next(block)) {
            if (block.first + block.data.getSampleCount() > INT_MAX)
                KException::raise("COMTRADE Error", "%s: more samples than a record holds",
                                  stream.getDataPath().c_str());
            if (block.first == 0) origin = fromFirstSample_ ? 0.0 : stream.getTriggerTime();
            fill(block.data, block.times, block.first, origin, record);
        }
        record.setTriggerValue(stream.getTriggerTime() - origin);
        warnings_ = stream.getWarnings();
        config_ = stream.getConfig();
        complete(stream.getRates(), warnings_, record);
    } catch (...) {
        record.destroy();
        throw;
    }
}

void KComtradeReader::build(const KComtradeFile& file, KRecord& record) const {
    describe(file.config, file.header, file.information, record);
    record.setFileName(file.configPath.c_str());
    const double origin = fromFirstSample_ ? 0.0 : file.triggerTime;
    record.ensureCapacity(static_cast<int>(file.data.getSampleCount()));
    fill(file.data, file.times, 0, origin, record);
    record.setTriggerValue(file.triggerTime - origin);
    complete(file.config.rates, file.warnings, record);
}

void KComtradeReader::getCalibration(const KComtradeConfig::Analog& a, double& scale,
                                     double& offset) const {
    // a * raw + b gives the kind of value the P/S flag names; the ratio turns it into the
    // other kind.
    double k = 1.0;
    if (a.primary > 0.0 && a.secondary > 0.0) {
        if (a.ps == 'P' && !primary_) k = a.secondary / a.primary;
        if (a.ps == 'S' && primary_) k = a.primary / a.secondary;
    }
    scale = a.a * k;
    offset = a.b * k;
}

void KComtradeReader::describe(const KComtradeConfig& c, const KString& header,
                               const KString& information, KRecord& record) const {
    const int analogs = static_cast<int>(c.analogs.size());
    const int digitals = static_cast<int>(c.digitals.size());
    record.destroy();
    record.create(analogs + digitals, 0, 1024);
    record.setName(c.station.c_str());
    record.setDevice(c.device.c_str());
    record.setFormat("COMTRADE");

    const char* type = KComtradeConfig::getFileTypeName(c.fileType);
    KString description;
    description.format("COMTRADE %d %s, %s Hz, start %s, trigger %s, time multiplier %s",
                       static_cast<int>(c.revision), type,
                       KDouble::toExactString(c.lineFrequency).c_str(),
                       c.start.toDisplayString().c_str(), c.trigger.toDisplayString().c_str(),
                       KDouble::toExactString(c.timeMultiplier).c_str());
    record.setDescription(description.c_str());
    record.setProperty(REVISION, std::to_string(static_cast<int>(c.revision)).c_str());
    record.setProperty(LINE_FREQUENCY, KDouble::toExactString(c.lineFrequency).c_str());
    record.setProperty(START, c.start.toDisplayString().c_str());
    record.setProperty(TRIGGER, c.trigger.toDisplayString().c_str());
    record.setProperty(TIME_MULTIPLIER, KDouble::toExactString(c.timeMultiplier).c_str());
    record.setProperty(FILE_TYPE, type);
    record.setProperty(VALUES, primary_ ? "primary" : "secondary");
    if (c.revision == KComtradeConfig::REV_2013) {
        record.setProperty(TIME_CODE, c.timeCode.c_str());
        record.setProperty(LOCAL_CODE, c.localCode.c_str());
        record.setProperty(TIME_QUALITY, c.timeQuality.c_str());
        record.setProperty(LEAP_SECOND, c.leapSecond.c_str());
    }
    if (!header.isEmpty()) record.setProperty(HEADER, header.c_str());
    if (!information.isEmpty()) record.setProperty(INFORMATION, information.c_str());

    KRecord::Trace& domain = record.getDomain();
    domain.setName("Time");
    domain.setUnits("s");
    for (int k = 0; k < analogs; ++k) {
        const auto& a = c.analogs[static_cast<size_t>(k)];
        KRecord::Trace* t = record.getTrace(k);
        t->setName(a.id.c_str());
        t->setUnits(a.units.c_str());
        t->setPhase(a.phase.c_str());
        t->setCircuit(a.circuit.c_str());
        t->setPrimary(a.primary);
        t->setSecondary(a.secondary);
        double scale, offset;
        getCalibration(a, scale, offset);
        t->setScale(scale);
        t->setOffset(offset);
        t->setProperty(CHANNEL, std::to_string(a.index).c_str());
        t->setProperty(SKEW, KDouble::toExactString(a.skew).c_str());
        t->setProperty(MIN, KDouble::toExactString(a.min).c_str());
        t->setProperty(MAX, KDouble::toExactString(a.max).c_str());
    }
    for (int k = 0; k < digitals; ++k) {
        const auto& d = c.digitals[static_cast<size_t>(k)];
        KRecord::Trace* t = record.getTrace(analogs + k);
        t->setName(d.id.c_str());
        t->setPhase(d.phase.c_str());
        t->setCircuit(d.circuit.c_str());
        t->setFlags(DIGITAL);
        t->setProperty(CHANNEL, std::to_string(d.index).c_str());
        t->setProperty(NORMAL, d.normal ? "1" : "0");
    }
}

void KComtradeReader::fill(const KComtradeData& data, const std::vector<double>& times,
                           int64_t first, double origin, KRecord& record) const {
    const int n = static_cast<int>(data.getSampleCount());
    const int end = static_cast<int>(first) + n;
    const size_t at = static_cast<size_t>(first);
    KRecord::Trace& domain = record.getDomain();
    domain.setCountUnset(end);
    double* x = domain.getData() + at;
    for (int i = 0; i < n; ++i) x[i] = times[static_cast<size_t>(i)] - origin;

    const int analogs = data.getAnalogCount();
    for (int k = 0; k < analogs; ++k) {
        KRecord::Trace* t = record.getTrace(k);
        t->setCountUnset(end);
        double* y = t->getData() + at;
        const double scale = t->getScale(), offset = t->getOffset();
        data.visitAnalogs(k, [&](const auto* raw) {
            for (int i = 0; i < n; ++i) y[i] = scale * KComtradeData::toDouble(raw[i]) + offset;
        });
    }
    for (int k = 0; k < data.getDigitalCount(); ++k) {
        KRecord::Trace* t = record.getTrace(analogs + k);
        t->setCountUnset(end);
        double* y = t->getData() + at;
        const uint16_t* words = data.getWords(k >> 4);
        const int bit = k & 15;
        for (int i = 0; i < n; ++i) y[i] = (words[i] >> bit) & 1;
    }
}

void KComtradeReader::complete(const std::vector<KComtradeConfig::Rate>& rates,
                               const KStringArray& warnings, KRecord& record) const {
    KString text;
    for (const auto& r : rates) {
        if (!text.isEmpty()) text << ";";
        text << KDouble::toExactString(r.rate) << ","
             << KDouble::toExactString(static_cast<double>(r.endSample));
    }
    record.setProperty(SAMPLING_RATES, text.c_str());
    record.setComment(warnings.toString().c_str());
    if (record.getSampleCount() >= 2) record.computeSamplingTable();
}
