#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include <kalvo/io/KComtradeData.h>

// The shared sample records, found through the build's KALVO_SHARED_DATA; tests that need them
// skip visibly when the folder is absent.
inline std::string comtradeData(const char* relative) {
    return std::string(KALVO_SHARED_DATA) + "/comtrade/" + relative;
}

// The raw values of analog channel c (NaN where missing) and the bits of status channel c.
inline std::vector<double> analogColumn(const KComtradeData& data, int c) {
    std::vector<double> values(static_cast<size_t>(data.getSampleCount()));
    for (size_t i = 0; i < values.size(); ++i)
        values[i] = data.getAnalog(c, static_cast<int64_t>(i));
    return values;
}

inline std::vector<int> digitalColumn(const KComtradeData& data, int c) {
    std::vector<int> bits(static_cast<size_t>(data.getSampleCount()));
    for (size_t i = 0; i < bits.size(); ++i) bits[i] = data.getDigital(c, static_cast<int64_t>(i));
    return bits;
}

#define REQUIRE_SHARED_RECORDS()                                                      \
    if (!std::filesystem::is_directory(std::string(KALVO_SHARED_DATA) + "/comtrade")) \
    GTEST_SKIP() << "shared records not found in " KALVO_SHARED_DATA "/comtrade"
