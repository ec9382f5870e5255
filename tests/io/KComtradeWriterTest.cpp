#include <kalvo/io/KComtradeWriter.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <string>

#include <kalvo/foundation/KException.h>

#include "ComtradeTestData.h"

namespace {

void expectSameRecord(const KComtradeFile& a, const KComtradeFile& b) {
    KComtradeConfig expected = a.config;
    expected.revisionText = "";
    if (expected.revision != KComtradeConfig::REV_1991)
        expected.revisionText = std::to_string(static_cast<int>(expected.revision)).c_str();
    EXPECT_TRUE(expected == b.config);
    // The defaulted comparison of texts ignores case; names must match byte for byte.
    EXPECT_STREQ(a.config.station.c_str(), b.config.station.c_str());
    for (size_t c = 0; c < a.config.analogs.size() && c < b.config.analogs.size(); ++c)
        EXPECT_STREQ(a.config.analogs[c].id.c_str(), b.config.analogs[c].id.c_str());
    expectSameSamples(a.data.timeStamps, b.data.timeStamps, "time stamps");
    ASSERT_EQ(a.data.getAnalogCount(), b.data.getAnalogCount());
    for (int c = 0; c < a.data.getAnalogCount(); ++c)
        expectSameSamples(analogColumn(a.data, c), analogColumn(b.data, c),
                          a.config.analogs[static_cast<size_t>(c)].id.c_str());
    ASSERT_EQ(a.data.getDigitalCount(), b.data.getDigitalCount());
    for (int c = 0; c < a.data.getDigitalCount(); ++c)
        EXPECT_EQ(digitalColumn(a.data, c), digitalColumn(b.data, c)) << "status " << c;
    EXPECT_EQ(a.times, b.times);
    EXPECT_EQ(a.triggerTime, b.triggerTime);
    EXPECT_TRUE(strcmp(a.header.c_str(), b.header.c_str()) == 0) << "header text";
    EXPECT_TRUE(strcmp(a.information.c_str(), b.information.c_str()) == 0) << "information text";
}

// Writes the record in its own layout and in the other common ones, and reads each back.
void expectRoundTrips(const KComtradeFile& original, const TempFolder& temp) {
    std::vector<std::pair<KComtradeConfig::Revision, KComtradeConfig::FileType>> layouts = {
        {original.config.revision, original.config.fileType},
        {KComtradeConfig::REV_2013, KComtradeConfig::ASCII}};
    if (original.config.fileType != KComtradeConfig::ASCII &&
        original.config.revision != KComtradeConfig::REV_2013)
        layouts.push_back({KComtradeConfig::REV_2013, original.config.fileType});
    for (const auto& [revision, type] : layouts) {
        KComtradeFile changed = original;
        changed.config.revision = revision;
        changed.config.fileType = type;
        if (revision != original.config.revision) {
            changed.config.start.setMonthFirst(false, false);
            changed.config.trigger.setMonthFirst(false, false);
        }
        for (const char* name : {"copy.cfg", "copy.cff"}) {
            if (revision != KComtradeConfig::REV_2013 && strcmp(name, "copy.cff") == 0) continue;
            SCOPED_TRACE(std::string(name) + " " + std::to_string(revision) + " " +
                         KComtradeConfig::getFileTypeName(type));
            const std::string path = temp.fresh(name);
            KComtradeWriter::write(changed, path.c_str());
            KComtradeFile copy;
            copy.read(path.c_str());
            expectSameRecord(changed, copy);
        }
    }
}

}  // namespace

TEST(KComtradeWriter, EverySharedRecordReadsBackTheSame) {
    REQUIRE_SHARED_RECORDS();
    TempFolder temp;
    const std::vector<std::string> paths = sharedRecordPaths();
    EXPECT_EQ(paths.size(), 25u);
    for (const std::string& path : paths) {
        SCOPED_TRACE(path);
        KComtradeFile original;
        original.read(path.c_str());
        expectRoundTrips(original, temp);
    }
    // Variant data files, with missing values, on their records' configurations.
    for (const auto& [cfg, dat] : {std::pair{"sample_ascii.cfg", "sample_ascii_missing.dat"},
                                   std::pair{"sample_bin.cfg", "sample_bin_missing.dat"}}) {
        SCOPED_TRACE(dat);
        KComtradeFile original;
        original.read(comtradeData((std::string("python-comtrade/") + cfg).c_str()).c_str(),
                      comtradeData((std::string("python-comtrade/") + dat).c_str()).c_str(),
                      KComtradeFile::Options());
        expectRoundTrips(original, temp);
    }
}

TEST(KComtradeWriter, RawValuesThatDoNotFitTheFileType) {
    KComtradeFile f;
    f.config.analogs.resize(1);
    f.config.analogs[0].id = "IA";
    f.config.rates = {{1000.0, 2}};
    f.data.resize(2, 1, 0);
    double* raw = f.data.getAnalogs<double>(0);
    raw[0] = 1.5, raw[1] = 2;
    f.config.fileType = KComtradeConfig::BINARY;
    try {
        KComtradeWriter::writeData(f.config, f.data);
        FAIL() << "a fraction in a 16-bit sample";
    } catch (const KException& e) {
        EXPECT_STREQ(e.getText().c_str(),
                     "channel IA, sample 1: raw value 1.5 does not fit a BINARY sample");
    }
    raw[0] = 40000;
    EXPECT_THROW(KComtradeWriter::writeData(f.config, f.data), KException);
    f.config.fileType = KComtradeConfig::BINARY32;
    EXPECT_EQ(KComtradeWriter::writeData(f.config, f.data).size(), 2u * 12);
    f.config.fileType = KComtradeConfig::ASCII;
    raw[0] = 0.1, raw[1] = NAN;
    EXPECT_EQ(KComtradeWriter::writeData(f.config, f.data), "1,0,0.1\r\n2,0,99999\r\n");
}
