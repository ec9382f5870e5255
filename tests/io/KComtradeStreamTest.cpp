#include <kalvo/io/KComtradeStream.h>

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cfloat>
#include <cmath>
#include <cstring>
#include <fstream>
#include <string>

#include <kalvo/foundation/KException.h>
#include <kalvo/io/KComtradeFile.h>

#include "ComtradeTestData.h"

namespace {

std::string errorOf(const std::string& path) {
    try {
        KComtradeStream stream;
        stream.open(path.c_str());
        KComtradeStream::Block block;
        while (stream.next(block)) {
        }
    } catch (const KException& e) {
        return e.getText().c_str();
    }
    return "no error";
}

void write(const std::filesystem::path& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

}  // namespace

// Read a few hundred bytes at a time, every record gives the same samples, times, trigger and
// warnings as read whole: blocks meet at no seam.
TEST(KComtradeStream, SmallPiecesReadAsTheWholeFile) {
    REQUIRE_SHARED_RECORDS();
    for (const std::string& path : sharedRecordPaths()) {
        SCOPED_TRACE(path);
        KComtradeFile whole;
        whole.read(path.c_str());
        KComtradeStream::Options options;
        options.pieceSize = 333;
        KComtradeStream stream;
        stream.open(path.c_str(), options);
        KComtradeData data;
        data.resize(0, static_cast<int>(whole.config.analogs.size()),
                    static_cast<int>(whole.config.digitals.size()));
        std::vector<double> times;
        KComtradeStream::Block block;
        int blocks = 0;
        while (stream.next(block)) {
            ASSERT_EQ(block.first, data.getSampleCount());
            data.append(block.data);
            times.insert(times.end(), block.times.begin(), block.times.end());
            ++blocks;
        }
        EXPECT_GT(blocks, whole.data.getSampleCount() > 40 ? 1 : 0);
        ASSERT_EQ(data.getSampleCount(), whole.data.getSampleCount());
        for (int c = 0; c < data.getAnalogCount(); ++c)
            expectSameSamples(analogColumn(data, c), analogColumn(whole.data, c), "analog");
        for (int c = 0; c < data.getDigitalCount(); ++c)
            ASSERT_EQ(digitalColumn(data, c), digitalColumn(whole.data, c)) << "status " << c;
        EXPECT_EQ(times, whole.times);
        EXPECT_EQ(stream.getTriggerTime(), whole.triggerTime);
        EXPECT_STREQ(stream.getWarnings().toString().c_str(), whole.warnings.toString().c_str());
        EXPECT_EQ(stream.getRates(), whole.config.rates);
    }
}

// Files that are not there, or not files, are named with the system's reason.
TEST(KComtradeStream, OpenFailuresNameThePathAndTheReason) {
    REQUIRE_SHARED_RECORDS();
    const TempFolder temp;
    const std::string missing = (temp.path / "missing.cfg").string();
    EXPECT_EQ(errorOf(missing), missing + ": No such file or directory");
    std::filesystem::create_directory(temp.path / "folder.cfg");
    EXPECT_EQ(errorOf((temp.path / "folder.cfg").string()),
              (temp.path / "folder.cfg").string() + ": Is a directory");
    const std::string record = comtradeData("q_comtrade/test_ascii.cfg");
    std::filesystem::copy_file(record, temp.path / "alone.cfg");
    EXPECT_EQ(errorOf((temp.path / "alone.cfg").string()),
              (temp.path / "alone.cfg").string() + ": no data file (.dat) beside it");
    std::filesystem::create_directory(temp.path / "alone.dat");
    EXPECT_EQ(errorOf((temp.path / "alone.cfg").string()),
              (temp.path / "alone.dat").string() + ": Is a directory");
    EXPECT_EQ(errorOf(record + "/inside.cfg"), record + "/inside.cfg: Not a directory");
    if (geteuid() != 0) {  // root reads whatever the permissions say
        write(temp.path / "locked.cff", "x");
        chmod((temp.path / "locked.cff").c_str(), 0);
        EXPECT_EQ(errorOf((temp.path / "locked.cff").string()),
                  (temp.path / "locked.cff").string() + ": Permission denied");
    }
}

// A FLOAT32 sample holds a declared limit only as the nearest float: that is inside the
// range. A value past a limit is still reported.
TEST(KComtradeStream, FloatSamplesAtTheirDeclaredLimitsAreInRange) {
    const std::string cfg =
        "S,D,2013\n2,2A,0D\n"
        "1,F,,,V,1,0,0,-3.40282347E+38,3.40282347E+38,1,1,S\n"
        "2,G,,,V,1,0,0,-0.1,0.1,1,1,S\n"
        "50\n1\n1000,2\n01/01/2021,00:00:00.000000\n01/01/2021,00:00:00.000000\nFLOAT32\n1\n"
        "0,0\n0,0\n";
    std::string dat;
    for (int i = 0; i < 2; ++i) {
        const uint32_t number = i + 1, stamp = i * 1000;
        const float f = i == 0 ? FLT_MAX : -FLT_MAX, g = 0.1f;
        for (const void* field : {static_cast<const void*>(&number), static_cast<const void*>(&stamp),
                                  static_cast<const void*>(&f), static_cast<const void*>(&g)})
            dat.append(static_cast<const char*>(field), 4);
    }
    KComtradeFile f;
    f.readConfig(cfg, "f.cfg", KComtradeFile::Options());
    f.readData(dat, "f.dat", KComtradeFile::Options());
    EXPECT_EQ(f.warnings.getCount(), 0) << f.warnings.toString().c_str();

    std::string past = dat;
    const float over = 0.11f;
    std::memcpy(&past[12], &over, 4);
    KComtradeFile g;
    g.readConfig(cfg, "f.cfg", KComtradeFile::Options());
    g.readData(past, "f.dat", KComtradeFile::Options());
    EXPECT_TRUE(hasWarning(g, "outside the declared minimum and maximum in 1 channels: G (1 "));
}
