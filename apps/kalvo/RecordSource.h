#pragma once

#include <string>
#include <vector>

#include <kalvo/io/KComtradeReader.h>
#include <kalvo/record/KRecord.h>

#include "CommandLine.h"

// The record a subcommand works on: the file named on the command line (with progress on
// standard error while a large one is read) or the embedded sample.
class RecordSource {
public:
    explicit RecordSource(const CommandLine& options);

    KRecord record;
    std::string name;  // the file, or the sample's name
    const KComtradeReader& getReader() const { return reader_; }

    // Trace indices of the names or numbers (from 1) in list, in its order; all traces (or
    // the analog ones) when list is empty. Raises KException for a name that is no trace.
    std::vector<int> selectTraces(const std::vector<std::string>& list, bool analogOnly) const;
    // Samples whose time lies from from up to to (included when toIncluded), as first index
    // and end index.
    void findStretch(double from, double to, bool toIncluded, int& first, int& end) const;

private:
    KComtradeReader reader_;
};
