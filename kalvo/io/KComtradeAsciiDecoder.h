#pragma once

#include <kalvo/io/KComtradeDecoder.h>

// Decodes the text file type: one line per sample of comma-separated fields, the sample
// number, the time stamp (may be empty), the analog values and the status values. An empty
// analog field, or 99999 after the oldest revision, is a missing value. A control character
// inside a line (anything below a blank but tab and the line ends) is an error; end-of-file
// characters and NUL bytes after the last sample are padding.
class KComtradeAsciiDecoder : public KComtradeDecoder {
public:
    void start(const KComtradeConfig& config) override;
    size_t decodePiece(const char* bytes, size_t size, bool last, KComtradeData& block) override;
    void finish(KStringArray& warnings) override;

private:
    long long line_ = 1;  // number of the line the next piece starts on
    long long extraFieldsLine_ = 0, emptyStampCount_ = 0, otherStatusLine_ = 0;
    long long emptyStatusLine_ = 0, cutLine_ = 0;
};
