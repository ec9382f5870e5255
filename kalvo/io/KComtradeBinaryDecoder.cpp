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

void KComtradeBinaryDecoder::decode(const char* bytes, size_t size, const KComtradeConfig& config,
                                    KComtradeData& data, KStringArray& warnings) {
    KComtradeConfig sized = config;
    sized.fileType = type_;
    const size_t recordSize = static_cast<size_t>(sized.getRecordSize());
    const size_t count = size / recordSize;
    const size_t rest = size % recordSize;
    const KComtradeData::SampleType sampleType = type_ == KComtradeConfig::BINARY32
                                                     ? KComtradeData::INT32
                                                 : type_ == KComtradeConfig::FLOAT32
                                                     ? KComtradeData::FLOAT32
                                                     : KComtradeData::INT16;
    data.resize(static_cast<int64_t>(count), static_cast<int>(config.analogs.size()),
                static_cast<int>(config.digitals.size()), sampleType, false);
    const auto* p = reinterpret_cast<const unsigned char*>(bytes);
    NumberCheck numbers;
    // In slices, so that progress can be shown on a long file.
    const size_t slice = (size_t{16} << 20) / recordSize + 1;
    for (size_t done = 0; done < count; done += slice) {
        const size_t n = std::min(slice, count - done);
        switch (type_) {
            case KComtradeConfig::BINARY32:
                decodeSamples<int32_t>(p, done, n, recordSize, data, numbers);
                break;
            case KComtradeConfig::FLOAT32:
                decodeSamples<float>(p, done, n, recordSize, data, numbers);
                break;
            default:
                decodeSamples<int16_t>(p, done, n, recordSize, data, numbers);
                break;
        }
        p += n * recordSize;
        reportProgress((done + n) * recordSize, size);
    }
    numbers.report(warnings);
    if (rest > 0) {
        const unsigned char* tail =
            reinterpret_cast<const unsigned char*>(bytes) + count * recordSize;
        bool padding = true;
        for (size_t i = 0; i < rest; ++i) padding &= tail[i] == 0x1A || tail[i] == 0;
        KString w;
        if (padding)
            w.format("%zu padding bytes after the last sample ignored", rest);
        else
            w.format(
                "%s: the last %zu bytes (from byte offset %zu) do not make a whole "
                "sample of %zu bytes; ignored",
                fileName_.c_str(), rest, count * recordSize, recordSize);
        warnings.add(w.c_str());
    }
}

template <class Value>
void KComtradeBinaryDecoder::decodeSamples(const unsigned char* p, size_t start, size_t count,
                                           size_t recordSize, KComtradeData& data,
                                           NumberCheck& numbers) const {
    const int analogCount = data.getAnalogCount();
    const int wordCount = data.getWordCount();
    const size_t wordsOffset = 8 + static_cast<size_t>(analogCount) * sizeof(Value);
    // Channel by channel over blocks of samples small enough to stay in cache: each pass
    // then writes one array in order instead of scattering every sample over all of them.
    // Samples are copied as they are: missing-value codes are read as such later.
    constexpr size_t BLOCK = 256;
    for (size_t b = 0; b < count; b += BLOCK) {
        const size_t n = std::min(BLOCK, count - b);
        const unsigned char* q = p + b * recordSize;
        const size_t at = start + b;
        double* stamps = data.timeStamps.data() + at;
        for (size_t i = 0; i < n; ++i) {
            const unsigned char* r = q + i * recordSize;
            numbers.check(load<uint32_t>(r), static_cast<long long>(at + i));
            const uint32_t stamp = load<uint32_t>(r + 4);
            stamps[i] = stamp == 0xFFFFFFFFu ? std::numeric_limits<double>::quiet_NaN() : stamp;
        }
        for (int c = 0; c < analogCount; ++c) {
            Value* out = data.getAnalogs<Value>(c) + at;
            const unsigned char* v = q + 8 + static_cast<size_t>(c) * sizeof(Value);
            for (size_t i = 0; i < n; ++i) out[i] = load<Value>(v + i * recordSize);
        }
        for (int k = 0; k < wordCount; ++k) {
            uint16_t* out = data.getWords(k) + at;
            const unsigned char* w = q + wordsOffset + 2 * static_cast<size_t>(k);
            for (size_t i = 0; i < n; ++i) out[i] = load<uint16_t>(w + i * recordSize);
        }
    }
}
