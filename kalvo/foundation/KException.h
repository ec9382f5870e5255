#pragma once

#include <exception>

#include <kalvo/foundation/KString.h>

// The library's error: a title (the kind of failure) and a text (what went wrong).
class KException : public std::exception {
public:
    KException() = default;
    KException(const char* title, const char* text);

    // Formats the text printf-style; the result is cut at KString::FORMAT_LIMIT - 1 characters.
    static KException format(const char* title, const char* fmt, ...)
        __attribute__((format(printf, 2, 3)));
    [[noreturn]] static void raise(const char* title, const char* fmt, ...)
        __attribute__((format(printf, 2, 3)));
    static KException formatV(const char* title, const char* fmt, va_list args);

    const KString& getTitle() const { return title_; }
    const KString& getText() const { return text_; }
    void setTitle(const char* title) { title_ = title; }
    void setText(const char* text) { text_ = text; }

    const char* what() const noexcept override { return text_.c_str(); }

private:
    KString title_;
    KString text_;
};
