#pragma once

#include <cstdint>
#include <vector>

#include <kalvo/io/KSampleAllocator.h>

// The samples of a data file (.dat, or the last section of a .cff), one array per channel,
// as raw values: a missing sample or time stamp is NaN. Sample numbers are not kept; the
// reader checks them and the writer numbers samples from 1.
class KComtradeData {
public:
    using Values = std::vector<double, KSampleAllocator<double>>;
    using Bits = std::vector<uint8_t, KSampleAllocator<uint8_t>>;

    Values timeStamps;            // raw, in time stamp units
    std::vector<Values> analogs;  // raw values, a * raw + b is the real value
    std::vector<Bits> digitals;   // 0 or 1

    int64_t getSampleCount() const { return static_cast<int64_t>(timeStamps.size()); }
    // Sizes every array for n samples of the given channel counts. New samples are 0, or left
    // unset when fill is false (for decoders that write every one of them).
    void resize(int64_t n, int analogCount, int digitalCount, bool fill = true);
};
