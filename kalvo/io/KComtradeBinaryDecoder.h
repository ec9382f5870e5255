#pragma once

#include <kalvo/io/KComtradeDecoder.h>

// Decodes the three binary file types: fixed-size little-endian samples of a sample number
// and a time stamp (32 bits each), one analog value per channel (16-bit or 32-bit integers,
// or 32-bit floats) and the status bits in 16-bit words.
class KComtradeBinaryDecoder : public KComtradeDecoder {
public:
    explicit KComtradeBinaryDecoder(KComtradeConfig::FileType type) : type_(type) {}

    void start(const KComtradeConfig& config) override;
    size_t decodePiece(const char* bytes, size_t size, bool last, KComtradeData& block) override;
    void finish(KStringArray& warnings) override;

private:
    template <class Value>
    void decodeSamples(const unsigned char* bytes, size_t count, KComtradeData& block);

    KComtradeConfig::FileType type_;
    size_t recordSize_ = 0;
    KString tail_;  // what the bytes after the last whole sample were
};
