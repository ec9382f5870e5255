#pragma once

#include <string>
#include <vector>

#include <kalvo/io/KComtradeReader.h>
#include <kalvo/io/KComtradeStream.h>
#include <kalvo/record/KRecord.h>

#include "CommandLine.h"

// The record a subcommand works on: the file named on the command line or the embedded
// sample. It is read in one pass (open a stream) or whole (read a record). While a large
// file is read, a progress line shows on standard error when that is a terminal, unless
// --quiet is given.
class RecordSource {
public:
    explicit RecordSource(const CommandLine& options);
    ~RecordSource();

    // The file as given, or the sample's name.
    const std::string& getName() const { return name_; }
    // Opens the record for one pass over its samples.
    void open(KComtradeStream& stream);
    // Reads the whole record.
    void read(KRecord& record);
    // The reader of read, and of the calibration that stream users apply to raw samples.
    const KComtradeReader& getReader() const { return reader_; }
    // Ends the progress line, if one was shown.
    void done();

    // Seconds from the trigger as commands print them: to the nanosecond, a time that is
    // zero but for rounding as 0.
    static std::string seconds(double t);
    // "1 sample", "2 samples".
    static std::string count(long long n, const char* thing);

private:
    KComtradeStream::Options streamOptions();

    const CommandLine& options_;
    std::string name_;
    KComtradeReader reader_;
    int shown_ = -1;  // the percentage on the progress line; -1: none shown
};
