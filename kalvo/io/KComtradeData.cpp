#include <kalvo/io/KComtradeData.h>

#include <cstddef>

void KComtradeData::resize(int64_t n, int analogCount, int digitalCount) {
    const size_t count = static_cast<size_t>(n);
    timeStamps.resize(count);
    analogs.resize(static_cast<size_t>(analogCount));
    for (auto& channel : analogs) channel.resize(count);
    digitals.resize(static_cast<size_t>(digitalCount));
    for (auto& channel : digitals) channel.resize(count);
}
