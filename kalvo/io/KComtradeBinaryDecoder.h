#pragma once

#include <kalvo/io/KComtradeDecoder.h>

// Decodes the three binary file types: fixed-size little-endian samples of a sample number
// and a time stamp (32 bits each), one analog value per channel (16-bit or 32-bit integers,
// or 32-bit floats) and the status bits in 16-bit words.
class KComtradeBinaryDecoder : public KComtradeDecoder {
public:
    explicit KComtradeBinaryDecoder(KComtradeConfig::FileType type) : type_(type) {}

    void decode(const char* bytes, size_t size, const KComtradeConfig& config, KComtradeData& data,
                KStringArray& warnings) override;

private:
    template <class Value>
    void decodeSamples(const unsigned char* bytes, size_t start, size_t count, size_t recordSize,
                       KComtradeData& data, NumberCheck& numbers) const;

    KComtradeConfig::FileType type_;
};
