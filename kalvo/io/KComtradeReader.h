#pragma once

#include <kalvo/foundation/KStringArray.h>
#include <kalvo/io/KComtradeFile.h>
#include <kalvo/io/KComtradeStream.h>
#include <kalvo/record/KRecord.h>

// Builds a KRecord from COMTRADE files. The record's name is the station, its device the
// recording device; its description and properties carry the revision, line frequency, start
// and trigger time stamps, time multiplier, data file type and sampling rates. Every analog
// channel becomes a trace of real values (a * raw + b, as secondary values unless primary
// values are asked for) named by the channel id, with the channel's units, phase and circuit,
// and the raw-to-real factor and offset as its scale and offset; every status channel becomes
// a trace of 0 and 1 flagged DIGITAL. The domain is in seconds from the trigger, or from the
// first sample on request. What the files had wrong is in getWarnings() and the record's
// comment.
class KComtradeReader {
public:
    // Trace flag of status channels.
    static constexpr int DIGITAL = KRecord::Trace::DIGITAL;

    // Record property keys.
    static constexpr const char* REVISION = "Revision";
    static constexpr const char* LINE_FREQUENCY = KRecord::LINE_FREQUENCY;
    static constexpr const char* START = "Start";
    static constexpr const char* TRIGGER = "Trigger";
    static constexpr const char* TIME_MULTIPLIER = "TimeMultiplier";
    static constexpr const char* FILE_TYPE = "FileType";
    static constexpr const char* SAMPLING_RATES = "SamplingRates";
    static constexpr const char* VALUES = "Values";  // "primary" or "secondary"
    static constexpr const char* TIME_CODE = "TimeCode";
    static constexpr const char* LOCAL_CODE = "LocalCode";
    static constexpr const char* TIME_QUALITY = "TimeQuality";
    static constexpr const char* LEAP_SECOND = "LeapSecond";
    static constexpr const char* HEADER = "Header";
    static constexpr const char* INFORMATION = "Information";
    // Trace property keys.
    static constexpr const char* CHANNEL = "Channel";  // number in the file
    static constexpr const char* SKEW = "Skew";        // microseconds
    static constexpr const char* MIN = "Min";          // declared range of raw values
    static constexpr const char* MAX = "Max";
    static constexpr const char* NORMAL = "Normal";  // normal state of a status channel

    void setPrimaryValues(bool primary) { primary_ = primary; }
    bool isPrimaryValues() const { return primary_; }
    // Domain from the first sample instead of from the trigger.
    void setDomainFromFirstSample(bool first) { fromFirstSample_ = first; }
    bool isDomainFromFirstSample() const { return fromFirstSample_; }
    void setEncoding(KTextEncoding::Encoding encoding) { options_.encoding = encoding; }
    void setProgress(KComtradeStream::Progress progress) {
        options_.progress = std::move(progress);
    }

    // Reads the record of path (a .cfg, .dat or .cff) into record, replacing what it held,
    // in one pass over the data file: each sample is written once, into traces sized for
    // all of them. Raises KException for files that cannot be read or make no sense; the
    // record is then left empty.
    void read(const char* path, KRecord& record);
    // Reads a record whose configuration and data are in memory; name is used in messages.
    void read(std::string_view config, std::string_view data, const char* name, KRecord& record);
    // Reads the record of a stream opened before.
    void read(KComtradeStream& stream, KRecord& record);
    // Builds record from files read before.
    void build(const KComtradeFile& file, KRecord& record) const;

    // What the last read found wrong with the files, and their configuration as declared.
    const KStringArray& getWarnings() const { return warnings_; }
    const KComtradeConfig& getConfig() const { return config_; }

    // The factor and offset that turn the raw samples of an analog channel into the values
    // this reader gives (secondary or primary).
    void getCalibration(const KComtradeConfig::Analog& channel, double& scale,
                        double& offset) const;

private:
    // The record's texts, properties and empty traces, from the configuration.
    void describe(const KComtradeConfig& config, const KString& header,
                  const KString& information, KRecord& record) const;
    // Writes samples first to first + n - 1 into the traces, growing them when needed.
    void fill(const KComtradeData& data, const std::vector<double>& times, int64_t first,
              double origin, KRecord& record) const;
    // Sampling rates, warnings and the sampling table once every sample is in.
    void complete(const std::vector<KComtradeConfig::Rate>& rates, const KStringArray& warnings,
                  KRecord& record) const;

    KComtradeStream::Options options_;
    KStringArray warnings_;
    KComtradeConfig config_;
    bool primary_ = false;
    bool fromFirstSample_ = false;
};
