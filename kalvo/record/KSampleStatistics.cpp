#include <kalvo/record/KSampleStatistics.h>

#include <cfloat>
#include <cmath>

#include <kalvo/foundation/KDouble.h>

namespace {

// The run [from, end) of the samples; false when from is at or past the end.
bool findRun(int n, int& from, int count, int& end) {
    if (from < 0) from = 0;
    if (count < 0) count = 0;
    if (from >= n) return false;
    const int remaining = n - from;
    end = from + (count > 0 && count < remaining ? count : remaining);
    return true;
}

// The sample, or instead when it is NaN or infinite. Written as a select on |v| <= DBL_MAX so
// that, with the selects below, the loops compile to packed compares and minima.
inline double finiteOr(double v, double instead) {
    return std::fabs(v) <= DBL_MAX ? v : instead;
}

}  // namespace

double KSampleStatistics::minimum(const double* samples, int n, int from, int count) {
    int end = 0;
    if (samples == nullptr || !findRun(n, from, count, end)) return KDouble::NaN;
    // Four independent minima keep the loop from waiting on one comparison chain.
    double m[4] = {DBL_MAX, DBL_MAX, DBL_MAX, DBL_MAX};
    int i = from;
    for (; i + 4 <= end; i += 4) {
        for (int k = 0; k < 4; ++k) {
            const double v = finiteOr(samples[i + k], DBL_MAX);
            m[k] = v < m[k] ? v : m[k];
        }
    }
    for (; i < end; ++i) {
        const double v = finiteOr(samples[i], DBL_MAX);
        m[0] = v < m[0] ? v : m[0];
    }
    return std::fmin(std::fmin(m[0], m[1]), std::fmin(m[2], m[3]));
}

double KSampleStatistics::maximum(const double* samples, int n, int from, int count) {
    int end = 0;
    if (samples == nullptr || !findRun(n, from, count, end)) return KDouble::NaN;
    double m[4] = {DBL_MIN, DBL_MIN, DBL_MIN, DBL_MIN};
    int i = from;
    for (; i + 4 <= end; i += 4) {
        for (int k = 0; k < 4; ++k) {
            const double v = finiteOr(samples[i + k], DBL_MIN);
            m[k] = v > m[k] ? v : m[k];
        }
    }
    for (; i < end; ++i) {
        const double v = finiteOr(samples[i], DBL_MIN);
        m[0] = v > m[0] ? v : m[0];
    }
    return std::fmax(std::fmax(m[0], m[1]), std::fmax(m[2], m[3]));
}

double KSampleStatistics::rms(const double* samples, int n, int from, int count) {
    if (from < 0) from = 0;
    if (samples == nullptr || from >= n) return 0.0;
    if (count > n - from) count = n - from;
    // An empty run has no mean square.
    if (count <= 0) return KDouble::NaN;
    const int end = from + count;
    double s[4] = {0.0, 0.0, 0.0, 0.0};
    int i = from;
    for (; i + 4 <= end; i += 4) {
        for (int k = 0; k < 4; ++k) s[k] += samples[i + k] * samples[i + k];
    }
    for (; i < end; ++i) s[0] += samples[i] * samples[i];
    return std::sqrt(((s[0] + s[1]) + (s[2] + s[3])) / count);
}
