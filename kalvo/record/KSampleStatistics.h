#pragma once

// Extremes and RMS over a run of samples, shared by traces and producers. A run starts at
// from and holds count samples when 0 < count < what remains after from, else everything
// to the end; a negative from or count counts as 0.
class KSampleStatistics {
public:
    KSampleStatistics() = delete;

    // The smallest finite sample, starting from the largest double; NaN when from is at or
    // past the end.
    static double minimum(const double* samples, int n, int from, int count);
    // The largest finite sample, starting from the smallest positive normal double (so
    // data that are all zero or negative give that tiny number); NaN when from is at or
    // past the end.
    static double maximum(const double* samples, int n, int from, int count);
    // Square root of the mean square of count samples from from (cut to what remains);
    // 0 when from is at or past the end, NaN for an empty run.
    static double rms(const double* samples, int n, int from, int count);
};
