#include <kalvo/io/KComtradeFile.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>

#include "ComtradeTestData.h"

namespace {

KComtradeFile readRecord(const char* relative) {
    KComtradeFile f;
    f.read(comtradeData(relative).c_str());
    return f;
}

KComtradeFile readPair(const char* cfg, const char* dat) {
    KComtradeFile f;
    f.read(comtradeData(cfg).c_str(), comtradeData(dat).c_str(), KComtradeFile::Options());
    return f;
}

double real(const KComtradeFile& f, size_t channel, size_t sample) {
    const auto& a = f.config.analogs[channel];
    return a.a * f.data.getAnalog(channel, sample) + a.b;
}

int changingDigitals(const KComtradeFile& f) {
    int n = 0;
    for (int c = 0; c < f.data.getDigitalCount(); ++c)
        for (int64_t i = 1; i < f.data.getSampleCount(); ++i)
            if (f.data.getDigital(c, i) != f.data.getDigital(c, 0)) {
                ++n;
                break;
            }
    return n;
}

}  // namespace

TEST(KComtradeFile, SmallSyntheticRecordsInEveryForm) {
    REQUIRE_SHARED_RECORDS();
    for (const char* name :
         {"python-comtrade/sample_ascii.cfg", "python-comtrade/sample_ascii.cff"}) {
        SCOPED_TRACE(name);
        const KComtradeFile f = readRecord(name);
        EXPECT_STREQ(f.config.station.c_str(), "SMARTSTATION");
        EXPECT_STREQ(f.config.device.c_str(), "IED123");
        EXPECT_EQ(f.config.revision, KComtradeConfig::REV_2013);
        EXPECT_EQ(f.config.analogs.size(), 4u);
        EXPECT_EQ(f.config.digitals.size(), 4u);
        EXPECT_EQ(f.config.lineFrequency, 60.0);
        EXPECT_EQ(f.data.getSampleCount(), 40);
        EXPECT_EQ(f.config.fileType, KComtradeConfig::ASCII);
        EXPECT_STREQ(f.config.analogs[0].units.c_str(), "A");
        EXPECT_EQ(f.config.analogs[0].ps, 'S');
        EXPECT_STREQ(f.config.timeCode.c_str(), "-5h30");
        EXPECT_STREQ(f.config.leapSecond.c_str(), "3");
        EXPECT_NEAR(f.triggerTime, 0.00325, 1e-12);
        EXPECT_NEAR(real(f, 0, 0), -9.396057, 1e-6);
        EXPECT_NEAR(real(f, 1, 0), 7.801575, 1e-6);
        EXPECT_NEAR(real(f, 3, 0), -0.854187, 1e-6);
        EXPECT_NEAR(f.times[1], 1.0 / 1200, 1e-15);
        EXPECT_EQ(changingDigitals(f), 3);
        EXPECT_STREQ(f.header.c_str(), "");
    }
    // The same configuration with CR LF line ends and end-of-file characters.
    const KComtradeFile sub =
        readPair("python-comtrade/sample_sub_char.cfg", "python-comtrade/sample_ascii.dat");
    EXPECT_TRUE(sub.config == readRecord("python-comtrade/sample_ascii.cfg").config);
    EXPECT_TRUE(hasWarning(sub, "0x1A"));

    const KComtradeFile utf8 =
        readPair("python-comtrade/sample_ascii_utf-8.cfg", "python-comtrade/sample_ascii.dat");
    EXPECT_STREQ(utf8.config.station.c_str(),
                 "SMARTSTATION testing text encoding: hgvcj\xED\x84\xB0\xED\x8C\x8C\xED\x81\xAC"
                 "387");
    for (const char* name :
         {"python-comtrade/sample_iso8859-1.cfg", "python-comtrade/sample_iso8859-1_bin.cfg"}) {
        const KComtradeFile latin = readRecord(name);
        EXPECT_STREQ(latin.config.station.c_str(),
                     "Esta\xC3\xA7\xC3\xA3o de Medi\xC3\xA7\xC3\xA3o");
        EXPECT_STREQ(latin.config.device.c_str(), "Oscil\xC3\xB3grafo");
        EXPECT_EQ(latin.encoding, KTextEncoding::LATIN1);
    }
    // Time stamps scaled by the time multiplier agree with the rate: no complaint.
    const KComtradeFile mult = readRecord("python-comtrade/sample_iso8859-1_bin.cfg");
    EXPECT_DOUBLE_EQ(mult.config.timeMultiplier, 0.00756699591875076);
    EXPECT_FALSE(hasWarning(mult, "time stamps"));
}

TEST(KComtradeFile, MissingValuesAndZeroTimeStamps) {
    REQUIRE_SHARED_RECORDS();
    const KComtradeFile bin = readRecord("python-comtrade/sample_bin.cfg");
    EXPECT_NEAR(real(bin, 0, 3), -8.476312825, 1e-6);
    EXPECT_NEAR(real(bin, 0, 0) + real(bin, 1, 0) + real(bin, 2, 0) + real(bin, 3, 0), 0.0, 0.05);
    EXPECT_NEAR(bin.times[2] - bin.times[1], 1.0 / 15360, 1e-15);
    EXPECT_TRUE(hasWarning(bin, "all zero"));
    EXPECT_EQ(bin.config.digitals.size(), 16u);

    const KComtradeFile ascii =
        readPair("python-comtrade/sample_ascii.cfg", "python-comtrade/sample_ascii_missing.dat");
    const KComtradeFile binary =
        readPair("python-comtrade/sample_bin.cfg", "python-comtrade/sample_bin_missing.dat");
    for (int c = 0; c < 4; ++c) {
        EXPECT_TRUE(std::isnan(ascii.data.getAnalog(c, c + 1))) << "ascii channel " << c;
        EXPECT_TRUE(std::isnan(binary.data.getAnalog(c, c))) << "binary channel " << c;
        EXPECT_FALSE(std::isnan(ascii.data.getAnalog(c, 0)));
    }
}

TEST(KComtradeFile, FloatCombinedFileWithOddTimeStamps) {
    REQUIRE_SHARED_RECORDS();
    const KComtradeFile f = readRecord("python-comtrade/sample_float32.cff");
    EXPECT_STREQ(f.config.station.c_str(), "EXAMPLE");
    EXPECT_EQ(f.config.fileType, KComtradeConfig::FLOAT32);
    EXPECT_EQ(f.data.getSampleCount(), 301);
    EXPECT_EQ(f.config.start.getFractionDigits(), 9);
    EXPECT_DOUBLE_EQ(f.triggerTime, 1.5);
    EXPECT_DOUBLE_EQ(f.config.analogs[0].skew, 1.0);
    EXPECT_NEAR(f.times.back(), 3.0, 1e-12);  // 100 Hz, whatever the stamps count in
    EXPECT_TRUE(hasWarning(f, "differ from the sampling rate"));
    // The header section has four empty lines, the information section one.
    EXPECT_EQ(std::string(f.header.c_str()), "\r\n\r\n\r\n");
    EXPECT_EQ(std::string(f.information.c_str()), "");
    double lo = 1e9, hi = -1e9;
    for (double v : analogColumn(f.data, 0)) lo = std::min(lo, v), hi = std::max(hi, v);
    EXPECT_NEAR(lo, 2.81, 0.01);
    EXPECT_NEAR(hi, 44.93, 0.01);
}

TEST(KComtradeFile, RecordsWithoutOrWithWrappingTimeStamps) {
    REQUIRE_SHARED_RECORDS();
    const KComtradeFile keating = readRecord("ieeecomtrade/keating_1999.CFG");
    EXPECT_STREQ(keating.config.station.c_str(), "4_Victoria_Keating.main_7650");
    EXPECT_EQ(keating.config.rates[0].rate, 30707.244140625);
    EXPECT_STREQ(keating.config.start.toString().c_str(), "18/11/2015,05:33:03.765333");
    EXPECT_NEAR(keating.triggerTime, 0.024956, 1e-12);
    const double firstRows[4][3] = {
        {1571, -7576, 14}, {1651, -7584, 14}, {1777, -7531, 15}, {1892, -7533, 12}};
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(keating.data.getAnalog(0, i), firstRows[i][0]);
        EXPECT_EQ(keating.data.getAnalog(1, i), firstRows[i][1]);
        EXPECT_EQ(keating.data.getAnalog(7, i), firstRows[i][2]);
        EXPECT_TRUE(std::isnan(keating.data.timeStamps[i]));
    }
    EXPECT_TRUE(hasWarning(keating, "time stamps are missing"));

    for (const char* name : {"pycomtrade/test2.cfg", "pycomtrade/test3.cfg"}) {
        const KComtradeFile f = readRecord(name);
        EXPECT_TRUE(hasWarning(f, "wrap at 65536")) << name;
        EXPECT_NEAR(f.times[1], 1.0 / 5760, 1e-15);
    }
    const KComtradeFile test3 = readRecord("pycomtrade/test3.cfg");
    EXPECT_EQ(test3.data.getSampleCount(), 24768);
    EXPECT_STREQ(test3.config.analogs[30].id.c_str(), "IC_TF7");
    EXPECT_STREQ(test3.config.digitals[24].id.c_str(), "86_G4");
    EXPECT_EQ(test3.config.rates.back().rate, 5760.0);

    const KComtradeFile ns = readRecord("ComtradeHandler/Comtrade1.cfg");
    EXPECT_EQ(ns.config.fileType, KComtradeConfig::FLOAT32);
    EXPECT_EQ(ns.data.getSampleCount(), 7200);
    EXPECT_DOUBLE_EQ(ns.triggerTime, 0.999935656);
    EXPECT_TRUE(hasWarning(ns, "wrap at 4294967296"));
    EXPECT_STREQ(ns.config.timeCode.c_str(), "+9");

    const KComtradeFile sepam = readRecord("Wisp.Comtrade/4.CFG");
    EXPECT_EQ(sepam.data.getSampleCount(), 2400);
    EXPECT_TRUE(hasWarning(sepam, "1997"));
    EXPECT_TRUE(hasWarning(sepam, "1 more than the configuration announces"));
    EXPECT_NEAR(sepam.times[2399], 2399.0 / 600, 1e-12);
    EXPECT_NEAR(real(sepam, 0, 0), sepam.data.getAnalog(0, 0) * 2.836798 - 102.1247, 1e-9);
}

TEST(KComtradeFile, TimeFromTimeStampsAlone) {
    REQUIRE_SHARED_RECORDS();
    const KComtradeFile relay = readRecord("Wisp.Comtrade/3.cfg");
    EXPECT_FALSE(relay.config.hasSamplingRate());
    EXPECT_EQ(relay.data.getSampleCount(), 1360);
    EXPECT_STREQ(relay.config.station.c_str(), "W2D-C60-1");
    EXPECT_NEAR(relay.times[1], 1250e-6, 3e-6);
    EXPECT_DOUBLE_EQ(relay.times.back(), relay.data.timeStamps.back() * 1e-6);

    const KComtradeFile hif = readRecord("COMTRADE.jl/1999-binary-hif-sel.cfg");
    EXPECT_EQ(hif.data.getSampleCount(), 20700);
    EXPECT_TRUE(hasWarning(hif, "8 padding bytes"));
    EXPECT_NEAR(hif.times.back(), 689.7858, 1e-9);
    EXPECT_NEAR(hif.triggerTime, 89.981018, 1e-9);
    EXPECT_STREQ(hif.config.analogs[1].id.c_str(), "IBRMS");
    EXPECT_STREQ(hif.config.digitals[1].id.c_str(), "NTUNE_A");
    EXPECT_NEAR(real(hif, 0, 0), 0.0, 1e-9);
    for (size_t c = 0; c < hif.config.digitals.size(); ++c)
        if (strcmp(hif.config.digitals[c].id.c_str(), "EN") == 0)
            EXPECT_EQ(hif.data.getDigital(c, 0), 1);
}

TEST(KComtradeFile, OldestRevisionAndForeignEncodings) {
    REQUIRE_SHARED_RECORDS();
    const KComtradeFile sel = readRecord("COMTRADE.jl/1991-ascii-sel.cfg");
    EXPECT_EQ(sel.config.revision, KComtradeConfig::REV_1991);
    EXPECT_EQ(sel.config.analogs.size(), 24u);
    EXPECT_EQ(sel.config.digitals.size(), 592u);
    EXPECT_STREQ(sel.config.analogs[1].id.c_str(), "IB");
    EXPECT_STREQ(sel.config.digitals[1].id.c_str(), "TRP");
    EXPECT_NEAR(real(sel, 0, 0), -270.999876, 1e-6);
    EXPECT_EQ(sel.data.getDigital(1, 0), 0);
    EXPECT_NEAR(sel.triggerTime, 0.065685, 1e-12);
    EXPECT_STREQ(sel.config.start.toDisplayString().c_str(), "12/02/2011,11:41:11.081315");
    int vaKv = -1;
    for (size_t c = 0; c < sel.config.analogs.size(); ++c)
        if (strcmp(sel.config.analogs[c].id.c_str(), "VA(kV)") == 0) vaKv = static_cast<int>(c);
    ASSERT_GE(vaKv, 0);
    EXPECT_NEAR(real(sel, vaKv, 0), -33.3998801, 1e-6);

    const KComtradeFile gbk = readRecord("comtrade-io/ascii_1991.cfg");
    EXPECT_EQ(gbk.encoding, KTextEncoding::GBK);
    EXPECT_STREQ(gbk.config.start.toDisplayString().c_str(), "17/09/2015,10:52:52.987545");
    EXPECT_NEAR(gbk.triggerTime, 0.0775, 1e-12);
    EXPECT_EQ(gbk.config.rates.size(), 8u);
    EXPECT_TRUE(hasWarning(gbk, "differ from the sampling rate"));
    bool found = false;
    for (const auto& a : gbk.config.analogs)
        found |= strcmp(a.id.c_str(), "Ua\xE5\xAF\xB9\xE4\xBE\xA7") == 0;
    EXPECT_TRUE(found) << "channel Ua(opposite side) in GBK";

    const KComtradeFile cyr = readRecord("Wisp.Comtrade/1.cfg");
    EXPECT_EQ(cyr.encoding, KTextEncoding::CP1251);
    EXPECT_STREQ(cyr.config.device.c_str(),
                 "\xD1\x82\xD0\xB5\xD1\x80\xD0\xBC\xD0\xB8\xD0\xBD\xD0\xB0\xD0\xBB "
                 "\xD0\xB2\xD0\xB5\xD1\x80\xD1\x81\xD0\xB8\xD1\x8F 101110");
    EXPECT_EQ(cyr.config.rates.size(), 83u);
    EXPECT_EQ(cyr.data.getSampleCount(), 5316);
    EXPECT_TRUE(hasWarning(cyr, "'2000'"));
    EXPECT_FALSE(hasWarning(cyr, "differ from the sampling rate"));

    const KComtradeFile go = readRecord("go-comtrade/test2.cfg");
    // Samples 201 to 400 jump ahead; sample 401 starts that block's stamps again.
    EXPECT_TRUE(hasWarning(go, "go backwards at sample 401"));
    EXPECT_TRUE(hasWarning(go, "hold no samples"));
    EXPECT_NEAR(go.times.back(), 0.949, 1e-12);
}

TEST(KComtradeFile, MultiRateRecordFollowsThePreviousInterval) {
    REQUIRE_SHARED_RECORDS();
    const KComtradeFile f = readRecord("comtradeOfPython/xtz.cfg");
    EXPECT_EQ(f.data.getSampleCount(), 3077);
    EXPECT_EQ(f.config.analogs.size(), 48u);
    EXPECT_EQ(f.config.digitals.size(), 96u);
    EXPECT_EQ(f.data.getAnalog(2, 4), 7940);
    EXPECT_NEAR(real(f, 0, 0), -84.691, 5e-4);
    EXPECT_NEAR(real(f, 0, 602), 65.465, 5e-4);
    EXPECT_NEAR(real(f, 0, 1282), 85.316, 5e-4);
    EXPECT_NEAR(real(f, 10, 0), 0.136, 5e-4);
    EXPECT_NEAR(real(f, 10, 600), 0.327, 5e-4);
    EXPECT_NEAR(real(f, 10, 1281), 0.682, 5e-4);
    EXPECT_EQ(f.data.getDigital(0, 0), 0);
    EXPECT_EQ(changingDigitals(f), 12);
    // The first slow sample follows the last fast one by the fast interval, and so on.
    EXPECT_DOUBLE_EQ(f.times[1280], 1280.0 / 3200);
    EXPECT_DOUBLE_EQ(f.times[1281], 1280.0 / 3200 + 1.0 / 50);
    EXPECT_DOUBLE_EQ(f.times[1316], f.times[1315] + 1.0 / 50);
    EXPECT_DOUBLE_EQ(f.times[1317], f.times[1316] + 1.0 / 3200);
    EXPECT_NEAR(f.times[2781] - f.times[2780], 1.0 / 3200, 1e-12);
    for (size_t i : {1279u, 1280u, 1281u, 1316u, 1317u, 2788u, 3076u})
        EXPECT_NEAR(f.times[i], f.data.timeStamps[i] * 1e-6, 2.3e-3) << "sample " << i;
    // RMS of the first cycle of Ua.
    double sum = 0;
    for (int i = 0; i < 64; ++i) sum += real(f, 0, i) * real(f, 0, i);
    EXPECT_NEAR(std::sqrt(sum / 64), 60.19, 0.01);
}

TEST(KComtradeFile, ShortAndLongDataFiles) {
    REQUIRE_SHARED_RECORDS();
    const KComtradeFile ascii = readRecord("q_comtrade/test_ascii.cfg");
    const KComtradeFile binary = readRecord("q_comtrade/test_binary.cfg");
    for (const KComtradeFile* f : {&ascii, &binary}) {
        EXPECT_EQ(f->data.getSampleCount(), 8);
        EXPECT_TRUE(hasWarning(*f, "877 missing"));
        EXPECT_EQ(f->config.getSampleCount(), 8);
        const double row[] = {-760, 1274, 72, 61, -140, -502};
        for (int c = 0; c < 6; ++c) EXPECT_EQ(f->data.getAnalog(c, 4), row[c]);
        const int bits[] = {0, 0, 0, 0, 1, 1};
        for (int c = 0; c < 6; ++c) EXPECT_EQ(f->data.getDigital(c, 4), bits[c]);
    }
    for (int c = 0; c < 6; ++c)
        EXPECT_EQ(analogColumn(ascii.data, c), analogColumn(binary.data, c));
    EXPECT_EQ(ascii.data.timeStamps[7], 1167);
    EXPECT_EQ(binary.data.timeStamps[7], 1169);
    EXPECT_TRUE(hasWarning(binary, "'binary'"));

    const KComtradeFile cff = readRecord("comtrade-io/ascii_cff_2013.cff");
    EXPECT_STREQ(cff.config.station.c_str(), "GHBZ");
    EXPECT_EQ(cff.config.analogs.size(), 96u);
    EXPECT_EQ(cff.config.digitals.size(), 192u);
    EXPECT_EQ(cff.data.getSampleCount(), 186);
    EXPECT_TRUE(hasWarning(cff, "45414 missing"));
    EXPECT_TRUE(hasWarning(cff, "section marker"));
    EXPECT_EQ(cff.config.analogs[0].index, 1);

    const KComtradeFile extra = readRecord("Wisp.Comtrade/2.cfg");
    EXPECT_EQ(extra.data.getSampleCount(), 19680);
    EXPECT_EQ(extra.config.analogs[11].index, 13);
    EXPECT_NEAR(extra.config.analogs[55 - 1].skew, 841, 0);
    EXPECT_TRUE(hasWarning(extra, "start at 0"));
    EXPECT_TRUE(hasWarning(extra, "no normal state"));

    const KComtradeFile bench = readRecord("Wisp.Comtrade/5.cfg");
    EXPECT_EQ(bench.config.fileType, KComtradeConfig::BINARY32);
    EXPECT_EQ(bench.config.digitals.size(), 300u);
    EXPECT_EQ(bench.data.getSampleCount(), 202);
    EXPECT_EQ(bench.triggerTime, 0.0);
    EXPECT_TRUE(hasWarning(bench, "01/01/1970"));
    EXPECT_EQ(changingDigitals(bench), 10);
}

TEST(KComtradeFile, EveryRecordOfOtherSourcesReads) {
    REQUIRE_SHARED_RECORDS();
    const KComtradeFile pq = readRecord("COMTRADE.jl/1999-ascii-pq.cfg");
    EXPECT_STREQ(pq.config.device.c_str(), "");
    EXPECT_STREQ(pq.config.analogs[1].id.c_str(), "Ib");
    EXPECT_NEAR(real(pq, 0, 0), 101.06138883816476, 1e-9);
    EXPECT_EQ(pq.triggerTime, 0.0);
    EXPECT_EQ(pq.data.timeStamps[0], -41663);

    const KComtradeFile line = readRecord("go-comtrade/test1.cfg");
    EXPECT_EQ(line.data.getSampleCount(), 11001);
    EXPECT_STREQ(line.config.analogs[0].units.c_str(), "A");
    EXPECT_NEAR(line.triggerTime, 1.001003, 1e-12);
    EXPECT_EQ(changingDigitals(line), 20);
}
