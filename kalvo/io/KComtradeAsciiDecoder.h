#pragma once

#include <kalvo/io/KComtradeDecoder.h>

// Decodes the text file type: one line per sample of comma-separated fields, the sample
// number, the time stamp (may be empty), the analog values and the status values. An empty
// analog field, or 99999 after the oldest revision, is a missing value.
class KComtradeAsciiDecoder : public KComtradeDecoder {
public:
    void decode(const char* bytes, size_t size, const KComtradeConfig& config, KComtradeData& data,
                KStringArray& warnings) override;
};
