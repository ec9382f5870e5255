#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <string>
#include <utility>

#include <kalvo/kalvo.h>

namespace {
constexpr unsigned NF = KString::NOT_FOUND;

// Each text computed against the text expected of it.
void expectTexts(std::initializer_list<std::pair<KString, const char*>> cases) {
    int i = 0;
    for (const auto& [got, want] : cases) EXPECT_STREQ(got.c_str(), want) << "case " << i++;
}

void expectPositions(std::initializer_list<std::pair<unsigned, unsigned>> cases) {
    int i = 0;
    for (auto [got, want] : cases) EXPECT_EQ(got, want) << "case " << i++;
}
}  // namespace

TEST(KString, classSettingsAreClamped) {
    KString::setIncrement(100);
    EXPECT_EQ(KString::getIncrement(), 256);
    KString::setIncrement(0);
    EXPECT_EQ(KString::getIncrement(), 256);
    KString::setMaxSize(70000);
    EXPECT_EQ(KString::getMaxSize(), 65535);
}

TEST(KString, constructionAndAdoptedBlocks) {
    EXPECT_TRUE(KString().isEmpty());
    EXPECT_TRUE(!KString(nullptr));
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
    adopted.append(" world");  // the adopted block is reallocated
    EXPECT_STREQ(adopted.c_str(), "hello world");
    EXPECT_TRUE(KString(-3, static_cast<char*>(std::malloc(4))).isEmpty());  // freed, not leaked
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
    s.setSize(1);
    EXPECT_STREQ(s.c_str(), "c");
    s.setSize(0);
    EXPECT_TRUE(s.isEmpty());
    EXPECT_EQ(s.capacity(), 0u);

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

TEST(KString, substringsAndSearches) {
    KString abc("abc");
    EXPECT_EQ(abc.charAt(1), 'b');
    EXPECT_EQ(abc.charAt(99), '\0');  // the shared dummy, no failure
    EXPECT_EQ(&abc.charAt(99), &abc.charAt(3));
    const KString hello("hello");
    expectTexts({{hello.substring(2, NF), "llo"}, {hello.substring(5, 1), ""},
                 {hello.substring(3, 10), "lo"}, {hello.substring(1, 3), "ell"},
                 {hello(0, 0), ""}, {hello.substring(1, 0xFFFFFFFE), "ello"}});

    const KString s("a,b;c,b");
    // The character search is case-sensitive, the string search is not; the last-index
    // searches stop at the given index and find nothing when the length is at most it.
    expectPositions({{s.indexOf(','), 1u}, {s.indexOf(',', 2), 5u}, {s.indexOf(',', 7), NF},
                     {s.indexOf('B'), NF}, {s.indexOf(KString("B;C")), 2u},
                     {s.indexOf(KString("")), 0u}, {s.indexOf(KString("a,b;c,b,")), NF},
                     {s.enumerate('b'), 2u}, {s.NthChar('b', 0), 2u}, {s.NthChar('b', 1), 6u},
                     {s.NthChar('b', 2), NF}, {KString().NthChar('b', 0), NF},
                     {s.findCharOf(KString(";,"), 2), 3u},
                     {s.findCharNotOf(KString("a,"), 0), 2u}, {s.lastIndexOf('b'), 6u},
                     {s.lastIndexOf('a', 1), NF}, {s.lastIndexOf('b', 7), NF},
                     {s.lastIndexOf(KString(",;"), 0), 5u}, {s.lastIndexOf(KString(",;"), 6), NF},
                     {s.lastIndexNotOf(KString("b"), 0), 5u}});
    EXPECT_TRUE(KString("").isAlphaNumeric());
    EXPECT_TRUE(KString("ab12").isAlphaNumeric());
    EXPECT_FALSE(KString("ab 12").isAlphaNumeric());
}

TEST(KString, startsAndEndsWith) {
    const KString s("Hello");
    for (bool yes :
         {s.startsWith("he"), s.startsWith("LLO", 2), s.startsWith("", 0), s.endsWith("LO")})
        EXPECT_TRUE(yes);
    // A suffix longer than the string wraps the position around and matches nothing.
    for (bool no :
         {s.startsWith("lo!", 3), KString().startsWith("", 0), s.startsWith(nullptr),
          s.startsWith("o", 5), s.endsWith(""), s.endsWith("Hello!"), s.endsWith(nullptr)})
        EXPECT_FALSE(no);
}

TEST(KString, tokens) {
    const KString csv(",,a,,b"), nested("f(a(b)c) (d)");
    expectTexts({{csv.token(1, KString(",")), "b"}, {csv.token(1, ','), ""},
                 {csv.token(2, ','), "a"}, {csv.token(2, KString(",")), ""},
                 {csv.token(-1, KString(",")), ""}, {KString("a,b").token(1, ','), "b"},
                 {KString("a,b").token(2, ','), ""}, {KString("a,b,").token(2, ','), ""},
                 {KString("a,b").token(-1, ','), ""},
                 {KString("no delimiter").token(0, ','), "no delimiter"},
                 {nested.token(0, '(', ')'), "a(b)c"}, {nested.token(1, '(', ')'), "d"},
                 {nested.token(2, '(', ')'), ""}, {KString("f(a").token(0, '(', ')'), ""},
                 {KString("x(").token(0, '(', ')'), ""},
                 {KString(")(y)").token(0, '(', ')'), "y"},  // a stray close is ignored
                 {KString("say \"hi\" \"yo\"").token(1, '"', '"'), "yo"}});
}

TEST(KString, editsAndCopies) {
    KString s("Mixed Case");
    // The edits work in place, one after another.
    expectTexts({{s.toUpperCase(), "MIXED CASE"}, {s.toLowerCase(), "mixed case"},
                 {s.replace('e', 'E'), "mixEd casE"}, {s.replace('\0', 'x'), "mixEd casE"},
                 {s.replace("aE ", '_'), "mix_d_c_s_"}, {s.replace("", '#'), "mix_d_c_s_"},
                 {s.replace("m", '\0'), "mix_d_c_s_"}, {KString("  \t x y \r\n").trim(), "x y"},
                 {KString(" \t\r\n ").trim(), ""}, {KString("\xA0" "abc\x80").trim(), "abc"},
                 {KString().trim(), ""}, {KString("a\r\nb").toDos(), "a\r\r\nb"},
                 {KString("a\nb\n").toDos(), "a\r\nb\r\n"},
                 {KString("a\r\r\nb").toUnix(), "a\r\nb"}, {KString("a\rb\r").toUnix(), "a\rb\r"}});
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
    const std::vector<std::uint8_t> expected = {1,   0,   0,   0,   8, 0, 0, 0, 'h', 'i', ' ', 't',
                                                'h', 'e', 'r', 'e', 1, 0, 0, 0, 0,   0,   0,   0};
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
