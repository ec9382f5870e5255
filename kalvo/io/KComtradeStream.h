#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <kalvo/foundation/KString.h>
#include <kalvo/foundation/KStringArray.h>
#include <kalvo/io/KComtradeConfig.h>
#include <kalvo/io/KComtradeData.h>
#include <kalvo/io/KComtradeDecoder.h>
#include <kalvo/io/KComtradeTiming.h>
#include <kalvo/io/KTextEncoding.h>

// A disturbance record read in one pass, a block of samples at a time, so that a file of any
// size is looked through in little memory. Opening reads the configuration, header and
// information texts (a .cfg with its .dat, .hdr and .inf in any letter case, or one combined
// .cff); each call of next then decodes the next few megabytes of the data file into a block
// of raw samples with the time of each. What the files had off is in the warnings, complete
// once next has returned false. Files that cannot be read or make no sense raise a KException
// naming the file and, where it helps, the line or byte offset.
class KComtradeStream {
public:
    // Called while the samples are read, with the share done (0 to 1).
    using Progress = std::function<void(double)>;
    struct Options {
        // The character set of the configuration texts; AUTO guesses it.
        KTextEncoding::Encoding encoding = KTextEncoding::AUTO;
        Progress progress;
        // Bytes of the data file decoded at a time: large enough for long sequential reads,
        // small enough that a pass over a file of any size stays within a few times this.
        size_t pieceSize = size_t{4} << 20;
    };
    // Samples first to first + count - 1 (indices from 0 in the whole record).
    struct Block {
        int64_t first = 0;
        KComtradeData data;          // raw samples as the file holds them
        std::vector<double> times;   // seconds of each sample after the record's first one
    };

    KComtradeStream();
    ~KComtradeStream();
    KComtradeStream(const KComtradeStream&) = delete;
    KComtradeStream& operator=(const KComtradeStream&) = delete;

    // Opens the record of path: a .cfg, its .dat, or a .cff.
    void open(const char* path, const Options& options);
    void open(const char* path);
    // Opens a configuration file with a data file named apart from it.
    void open(const char* configFile, const char* dataFile, const Options& options);
    // A record in memory, which must stay there while it is read: the configuration text,
    // then the data bytes (or a configuration read before, given by useConfig); names are used
    // in messages.
    void openConfig(std::string_view text, const char* name, const Options& options,
                    int firstLine = 1);
    void useConfig(const KComtradeConfig& config, const Options& options);
    void openData(std::string_view bytes, const char* name);
    void openCombined(std::string_view bytes, const char* name, const Options& options);

    // The next block of samples, in place of what block held; false once every sample has
    // been read (the warnings are then complete).
    bool next(Block& block);

    const KComtradeConfig& getConfig() const { return config_; }
    const KString& getHeader() const { return header_; }
    const KString& getInformation() const { return information_; }
    const KStringArray& getWarnings() const { return warnings_; }
    KTextEncoding::Encoding getEncoding() const { return encoding_; }
    const KString& getConfigPath() const { return configPath_; }
    const KString& getDataPath() const { return dataPath_; }

    // How many samples the data hold: exact for binary data, the configuration's count (a
    // guess) for text.
    int64_t getExpectedSampleCount() const;
    bool isSampleCountExact() const { return config_.fileType != KComtradeConfig::ASCII; }
    // Samples handed out so far; all of them at the end.
    int64_t getSampleCount() const { return count_; }
    // Seconds of the trigger after the first sample: known once the first block is out.
    // A trigger far outside the record (a placeholder date) is taken as the first sample.
    double getTriggerTime() const { return triggerTime_; }
    // Seconds of the last sample read after the first one.
    double getLastTime() const;
    // The sampling rates as declared, and at the end as they describe the samples there are.
    const std::vector<KComtradeConfig::Rate>& getRates() const { return rates_; }
    // For records timed by their time stamps, their typical interval in seconds; else 0.
    double getStampInterval() const;

    // The file that goes with path under another extension ("dat" for a ".cfg"), looked up in
    // any letter case; empty when there is none.
    static std::string findCompanion(const std::string& path, const char* extension);
    // The extension of path with its dot, in lower case (".cfg").
    static std::string getExtension(const std::string& path);
    // The whole content of a file; raises KException naming the file and the reason when it
    // cannot be read.
    static std::string load(const std::string& path);

private:
    struct Section;
    class Source;

    void reset(const Options& options);
    void readConfigText(std::string_view text, const char* name, int firstLine);
    void openDataFile(const std::string& path, uint64_t offset, uint64_t length, const char* name);
    void startData(const char* name);
    // Splits the text sections of a combined file from its data; false until the data marker.
    bool splitCombined(std::string_view bytes, const char* name, bool complete,
                       uint64_t& dataOffset, long long& byteCount);
    void decideTrigger();
    void countOutside(const KComtradeData& block);
    void finish();

    Options options_;
    KComtradeConfig config_;
    KString header_, information_;
    KStringArray warnings_;
    KTextEncoding::Encoding encoding_ = KTextEncoding::UTF8;
    KString configPath_, dataPath_;
    std::vector<KComtradeConfig::Rate> rates_;

    std::unique_ptr<Source> source_;
    std::unique_ptr<KComtradeDecoder> decoder_;
    std::unique_ptr<KComtradeTiming> timing_;
    int64_t count_ = 0;
    double triggerTime_ = 0.0;
    bool triggerKnown_ = false;
    bool done_ = false;
    // Declared range of each analog channel (as the file type can hold it) and how many
    // samples fell outside it.
    std::vector<double> lowest_, highest_;
    std::vector<int64_t> outside_;
};
