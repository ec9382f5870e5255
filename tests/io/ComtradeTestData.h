#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

// The shared sample records, found through the build's KALVO_SHARED_DATA; tests that need them
// skip visibly when the folder is absent.
inline std::string comtradeData(const char* relative) {
    return std::string(KALVO_SHARED_DATA) + "/comtrade/" + relative;
}

#define REQUIRE_SHARED_RECORDS()                                                      \
    if (!std::filesystem::is_directory(std::string(KALVO_SHARED_DATA) + "/comtrade")) \
    GTEST_SKIP() << "shared records not found in " KALVO_SHARED_DATA "/comtrade"
