#include <kalvo/record/KRecord.h>

#include <bit>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <vector>

#include <kalvo/foundation/KArchive.h>
#include <kalvo/foundation/KException.h>
#include <kalvo/record/KSampleStatistics.h>

K_IMPLEMENT_CLASS(KRecord, KRecordProducer, 1)

namespace {

constexpr std::uint32_t kVersion = 1;
constexpr const char* kArchiveError = "Archive Error";
// What separates the values of a pasted line.
constexpr const char* kPasteDelimiters = ", \t\r\n;|!@#$%^&*~";

void writeSamples(KArchive& archive, const double* samples, int n) {
    archive.writeCount(static_cast<std::uint32_t>(n));
    if constexpr (std::endian::native == std::endian::little) {
        if (n > 0) archive.write(samples, static_cast<size_t>(n) * sizeof(double));
    } else {
        for (int i = 0; i < n; ++i) archive << samples[i];
    }
}

// The sample count that follows in the archive, checked against what is left of it before
// anything is allocated.
int readSampleCount(KArchive& archive) {
    const std::uint32_t count = archive.readCount();
    if (count > static_cast<std::uint32_t>(INT_MAX)) {
        KException::raise(kArchiveError, "Corrupt record at byte %zu: %u samples in one trace",
                          archive.getPosition(), count);
    }
    archive.require(static_cast<size_t>(count) * sizeof(double));
    return static_cast<int>(count);
}

bool within(const double* p, const KArrayBuffer& buffer) {
    const auto* begin = static_cast<const double*>(buffer.data());
    return p != nullptr && begin != nullptr && p >= begin && p < begin + buffer.getCount();
}

}  // namespace

// ---------------------------------------------------------------------------------------
// KRecord::Trace

KRecord::Trace::Trace(int capacity, int step) : KArrayBuffer(sizeof(double), capacity, step) {}

KRecord::Trace::Trace(const Trace& other) : KArrayBuffer(other) {
    copyDescription(other);
}

KRecord::Trace& KRecord::Trace::operator=(const Trace& other) {
    if (this == &other) return *this;
    KArrayBuffer::operator=(other);
    copyDescription(other);
    return *this;
}

KRecord::Trace::~Trace() = default;

void KRecord::Trace::copyDescription(const Trace& other) {
    name_ = other.name_;
    units_ = other.units_;
    phase_ = other.phase_;
    circuit_ = other.circuit_;
    value_ = other.value_;
    scale_ = other.scale_;
    offset_ = other.offset_;
    lowerBound_ = other.lowerBound_;
    upperBound_ = other.upperBound_;
    primary_ = other.primary_;
    secondary_ = other.secondary_;
    flags_ = other.flags_;
    properties_ = other.properties_;
}

double KRecord::Trace::findMinValue(int from, int count) const {
    return KSampleStatistics::minimum(getData(), getCount(), from, count);
}

double KRecord::Trace::findMaxValue(int from, int count) const {
    return KSampleStatistics::maximum(getData(), getCount(), from, count);
}

double KRecord::Trace::getRMSValue(int from, int count) const {
    return KSampleStatistics::rms(getData(), getCount(), from, count);
}

void KRecord::Trace::store(KArchive& archive) const {
    archive.writeString(name_);
    archive.writeString(units_);
    archive.writeString(phase_);
    archive.writeString(circuit_);
    archive << value_ << scale_ << offset_ << lowerBound_ << upperBound_ << primary_ << secondary_;
    archive << static_cast<std::int32_t>(flags_);
    properties_.writeObject(archive);
    writeSamples(archive, getData(), getCount());
}

void KRecord::Trace::load(KArchive& archive, long expectedCount) {
    name_ = archive.readString();
    units_ = archive.readString();
    phase_ = archive.readString();
    circuit_ = archive.readString();
    archive >> value_ >> scale_ >> offset_ >> lowerBound_ >> upperBound_ >> primary_ >> secondary_;
    std::int32_t flags = 0;
    archive >> flags;
    flags_ = flags;
    properties_.readObject(archive);
    const size_t at = archive.getPosition();
    const int n = readSampleCount(archive);
    if (expectedCount >= 0 && n != expectedCount) {
        KException::raise(kArchiveError,
                          "Corrupt record at byte %zu: trace '%s' holds %d samples, the domain %ld",
                          at, name_.c_str(), n, expectedCount);
    }
    removeAll();
    setCount(n);
    if constexpr (std::endian::native == std::endian::little) {
        if (n > 0) archive.read(getData(), static_cast<size_t>(n) * sizeof(double));
    } else {
        for (int i = 0; i < n; ++i) archive >> getData()[i];
    }
}

// ---------------------------------------------------------------------------------------
// KRecord

KRecord::KRecord() : domain_(0, 1024), traces_(0, 8), samplingTable_(0, 8) {
    domain_.owner_ = this;
}

KRecord::KRecord(const KRecord& other)
    : KRecordProducer(other),
      KRecordConsumer(other),
      domain_(0, 1024),
      traces_(0, 8),
      samplingTable_(0, 8) {
    domain_.owner_ = this;
    copyFrom(other);
}

KRecord& KRecord::operator=(const KRecord& other) {
    KRecordProducer::operator=(other);
    copyFrom(other);
    return *this;
}

KRecord::~KRecord() {
    deleteTraces();
    clearSamplingTable();
}

void KRecord::copy(const KObject& other) {
    if (other.isKindOf(K_CLASS(KRecord))) copyFrom(static_cast<const KRecord&>(other));
}

void KRecord::copyFrom(const KRecord& other) {
    if (this == &other) return;
    name_ = other.name_;
    format_ = other.format_;
    device_ = other.device_;
    description_ = other.description_;
    fileName_ = other.fileName_;
    comment_ = other.comment_;
    scale_ = other.scale_;
    offset_ = other.offset_;
    samplingTolerance_ = other.samplingTolerance_;
    trigger_ = other.trigger_;
    domain_ = other.domain_;
    deleteTraces();
    for (int i = 0; i < other.getTraceCount(); ++i) adoptTrace(new Trace(*other.getTrace(i)));
    clearSamplingTable();
    for (int i = 0; i < other.getSampleInfoCount(); ++i) {
        samplingTable_.add(new SampleInfo(*other.getSampleInfo(i)));
    }
    properties_ = other.properties_;
    selected_ = other.selected_;
    datumChanged_ = other.datumChanged_;
}

void KRecord::deleteTraces() {
    for (int i = traces_.getCount() - 1; i >= 0; --i) delete getTrace(i);
    traces_.removeAll();
}

void KRecord::adoptTrace(Trace* trace) {
    trace->owner_ = this;
    traces_.add(trace);
}

const double* KRecord::getYData() const {
    const Trace* trace = getTrace(selected_);
    return trace != nullptr ? trace->getData() : nullptr;
}

double KRecord::getMinValue(int from, int count) const {
    const Trace* trace = getTrace(selected_);
    return trace != nullptr ? trace->findMinValue(from, count) : KDouble::NaN;
}

double KRecord::getMaxValue(int from, int count) const {
    const Trace* trace = getTrace(selected_);
    return trace != nullptr ? trace->findMaxValue(from, count) : KDouble::NaN;
}

void KRecord::setTraceName(int trace, const char* name) {
    Trace* t = getTrace(trace);
    if (t != nullptr) t->name_ = name;
}

void KRecord::create(int traces, int capacity, int step) {
    destroy();
    for (int i = 0; i < traces; ++i) adoptTrace(new Trace(capacity, step));
}

void KRecord::destroy() {
    domain_.removeAll();
    deleteTraces();
    clearSamplingTable();
}

void KRecord::ensureCapacity(int n) {
    domain_.ensureCapacity(n);
    for (int i = 0; i < getTraceCount(); ++i) getTrace(i)->ensureCapacity(n);
}

void KRecord::stageColumns(KVector<double>& columns, int n, KVector<Trace>& staged) {
    for (int c = 0; c < columns.getCount(); ++c) {
        auto* trace = new Trace(n, 1024);
        const double* column = columns.get(c);
        if (column != nullptr) {
            trace->append(column, n);
        } else {
            for (int i = 0; i < n; ++i) trace->appendValue(KDouble::NaN);
        }
        staged.add(trace);
    }
}

void KRecord::installData(const double* x, KVector<Trace>& staged, int n) {
    // The domain may be this record's own: keep a copy before emptying it.
    std::vector<double> own;
    if (within(x, domain_)) {
        own.assign(x, x + n);
        x = own.data();
    }
    destroy();
    domain_.ensureCapacity(n);
    if (x != nullptr) {
        domain_.append(x, n);
    } else {
        for (int i = 0; i < n; ++i) domain_.appendValue(KDouble::NaN);
    }
    for (int c = 0; c < staged.getCount(); ++c) adoptTrace(staged.get(c));
}

void KRecord::setData(const double* x, KVector<double>& columns, int n) {
    if (n < 0) n = 0;
    KVector<Trace> staged(columns.getCount());
    stageColumns(columns, n, staged);
    installData(x, staged, n);
}

void KRecord::setData2(const double* x, KVector<double>& columns, int n) {
    if (n < 0) n = 0;
    KVector<Trace> staged(columns.getCount());
    stageColumns(columns, n, staged);
    if (staged.getCount() == getTraceCount()) {
        for (int c = 0; c < staged.getCount(); ++c) staged.get(c)->copyDescription(*getTrace(c));
    }
    installData(x, staged, n);
}

KString KRecord::getTraceName() const {
    const Trace* trace = getTrace(selected_);
    return trace != nullptr ? trace->name_ : KString();
}

void KRecord::getTraceNames(KStringArray& names) const {
    for (int i = 0; i < getTraceCount(); ++i) names.add(getTrace(i)->name_.c_str());
}

void KRecord::getGroupNames(KStringArray& names) const {
    for (int i = 0; i < getTraceCount(); ++i) names.merge(getTrace(i)->name_.token(0, '.').c_str());
}

double KRecord::getTraceValue(int trace) const {
    const Trace* t = getTrace(trace);
    return t != nullptr ? t->value_ : KDouble::NaN;
}

void KRecord::setDomainReal() {
    double* x = domain_.getData();
    for (int i = 0; i < domain_.getCount(); ++i) x[i] = x[i] * domain_.scale_ + domain_.offset_;
}

void KRecord::setDomainRaw() {
    if (!(domain_.scale_ > 0.0)) return;
    double* x = domain_.getData();
    for (int i = 0; i < domain_.getCount(); ++i) x[i] = (x[i] - domain_.offset_) / domain_.scale_;
}

void KRecord::computeSamplingTable(double tolerance) {
    const int n = domain_.getCount();
    if (n < 2) throw KException("KRecord Error", "There must be at least two samples!");
    // A negative tolerance would end every run before its first interval.
    if (tolerance < 0.0) tolerance = 0.0;
    clearSamplingTable();
    const double* x = domain_.getData();
    int i = 1;
    while (i < n) {
        const double start = x[i - 1];
        int k = 0;
        double mean = 0.0;
        while (i < n) {
            ++k;
            mean = (x[i] - start) / k;
            const double d = (x[i] - x[i - 1]) - mean;
            if (d < -tolerance || d > tolerance) break;
            ++i;
        }
        samplingTable_.add(new SampleInfo(1.0 / mean, i));
    }
}

void KRecord::clearSamplingTable() {
    for (int i = samplingTable_.getCount() - 1; i >= 0; --i) delete getSampleInfo(i);
    samplingTable_.removeAll();
}

void KRecord::Serialize(KArchive& archive) {
    KRecordProducer::Serialize(archive);
    if (archive.isStoring()) {
        archive << kVersion;
        archive.writeString(name_);
        archive.writeString(format_);
        archive.writeString(device_);
        archive.writeString(description_);
        archive.writeString(fileName_);
        archive.writeString(comment_);
        archive << scale_ << offset_ << samplingTolerance_ << trigger_;
        properties_.writeObject(archive);
        domain_.store(archive);
        archive.writeCount(static_cast<std::uint32_t>(getTraceCount()));
        for (int i = 0; i < getTraceCount(); ++i) getTrace(i)->store(archive);
        archive << static_cast<std::int32_t>(selected_);
        archive.writeCount(static_cast<std::uint32_t>(getSampleInfoCount()));
        for (int i = 0; i < getSampleInfoCount(); ++i) {
            archive << getSampleInfo(i)->getRate()
                    << static_cast<std::int32_t>(getSampleInfo(i)->getEndIndex());
        }
        return;
    }

    const size_t at = archive.getPosition();
    std::uint32_t version = 0;
    archive >> version;
    if (version < 1 || version > kVersion) {
        KException::raise(kArchiveError,
                          "Record at byte %zu has version %u; this library reads version %u", at,
                          version, kVersion);
    }
    // Everything goes into a fresh record first, so that a bad archive changes nothing.
    KRecord loaded;
    loaded.name_ = archive.readString();
    loaded.format_ = archive.readString();
    loaded.device_ = archive.readString();
    loaded.description_ = archive.readString();
    loaded.fileName_ = archive.readString();
    loaded.comment_ = archive.readString();
    archive >> loaded.scale_ >> loaded.offset_ >> loaded.samplingTolerance_ >> loaded.trigger_;
    loaded.properties_.readObject(archive);
    loaded.domain_.load(archive, -1);
    const int n = loaded.domain_.getCount();
    const std::uint32_t traces = archive.readCount();
    for (std::uint32_t i = 0; i < traces; ++i) {
        auto* trace = new Trace(0, 1024);
        loaded.adoptTrace(trace);
        trace->load(archive, n);
    }
    std::int32_t selected = -1;
    archive >> selected;
    loaded.selected_ = selected;
    const std::uint32_t entries = archive.readCount();
    for (std::uint32_t i = 0; i < entries; ++i) {
        double rate = 0.0;
        std::int32_t end = 0;
        archive >> rate >> end;
        if (end < 0 || end > n) {
            KException::raise(kArchiveError,
                              "Corrupt record at byte %zu: sampling run ends at %d of %d samples",
                              archive.getPosition(), end, n);
        }
        loaded.samplingTable_.add(new SampleInfo(rate, end));
    }

    copyFrom(loaded);
    datumChanged_ = true;
}

bool KRecord::pasteRawData(char* text, int length) {
    if (text == nullptr || length <= 0) return false;
    const char* const end = text + length;
    auto lineEnd = [end](const char* p) {
        const void* lf = std::memchr(p, '\n', static_cast<size_t>(end - p));
        return lf != nullptr ? static_cast<const char*>(lf) : end;
    };

    // The first line names the columns (or is the first row): it decides the trace count.
    std::vector<char> line(static_cast<const char*>(text), lineEnd(text));
    line.push_back(0);
    if (line[0] == 0) return false;
    int n = 0;
    char* state = nullptr;
    for (char* token = strtok_r(line.data(), kPasteDelimiters, &state); token != nullptr;
         token = strtok_r(nullptr, kPasteDelimiters, &state)) {
        ++n;
    }

    destroy();
    create(n, 0, 1024);
    setDescription("Untitled - Clipboard record -");
    setName("- Untitled -");

    std::vector<bool> named(static_cast<size_t>(n), false);
    int row = 0;
    for (const char* p = text; p < end;) {
        const char* e = lineEnd(p);
        const char* next = e < end ? e + 1 : end;
        if (e == p) {
            p = next;
            continue;
        }
        if (static_cast<signed char>(*p) <= 0) break;
        line.assign(p, e);
        line.push_back(0);
        int column = 0;
        state = nullptr;
        for (char* token = strtok_r(line.data(), kPasteDelimiters, &state);
             token != nullptr && column < n; token = strtok_r(nullptr, kPasteDelimiters, &state)) {
            const double value = std::strtod(token, nullptr);
            // A value that is not finite leaves its column to the next token.
            if (!std::isfinite(value)) continue;
            setTraceValue(column, value);
            if (!named[static_cast<size_t>(column)]) {
                KString name;
                name.format("Curve %d", column + 1);
                setTraceName(column, name.c_str());
                named[static_cast<size_t>(column)] = true;
            }
            ++column;
        }
        setDomainValue(row++);
        commit();
        p = next;
    }
    return true;
}
