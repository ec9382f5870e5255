#pragma once

#include <kalvo/foundation/KString.h>

// A point in time as whole seconds since 1970-01-01 00:00:00 UTC; negative means no valid
// date. Calendar fields and text are in the process's local time zone.
class KDate {
public:
    enum Field { SECOND = 0, MINUTE = 1, HOUR = 2, DAY = 3, MONTH = 4, YEAR = 5 };

    explicit KDate(int seconds = -1) : seconds_(seconds) {}
    // -1 unless finite and not negative; otherwise truncated toward zero.
    explicit KDate(double seconds);

    bool isValid() const { return seconds_ >= 0; }
    int getSeconds() const { return seconds_; }

    // strftime-style format, "%a %b %d %H:%M:%S %Z %Y" when fmt is null or empty;
    // empty for an invalid date.
    KString toString(const char* fmt = nullptr) const;
    // A local-time field (see Field); -1 for an invalid date or an unknown field.
    int get(int field) const;
    // Moves the date by the remainder modulo 60 of the span named (see the class notes).
    void add(int field, int amount);
    // The time rounded down or up to a minute, hour or day (06:00 UTC) boundary; any other
    // unit rounds to the second. An invalid date raises "Date Error".
    double floor(int unit) const;
    double ceil(int unit) const;

private:
    double round(int unit, bool up) const;
    int seconds_;
};
