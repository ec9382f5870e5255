#include <kalvo/io/KComtradeBinaryDecoder.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

namespace {

template <class T>
inline T load(const unsigned char* p) {
    T v;
    std::memcpy(&v, p, sizeof v);  // the files are little-endian, as is every host we build for
    return v;
}

}  // namespace

void KComtradeBinaryDecoder::start(const KComtradeConfig& config) {
    KComtradeDecoder::start(config);
    recordSize_ = static_cast<size_t>(config.getRecordSize(type_));
    tail_ = KString();
}

size_t KComtradeBinaryDecoder::decodePiece(const char* bytes, size_t size, bool last,
                                           KComtradeData& block) {
    const size_t count = size / recordSize_;
    const KComtradeData::SampleType sampleType = type_ == KComtradeConfig::BINARY32
                                                     ? KComtradeData::INT32
                                                 : type_ == KComtradeConfig::FLOAT32
                                                     ? KComtradeData::FLOAT32
                                                     : KComtradeData::INT16;
    block.resize(static_cast<int64_t>(count), static_cast<int>(config_->analogs.size()),
                 static_cast<int>(config_->digitals.size()), sampleType, false);
    const auto* p = reinterpret_cast<const unsigned char*>(bytes);
    switch (type_) {
        case KComtradeConfig::BINARY32:
            decodeSamples<int32_t>(p, count, block);
            break;
        case KComtradeConfig::FLOAT32:
            decodeSamples<float>(p, count, block);
            break;
        default:
            decodeSamples<int16_t>(p, count, block);
            break;
    }
    size_t used = count * recordSize_;
    count_ += static_cast<int64_t>(count);
    const size_t rest = size - used;
    if (last && rest > 0) {
        const unsigned char* tail = p + used;
        bool padding = true;
        for (size_t i = 0; i < rest; ++i) padding &= tail[i] == 0x1A || tail[i] == 0;
        if (padding)
            tail_.format("%zu padding bytes after the last sample ignored", rest);
        else
            tail_.format(
                "%s: the last %zu bytes (from byte offset %llu) do not make a whole "
                "sample of %zu bytes; ignored",
                fileName_.c_str(), rest, static_cast<unsigned long long>(offset_ + used),
                recordSize_);
        used = size;
    }
    offset_ += used;
    return used;
}

void KComtradeBinaryDecoder::finish(KStringArray& warnings) {
    KComtradeDecoder::finish(warnings);
    if (!tail_.isEmpty()) warnings.add(tail_.c_str());
}

template <class Value>
void KComtradeBinaryDecoder::decodeSamples(const unsigned char* p, size_t count,
                                           KComtradeData& block) {
    const int analogCount = block.getAnalogCount();
    const int wordCount = block.getWordCount();
    const size_t recordSize = recordSize_;
    const size_t wordsOffset = 8 + static_cast<size_t>(analogCount) * sizeof(Value);
    // Channel by channel over runs of samples small enough to stay in cache: each pass then
    // writes one array in order instead of scattering every sample over all of them.
    // Samples are copied as they are: missing-value codes are read as such later.
    constexpr size_t RUN = 256;
    for (size_t b = 0; b < count; b += RUN) {
        const size_t n = std::min(RUN, count - b);
        const unsigned char* q = p + b * recordSize;
        double* stamps = block.timeStamps.data() + b;
        for (size_t i = 0; i < n; ++i) {
            const unsigned char* r = q + i * recordSize;
            numbers_.check(load<uint32_t>(r), count_ + static_cast<long long>(b + i));
            const uint32_t stamp = load<uint32_t>(r + 4);
            stamps[i] = stamp == 0xFFFFFFFFu ? std::numeric_limits<double>::quiet_NaN() : stamp;
        }
        for (int c = 0; c < analogCount; ++c) {
            Value* out = block.getAnalogs<Value>(c) + b;
            const unsigned char* v = q + 8 + static_cast<size_t>(c) * sizeof(Value);
            for (size_t i = 0; i < n; ++i) out[i] = load<Value>(v + i * recordSize);
        }
        for (int k = 0; k < wordCount; ++k) {
            uint16_t* out = block.getWords(k) + b;
            const unsigned char* w = q + wordsOffset + 2 * static_cast<size_t>(k);
            for (size_t i = 0; i < n; ++i) out[i] = load<uint16_t>(w + i * recordSize);
        }
    }
}
