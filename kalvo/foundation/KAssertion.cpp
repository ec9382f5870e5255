#include <kalvo/foundation/KAssertion.h>

#include <kalvo/foundation/KException.h>

namespace {
constexpr const char* kTitle = "Assertion Failed";
}

void KAssertion::check(bool condition) const {
    if (!condition) throw KException(kTitle, label_.c_str());
}

void KAssertion::fail(const char* fmt, ...) const {
    KString detail;
    va_list args;
    va_start(args, fmt);
    detail.formatV(fmt, args);
    va_end(args);
    KString text(label_);
    text << ": " << detail;
    throw KException(kTitle, text.c_str());
}
