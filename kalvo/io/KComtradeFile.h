#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <kalvo/foundation/KStringArray.h>
#include <kalvo/io/KComtradeConfig.h>
#include <kalvo/io/KComtradeData.h>
#include <kalvo/io/KComtradeDecoder.h>
#include <kalvo/io/KTextEncoding.h>

// A disturbance record as its files hold it: the configuration, the samples, the header and
// information texts, the time of each sample, and the list of what the reader found off and
// what it did about it. Reads a .cfg with its .dat (in any letter case), or one combined .cff.
class KComtradeFile {
public:
    struct Options {
        // The character set of the configuration texts; AUTO guesses it.
        KTextEncoding::Encoding encoding = KTextEncoding::AUTO;
        // Called while the samples are decoded, with the share done (0 to 1).
        KComtradeDecoder::Progress progress;
    };

    KComtradeConfig config;
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

    // The file that goes with path under another extension ("dat" for a ".cfg"), looked up in
    // any letter case; empty when there is none.
    static std::string findCompanion(const std::string& path, const char* extension);
    // The extension of path with its dot, in lower case (".cfg").
    static std::string getExtension(const std::string& path);
    // The whole content of a file; raises KException when it cannot be read.
    static std::string load(const std::string& path);

private:
    void finish();
    std::string toUtf8(std::string_view text, const Options& options);
};
