#include <kalvo/io/KComtradeReader.h>

#include <cmath>
#include <string>

#include <kalvo/foundation/KDouble.h>

void KComtradeReader::read(const char* path, KRecord& record) {
    file_.read(path, options_);
    build(file_, record);
    record.setFileName(path);
}

void KComtradeReader::read(std::string_view config, std::string_view data, const char* name,
                           KRecord& record) {
    file_ = KComtradeFile();
    file_.readConfig(config, name, options_);
    file_.readData(data, name, options_);
    build(file_, record);
    record.setFileName(name);
}

void KComtradeReader::build(const KComtradeFile& file, KRecord& record) const {
    const KComtradeConfig& c = file.config;
    const int n = static_cast<int>(file.data.getSampleCount());
    const int analogs = static_cast<int>(c.analogs.size());
    const int digitals = static_cast<int>(c.digitals.size());

    record.destroy();
    record.create(analogs + digitals, 0, 1024);
    record.setName(c.station.c_str());
    record.setDevice(c.device.c_str());
    record.setFormat("COMTRADE");
    record.setFileName(file.configPath.c_str());

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
    KString rates;
    for (const auto& r : c.rates) {
        if (!rates.isEmpty()) rates << ";";
        rates << KDouble::toExactString(r.rate) << ","
              << KDouble::toExactString(static_cast<double>(r.endSample));
    }
    record.setProperty(SAMPLING_RATES, rates.c_str());
    record.setProperty(VALUES, primary_ ? "primary" : "secondary");
    if (c.revision == KComtradeConfig::REV_2013) {
        record.setProperty(TIME_CODE, c.timeCode.c_str());
        record.setProperty(LOCAL_CODE, c.localCode.c_str());
        record.setProperty(TIME_QUALITY, c.timeQuality.c_str());
        record.setProperty(LEAP_SECOND, c.leapSecond.c_str());
    }
    if (!file.header.isEmpty()) record.setProperty(HEADER, file.header.c_str());
    if (!file.information.isEmpty()) record.setProperty(INFORMATION, file.information.c_str());
    record.setComment(file.warnings.toString().c_str());

    // Domain: seconds from the trigger (or the first sample).
    const double origin = fromFirstSample_ ? 0.0 : file.triggerTime;
    KRecord::Trace& domain = record.getDomain();
    domain.setName("Time");
    domain.setUnits("s");
    domain.setCount(n);
    double* x = domain.getData();
    for (int i = 0; i < n; ++i) x[i] = file.times[static_cast<size_t>(i)] - origin;
    record.setTriggerValue(file.triggerTime - origin);

    for (int k = 0; k < analogs; ++k) {
        const auto& a = c.analogs[static_cast<size_t>(k)];
        KRecord::Trace* t = record.getTrace(k);
        t->setName(a.id.c_str());
        t->setUnits(a.units.c_str());
        t->setPhase(a.phase.c_str());
        t->setCircuit(a.circuit.c_str());
        t->setPrimary(a.primary);
        t->setSecondary(a.secondary);
        // a * raw + b gives the kind of value the P/S flag names; the ratio turns it into
        // the other kind.
        double k2 = 1.0;
        if (a.primary > 0.0 && a.secondary > 0.0) {
            if (a.ps == 'P' && !primary_) k2 = a.secondary / a.primary;
            if (a.ps == 'S' && primary_) k2 = a.primary / a.secondary;
        }
        const double scale = a.a * k2, offset = a.b * k2;
        t->setScale(scale);
        t->setOffset(offset);
        t->setProperty(CHANNEL, std::to_string(a.index).c_str());
        t->setProperty(SKEW, KDouble::toExactString(a.skew).c_str());
        t->setProperty(MIN, KDouble::toExactString(a.min).c_str());
        t->setProperty(MAX, KDouble::toExactString(a.max).c_str());
        t->setCount(n);
        double* y = t->getData();
        file.data.visitAnalogs(k, [&](const auto* raw) {
            for (int i = 0; i < n; ++i) y[i] = scale * KComtradeData::toDouble(raw[i]) + offset;
        });
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
        t->setCount(n);
        double* y = t->getData();
        const uint16_t* words = file.data.getWords(k >> 4);
        const int bit = k & 15;
        for (int i = 0; i < n; ++i) y[i] = (words[i] >> bit) & 1;
    }
    if (n >= 2) record.computeSamplingTable();
}
