#include <kalvo/io/KComtradeDecoder.h>

#include <kalvo/io/KComtradeAsciiDecoder.h>
#include <kalvo/io/KComtradeBinaryDecoder.h>

std::unique_ptr<KComtradeDecoder> KComtradeDecoder::create(KComtradeConfig::FileType type) {
    if (type == KComtradeConfig::ASCII) return std::make_unique<KComtradeAsciiDecoder>();
    return std::make_unique<KComtradeBinaryDecoder>(type);
}

void KComtradeDecoder::decode(const char* bytes, size_t size, const KComtradeConfig& config,
                              KComtradeData& data, KStringArray& warnings) {
    start(config);
    decodePiece(bytes, size, true, data);
    finish(warnings);
}

void KComtradeDecoder::start(const KComtradeConfig& config) {
    config_ = &config;
    numbers_ = NumberCheck();
    count_ = 0;
    offset_ = 0;
}

void KComtradeDecoder::finish(KStringArray& warnings) { numbers_.report(warnings); }

void KComtradeDecoder::NumberCheck::report(KStringArray& warnings) const {
    KString w;
    if (first_ != 1) {
        w.format("sample numbers start at %lld instead of 1", first_);
        warnings.add(w.c_str());
    }
    if (breakAt_ >= 0) {
        w.format("sample %lld is numbered %lld; numbers ignored, samples taken in file order",
                 breakAt_ + 1, found_);
        warnings.add(w.c_str());
    }
}
