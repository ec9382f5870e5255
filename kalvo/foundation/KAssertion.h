#pragma once

#include <kalvo/foundation/KString.h>

// A labelled check around a piece of work: a failed check raises a KException titled
// "Assertion Failed" whose text is the label, so the caller learns which work failed.
class KAssertion {
public:
    explicit KAssertion(const char* label) : label_(label) {}

    const KString& getLabel() const { return label_; }

    // Raises when condition is false; returns otherwise.
    void check(bool condition) const;
    // Raises with the label followed by ": " and the formatted detail.
    [[noreturn]] void fail(const char* fmt, ...) const __attribute__((format(printf, 2, 3)));

private:
    KString label_;
};
