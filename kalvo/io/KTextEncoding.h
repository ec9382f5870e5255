#pragma once

#include <string>
#include <string_view>

// The character sets that recorders write their configuration texts in, and the conversion
// of such text to UTF-8, which is what the library keeps and draws.
class KTextEncoding {
public:
    enum Encoding { AUTO, UTF8, LATIN1, CP1251, GBK };

    // The name as iconv and people know it ("UTF-8", "ISO-8859-1", "WINDOWS-1251", "GBK").
    static const char* getName(Encoding encoding);
    // Case-insensitive, also "utf8", "latin1", "cp1251"...; false for an unknown name.
    static bool parseName(const char* name, Encoding& encoding);

    static bool isValidUtf8(std::string_view text);
    // Guesses the character set of text that is not valid UTF-8 (see the source for how):
    // GBK when every run of non-ASCII bytes pairs up as GBK characters, Windows-1251 when
    // such runs are long (words of a non-Latin alphabet), ISO-8859-1 when they are short
    // (accents among Latin letters).
    static Encoding guess(std::string_view text);
    // Text in UTF-8, a leading byte-order mark removed; bytes that do not convert become
    // U+FFFD rather than failing.
    static std::string toUtf8(std::string_view text, Encoding encoding);
};
