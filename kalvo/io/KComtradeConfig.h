#pragma once

#include <cstdint>
#include <vector>

#include <kalvo/foundation/KString.h>
#include <kalvo/io/KComtradeStamp.h>

// What a configuration file (.cfg, or the first section of a .cff) says about a record:
// plain data, texts in UTF-8, as the reader found it after mending what it reported.
class KComtradeConfig {
public:
    enum Revision { REV_1991 = 1991, REV_1999 = 1999, REV_2013 = 2013 };
    enum FileType { ASCII, BINARY, BINARY32, FLOAT32 };

    struct Analog {
        int index = 0;  // channel number as written
        KString id, phase, circuit, units;
        double a = 1.0, b = 0.0;  // real value = a * raw + b
        double skew = 0.0;        // microseconds
        double min = -32767.0, max = 32767.0;
        double primary = 1.0, secondary = 1.0;
        char ps = 'S';  // whether a * raw + b gives primary (P) or secondary (S) values
        bool operator==(const Analog&) const = default;
    };
    struct Digital {
        int index = 0;
        KString id, phase, circuit;
        int normal = 0;  // normal state
        bool operator==(const Digital&) const = default;
    };
    // One run of the sampling table; a single run with rate 0 means "no sampling rate":
    // the time of each sample comes from its time stamp.
    struct Rate {
        double rate = 0.0;      // samples per second
        int64_t endSample = 0;  // number of the last sample of the run
        bool operator==(const Rate&) const = default;
    };

    KString station, device;
    KString revisionText;  // the year as written ("1997"), empty for the oldest form
    Revision revision = REV_1999;
    std::vector<Analog> analogs;
    std::vector<Digital> digitals;
    double lineFrequency = 60.0;
    std::vector<Rate> rates{Rate{}};
    KComtradeStamp start, trigger;
    FileType fileType = ASCII;
    double timeMultiplier = 1.0;
    // The newest revision's time zone and clock quality lines, kept as text.
    KString timeCode, localCode, timeQuality, leapSecond;

    bool hasSamplingRate() const { return !rates.empty() && rates.front().rate > 0.0; }
    int64_t getSampleCount() const { return rates.empty() ? 0 : rates.back().endSample; }
    // Seconds per time stamp unit: microseconds, or nanoseconds when the start stamp is
    // written to the nanosecond, times the time multiplier.
    double getTimeStampUnit() const;
    // Bytes of one sample in a binary data file of the config's file type, or of type.
    int getRecordSize() const { return getRecordSize(fileType); }
    int getRecordSize(FileType type) const;

    static const char* getFileTypeName(FileType type);
    // Case-insensitive; false for an unknown name.
    static bool parseFileType(const char* name, FileType& type);

    bool operator==(const KComtradeConfig&) const = default;
};
