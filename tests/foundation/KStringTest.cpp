#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include <kalvo/foundation/KArchive.h>
#include <kalvo/foundation/KException.h>
#include <kalvo/foundation/KString.h>

namespace {
constexpr unsigned NF = KString::NOT_FOUND;
}

TEST(KString, classSettingsAreClamped) {
    KString::setIncrement(100);
    EXPECT_EQ(KString::getIncrement(), 256);
    KString::setIncrement(1000);
    EXPECT_EQ(KString::getIncrement(), 1000);
    KString::setIncrement(0);
    EXPECT_EQ(KString::getIncrement(), 256);
    KString::setMaxSize(70000);
    EXPECT_EQ(KString::getMaxSize(), 65535);
    KString::setMaxSize(-1);  // signed comparison: stored as given
    EXPECT_EQ(KString::getMaxSize(), -1);
    KString::setMaxSize(65535);
}

TEST(KString, constructionAndStorage) {
    const int before = KString::getInstanceCount();
    {
        KString empty, fromNull(nullptr), text("abc");
        EXPECT_TRUE(empty.isEmpty());
        EXPECT_TRUE(!fromNull);
        EXPECT_EQ(text.length(), 3u);
        EXPECT_TRUE(static_cast<bool>(text));
        // Empty strings share one text and own nothing.
        EXPECT_EQ(empty.c_str(), fromNull.c_str());
        EXPECT_EQ(KString::getInstanceCount(), before + 3);

        const char raw[] = {'x', 'a', '\0', 'b', 'y'};
        KString piece(raw, 1, 3);  // exactly three bytes, the zero included
        EXPECT_EQ(piece.length(), 3u);
        EXPECT_EQ(std::memcmp(piece.c_str(), "a\0b", 4), 0);
        EXPECT_TRUE(KString(raw, 0, 0).isEmpty());

        char* block = static_cast<char*>(std::malloc(8));
        std::memcpy(block, "hello!!", 8);
        KString adopted(5, block);
        EXPECT_EQ(adopted.c_str(), block);
        EXPECT_STREQ(adopted.c_str(), "hello");
        EXPECT_EQ(adopted.capacity(), 0u);
        adopted.append(" world");  // the adopted block is reallocated
        EXPECT_STREQ(adopted.c_str(), "hello world");

        char* other = static_cast<char*>(std::malloc(4));
        KString negative(-3, other);
        EXPECT_TRUE(negative.isEmpty());
    }
    EXPECT_EQ(KString::getInstanceCount(), before);
}

TEST(KString, growthAndExactSizing) {
    KString::setIncrement(256);
    KString s;
    s.append('a');
    EXPECT_EQ(s.capacity(), 256u);
    for (int i = 1; i < 256; ++i) s.append('a');
    EXPECT_EQ(s.capacity(), 256u);
    s.append('b');
    EXPECT_EQ(s.capacity(), 512u);  // one reallocation per increment
    EXPECT_EQ(s.length(), 257u);
    s.assign("xy");
    EXPECT_EQ(s.capacity(), 2u);  // assign sizes exactly
    s.setSize(1);
    EXPECT_STREQ(s.c_str(), "x");
    s.setSize(0);
    EXPECT_TRUE(s.isEmpty());
    EXPECT_EQ(s.capacity(), 0u);
}

TEST(KString, appendConcatAndSelfReference) {
    KString s("ab");
    s << "cd" << 'e' << KString("f");
    EXPECT_STREQ(s.c_str(), "abcdef");
    s.append(static_cast<const char*>(nullptr)).append("").append('\0');
    EXPECT_STREQ(s.c_str(), "abcdef");
    s.append(s.c_str() + 4);  // a piece of itself, while growing
    EXPECT_STREQ(s.c_str(), "abcdefef");
    s.assign(s.c_str() + 2);
    EXPECT_STREQ(s.c_str(), "cdefef");
    s.assign(s.c_str());
    EXPECT_STREQ(s.c_str(), "cdefef");

    const KString base("x");
    EXPECT_STREQ((base + "y").c_str(), "xy");
    EXPECT_STREQ((base + 'z').c_str(), "xz");
    EXPECT_STREQ(("w" + base).c_str(), "wx");
    EXPECT_STREQ(base.c_str(), "x");
}

TEST(KString, comparisonIgnoresCase) {
    EXPECT_TRUE(KString("abc") == "ABC");
    EXPECT_TRUE(KString("abc") < "ABD");
    EXPECT_TRUE("ABD" > KString("abc"));
    EXPECT_EQ(KString("x").compareTo(nullptr), -1);
    EXPECT_EQ(KString().compareTo(nullptr), 0);
}

TEST(KString, indexAndSubstring) {
    KString abc("abc");
    EXPECT_EQ(abc.charAt(1), 'b');
    EXPECT_EQ(abc.charAt(99), '\0');  // the shared dummy, no failure
    EXPECT_EQ(&abc.charAt(99), &abc.charAt(3));

    const KString hello("hello");
    EXPECT_STREQ(hello.substring(2, NF).c_str(), "llo");
    EXPECT_STREQ(hello.substring(5, 1).c_str(), "");
    EXPECT_STREQ(hello.substring(3, 10).c_str(), "lo");
    EXPECT_STREQ(hello.substring(1, 3).c_str(), "ell");
    EXPECT_STREQ(hello(0, 0).c_str(), "");
    EXPECT_STREQ(hello.substring(1, 0xFFFFFFFE).c_str(), "ello");
}

TEST(KString, searches) {
    const KString s("a,b;c,b");
    EXPECT_EQ(s.indexOf(','), 1u);
    EXPECT_EQ(s.indexOf(',', 2), 5u);
    EXPECT_EQ(s.indexOf(',', 7), NF);
    EXPECT_EQ(s.indexOf('B'), NF);  // the character search is case-sensitive
    EXPECT_EQ(s.indexOf(KString("B;C")), 2u);
    EXPECT_EQ(s.indexOf(KString("")), 0u);
    EXPECT_EQ(s.indexOf(KString("a,b;c,b,")), NF);
    EXPECT_EQ(s.enumerate('b'), 2u);
    EXPECT_EQ(s.NthChar('b', 0), 2u);
    EXPECT_EQ(s.NthChar('b', 1), 6u);
    EXPECT_EQ(s.NthChar('b', 2), NF);
    EXPECT_EQ(KString().NthChar('b', 0), NF);
    EXPECT_EQ(s.findCharOf(KString(";,"), 2), 3u);
    EXPECT_EQ(s.findCharNotOf(KString("a,"), 0), 2u);
    EXPECT_EQ(s.lastIndexOf('b'), 6u);
    EXPECT_EQ(s.lastIndexOf('a', 1), NF);  // scanning stops at index 1
    EXPECT_EQ(s.lastIndexOf('b', 7), NF);  // length at most the stop
    EXPECT_EQ(s.lastIndexOf(KString(",;"), 0), 5u);
    EXPECT_EQ(s.lastIndexOf(KString(",;"), 6), NF);
    EXPECT_EQ(s.lastIndexNotOf(KString("b"), 0), 5u);
    EXPECT_TRUE(KString("").isAlphaNumeric());
    EXPECT_TRUE(KString("ab12").isAlphaNumeric());
    EXPECT_FALSE(KString("ab 12").isAlphaNumeric());
}

TEST(KString, startsAndEndsWith) {
    const KString s("Hello");
    EXPECT_TRUE(s.startsWith("he"));
    EXPECT_TRUE(s.startsWith("LLO", 2));
    EXPECT_FALSE(s.startsWith("lo!", 3));
    EXPECT_TRUE(s.startsWith("", 0));
    EXPECT_FALSE(KString().startsWith("", 0));
    EXPECT_FALSE(s.startsWith(nullptr));
    EXPECT_FALSE(s.startsWith("o", 5));
    EXPECT_TRUE(s.endsWith("LO"));
    EXPECT_FALSE(s.endsWith(""));
    EXPECT_FALSE(s.endsWith("Hello!"));  // the position wraps
    EXPECT_FALSE(s.endsWith(nullptr));
}

TEST(KString, tokens) {
    const KString csv(",,a,,b");
    EXPECT_STREQ(csv.token(1, KString(",")).c_str(), "b");
    EXPECT_STREQ(csv.token(1, ',').c_str(), "");
    EXPECT_STREQ(csv.token(2, ',').c_str(), "a");
    EXPECT_STREQ(csv.token(2, KString(",")).c_str(), "");
    EXPECT_STREQ(csv.token(-1, KString(",")).c_str(), "");
    EXPECT_STREQ(KString("a,b").token(1, ',').c_str(), "b");
    EXPECT_STREQ(KString("a,b").token(2, ',').c_str(), "");
    EXPECT_STREQ(KString("a,b,").token(2, ',').c_str(), "");
    EXPECT_STREQ(KString("a,b").token(-1, ',').c_str(), "");
    EXPECT_STREQ(KString("no delimiter").token(0, ',').c_str(), "no delimiter");

    const KString nested("f(a(b)c) (d)");
    EXPECT_STREQ(nested.token(0, '(', ')').c_str(), "a(b)c");
    EXPECT_STREQ(nested.token(1, '(', ')').c_str(), "d");
    EXPECT_STREQ(nested.token(2, '(', ')').c_str(), "");
    EXPECT_STREQ(KString("f(a").token(0, '(', ')').c_str(), "");
    EXPECT_STREQ(KString("x(").token(0, '(', ')').c_str(), "");
    EXPECT_STREQ(KString(")(y)").token(0, '(', ')').c_str(), "y");  // a stray close is ignored
    EXPECT_STREQ(KString("say \"hi\" \"yo\"").token(1, '"', '"').c_str(), "yo");
}

TEST(KString, editsAndCopies) {
    KString s("Mixed Case");
    EXPECT_STREQ(s.toUpperCase().c_str(), "MIXED CASE");
    EXPECT_STREQ(s.toLowerCase().c_str(), "mixed case");
    EXPECT_STREQ(s.replace('e', 'E').c_str(), "mixEd casE");
    EXPECT_STREQ(s.replace('\0', 'x').c_str(), "mixEd casE");
    EXPECT_STREQ(s.replace("aE ", '_').c_str(), "mix_d_c_s_");
    EXPECT_STREQ(s.replace("", '#').c_str(), "mix_d_c_s_");
    EXPECT_STREQ(s.replace("m", '\0').c_str(), "mix_d_c_s_");

    EXPECT_STREQ(KString("  \t x y \r\n").trim().c_str(), "x y");
    EXPECT_STREQ(KString(" \t\r\n ").trim().c_str(), "");
    EXPECT_STREQ(KString("\xA0" "abc\x80").trim().c_str(), "abc");
    EXPECT_STREQ(KString().trim().c_str(), "");

    EXPECT_STREQ(KString("a\r\nb").toDos().c_str(), "a\r\r\nb");
    EXPECT_STREQ(KString("a\nb\n").toDos().c_str(), "a\r\nb\r\n");
    EXPECT_STREQ(KString("a\r\r\nb").toUnix().c_str(), "a\r\nb");
    EXPECT_STREQ(KString("a\rb\r").toUnix().c_str(), "a\rb\r");
}

TEST(KString, formatStaysWithinItsBuffer) {
    KString s;
    EXPECT_STREQ(s.format("%d-%s-%.2f", 7, "x", 1.5).c_str(), "7-x-1.50");
    const std::string big(5000, 'q');
    s.format("%s", big.c_str());
    EXPECT_EQ(s.length(), KString::FORMAT_LIMIT - 1);
    s.format("%.*f", 3000, 1.0);  // a huge precision is cut, not overrun
    EXPECT_EQ(s.length(), KString::FORMAT_LIMIT - 1);
    s.format("%2000d|%2000d", 1, 2);
    EXPECT_EQ(s.length(), KString::FORMAT_LIMIT - 1);
    EXPECT_STREQ(s.format(nullptr).c_str(), "");
}

TEST(KString, storedForm) {
    KArchive out;
    KString("hi there").writeObject(out);
    KString().writeObject(out);
    const std::vector<std::uint8_t> expected = {1, 0, 0, 0, 8, 0, 0, 0, 'h', 'i', ' ', 't',
                                                'h', 'e', 'r', 'e', 1, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(out.getBuffer(), expected);

    KArchive in(out.getBuffer());
    KString a("old"), b("old");
    a.readObject(in);
    b.readObject(in);
    EXPECT_STREQ(a.c_str(), "hi there");
    EXPECT_TRUE(b.isEmpty());

    // A length beyond the bytes there raises and leaves the string empty.
    std::vector<std::uint8_t> lying = {1, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0x7F, 'x'};
    KArchive bad(lying);
    KString c("old");
    EXPECT_THROW(c.readObject(bad), KException);
    EXPECT_TRUE(c.isEmpty());
}
