#include <kalvo/io/KComtradeReader.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <string>

#include <kalvo/io/KComtradeRecordWriter.h>

#include "ComtradeTestData.h"

namespace {

KRecord readRecord(const char* relative, bool primary = false, bool fromFirst = false) {
    KComtradeReader reader;
    reader.setPrimaryValues(primary);
    reader.setDomainFromFirstSample(fromFirst);
    KRecord record;
    reader.read(comtradeData(relative).c_str(), record);
    return record;
}

void expectSameTrace(const KRecord::Trace& a, const KRecord::Trace& b, const char* what) {
    expectSameSamples(std::vector<double>(a.getData(), a.getData() + a.getCount()),
                      std::vector<double>(b.getData(), b.getData() + b.getCount()), what);
}

// Every sample and field but the file name and the warnings.
void expectSameRecord(const KRecord& a, const KRecord& b) {
    EXPECT_STREQ(a.getName().c_str(), b.getName().c_str());
    EXPECT_STREQ(a.getDevice().c_str(), b.getDevice().c_str());
    EXPECT_STREQ(a.getDescription().c_str(), b.getDescription().c_str());
    EXPECT_TRUE(a.getProperties() == b.getProperties());
    EXPECT_EQ(a.getTriggerValue(), b.getTriggerValue());
    expectSameTrace(a.getDomain(), b.getDomain(), "domain");
    ASSERT_EQ(a.getTraceCount(), b.getTraceCount());
    for (int k = 0; k < a.getTraceCount(); ++k) {
        const KRecord::Trace& s = *a.getTrace(k);
        const KRecord::Trace& t = *b.getTrace(k);
        const char* name = s.getName().c_str();
        EXPECT_STREQ(s.getName().c_str(), t.getName().c_str());
        EXPECT_STREQ(s.getUnits().c_str(), t.getUnits().c_str()) << name;
        EXPECT_STREQ(s.getPhase().c_str(), t.getPhase().c_str()) << name;
        EXPECT_STREQ(s.getCircuit().c_str(), t.getCircuit().c_str()) << name;
        EXPECT_EQ(s.getScale(), t.getScale()) << name;
        EXPECT_EQ(s.getOffset(), t.getOffset()) << name;
        EXPECT_EQ(s.getPrimary(), t.getPrimary()) << name;
        EXPECT_EQ(s.getSecondary(), t.getSecondary()) << name;
        EXPECT_EQ(s.getFlags(), t.getFlags()) << name;
        EXPECT_TRUE(s.getProperties() == t.getProperties()) << name;
        expectSameTrace(s, t, name);
    }
    ASSERT_EQ(a.getSampleInfoCount(), b.getSampleInfoCount());
}

}  // namespace

TEST(KComtradeReader, MapsChannelsToTraces) {
    REQUIRE_SHARED_RECORDS();
    const KRecord r = readRecord("python-comtrade/sample_ascii.cfg");
    EXPECT_STREQ(r.getName().c_str(), "SMARTSTATION");
    EXPECT_STREQ(r.getDevice().c_str(), "IED123");
    EXPECT_STREQ(r.getDescription().c_str(),
                 "COMTRADE 2013 ASCII, 60 Hz, start 12/01/2011,05:55:30.075011, trigger "
                 "12/01/2011,05:55:30.078261, time multiplier 1");
    EXPECT_STREQ(r.getProperty(KComtradeReader::SAMPLING_RATES).c_str(), "1200,40");
    EXPECT_STREQ(r.getProperty(KComtradeReader::FILE_TYPE).c_str(), "ASCII");
    ASSERT_EQ(r.getTraceCount(), 8);
    const KRecord::Trace& ia = *r.getTrace(0);
    EXPECT_STREQ(ia.getName().c_str(), "IA");
    EXPECT_STREQ(ia.getUnits().c_str(), "A");
    EXPECT_STREQ(ia.getCircuit().c_str(), "Line123");
    EXPECT_EQ(ia.getScale(), 0.1138916015625);
    EXPECT_EQ(ia.getOffset(), 0.05694580078125);
    EXPECT_NEAR(ia.getData()[0], -9.396057, 1e-6);
    EXPECT_EQ(ia.getFlags() & KComtradeReader::DIGITAL, 0);
    EXPECT_EQ(r.getTrace(4)->getFlags() & KComtradeReader::DIGITAL, KComtradeReader::DIGITAL);
    EXPECT_STREQ(r.getTrace(4)->getName().c_str(), "51A");
    // Seconds from the trigger, 3.25 ms after the first sample.
    EXPECT_NEAR(r.getDomainValue(0), -0.00325, 1e-15);
    EXPECT_EQ(r.getTriggerValue(), 0.0);
    EXPECT_EQ(r.getSampleInfoCount(), 1);
    EXPECT_NEAR(r.getSampleInfo(0)->getRate(), 1200, 1e-6);

    const KRecord first = readRecord("python-comtrade/sample_ascii.cfg", false, true);
    EXPECT_EQ(first.getDomainValue(0), 0.0);
    EXPECT_NEAR(first.getTriggerValue(), 0.00325, 1e-15);
    // Secondary values on file, primary on request through the ratio 933:1.
    const KRecord primary = readRecord("python-comtrade/sample_ascii.cfg", true);
    EXPECT_NEAR(primary.getTrace(0)->getData()[0], -9.396057 * 933, 1e-3);
    EXPECT_STREQ(primary.getProperty(KComtradeReader::VALUES).c_str(), "primary");
    // Primary values on file (ratio 1250:1), secondary by default.
    const KRecord sepamPrimary = readRecord("Wisp.Comtrade/4.CFG", true);
    const KRecord sepam = readRecord("Wisp.Comtrade/4.CFG");
    EXPECT_NEAR(sepam.getTrace(0)->getData()[10] * 1250, sepamPrimary.getTrace(0)->getData()[10],
                1e-9);
    EXPECT_NE(sepam.getComment().indexOf("1997"), KString::NOT_FOUND);
}

TEST(KComtradeReader, EveryRecordWrittenFromItsRecordReadsBackTheSame) {
    REQUIRE_SHARED_RECORDS();
    const TempFolder temp;
    const std::vector<std::string> paths = sharedRecordPaths();
    EXPECT_EQ(paths.size(), 25u);
    for (const std::string& path : paths) {
        SCOPED_TRACE(path);
        const bool cff = tolower(path.back()) == 'f';  // .cff rather than .cfg
        for (bool primary : {false, true}) {
            KComtradeReader reader;
            reader.setPrimaryValues(primary);
            KRecord original;
            reader.read(path.c_str(), original);
            const KComtradeConfig& c = reader.getConfig();
            const std::string copy = temp.fresh(cff ? "copy.cff" : "copy.cfg");
            KComtradeRecordWriter::write(original, copy.c_str(), c.revision, c.fileType);
            KComtradeReader again;
            again.setPrimaryValues(primary);
            KRecord back;
            again.read(copy.c_str(), back);
            expectSameRecord(original, back);
        }
    }
}

TEST(KComtradeReader, RecordsFromElsewhereAreScaledToTheFileType) {
    KRecord r;
    r.setName("BENCH");
    r.create(2, 0, 16);
    r.getTrace(0)->setName("V");
    r.getTrace(1)->setName("CLOSED");
    r.getTrace(1)->setFlags(KComtradeReader::DIGITAL);
    for (int i = 0; i < 100; ++i) {
        r.setDomainValue(i / 1000.0);
        r.setTraceValue(0, 230.0 * std::sin(i * 0.3));
        r.setTraceValue(1, i > 50);
        r.commit();
    }
    const KComtradeFile f =
        KComtradeRecordWriter::toFile(r, KComtradeConfig::REV_1999, KComtradeConfig::BINARY);
    ASSERT_EQ(f.config.rates.size(), 1u);
    EXPECT_EQ(f.config.rates[0].rate, 1000.0);
    EXPECT_EQ(f.config.rates[0].endSample, 100);
    const auto& a = f.config.analogs[0];
    double worst = 0;
    for (int i = 0; i < 100; ++i) {
        const double raw = f.data.getAnalog(0, i);
        EXPECT_LE(std::fabs(raw), 32767);
        worst = std::max(worst, std::fabs(a.a * raw + a.b - r.getTrace(0)->getData()[i]));
    }
    EXPECT_LE(worst, a.a / 2 + 1e-12);
    EXPECT_EQ(f.data.getDigital(0, 51), 1);
    EXPECT_EQ(f.data.getDigital(0, 50), 0);
}

TEST(KComtradeReader, TheSampleRecordInBothLayoutsIsTheSame) {
    const std::string samples = std::string(KALVO_SOURCE_DIR) + "/samples/";
    KComtradeReader binaryReader, asciiReader;
    KRecord binary, ascii;
    binaryReader.read((samples + "slg-fault-1999-binary.cfg").c_str(), binary);
    asciiReader.read((samples + "slg-fault-2013-ascii.cfg").c_str(), ascii);
    EXPECT_STREQ(binaryReader.getWarnings().toString().c_str(), "") << "no warnings";
    EXPECT_STREQ(asciiReader.getWarnings().toString().c_str(), "") << "no warnings";
    ASSERT_EQ(binary.getTraceCount(), 9);
    ASSERT_EQ(binary.getSampleCount(), 1024);
    for (int k = 0; k < 9; ++k) expectSameTrace(*binary.getTrace(k), *ascii.getTrace(k), "trace");
    expectSameTrace(binary.getDomain(), ascii.getDomain(), "domain");
    // The fault starts at the trigger, sample 241 of 64 per cycle at 60 Hz.
    EXPECT_EQ(binary.getDomainValue(240), 0.0);
    EXPECT_NEAR(binary.getDomainValue(241), 1.0 / 3840, 1e-15);
}
