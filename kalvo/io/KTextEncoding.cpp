#include <kalvo/io/KTextEncoding.h>

#include <iconv.h>
#include <strings.h>

#include <cerrno>

const char* KTextEncoding::getName(Encoding encoding) {
    switch (encoding) {
        case AUTO:
            return "auto";
        case UTF8:
            return "UTF-8";
        case LATIN1:
            return "ISO-8859-1";
        case CP1251:
            return "WINDOWS-1251";
        case GBK:
            return "GBK";
    }
    return "UTF-8";
}

bool KTextEncoding::parseName(const char* name, Encoding& encoding) {
    struct Alias {
        const char* name;
        Encoding encoding;
    };
    static const Alias aliases[] = {
        {"auto", AUTO},     {"utf-8", UTF8},     {"utf8", UTF8},           {"iso-8859-1", LATIN1},
        {"latin1", LATIN1}, {"latin-1", LATIN1}, {"windows-1251", CP1251}, {"cp1251", CP1251},
        {"gbk", GBK},       {"gb2312", GBK},     {"cp936", GBK},
    };
    for (const Alias& a : aliases) {
        if (strcasecmp(name, a.name) == 0) {
            encoding = a.encoding;
            return true;
        }
    }
    return false;
}

bool KTextEncoding::isValidUtf8(std::string_view text) {
    const auto* p = reinterpret_cast<const unsigned char*>(text.data());
    const auto* end = p + text.size();
    while (p < end) {
        const unsigned c = *p;
        if (c < 0x80) {
            ++p;
            continue;
        }
        int extra;
        unsigned min;
        if ((c & 0xE0) == 0xC0) {
            extra = 1;
            min = 0x80;
        } else if ((c & 0xF0) == 0xE0) {
            extra = 2;
            min = 0x800;
        } else if ((c & 0xF8) == 0xF0) {
            extra = 3;
            min = 0x10000;
        } else {
            return false;
        }
        if (end - p <= extra) return false;
        unsigned cp = c & (0x3F >> extra);
        for (int i = 1; i <= extra; ++i) {
            if ((p[i] & 0xC0) != 0x80) return false;
            cp = (cp << 6) | (p[i] & 0x3F);
        }
        if (cp < min || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return false;
        p += extra + 1;
    }
    return true;
}

KTextEncoding::Encoding KTextEncoding::guess(std::string_view text) {
    if (isValidUtf8(text)) return UTF8;
    // Runs of bytes at or above 0x80, between ASCII characters.
    bool pairsAsGbk = true;
    size_t runs = 0, highBytes = 0;
    size_t i = 0;
    while (i < text.size()) {
        if (static_cast<unsigned char>(text[i]) < 0x80) {
            ++i;
            continue;
        }
        size_t run = 0;
        while (i < text.size() && static_cast<unsigned char>(text[i]) >= 0x80) {
            const unsigned char c = static_cast<unsigned char>(text[i]);
            // A GBK character is a lead byte 0x81..0xFE and a trail byte 0x40..0xFE.
            if (run % 2 == 0 && c == 0x80) pairsAsGbk = false;
            ++run;
            ++i;
        }
        if (run % 2 != 0) pairsAsGbk = false;
        ++runs;
        highBytes += run;
    }
    if (runs == 0) return UTF8;
    if (pairsAsGbk) return GBK;
    return highBytes >= runs * 5 / 2 ? CP1251 : LATIN1;
}

std::string KTextEncoding::toUtf8(std::string_view text, Encoding encoding) {
    if (encoding == AUTO) encoding = guess(text);
    if (text.size() >= 3 && text.substr(0, 3) == "\xEF\xBB\xBF") text.remove_prefix(3);
    std::string out;
    if (encoding == UTF8 && isValidUtf8(text)) return std::string(text);
    if (encoding == UTF8) encoding = LATIN1;  // not UTF-8 after all: keep every byte visible
    iconv_t cd = iconv_open("UTF-8", getName(encoding));
    if (cd == reinterpret_cast<iconv_t>(-1)) return std::string(text);
    out.resize(text.size() * 4 + 16);
    char* in = const_cast<char*>(text.data());
    size_t inLeft = text.size();
    char* dst = out.data();
    size_t outLeft = out.size();
    while (inLeft > 0) {
        if (iconv(cd, &in, &inLeft, &dst, &outLeft) != static_cast<size_t>(-1)) break;
        if (errno == E2BIG) break;  // cannot happen: four bytes per input byte suffice
        // An invalid or cut sequence: one replacement character for its first byte.
        if (outLeft < 3) break;
        static const char replacement[] = "\xEF\xBF\xBD";
        for (int k = 0; k < 3; ++k) *dst++ = replacement[k];
        outLeft -= 3;
        ++in;
        --inLeft;
    }
    iconv(cd, nullptr, nullptr, &dst, &outLeft);
    iconv_close(cd);
    out.resize(out.size() - outLeft);
    return out;
}
