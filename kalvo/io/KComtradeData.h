#pragma once

#include <cstdint>
#include <vector>

// The samples of a data file (.dat, or the last section of a .cff), one array per channel,
// as raw values: a missing sample or time stamp is NaN. Sample numbers are not kept; the
// reader checks them and the writer numbers samples from 1.
class KComtradeData {
public:
    std::vector<double> timeStamps;             // raw, in time stamp units
    std::vector<std::vector<double>> analogs;   // raw values, a * raw + b is the real value
    std::vector<std::vector<uint8_t>> digitals; // 0 or 1

    int64_t getSampleCount() const { return static_cast<int64_t>(timeStamps.size()); }
    // Sizes every array for n samples of the given channel counts.
    void resize(int64_t n, int analogCount, int digitalCount);
};
