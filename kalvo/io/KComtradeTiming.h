#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include <kalvo/foundation/KStringArray.h>
#include <kalvo/io/KComtradeConfig.h>

// The time of every sample, in seconds after the first one, worked out block by block as the
// samples are read. When the configuration gives sampling rates they set the time (where the
// rate changes, the first sample of a run follows the previous run's last sample by the
// previous run's interval) and the time stamps are only checked against them; without rates
// the time stamps, times the time multiplier, are the time. What does not agree goes into
// the warnings once the last block is in.
class KComtradeTiming {
public:
    explicit KComtradeTiming(const KComtradeConfig& config);

    // The times of the next n samples, whose raw time stamps (NaN where missing) are given.
    // Without sampling rates, the typical step that stands in for a missing stamp is the
    // median step of the first block. Raises KException when that block has no stamp at all.
    void add(const double* stamps, size_t n, std::vector<double>& times);
    void finish(KStringArray& warnings);

    int64_t getSampleCount() const { return count_; }
    // Seconds after the first sample of the last sample seen.
    double getLastTime() const { return lastTime_; }
    // The typical interval of the time stamps in seconds, for records timed by them (0 before
    // the first block and for records timed by their rates).
    double getStampInterval() const;
    // The time the rates give sample index (from 0), for records with rates; NaN without.
    static double rateTime(const KComtradeConfig& config, int64_t index);

private:
    // The sampling rate run that sample index falls in.
    double nextRateTime(int64_t index);
    // A raw stamp with counter wraps (16 or 32 bits) undone.
    double unwrap(double stamp, double expectedStep);
    void addFromRates(const double* stamps, size_t n, std::vector<double>& times);
    void addFromStamps(const double* stamps, size_t n, std::vector<double>& times);

    const KComtradeConfig& config_;
    const bool fromRates_;
    const double unit_;
    int64_t count_ = 0;
    double lastTime_ = 0.0;

    // Walking the rate table.
    size_t run_ = 0;
    int64_t runStart_ = 0, runEnd_ = 0;
    double base_ = 0.0, interval_ = 0.0;
    double expectedStep_ = 0.0;  // the first run's interval in stamp units

    // Unwrapping counters.
    double maxStamp_ = 0.0, wrapOffset_ = 0.0, previousStamp_ = 0.0, modulus_ = 0.0;
    bool hasPrevious_ = false;
    long long wraps_ = 0, backwardsAt_ = -1;

    // Checking stamps against the rates.
    int64_t missing_ = 0, zero_ = 0;
    bool hasFirst_ = false;
    double firstStamp_ = 0.0, firstTime_ = 0.0;
    double maxInterval_ = 0.0, worst_ = 0.0;
    int64_t worstAt_ = 0;

    // Time from the stamps.
    double median_ = 0.0, origin_ = 0.0, previous_ = 0.0;
    int64_t mended_ = 0;
};
