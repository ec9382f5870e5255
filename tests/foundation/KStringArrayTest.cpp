#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include <kalvo/kalvo.h>

TEST(KStringArray, addMatchMergeDump) {
    KStringArray a;
    for (const char* s : {"Alpha", static_cast<const char*>(nullptr), "beta", "alpha"}) a.add(s);
    EXPECT_EQ(a.getCount(), 3);  // add keeps duplicates, not null
    EXPECT_EQ(a.match("ALPHA", false), 0);
    EXPECT_EQ(a.match("alpha", true), 2);
    EXPECT_EQ(a.match("gamma", false), -1);
    EXPECT_EQ(a.match(nullptr, false), -1);

    for (const char* s : {"BETA", "", static_cast<const char*>(nullptr), "gamma"}) a.merge(s);
    EXPECT_EQ(a.getCount(), 4);
    EXPECT_STREQ(a.get(3), "gamma");
    EXPECT_EQ(a.get(4), nullptr);

    a.dump("ALPHA");  // the first case-insensitive match goes
    EXPECT_STREQ(a.get(0), "beta");
    EXPECT_EQ(a.getCount(), 3);
    a.set(1, "delta");
    a.set(9, "ignored");
    EXPECT_STREQ(a.toString().c_str(), "\"beta\",\"delta\",\"gamma\"");
    a.clear();
    EXPECT_STREQ(a.toString().c_str(), "");
}

TEST(KStringArray, equalityIsCaseSensitiveOverTheReceiver) {
    KStringArray a, b, empty, upper;
    a.add("x");
    b.add("x");
    b.add("y");
    upper.add("X");
    EXPECT_TRUE(a.equals(b));  // compared over a's count only
    EXPECT_FALSE(b.equals(a));
    EXPECT_TRUE(empty.equals(b));
    EXPECT_FALSE(a == upper);
}

TEST(KStringArray, tokens) {
    KStringArray a;
    char text[] = "one two\tthree\none";
    a.addTokens(text);
    EXPECT_STREQ(a.toString().c_str(), "\"one\",\"two\",\"three\",\"one\"");

    KStringArray m;
    char csv[] = "a;b;;A;c";
    m.mergeTokens(csv, ";");
    EXPECT_STREQ(m.toString().c_str(), "\"a\",\"b\",\"c\"");
    const KString more("c|d|B");
    m.mergeTokens(more, "|");
    EXPECT_STREQ(m.toString().c_str(), "\"a\",\"b\",\"c\",\"d\"");
    EXPECT_STREQ(more.c_str(), "c|d|B");  // the KString form works on a copy
}

// The string forms themselves are the archive's, tested there.
TEST(KStringArray, storedFormAppendsOnRead) {
    KStringArray a;
    a.add("first");
    a.add("second");
    KArchive out;
    a.writeObject(out);
    const auto& bytes = out.getBuffer();
    ASSERT_GE(bytes.size(), 7u);
    // Version 1, a 16-bit count, then the first string's one length byte.
    EXPECT_EQ(std::vector<std::uint8_t>(bytes.begin(), bytes.begin() + 7),
              (std::vector<std::uint8_t>{1, 0, 0, 0, 2, 0, 5}));

    KArchive in(out.getBuffer());
    KStringArray b;
    b.add("kept");
    b.readObject(in);
    EXPECT_EQ(b.getCount(), 3);
    EXPECT_STREQ(b.get(1), "first");
    EXPECT_STREQ(b.get(2), "second");
}
