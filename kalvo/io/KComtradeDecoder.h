#pragma once

#include <cstddef>
#include <functional>
#include <memory>

#include <kalvo/foundation/KString.h>
#include <kalvo/foundation/KStringArray.h>
#include <kalvo/io/KComtradeConfig.h>
#include <kalvo/io/KComtradeData.h>

// Turns the bytes of a data file into samples, for one file type. A decoder keeps every
// complete sample; what it had to skip or mend goes into the warnings, and input it cannot
// make sense of raises a KException naming the file and the line or byte offset.
class KComtradeDecoder {
public:
    // Called now and then with the share of the bytes done so far, 0 to 1.
    using Progress = std::function<void(double)>;

    virtual ~KComtradeDecoder() = default;

    // The decoder for the config's file type.
    static std::unique_ptr<KComtradeDecoder> create(KComtradeConfig::FileType type);

    void setFileName(const char* name) { fileName_ = name; }
    void setProgress(Progress progress) { progress_ = std::move(progress); }

    // Replaces data with the samples held in bytes.
    virtual void decode(const char* bytes, size_t size, const KComtradeConfig& config,
                        KComtradeData& data, KStringArray& warnings) = 0;

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

    void reportProgress(size_t done, size_t total) const {
        if (progress_ && total > 0) progress_(static_cast<double>(done) / total);
    }

    KString fileName_;
    Progress progress_;
};
