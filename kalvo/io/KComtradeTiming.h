#pragma once

#include <cstddef>
#include <vector>

#include <kalvo/foundation/KStringArray.h>
#include <kalvo/io/KComtradeConfig.h>
#include <kalvo/io/KComtradeData.h>

// The time of every sample, in seconds after the first one. When the configuration gives
// sampling rates they set the time (where the rate changes, the first sample of a run follows
// the previous run's last sample by the previous run's interval) and the time stamps are only
// checked against them; without rates the time stamps, times the time multiplier, are the
// time. What does not agree goes into the warnings.
class KComtradeTiming {
public:
    static std::vector<double> compute(const KComtradeConfig& config, const KComtradeData& data,
                                       KStringArray& warnings);

private:
    static std::vector<double> fromRates(const KComtradeConfig& config, size_t count);
    static void checkStamps(const KComtradeConfig& config, const KComtradeData& data,
                            const std::vector<double>& times, KStringArray& warnings);
    static std::vector<double> fromStamps(const KComtradeConfig& config, const KComtradeData& data,
                                          KStringArray& warnings);
    // Time stamps with counter wraps (16 or 32 bits) undone; the modulus found, or 0.
    static std::vector<double> unwrap(const KComtradeData::Values& stamps, double expectedStep,
                                      double& modulus, long long& wraps, long long& backwardsAt);
};
