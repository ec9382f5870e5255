#include <kalvo/io/KComtradeDecoder.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>

#include <kalvo/foundation/KException.h>
#include <kalvo/io/KComtradeFile.h>
#include <kalvo/io/KComtradeWriter.h>

#include "ComtradeTestData.h"

namespace {

// Two analog channels, eighteen status channels (two status words), 1 kHz, four samples.
std::string config(const char* type, const char* revision = "1999") {
    std::string c = std::string("S,D") + (*revision ? "," : "") + revision + "\n20,2A,18D\n";
    const bool oldest = !*revision;
    c += oldest ? "1,IA,A,L,A,0.5,1,0,-32767,32767\n2,VA,A,L,V,2,0,0,-32767,32767\n"
                : "1,IA,A,L,A,0.5,1,0,-32767,32767,1,1,S\n2,VA,A,L,V,2,0,0,-32767,32767,1,1,S\n";
    for (int i = 1; i <= 18; ++i)
        c += oldest ? std::to_string(i) + ",D" + std::to_string(i) + ",0\n"
                    : std::to_string(i) + ",D" + std::to_string(i) + ",,,0\n";
    c += std::string("60\n1\n1000,4\n01/01/2021,00:00:00.000000\n01/01/2021,00:00:00.002000\n") +
         type + "\n1\n";
    if (strcmp(revision, "2013") == 0) c += "0,0\n0,0\n";
    return c;
}

KComtradeFile read(const std::string& cfg, const std::string& dat) {
    KComtradeFile f;
    f.readConfig(cfg, "t.cfg", KComtradeFile::Options());
    f.readData(dat, "t.dat", KComtradeFile::Options());
    return f;
}

std::string asciiRow(int n, const char* values) {
    std::string row = std::to_string(n) + "," + std::to_string((n - 1) * 1000) + "," + values;
    for (int i = 0; i < 18; ++i) row += i == 17 ? ",1" : ",0";
    return row + "\n";
}

std::string errorOf(const std::string& cfg, const std::string& dat) {
    try {
        read(cfg, dat);
    } catch (const KException& e) {
        return e.getText().c_str();
    }
    return "no error";
}

}  // namespace

TEST(KComtradeDecoder, AsciiValuesGapsAndMissingCodes) {
    const std::string dat = asciiRow(1, "10,-20") + asciiRow(2, " +3 , 4.5e1 ") +
                            asciiRow(3, ",99999") + asciiRow(4, "99999,7");
    const KComtradeFile f = read(config("ASCII"), dat);
    expectSameSamples(analogColumn(f.data, 0), std::vector<double>{10, 3, NAN, NAN}, "IA");
    expectSameSamples(analogColumn(f.data, 1), std::vector<double>{-20, 45, NAN, 7}, "VA");
    EXPECT_EQ(f.data.getDigital(17, 3), 1);
    EXPECT_EQ(f.data.getDigital(16, 3), 0);
    EXPECT_EQ(f.warnings.getCount(), 0) << f.warnings.toString().c_str();
    // In the oldest revision 99999 is a value like any other.
    const KComtradeFile old = read(config("ASCII", ""), dat);
    EXPECT_EQ(old.data.getAnalog(0, 3), 99999);
}

TEST(KComtradeDecoder, AsciiBrokenAndCutFiles) {
    const std::string good = asciiRow(1, "1,2") + asciiRow(2, "3,4");
    EXPECT_EQ(errorOf(config("ASCII"), good + "3,2000,5,abc,0\n" + asciiRow(4, "1,1")),
              "t.dat, line 3, column 10: expected a number, found 'abc'");
    EXPECT_EQ(errorOf(config("ASCII"), good + "3,2000,5\n" + asciiRow(4, "1,1")),
              "t.dat, line 3, column 9: expected 22 fields (sample number, time stamp, 2 analog "
              "and 18 status values) but the line ends after 3, found ''");
    // A file cut inside its last line keeps the complete samples.
    const KComtradeFile cut = read(config("ASCII"), good + "3,2000,5,6,0,0");
    EXPECT_EQ(cut.data.getSampleCount(), 2);
    EXPECT_TRUE(hasWarning(cut, "line 3 is cut short"));
    EXPECT_TRUE(hasWarning(cut, "2 of the 4 samples"));
    // CR LF lines, a trailing end-of-file character and blank lines are no samples.
    std::string crlf;
    for (char c : good) crlf += c == '\n' ? std::string("\r\n") : std::string(1, c);
    EXPECT_EQ(read(config("ASCII"), crlf + "\r\n\x1A").data.getSampleCount(), 2);
    // NUL bytes after the last sample are padding too; inside a line, or before more samples,
    // a control character is a fault named by line and column.
    EXPECT_EQ(read(config("ASCII"), good + std::string("\0\0\x1A", 3)).data.getSampleCount(), 2);
    const std::string row3 = asciiRow(3, "5,6");
    EXPECT_EQ(errorOf(config("ASCII"), good + row3.substr(0, 8) + std::string(1, '\0') +
                                           row3.substr(8)),
              "t.dat, line 3, column 9: control character 0x00 inside the line");
    EXPECT_EQ(errorOf(config("ASCII"), good + std::string(1, '\0') + row3),
              "t.dat, line 3, column 1: control character 0x00 inside the line");
    EXPECT_EQ(errorOf(config("ASCII"), good + "3,2000,5,6\x1A,0\n"),
              "t.dat, line 3, column 11: control character 0x1A inside the line");
}

TEST(KComtradeDecoder, BinaryLayoutsAndTrailingBytes) {
    for (const char* type : {"BINARY", "BINARY32", "FLOAT32"}) {
        SCOPED_TRACE(type);
        KComtradeFile f = read(config("ASCII"), asciiRow(1, "1,-2") + asciiRow(2, "300,4") +
                                                    asciiRow(3, "5,6") + asciiRow(4, "7,-8"));
        f.config.fileType = KComtradeConfig::ASCII;
        KComtradeConfig::parseFileType(type, f.config.fileType);
        f.data.getAnalogs<double>(1)[2] = NAN;
        const std::string bytes = KComtradeWriter::writeData(f.config, f.data);
        EXPECT_EQ(bytes.size(), 4u * f.config.getRecordSize());
        const KComtradeFile back = read(config(type, "2013"), bytes);
        EXPECT_EQ(back.data.getSampleType(), type[6] == '3'   ? KComtradeData::INT32
                                             : type[0] == 'F' ? KComtradeData::FLOAT32
                                                              : KComtradeData::INT16);
        EXPECT_EQ(analogColumn(back.data, 0), analogColumn(f.data, 0));
        EXPECT_TRUE(std::isnan(back.data.getAnalog(1, 2)));
        for (int c = 0; c < 18; ++c)
            EXPECT_EQ(digitalColumn(back.data, c), digitalColumn(f.data, c)) << "status " << c;
        EXPECT_EQ(back.data.timeStamps, f.data.timeStamps);
        EXPECT_EQ(back.warnings.getCount(), 0) << back.warnings.toString().c_str();

        const KComtradeFile padded = read(config(type), bytes + "\x1A\x1A\x1A");
        EXPECT_EQ(padded.data.getSampleCount(), 4);
        EXPECT_TRUE(hasWarning(padded, "3 padding bytes"));
        const size_t record = static_cast<size_t>(f.config.getRecordSize());
        const KComtradeFile cut = read(config(type), bytes.substr(0, 3 * record + 5));
        EXPECT_EQ(cut.data.getSampleCount(), 3);
        EXPECT_TRUE(hasWarning(cut, "the last 5 bytes"));
        EXPECT_TRUE(hasWarning(cut, "(1 missing)"));
    }
}
