#pragma once

#include <cstdint>

#include <kalvo/foundation/KString.h>

// A date and time as a disturbance record writes it ("dd/mm/yyyy,hh:mm:ss.ssssss"), kept to
// the nanosecond: a double of seconds since 1970 cannot hold nanoseconds today. The stamp
// carries no time zone; it is read and written as the recorder's own clock. Years run from
// 1900 to 2200, well inside what 64-bit nanoseconds can count.
class KComtradeStamp {
public:
    KComtradeStamp() = default;

    // Parses the two fields of a stamp line. The day comes first unless monthFirst is set
    // (the oldest revision writes mm/dd/yy). Returns false with a reason when the text is not
    // a stamp; swappedDayMonth tells that day and month only made sense the other way round.
    bool parse(const char* date, const char* time, bool monthFirst, KString& reason,
               bool& swappedDayMonth);

    // "dd/mm/yyyy,hh:mm:ss" with as many fraction digits as were read (or mm/dd/yy when the
    // stamp was read that way).
    KString toString() const;
    // Same text with the day always first and a four-digit year, for people to read.
    KString toDisplayString() const;

    bool isValid() const { return valid_; }
    int64_t getNanoseconds() const { return nanoseconds_; }
    int getFractionDigits() const { return fractionDigits_; }
    bool isMonthFirst() const { return monthFirst_; }
    bool isTwoDigitYear() const { return twoDigitYear_; }
    void setMonthFirst(bool monthFirst, bool twoDigitYear);
    // Seconds from this stamp to other, exact to the nanosecond for spans below 100 days.
    double secondsTo(const KComtradeStamp& other) const;

    static KComtradeStamp fromNanoseconds(int64_t ns, int fractionDigits);

    bool operator==(const KComtradeStamp& other) const;

private:
    int64_t nanoseconds_ = 0;  // since 1970-01-01 00:00:00 of the recorder's clock
    int fractionDigits_ = 6;
    bool monthFirst_ = false;
    bool twoDigitYear_ = false;
    bool valid_ = false;
};
