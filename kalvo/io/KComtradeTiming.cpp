#include <kalvo/io/KComtradeTiming.h>

#include <algorithm>
#include <cmath>

#include <kalvo/foundation/KException.h>

std::vector<double> KComtradeTiming::compute(const KComtradeConfig& config,
                                             const KComtradeData& data, KStringArray& warnings) {
    if (!config.hasSamplingRate()) return fromStamps(config, data, warnings);
    std::vector<double> times = fromRates(config, static_cast<size_t>(data.getSampleCount()));
    checkStamps(config, data, times, warnings);
    return times;
}

std::vector<double> KComtradeTiming::fromRates(const KComtradeConfig& config, size_t count) {
    std::vector<double> times(count);
    size_t runStart = 0;
    double base = 0.0;
    double previousInterval = 0.0;
    for (size_t r = 0; r < config.rates.size() && runStart < count; ++r) {
        const bool last = r + 1 == config.rates.size();
        // Samples past the last run's end (a data file longer than announced) keep its rate.
        size_t runEnd =
            last ? count : std::min(count, static_cast<size_t>(config.rates[r].endSample));
        if (runEnd <= runStart) continue;
        const double interval = 1.0 / config.rates[r].rate;
        if (runStart > 0) base = times[runStart - 1] + previousInterval;
        for (size_t i = runStart; i < runEnd; ++i)
            times[i] = base + static_cast<double>(i - runStart) * interval;
        previousInterval = interval;
        runStart = runEnd;
    }
    return times;
}

std::vector<double> KComtradeTiming::unwrap(const KComtradeData::Values& stamps,
                                            double expectedStep, double& modulus, long long& wraps,
                                            long long& backwardsAt) {
    std::vector<double> out(stamps.begin(), stamps.end());
    modulus = 0.0;
    wraps = 0;
    backwardsAt = -1;
    double maxStamp = 0.0;
    for (double s : stamps)
        if (std::isfinite(s)) maxStamp = std::max(maxStamp, s);
    double offset = 0.0;
    double previous = NAN;
    for (size_t i = 0; i < stamps.size(); ++i) {
        const double s = stamps[i];
        if (!std::isfinite(s)) continue;
        if (std::isfinite(previous) && s < previous) {
            const double step = s - previous;
            bool wrapped = false;
            for (double m : {65536.0, 4294967296.0}) {
                if (maxStamp >= m) continue;
                // A counter wrap: adding the modulus gives a step near the expected one.
                if (std::fabs(step + m - expectedStep) <= std::max(expectedStep, 1.0)) {
                    offset += m;
                    modulus = m;
                    ++wraps;
                    wrapped = true;
                    break;
                }
            }
            if (!wrapped && backwardsAt < 0) backwardsAt = static_cast<long long>(i);
        }
        previous = s;
        out[i] = s + offset;
    }
    return out;
}

void KComtradeTiming::checkStamps(const KComtradeConfig& config, const KComtradeData& data,
                                  const std::vector<double>& times, KStringArray& warnings) {
    const auto& stamps = data.timeStamps;
    const size_t n = stamps.size();
    if (n < 2) return;
    size_t missing = 0, zero = 0;
    for (double s : stamps) {
        missing += !std::isfinite(s);
        zero += s == 0.0;
    }
    KString w;
    if (missing == n) {
        warnings.add("the time stamps are missing; time taken from the sampling rate");
        return;
    }
    if (zero == n) {
        warnings.add("the time stamps are all zero; time taken from the sampling rate");
        return;
    }
    const double unit = config.getTimeStampUnit();
    const double expectedStep = (times[1] - times[0]) / unit;
    double modulus;
    long long wraps, backwardsAt;
    const std::vector<double> unwrapped = unwrap(stamps, expectedStep, modulus, wraps, backwardsAt);
    if (wraps > 0) {
        w.format("the time stamps wrap at %.0f (%lld times); time taken from the sampling rate",
                 modulus, wraps);
        warnings.add(w.c_str());
    }
    if (backwardsAt >= 0) {
        w.format("the time stamps go backwards at sample %lld; time taken from the sampling rate",
                 backwardsAt + 1);
        warnings.add(w.c_str());
        return;
    }
    // Agreement: within two of the longest intervals, or half a percent of the record.
    size_t first = 0;
    while (!std::isfinite(unwrapped[first])) ++first;
    double maxInterval = 0.0;
    for (size_t i = 1; i < n; ++i) maxInterval = std::max(maxInterval, times[i] - times[i - 1]);
    const double tolerance = std::max(2.0 * maxInterval, 0.005 * (times[n - 1] - times[0]));
    double worst = 0.0;
    size_t worstAt = 0;
    for (size_t i = first; i < n; ++i) {
        if (!std::isfinite(unwrapped[i])) continue;
        const double stampTime = (unwrapped[i] - unwrapped[first]) * unit;
        const double deviation = std::fabs(stampTime - (times[i] - times[first]));
        if (deviation > worst) {
            worst = deviation;
            worstAt = i;
        }
    }
    if (worst > tolerance) {
        w.format(
            "the time stamps differ from the sampling rate by up to %g s (at sample %zu); "
            "time taken from the sampling rate",
            worst, worstAt + 1);
        warnings.add(w.c_str());
    }
    if (missing > 0) {
        w.format("%zu time stamps are missing", missing);
        warnings.add(w.c_str());
    }
}

std::vector<double> KComtradeTiming::fromStamps(const KComtradeConfig& config,
                                                const KComtradeData& data, KStringArray& warnings) {
    const auto& stamps = data.timeStamps;
    const size_t n = stamps.size();
    std::vector<double> times(n, 0.0);
    if (n == 0) return times;
    size_t known = 0;
    for (double s : stamps) known += std::isfinite(s) != 0;
    if (known == 0)
        KException::raise("COMTRADE Error",
                          "the record has neither a sampling rate nor time stamps: the time of "
                          "its samples is unknown");
    // The median step between known stamps stands in where a stamp is missing or goes back.
    std::vector<double> steps;
    for (size_t i = 1; i < n; ++i)
        if (std::isfinite(stamps[i]) && std::isfinite(stamps[i - 1]) && stamps[i] > stamps[i - 1])
            steps.push_back(stamps[i] - stamps[i - 1]);
    double median = 1.0;
    if (!steps.empty()) {
        std::nth_element(steps.begin(), steps.begin() + steps.size() / 2, steps.end());
        median = steps[steps.size() / 2];
    }
    double modulus;
    long long wraps, backwardsAt;
    std::vector<double> unwrapped = unwrap(stamps, median, modulus, wraps, backwardsAt);
    KString w;
    if (wraps > 0) {
        w.format("the time stamps wrap at %.0f (%lld times); the counter was unwound", modulus,
                 wraps);
        warnings.add(w.c_str());
    }
    size_t mended = 0;
    const double unit = config.getTimeStampUnit();
    double origin = NAN;
    double previous = NAN;
    for (size_t i = 0; i < n; ++i) {
        double s = unwrapped[i];
        if (!std::isfinite(s) || (std::isfinite(previous) && s <= previous)) {
            s = std::isfinite(previous) ? previous + median : NAN;
            ++mended;
        }
        if (std::isfinite(s) && !std::isfinite(origin)) origin = s;
        unwrapped[i] = s;
        previous = s;
    }
    // Leading samples without a stamp count back from the first known one.
    size_t firstKnown = 0;
    while (!std::isfinite(unwrapped[firstKnown])) ++firstKnown;
    for (size_t i = firstKnown; i-- > 0;) unwrapped[i] = unwrapped[i + 1] - median;
    origin = unwrapped[0];
    for (size_t i = 0; i < n; ++i) times[i] = (unwrapped[i] - origin) * unit;
    if (mended > 0) {
        w.format(
            "%zu time stamps missing or not increasing; each set one typical step after "
            "the sample before",
            mended);
        warnings.add(w.c_str());
    }
    return times;
}
