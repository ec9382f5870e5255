#pragma once

#include <string>
#include <string_view>

// Whole files in and out of memory. The result says which step failed, so that each caller
// words its own message; errno tells why.
class KFile {
public:
    enum Result { OK, CANNOT_OPEN, CANNOT_TRANSFER };

    // Replaces bytes with the content of path, read in one piece when the size is known.
    static Result read(const char* path, std::string& bytes);
    // Creates or truncates path and writes bytes to it.
    static Result write(const char* path, std::string_view bytes);
};
