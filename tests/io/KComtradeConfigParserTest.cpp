#include <kalvo/io/KComtradeConfigParser.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>

#include <kalvo/foundation/KException.h>
#include <kalvo/io/KComtradeFile.h>

#include "ComtradeTestData.h"

namespace {

const char* const GOOD =
    "STATION,DEV,1999\n"
    "3,2A,1D\n"
    "1,IA,A,LINE,A,0.5,1,0,-32767,32767,600,5,S\n"
    "2,VA,A,LINE,kV,0.25,0,0,-32767,32767,110,0.1,P\n"
    "1,TRIP,,LINE,0\n"
    "50\n"
    "1\n"
    "1000,4\n"
    "01/02/2020,10:00:00.000000\n"
    "01/02/2020,10:00:00.001500\n"
    "ASCII\n"
    "1\n";

KComtradeConfig parse(const std::string& text, KStringArray& warnings) {
    return KComtradeConfigParser("rec.cfg").parse(text, warnings);
}

std::string errorOf(const std::string& text) {
    KStringArray warnings;
    try {
        parse(text, warnings);
    } catch (const KException& e) {
        return e.getText().c_str();
    }
    return "no error";
}

std::string replaceLine(std::string text, int line, const char* with) {
    size_t start = 0;
    for (int i = 1; i < line; ++i) start = text.find('\n', start) + 1;
    const size_t end = text.find('\n', start);
    return text.replace(start, end - start, with);
}

}  // namespace

TEST(KComtradeConfigParser, ReadsEveryFieldAndAnyLineEnd) {
    KStringArray warnings;
    const KComtradeConfig c = parse(GOOD, warnings);
    EXPECT_EQ(warnings.getCount(), 0) << warnings.toString().c_str();
    ASSERT_EQ(c.analogs.size(), 2u);
    EXPECT_STREQ(c.analogs[1].units.c_str(), "kV");
    EXPECT_EQ(c.analogs[1].ps, 'P');
    EXPECT_EQ(c.analogs[0].primary, 600);
    EXPECT_EQ(c.analogs[0].secondary, 5);
    EXPECT_STREQ(c.digitals[0].circuit.c_str(), "LINE");
    EXPECT_NEAR(c.start.secondsTo(c.trigger), 0.0015, 1e-15);
    // CR LF, a byte-order mark and a missing final line end read the same.
    std::string crlf;
    for (char ch : std::string(GOOD)) crlf += ch == '\n' ? std::string("\r\n") : std::string(1, ch);
    crlf.resize(crlf.size() - 2);
    EXPECT_TRUE(parse("\xEF\xBB\xBF" + crlf, warnings) == c);
}

TEST(KComtradeConfigParser, MalformedFilesNameTheLineAndWhatWasExpected) {
    const std::string good(GOOD);
    EXPECT_EQ(errorOf(good.substr(0, good.find("01/02/2020,10:00:00.001500"))),
              "rec.cfg, line 10: expected the time stamp of the trigger, found the end of the "
              "file");
    EXPECT_EQ(errorOf(replaceLine(GOOD, 4, "2,VA,A,LINE,kV,0.25,0,0,-32767")),
              "rec.cfg, line 4: expected an analog channel line (10 or 13 fields), found "
              "'2,VA,A,LINE,kV,0.25,0,0,-32767'");
    EXPECT_EQ(errorOf(replaceLine(GOOD, 3, "1,IA,A,LINE,A,x,1,0,-32767,32767,600,5,S")),
              "rec.cfg, line 3: expected the channel multiplier a (a number), found 'x'");
    EXPECT_EQ(errorOf(replaceLine(GOOD, 2, "3,2,1D")),
              "rec.cfg, line 2: expected the channel counts as 'total,nnA,nnD', found '3,2,1D'");
    EXPECT_EQ(errorOf(replaceLine(GOOD, 9, "31/02/2020,10:00:00.000000")),
              "rec.cfg, line 9: expected a calendar date between the years 1900 and 2200, found "
              "'31/02/2020,10:00:00.000000'");
    EXPECT_EQ(errorOf(replaceLine(GOOD, 11, "TEXT")),
              "rec.cfg, line 11: expected the data file type ASCII, BINARY, BINARY32 or "
              "FLOAT32, found 'TEXT'");
    EXPECT_EQ(errorOf(replaceLine(GOOD, 8, "1000,-4")),
              "rec.cfg, line 8: expected the last sample number of the rate (a whole number), "
              "found '-4'");
    EXPECT_EQ(errorOf(replaceLine(GOOD, 5, "1,TRIP,,LINE,2")),
              "rec.cfg, line 5: expected the normal state 0 or 1, found '1,TRIP,,LINE,2'");
    // A NUL or other control character inside a line is a fault, not the end of a field: "6"
    // NUL "0" is no 6 Hz line frequency. Columns count characters.
    std::string nul(GOOD);
    nul.replace(nul.find("\n50\n") + 1, 2, std::string("6\0" "0", 3));
    EXPECT_EQ(errorOf(nul), "rec.cfg, line 6, column 2: control character 0x00 inside the line");
    EXPECT_EQ(errorOf(replaceLine(GOOD, 3, "1,I\x1B[31mA,A,LINE,A,0.5,1,0,-32767,32767,600,5,S")),
              "rec.cfg, line 3, column 4: control character 0x1B inside the line");
    EXPECT_EQ(errorOf(replaceLine(GOOD, 1, "ST\xC3\x84TION\x07,DEV,1999")),
              "rec.cfg, line 1, column 8: control character 0x07 inside the line");
    // Counts that promise more lines than there are stop before anything is allocated.
    EXPECT_EQ(errorOf("S,D,1999\n9,999999999A,0D\n"),
              "rec.cfg, line 2: expected no more channels than the file has lines, found "
              "'9,999999999A,0D'");
}

TEST(KComtradeConfigParser, DeparturesAreMendedAndReported) {
    KStringArray warnings;
    std::string text = replaceLine(GOOD, 1, "STATION,DEV,1997");
    text = replaceLine(text, 2, "5,2A,1D");
    text = replaceLine(text, 3, "1,IA,A,LINE,A,0.5,,,-32767,32767,600,5,s");
    text = replaceLine(text, 9, "12/25/2020,10:00:00.000000");
    text = replaceLine(text, 11, "ascii");
    text += "\x1A\x1A";
    const KComtradeConfig c = parse(text, warnings);
    EXPECT_EQ(c.revision, KComtradeConfig::REV_1999);
    EXPECT_EQ(c.analogs[0].ps, 'S');
    EXPECT_EQ(c.analogs[0].b, 0.0);
    EXPECT_STREQ(c.start.toDisplayString().c_str(), "25/12/2020,10:00:00.000000");
    for (const char* part : {"'1997'", "total channel count 5", "empty offset b", "empty skew",
                             "lower-case primary/secondary", "day and month swapped",
                             "file type written 'ascii'", "0x1A"})
        EXPECT_TRUE(hasWarning(warnings, part)) << part << "\n" << warnings.toString().c_str();
}
