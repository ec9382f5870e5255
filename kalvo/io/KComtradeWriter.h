#pragma once

#include <string>

#include <kalvo/io/KComtradeConfig.h>
#include <kalvo/io/KComtradeData.h>
#include <kalvo/io/KComtradeFile.h>

// Writes records in the layout of the config's revision (1991, 1999 or 2013) and data file
// type: texts in UTF-8 with CR LF line ends, numbers in the fewest digits that read back as
// the same double, samples numbered from 1. Raw values must fit the file type; a value that
// does not raises KException naming the channel and the sample.
class KComtradeWriter {
public:
    static std::string writeConfig(const KComtradeConfig& config);
    static std::string writeData(const KComtradeConfig& config, const KComtradeData& data);
    // One combined file of the configuration, information, header and data sections.
    static std::string writeCombined(const KComtradeFile& file);

    // Writes file to path: a combined file for a .cff path; otherwise the .cfg and .dat (and
    // .hdr and .inf when there is such text) beside the path with its extension replaced.
    static void write(const KComtradeFile& file, const char* path);
};
