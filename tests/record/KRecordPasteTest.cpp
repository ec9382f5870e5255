#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include <kalvo/kalvo.h>

namespace {

// Pastes an exactly sized copy of text, with no terminator after it.
bool paste(KRecord& record, const std::string& text) {
    std::vector<char> bytes(text.begin(), text.end());
    return record.pasteRawData(bytes.data(), static_cast<int>(bytes.size()));
}

std::vector<double> samples(const KRecord::Trace& trace) {
    return std::vector<double>(trace.getData(), trace.getData() + trace.getCount());
}

using Columns = std::vector<std::vector<double>>;

// Every trace's samples, then the domain's.
Columns columns(KRecord& record) {
    Columns all;
    for (int i = 0; i < record.getTraceCount(); ++i) all.push_back(samples(*record.getTrace(i)));
    all.push_back(samples(record.getDomain()));
    return all;
}

}  // namespace

TEST(KRecordPaste, headerWordsBecomeTheFirstRow) {
    KRecord record;
    ASSERT_TRUE(paste(record, "a;b\n1;2\n3;4"));
    EXPECT_EQ(columns(record), (Columns{{0, 1, 3}, {0, 2, 4}, {0, 1, 2}}));
    ASSERT_EQ(record.getTraceCount(), 2);
    EXPECT_STREQ(record.getTrace(0)->getName().c_str(), "Curve 1");
    EXPECT_STREQ(record.getTrace(1)->getName().c_str(), "Curve 2");
    EXPECT_STREQ(record.getName().c_str(), "- Untitled -");
    EXPECT_STREQ(record.getDescription().c_str(), "Untitled - Clipboard record -");
}

TEST(KRecordPaste, shortLinesRepeatPendingValuesAndDelimitersMix) {
    KRecord record;
    ASSERT_TRUE(paste(record, "x y\n5|6\n7\n\n8 @ 9\r\n"));
    // A short line repeats the previous value; an empty line is skipped.
    EXPECT_EQ(columns(record), (Columns{{0, 5, 7, 8}, {0, 6, 6, 9}, {0, 1, 2, 3}}));
}

TEST(KRecordPaste, nonFiniteTokensGiveTheirColumnToTheNext) {
    KRecord record;
    ASSERT_TRUE(paste(record, "1,2,3\nnan,4,inf,5,6\n"));
    // Extra tokens are ignored.
    EXPECT_EQ(columns(record), (Columns{{1, 4}, {2, 5}, {3, 6}, {0, 1}}));

    ASSERT_TRUE(paste(record, "nan\n"));
    EXPECT_EQ(record.getTraceCount(), 1);
    EXPECT_TRUE(record.getTrace(0)->getName().isEmpty()) << "named only by a finite value";
}

TEST(KRecordPaste, stopsAndRefuses) {
    KRecord record;
    ASSERT_TRUE(paste(record, "1,2\n3,4\n"));
    EXPECT_FALSE(paste(record, "\n1,2\n")) << "text that begins with a line feed";
    EXPECT_FALSE(paste(record, std::string("\0 1,2\n", 6)));
    EXPECT_FALSE(paste(record, ""));
    EXPECT_FALSE(record.pasteRawData(nullptr, 10));
    EXPECT_EQ(record.getDomainSize(), 2) << "a refused paste leaves the record alone";

    // A line that begins with a byte that is zero or above 127 ends the data.
    for (const std::string& text : {std::string("1,2\n3,4\n\xC3\xA9,5\n6,7\n", 18),
                                    std::string("1,2\n3,4\n\0,5\n6,7\n", 14)}) {
        ASSERT_TRUE(paste(record, text));
        EXPECT_EQ(record.getDomainSize(), 2);
    }

    // The length is the end, whatever follows it.
    char text[] = "1,2\n3,4\n5,6\n";
    ASSERT_TRUE(record.pasteRawData(text, 7));
    EXPECT_EQ(samples(*record.getTrace(1)), (std::vector<double>{2, 4}));
}
