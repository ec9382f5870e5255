#include "DisplayText.h"

#include <langinfo.h>
#include <strings.h>

#include <clocale>
#include <cstdio>
#include <cwchar>

namespace {

// The code point at text[i] and its length in bytes; a byte that starts no valid sequence
// counts as one character of its own value.
char32_t decode(std::string_view text, size_t i, size_t& length) {
    const auto b = static_cast<unsigned char>(text[i]);
    length = 1;
    if (b < 0x80) return b;
    const size_t need = b >= 0xF0 ? 4 : b >= 0xE0 ? 3 : b >= 0xC0 ? 2 : 1;
    if (need == 1 || i + need > text.size()) return b;
    char32_t c = b & (0xFF >> (need + 1));
    for (size_t k = 1; k < need; ++k) {
        const auto next = static_cast<unsigned char>(text[i + k]);
        if ((next & 0xC0) != 0x80) return b;
        c = (c << 6) | (next & 0x3F);
    }
    length = need;
    return c;
}

bool isControl(char32_t c) { return c < 0x20 || c == 0x7F || (c >= 0x80 && c < 0xA0); }

void appendEscaped(std::string& out, char32_t c) {
    char code[12];
    if (c < 0x80)
        snprintf(code, sizeof code, "\\x%02x", static_cast<unsigned>(c));
    else
        snprintf(code, sizeof code, "\\u%04x", static_cast<unsigned>(c));
    out += code;
}

int columnsOf(char32_t c) {
    const int w = wcwidth(static_cast<wchar_t>(c));
    return w < 0 ? 1 : w;
}

}  // namespace

void DisplayText::useUtf8() {
    setlocale(LC_CTYPE, "");
    if (strcasecmp(nl_langinfo(CODESET), "UTF-8") != 0) setlocale(LC_CTYPE, "C.UTF-8");
}

std::string DisplayText::escape(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0, n; i < text.size(); i += n) {
        const char32_t c = decode(text, i, n);
        if (isControl(c))
            appendEscaped(out, c);
        else
            out.append(text.substr(i, n));
    }
    return out;
}

std::string DisplayText::escapeLines(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0, n; i < text.size(); i += n) {
        const char32_t c = decode(text, i, n);
        if (c == '\r') {
            out += '\n';
            if (i + 1 < text.size() && text[i + 1] == '\n') ++n;
        } else if (c == '\n' || c == '\t') {
            out += static_cast<char>(c);
        } else if (isControl(c)) {
            appendEscaped(out, c);
        } else {
            out.append(text.substr(i, n));
        }
    }
    return out;
}

int DisplayText::width(std::string_view text) {
    int columns = 0;
    for (size_t i = 0, n; i < text.size(); i += n) columns += columnsOf(decode(text, i, n));
    return columns;
}

std::string DisplayText::fit(std::string_view text, int columns, bool right) {
    int used = width(text);
    std::string shown(text);
    if (used > columns) {
        // Whole characters up to one column short, then the ellipsis.
        shown.clear();
        used = 0;
        for (size_t i = 0, n; i < text.size(); i += n) {
            const int w = columnsOf(decode(text, i, n));
            if (used + w > columns - 1) break;
            shown.append(text.substr(i, n));
            used += w;
        }
        shown += "\xE2\x80\xA6";
        ++used;
    }
    const std::string pad(static_cast<size_t>(columns > used ? columns - used : 0), ' ');
    return right ? pad + shown : shown + pad;
}

std::string DisplayText::wrap(std::string_view text, int columns, std::string_view first,
                              std::string_view rest) {
    std::string out(first);
    int used = width(first);
    bool empty = true;  // no word on the current line yet
    size_t i = 0;
    while (i < text.size()) {
        const size_t blank = text.find(' ', i);
        const std::string_view word =
            text.substr(i, blank == std::string_view::npos ? std::string_view::npos : blank - i);
        i = blank == std::string_view::npos ? text.size() : blank + 1;
        if (word.empty()) continue;
        const int w = width(word);
        if (!empty && used + 1 + w > columns) {
            out += "\n";
            out += rest;
            used = width(rest);
            empty = true;
        }
        if (!empty) {
            out += ' ';
            ++used;
        }
        out += word;
        used += w;
        empty = false;
    }
    return out + "\n";
}
