#pragma once

#include <kalvo/foundation/KArrayBuffer.h>
#include <kalvo/foundation/KDouble.h>
#include <kalvo/foundation/KProperties.h>
#include <kalvo/foundation/KString.h>
#include <kalvo/foundation/KStringArray.h>
#include <kalvo/foundation/KVector.h>
#include <kalvo/foundation/KVectorBuffer.h>
#include <kalvo/record/KRecordConsumer.h>
#include <kalvo/record/KRecordProducer.h>

// A multi-channel sampled waveform: one shared domain trace (the sample times) and any
// number of value traces of the same length. An acquisition feeds it row by row through
// setDomainValue, setTraceValue and commit; displays read it as a producer.
class KRecord : public KRecordProducer, public KRecordConsumer {
    K_DECLARE_CLASS(KRecord);

public:
    // Property of the power system's nominal frequency in Hz, where the source knows it.
    static constexpr const char* LINE_FREQUENCY = "LineFrequency";

    // The samples of one channel with its descriptive texts and calibration. The pending
    // value is the channel's value in the row being built; commit appends it.
    class Trace : public KArrayBuffer {
    public:
        // Flag of a trace of status values (0 and 1) rather than sampled quantities.
        static constexpr int DIGITAL = 1;

        explicit Trace(int capacity = 0, int step = 1024);
        // A copy belongs to no record until one adopts it.
        Trace(const Trace& other);
        Trace& operator=(const Trace& other);
        ~Trace() override;

        KRecord* getOwner() const { return owner_; }

        const double* getData() const { return static_cast<const double*>(data()); }
        double* getData() { return static_cast<double*>(data()); }
        // Sample i; NaN outside 0..count-1.
        double getSample(int i) const {
            return i >= 0 && i < getCount() ? getData()[i] : KDouble::NaN;
        }

        double getValue() const { return value_; }
        void setValue(double value) { value_ = value; }
        void commit() { appendValue<double>(value_); }

        double findMinValue(int from, int count) const;
        double findMaxValue(int from, int count) const;
        double getRMSValue(int from, int count) const;
        // Whether lower bound <= pending value <= upper bound (false for NaN).
        bool isBounded() const { return lowerBound_ <= value_ && value_ <= upperBound_; }

        // The name's text before its first '.' is the trace's group.
        const KString& getName() const { return name_; }
        void setName(const char* name) { name_ = name; }
        const KString& getUnits() const { return units_; }
        void setUnits(const char* units) { units_ = units; }
        const KString& getPhase() const { return phase_; }
        void setPhase(const char* phase) { phase_ = phase; }
        const KString& getCircuit() const { return circuit_; }
        void setCircuit(const char* circuit) { circuit_ = circuit; }

        // Raw samples times scale plus offset give real values.
        double getScale() const { return scale_; }
        void setScale(double scale) { scale_ = scale; }
        double getOffset() const { return offset_; }
        void setOffset(double offset) { offset_ = offset; }
        double getLowerBound() const { return lowerBound_; }
        double getUpperBound() const { return upperBound_; }
        void setBounds(double lower, double upper) {
            lowerBound_ = lower;
            upperBound_ = upper;
        }
        // Transformer ratio of the channel: primary and secondary rating.
        double getPrimary() const { return primary_; }
        void setPrimary(double primary) { primary_ = primary; }
        double getSecondary() const { return secondary_; }
        void setSecondary(double secondary) { secondary_ = secondary; }
        int getFlags() const { return flags_; }
        void setFlags(int flags) { flags_ = flags; }
        bool isDigital() const { return (flags_ & DIGITAL) != 0; }

        void setProperty(const char* key, const char* value) {
            properties_.setProperty(key, value);
        }
        KString getProperty(const char* key) const { return properties_.getProperty(key); }
        const KProperties& getProperties() const { return properties_; }

    private:
        friend class KRecord;
        // Everything but the samples and the owner.
        void copyDescription(const Trace& other);
        void store(KArchive& archive) const;
        // Reads what store wrote; the samples must number expectedCount (-1: any).
        void load(KArchive& archive, long expectedCount);

        KRecord* owner_ = nullptr;
        KString name_;
        KString units_;
        KString phase_;
        KString circuit_;
        double value_ = KDouble::NaN;
        double scale_ = 1.0;
        double offset_ = 0.0;
        double lowerBound_ = KDouble::NEGATIVE_INFINITY;
        double upperBound_ = KDouble::POSITIVE_INFINITY;
        double primary_ = 1.0;
        double secondary_ = 1.0;
        int flags_ = 0;
        KProperties properties_;
    };

    // One run of the sampling table: samples of a constant interval up to endIndex
    // (exclusive), at rate samples per domain unit.
    class SampleInfo {
    public:
        SampleInfo(double rate, int endIndex) : rate_(rate), endIndex_(endIndex) {}
        double getRate() const { return rate_; }
        int getEndIndex() const { return endIndex_; }

    private:
        double rate_;
        int endIndex_;
    };

    KRecord();
    // A copy holds the same data and texts but no observers.
    KRecord(const KRecord& other);
    KRecord& operator=(const KRecord& other);
    ~KRecord() override;

    void copy(const KObject& other) override;
    // Stored form, version 1: texts, calibration, properties, the domain and every trace
    // (texts, calibration, properties, samples), the selected trace and the sampling
    // table. Loading replaces the record only once everything has been read.
    void Serialize(KArchive& archive) override;

    // Producer.
    int getTraceCount() const override { return traces_.getCount(); }
    int getSampleCount() const override { return domain_.getCount(); }
    const double* getXData() const override { return domain_.getData(); }
    const double* getYData() const override;
    // Any index is kept; one without a trace selects nothing.
    void selectTrace(int trace) override { selected_ = trace; }
    int getTraceIndex() const override { return selected_; }
    double getMinValue(int from, int count) const override;
    double getMaxValue(int from, int count) const override;
    double getTriggerValue() const override { return trigger_; }
    void setTriggerValue(double value) { trigger_ = value; }

    // Consumer. The per-sample calls are final so that feeding a record directly costs
    // no virtual call.
    void setName(const char* name) override { name_ = name; }
    void setDomainValue(double value) final { domain_.value_ = value; }
    void setTraceName(int trace, const char* name) override;
    void setTraceValue(int trace, double value) final {
        Trace* t = getTrace(trace);
        if (t == nullptr) return;
        t->value_ = value;
        datumChanged_ = true;
    }
    // Appends the pending domain value and then every trace's; the pending values stay,
    // so committing again repeats the row.
    void commit() {
        domain_.commit();
        void* const* traces = traces_.data();
        const int n = traces_.getCount();
        for (int i = 0; i < n; ++i) static_cast<Trace*>(traces[i])->commit();
        datumChanged_ = false;
    }

    // Replaces the traces by count new ones of the given capacity and growth step. Selects
    // nothing: the selected index stays as it was, naming a trace only if one is there.
    void create(int traces, int capacity, int step);
    // Empties the domain and the sampling table and deletes every trace.
    void destroy();
    void ensureCapacity(int n);
    // Replaces everything by n samples of the domain x and of each column; a null array
    // gives NaN samples. The arrays may be this record's own.
    void setData(const double* x, KVector<double>& columns, int n);
    // As setData, but when the record already has one trace per column the traces keep
    // their names, texts and calibration and only their samples are replaced.
    void setData2(const double* x, KVector<double>& columns, int n);

    // Texts.
    const KString& getName() const { return name_; }
    const KString& getFormat() const { return format_; }
    void setFormat(const char* format) { format_ = format; }
    const KString& getDevice() const { return device_; }
    void setDevice(const char* device) { device_ = device; }
    const KString& getDescription() const { return description_; }
    void setDescription(const char* description) { description_ = description; }
    // The file the record was read from, if any.
    const KString& getFileName() const { return fileName_; }
    void setFileName(const char* fileName) { fileName_ = fileName; }
    const KString& getComment() const { return comment_; }
    void setComment(const char* comment) { comment_ = comment; }

    double getScale() const { return scale_; }
    void setScale(double scale) { scale_ = scale; }
    double getOffset() const { return offset_; }
    void setOffset(double offset) { offset_ = offset; }
    double getSamplingTolerance() const { return samplingTolerance_; }
    void setSamplingTolerance(double tolerance) { samplingTolerance_ = tolerance; }

    // Traces.
    Trace& getDomain() { return domain_; }
    const Trace& getDomain() const { return domain_; }
    // Trace i; null outside 0..count-1.
    Trace* getTrace(int i) const { return static_cast<Trace*>(traces_.get(i)); }
    // The selected trace's name; empty when none is selected.
    KString getTraceName() const;
    // Appends every trace name, in order.
    void getTraceNames(KStringArray& names) const;
    // Merges the group of every trace name (no duplicates, case ignored).
    void getGroupNames(KStringArray& names) const;
    // Pending value of trace i; NaN for a missing trace.
    double getTraceValue(int trace) const;
    int getDomainSize() const { return domain_.getCount(); }
    // Domain sample i; NaN outside 0..size-1.
    double getDomainValue(int i) const { return domain_.getSample(i); }
    // Raw domain samples to real ones through the domain trace's scale and offset, and back
    // (only with a positive scale).
    void setDomainReal();
    void setDomainRaw();

    // Sampling table: runs of samples with a constant interval within tolerance. Raises
    // with fewer than two samples.
    void computeSamplingTable(double tolerance);
    void computeSamplingTable() { computeSamplingTable(samplingTolerance_); }
    void clearSamplingTable();
    int getSampleInfoCount() const { return samplingTable_.getCount(); }
    // Entry i; null outside 0..count-1.
    const SampleInfo* getSampleInfo(int i) const {
        return static_cast<const SampleInfo*>(samplingTable_.get(i));
    }

    bool isEmpty() const { return domain_.getCount() == 0; }
    bool isDatumChanged() const { return datumChanged_; }
    void setDatumChanged(bool changed) { datumChanged_ = changed; }

    void setProperty(const char* key, const char* value) { properties_.setProperty(key, value); }
    KString getProperty(const char* key) const { return properties_.getProperty(key); }
    const KProperties& getProperties() const { return properties_; }

    // Builds the record from delimited text of length bytes (no terminator needed): one
    // trace per token of the first line, one row per line with the row number as domain.
    // False, with the record unchanged, when the first line is empty.
    bool pasteRawData(char* text, int length);

private:
    void copyFrom(const KRecord& other);
    void deleteTraces();
    void adoptTrace(Trace* trace);
    // Copies of the columns as new traces, for setData and setData2.
    static void stageColumns(KVector<double>& columns, int n, KVector<Trace>& staged);
    void installData(const double* x, KVector<Trace>& staged, int n);

    KString name_;
    KString format_;
    KString device_;
    KString description_;
    KString fileName_;
    KString comment_;
    double scale_ = 1.0;
    double offset_ = 0.0;
    double samplingTolerance_ = 1e-6;
    double trigger_ = KDouble::NaN;
    Trace domain_;
    KVectorBuffer traces_;         // owned Trace*
    KVectorBuffer samplingTable_;  // owned SampleInfo*
    KProperties properties_;
    int selected_ = -1;
    bool datumChanged_ = true;
};
