#include <kalvo/io/KComtradeTiming.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include <kalvo/foundation/KException.h>

KComtradeTiming::KComtradeTiming(const KComtradeConfig& config)
    : config_(config),
      fromRates_(config.hasSamplingRate()),
      unit_(config.getTimeStampUnit()) {
    if (!fromRates_) return;
    const auto& rates = config.rates;
    // Runs that hold no sample are passed over; the last run goes on as long as the samples.
    while (run_ + 1 < rates.size() && rates[run_].endSample <= 0) ++run_;
    runEnd_ = run_ + 1 == rates.size() ? std::numeric_limits<int64_t>::max()
                                       : rates[run_].endSample;
    interval_ = 1.0 / rates[run_].rate;
    expectedStep_ = interval_ / unit_;
}

double KComtradeTiming::nextRateTime(int64_t index) {
    const auto& rates = config_.rates;
    while (index >= runEnd_) {
        const double lastTime = base_ + static_cast<double>(runEnd_ - 1 - runStart_) * interval_;
        const double next = lastTime + interval_;
        runStart_ = runEnd_;
        do {
            ++run_;
        } while (run_ + 1 < rates.size() && rates[run_].endSample <= runStart_);
        runEnd_ = run_ + 1 == rates.size() ? std::numeric_limits<int64_t>::max()
                                           : rates[run_].endSample;
        interval_ = 1.0 / rates[run_].rate;
        base_ = next;
    }
    return base_ + static_cast<double>(index - runStart_) * interval_;
}

double KComtradeTiming::rateTime(const KComtradeConfig& config, int64_t index) {
    if (!config.hasSamplingRate()) return std::numeric_limits<double>::quiet_NaN();
    return KComtradeTiming(config).nextRateTime(index);
}

double KComtradeTiming::getStampInterval() const { return fromRates_ ? 0.0 : median_ * unit_; }

double KComtradeTiming::unwrap(double s, double expectedStep) {
    if (hasPrevious_ && s < previousStamp_) {
        const double step = s - previousStamp_;
        bool wrapped = false;
        for (double m : {65536.0, 4294967296.0}) {
            if (maxStamp_ >= m) continue;
            // A counter wrap: adding the modulus gives a step near the expected one.
            if (std::fabs(step + m - expectedStep) <= std::max(expectedStep, 1.0)) {
                wrapOffset_ += m;
                modulus_ = m;
                ++wraps_;
                wrapped = true;
                break;
            }
        }
        if (!wrapped && backwardsAt_ < 0) backwardsAt_ = count_;
    }
    maxStamp_ = std::max(maxStamp_, s);
    previousStamp_ = s;
    hasPrevious_ = true;
    return s + wrapOffset_;
}

void KComtradeTiming::add(const double* stamps, size_t n, std::vector<double>& times) {
    times.resize(n);
    if (n == 0) return;
    if (fromRates_)
        addFromRates(stamps, n, times);
    else
        addFromStamps(stamps, n, times);
}

void KComtradeTiming::addFromRates(const double* stamps, size_t n, std::vector<double>& times) {
    for (size_t i = 0; i < n; ++i, ++count_) {
        const double t = nextRateTime(count_);
        times[i] = t;
        if (count_ > 0) maxInterval_ = std::max(maxInterval_, t - lastTime_);
        lastTime_ = t;
        const double s = stamps[i];
        if (!std::isfinite(s)) {
            ++missing_;
            continue;
        }
        zero_ += s == 0.0;
        const double u = unwrap(s, expectedStep_);
        if (!hasFirst_) {
            hasFirst_ = true;
            firstStamp_ = u;
            firstTime_ = t;
        }
        const double deviation = std::fabs((u - firstStamp_) * unit_ - (t - firstTime_));
        if (deviation > worst_) {
            worst_ = deviation;
            worstAt_ = count_;
        }
    }
}

void KComtradeTiming::addFromStamps(const double* stamps, size_t n, std::vector<double>& times) {
    std::vector<double> unwrapped(n);
    const bool first = count_ == 0;
    if (first) {
        // The median step between known stamps stands in where a stamp is missing or goes back.
        std::vector<double> steps;
        size_t known = 0;
        for (size_t i = 0; i < n; ++i) {
            known += std::isfinite(stamps[i]) != 0;
            if (i > 0 && std::isfinite(stamps[i]) && std::isfinite(stamps[i - 1]) &&
                stamps[i] > stamps[i - 1])
                steps.push_back(stamps[i] - stamps[i - 1]);
        }
        if (known == 0)
            KException::raise("COMTRADE Error",
                              "the record has neither a sampling rate nor time stamps: the time of "
                              "its samples is unknown");
        median_ = 1.0;
        if (!steps.empty()) {
            std::nth_element(steps.begin(), steps.begin() + steps.size() / 2, steps.end());
            median_ = steps[steps.size() / 2];
        }
    }
    bool known = !first;
    for (size_t i = 0; i < n; ++i, ++count_) {
        double s = std::isfinite(stamps[i]) ? unwrap(stamps[i], median_) : NAN;
        if (!std::isfinite(s) || (known && s <= previous_)) {
            s = known ? previous_ + median_ : NAN;
            ++mended_;
        }
        if (std::isfinite(s)) {
            known = true;
            previous_ = s;
        }
        unwrapped[i] = s;
    }
    if (first) {
        // Leading samples without a stamp count back from the first known one.
        size_t firstKnown = 0;
        while (!std::isfinite(unwrapped[firstKnown])) ++firstKnown;
        for (size_t i = firstKnown; i-- > 0;) unwrapped[i] = unwrapped[i + 1] - median_;
        origin_ = unwrapped[0];
    }
    for (size_t i = 0; i < n; ++i) times[i] = (unwrapped[i] - origin_) * unit_;
    lastTime_ = times[n - 1];
}

void KComtradeTiming::finish(KStringArray& warnings) {
    KString w;
    if (!fromRates_) {
        if (wraps_ > 0) {
            w.format("the time stamps wrap at %.0f (%lld times); the counter was unwound",
                     modulus_, wraps_);
            warnings.add(w.c_str());
        }
        if (mended_ > 0) {
            w.format(
                "%lld time stamps missing or not increasing; each set one typical step after "
                "the sample before",
                static_cast<long long>(mended_));
            warnings.add(w.c_str());
        }
        return;
    }
    if (count_ < 2) return;
    if (missing_ == count_) {
        warnings.add("the time stamps are missing; time taken from the sampling rate");
        return;
    }
    if (zero_ == count_) {
        warnings.add("the time stamps are all zero; time taken from the sampling rate");
        return;
    }
    if (wraps_ > 0) {
        w.format("the time stamps wrap at %.0f (%lld times); time taken from the sampling rate",
                 modulus_, wraps_);
        warnings.add(w.c_str());
    }
    if (backwardsAt_ >= 0) {
        w.format("the time stamps go backwards at sample %lld; time taken from the sampling rate",
                 backwardsAt_ + 1);
        warnings.add(w.c_str());
        return;
    }
    // Agreement: within two of the longest intervals, or half a percent of the record.
    const double tolerance = std::max(2.0 * maxInterval_, 0.005 * lastTime_);
    if (worst_ > tolerance) {
        w.format(
            "the time stamps differ from the sampling rate by up to %g s (at sample %lld); "
            "time taken from the sampling rate",
            worst_, static_cast<long long>(worstAt_ + 1));
        warnings.add(w.c_str());
    }
    if (missing_ > 0) {
        w.format("%lld time stamps are missing", static_cast<long long>(missing_));
        warnings.add(w.c_str());
    }
}
