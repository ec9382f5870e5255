#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include <kalvo/foundation/KString.h>
#include <kalvo/foundation/KStringArray.h>
#include <kalvo/io/KComtradeConfig.h>
#include <kalvo/io/KComtradeData.h>

// Turns the bytes of a data file into samples, for one file type. The bytes may come in
// pieces: start, then each piece in file order, then finish. A decoder keeps every complete
// sample; what it had to skip or mend goes into the warnings, and input it cannot make sense
// of raises a KException naming the file and the line or byte offset.
class KComtradeDecoder {
public:
    virtual ~KComtradeDecoder() = default;

    // The decoder for the config's file type.
    static std::unique_ptr<KComtradeDecoder> create(KComtradeConfig::FileType type);

    void setFileName(const char* name) { fileName_ = name; }

    // Replaces data with the samples of a whole data file held in bytes.
    void decode(const char* bytes, size_t size, const KComtradeConfig& config, KComtradeData& data,
                KStringArray& warnings);

    // Starts a file of the given configuration, which must outlive the decoding.
    virtual void start(const KComtradeConfig& config);
    // Decodes the whole samples at the front of bytes into block (replacing what it held) and
    // returns how many bytes they took; the rest must come again, with what follows it, in the
    // next call. With last (no bytes follow), every byte is used.
    virtual size_t decodePiece(const char* bytes, size_t size, bool last, KComtradeData& block) = 0;
    // Adds what the file had wrong to warnings.
    virtual void finish(KStringArray& warnings);

    // Samples decoded since start.
    int64_t getSampleCount() const { return count_; }

protected:
    // Reports sample numbers that do not count up by one from 1.
    class NumberCheck {
    public:
        void check(long long number, long long index) {
            if (index == 0) {
                first_ = number;
            } else if (number != first_ + index && breakAt_ < 0) {
                breakAt_ = index;
                found_ = number;
            }
        }
        void report(KStringArray& warnings) const;

    private:
        long long first_ = 1;
        long long breakAt_ = -1;
        long long found_ = 0;
    };

    const KComtradeConfig* config_ = nullptr;
    KString fileName_;
    NumberCheck numbers_;
    int64_t count_ = 0;    // samples decoded before the current piece
    uint64_t offset_ = 0;  // file offset of the current piece's first byte
};
