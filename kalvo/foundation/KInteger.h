#pragma once

#include <kalvo/foundation/KString.h>

// A boxed int and the snapping of integers to a step.
class KInteger {
public:
    KInteger(int value = 0) : value_(value) {}
    explicit KInteger(const char* text) : value_(valueOf(text)) {}

    // 0 for a null or empty text, otherwise atoi.
    static int valueOf(const char* text);
    static int parseInt(const char* text);

    operator int() const { return value_; }
    int intValue() const { return value_; }
    KString toString() const;

    // The largest multiple of step not above v (a negative step counts as 1).
    static int floor(int v, int step);
    // The smallest multiple of step not below v (a negative step counts as 1).
    static int ceil(int v, int step);
    // The nearest multiple of step; a tie goes toward zero. A step of 0 gives v back.
    static int nearest(int v, int step);

private:
    int value_;
};
