#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <kalvo/foundation/KStringArray.h>
#include <kalvo/io/KComtradeConfig.h>
#include <kalvo/io/KComtradeData.h>
#include <kalvo/io/KComtradeStream.h>
#include <kalvo/io/KTextEncoding.h>

// A disturbance record as its files hold it, all in memory: the configuration, the raw
// samples, the header and information texts, the time of each sample, and the list of what
// the reader found off and what it did about it. Read through a KComtradeStream.
class KComtradeFile {
public:
    using Options = KComtradeStream::Options;

    KComtradeConfig config;       // its sampling rates describe the samples there are
    KComtradeData data;
    KString header, information;  // the .hdr and .inf texts, if any
    std::vector<double> times;    // seconds of each sample after the first
    double triggerTime = 0.0;     // seconds of the trigger after the first sample
    KStringArray warnings;
    KTextEncoding::Encoding encoding = KTextEncoding::UTF8;  // that of the configuration
    KString configPath, dataPath;

    // Reads the record of path: a .cfg, its .dat, or a .cff. Raises KException (naming the
    // file) for a file that cannot be read or makes no sense.
    void read(const char* path, const Options& options);
    void read(const char* path) { read(path, Options()); }
    // Reads a configuration file with a data file named apart from it.
    void read(const char* configFile, const char* dataFile, const Options& options);
    // Reads a record from texts in memory; names are used in messages.
    void readConfig(std::string_view text, const char* name, const Options& options,
                    int firstLine = 1);
    void readData(std::string_view bytes, const char* name, const Options& options);
    void readCombined(std::string_view bytes, const char* name, const Options& options);

private:
    // Takes every sample and what the stream found.
    void take(KComtradeStream& stream);
};
