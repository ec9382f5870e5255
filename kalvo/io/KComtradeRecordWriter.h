#pragma once

#include <kalvo/io/KComtradeFile.h>
#include <kalvo/record/KRecord.h>

// Writes a KRecord as COMTRADE files. The configuration comes from what KComtradeReader
// left in the record (its properties and each trace's texts, ratio, scale and offset); a
// record from elsewhere gets defaults: 60 Hz, a start stamp of 1970, the sampling rates of
// its sampling table, and raw values scaled to use the range of the file type. A record read
// and written so reads back with the same samples and fields.
class KComtradeRecordWriter {
public:
    // The record as files of the given revision and data file type.
    static KComtradeFile toFile(const KRecord& record, KComtradeConfig::Revision revision,
                                KComtradeConfig::FileType type);
    // Writes path (a .cff, or a .cfg and its .dat).
    static void write(const KRecord& record, const char* path, KComtradeConfig::Revision revision,
                      KComtradeConfig::FileType type);

private:
    static void setStamps(const KRecord& record, KComtradeConfig& config);
    static void setRates(const KRecord& record, KComtradeConfig& config, KComtradeData& data);
    static void setAnalog(const KRecord::Trace& trace, KComtradeConfig::FileType type, bool primary,
                          KComtradeConfig::Analog& channel, double* raw);
};
