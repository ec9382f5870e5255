#include <kalvo/foundation/KException.h>

KException::KException(const char* title, const char* text) : title_(title), text_(text) {}

KException KException::format(const char* title, const char* fmt, ...) {
    KException e;
    e.title_ = title;
    va_list args;
    va_start(args, fmt);
    e.text_.formatV(fmt, args);
    va_end(args);
    return e;
}

void KException::raise(const char* title, const char* fmt, ...) {
    KException e;
    e.title_ = title;
    va_list args;
    va_start(args, fmt);
    e.text_.formatV(fmt, args);
    va_end(args);
    throw e;
}
