#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include <kalvo/io/KComtradeData.h>
#include <kalvo/io/KComtradeFile.h>

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

// Every record of the shared folder: each .cff, and each .cfg with a data file of its own
// (variant configurations share another record's data file).
inline std::vector<std::string> sharedRecordPaths() {
    std::vector<std::string> paths;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(comtradeData(""))) {
        std::string ext = entry.path().extension().string();
        for (char& c : ext) c = static_cast<char>(tolower(c));
        const std::string path = entry.path().string();
        if (ext == ".cff" || (ext == ".cfg" && !KComtradeStream::findCompanion(path, "dat").empty()))
            paths.push_back(path);
    }
    return paths;
}

// A folder of the test's own, removed afterwards.
struct TempFolder {
    const std::filesystem::path path =
        std::filesystem::temp_directory_path() /
        ("kalvo_comtrade_" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()) +
         "_" + ::testing::UnitTest::GetInstance()->current_test_info()->name());
    TempFolder() { std::filesystem::create_directories(path); }
    ~TempFolder() { std::filesystem::remove_all(path); }
    // The path for a new copy named copy.cfg or copy.cff, the previous copy's files removed.
    std::string fresh(const char* name) const {
        for (const char* ext : {".cfg", ".dat", ".hdr", ".inf", ".cff"})
            std::filesystem::remove(path / (std::string("copy") + ext));
        return (path / name).string();
    }
};

// Equal arrays, a NaN matching a NaN.
template <class Samples>
void expectSameSamples(const Samples& a, const Samples& b, const char* what) {
    ASSERT_EQ(a.size(), b.size()) << what;
    for (size_t i = 0; i < a.size(); ++i) {
        if (std::isnan(static_cast<double>(a[i])) && std::isnan(static_cast<double>(b[i])))
            continue;
        ASSERT_EQ(a[i], b[i]) << what << ", sample " << i;
    }
}

inline bool hasWarning(const KStringArray& warnings, const char* part) {
    for (int i = 0; i < warnings.getCount(); ++i)
        if (strstr(warnings.get(i), part)) return true;
    return false;
}
inline bool hasWarning(const KComtradeFile& f, const char* part) {
    return hasWarning(f.warnings, part);
}

#define REQUIRE_SHARED_RECORDS()                                                      \
    if (!std::filesystem::is_directory(std::string(KALVO_SHARED_DATA) + "/comtrade")) \
    GTEST_SKIP() << "shared records not found in " KALVO_SHARED_DATA "/comtrade"
