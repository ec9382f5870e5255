#pragma once

#include <string>
#include <string_view>

// Texts from a record as a terminal shows them: control characters written out, widths in
// terminal columns rather than bytes (a CJK character takes two, a combining mark none).
class DisplayText {
public:
    // text with every control character (C0, DEL and C1, tab and CR among them) written as
    // \xNN or \uNNNN, so that nothing from a file reaches the terminal as a command.
    static std::string escape(std::string_view text);
    // As escape, but keeping line ends (LF, CR LF and a bare CR each become one LF) and tabs.
    static std::string escapeLines(std::string_view text);
    // Terminal columns of UTF-8 text that holds no control character.
    static int width(std::string_view text);
    // text cut to at most columns (ending in "…" when cut) and padded with blanks to exactly
    // that many; right-aligned when right is set.
    static std::string fit(std::string_view text, int columns, bool right = false);
    // text broken at blanks into lines of at most columns (a longer word stays whole), the
    // first line led by first and the others by rest; each line ends with a line end.
    static std::string wrap(std::string_view text, int columns, std::string_view first = "",
                            std::string_view rest = "");
    // Sets the character type of the locale so that widths are those of UTF-8 text.
    static void useUtf8();
};
