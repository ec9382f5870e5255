#include <kalvo/foundation/KException.h>

KException::KException(const char* title, const char* text) : title_(title), text_(text) {}

KException KException::formatV(const char* title, const char* fmt, va_list args) {
    KException e;
    e.title_ = title;
    e.text_.formatV(fmt, args);
    return e;
}

KException KException::format(const char* title, const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    KException e = formatV(title, fmt, args);
    va_end(args);
    return e;
}

void KException::raise(const char* title, const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    KException e = formatV(title, fmt, args);
    va_end(args);
    throw e;
}
