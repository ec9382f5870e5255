#include <gtest/gtest.h>

#include <kalvo/foundation/KArchive.h>
#include <kalvo/foundation/KStringArray.h>

TEST(KStringArray, addMatchMergeDump) {
    KStringArray a;
    a.add("Alpha");
    a.add(nullptr);
    a.add("beta");
    a.add("alpha");  // add keeps duplicates
    EXPECT_EQ(a.getCount(), 3);
    EXPECT_EQ(a.match("ALPHA", false), 0);
    EXPECT_EQ(a.match("alpha", true), 2);
    EXPECT_EQ(a.match("gamma", false), -1);
    EXPECT_EQ(a.match(nullptr, false), -1);

    a.merge("BETA");
    a.merge("");
    a.merge(static_cast<const char*>(nullptr));
    a.merge("gamma");
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
    KStringArray a, b, empty;
    a.add("x");
    b.add("x");
    b.add("y");
    EXPECT_TRUE(a.equals(b));  // compared over a's count only
    EXPECT_FALSE(b.equals(a));
    EXPECT_TRUE(empty.equals(b));
    KStringArray upper;
    upper.add("X");
    EXPECT_FALSE(a == upper);

    KStringArray copy(b);
    EXPECT_TRUE(copy == b);
    EXPECT_TRUE(b == copy);
    copy = a;
    EXPECT_EQ(copy.getCount(), 1);
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

TEST(KStringArray, storedFormAppendsOnRead) {
    KStringArray a;
    a.add("first");
    a.add(std::string(300, 'z').c_str());  // long enough for the 16-bit length form
    KArchive out;
    a.writeObject(out);
    const auto& bytes = out.getBuffer();
    ASSERT_GE(bytes.size(), 12u);
    EXPECT_EQ(bytes[4], 2);      // count, 16 bits
    EXPECT_EQ(bytes[6], 5);      // first string: one length byte
    EXPECT_EQ(bytes[12], 0xFF);  // second: 0xFF and a 16-bit length
    EXPECT_EQ(bytes[13] | bytes[14] << 8, 300);

    KArchive in(out.getBuffer());
    KStringArray b;
    b.add("kept");
    b.readObject(in);
    EXPECT_EQ(b.getCount(), 3);
    EXPECT_STREQ(b.get(1), "first");
    EXPECT_EQ(std::string(b.get(2)), std::string(300, 'z'));
}
