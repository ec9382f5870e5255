#include <kalvo/io/KComtradeData.h>

#include <cstddef>

void KComtradeData::resize(int64_t n, int analogCount, int digitalCount, bool fill) {
    const size_t count = static_cast<size_t>(n);
    auto size = [&](auto& values) {
        if (fill)
            values.resize(count, 0);
        else
            values.resize(count);
    };
    size(timeStamps);
    analogs.resize(static_cast<size_t>(analogCount));
    for (auto& channel : analogs) size(channel);
    digitals.resize(static_cast<size_t>(digitalCount));
    for (auto& channel : digitals) size(channel);
}
