#include <kalvo/io/KComtradeStamp.h>

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace {

constexpr int64_t NS_PER_SECOND = 1000000000;
constexpr int64_t NS_PER_DAY = 86400 * NS_PER_SECOND;

// Days since 1970-01-01 of a proleptic Gregorian date (era arithmetic over 400-year cycles).
int64_t daysFromCivil(int64_t y, int m, int d) {
    y -= m <= 2;
    const int64_t era = (y >= 0 ? y : y - 399) / 400;
    const int64_t yoe = y - era * 400;
    const int64_t doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
    const int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + doe - 719468;
}

void civilFromDays(int64_t z, int& y, int& m, int& d) {
    z += 719468;
    const int64_t era = (z >= 0 ? z : z - 146096) / 146097;
    const int64_t doe = z - era * 146097;
    const int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const int64_t mp = (5 * doy + 2) / 153;
    d = static_cast<int>(doy - (153 * mp + 2) / 5 + 1);
    m = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
    y = static_cast<int>(yoe + era * 400 + (m <= 2));
}

bool isLeap(int y) {
    return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
}

int daysInMonth(int y, int m) {
    static const int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return m == 2 && isLeap(y) ? 29 : days[m - 1];
}

// Splits text at sep into up to three whole numbers, ignoring blanks; the last part may
// carry a fraction, returned as nanoseconds with its digit count.
bool splitNumbers(const char* text, char sep, int64_t parts[3], int64_t* fraction = nullptr,
                  int* fractionDigits = nullptr) {
    int n = 0;
    const char* p = text;
    while (n < 3) {
        while (*p == ' ' || *p == '\t') ++p;
        if (!isdigit(static_cast<unsigned char>(*p))) return false;
        int64_t v = 0;
        int digits = 0;
        while (isdigit(static_cast<unsigned char>(*p))) {
            if (++digits > 9) return false;
            v = v * 10 + (*p++ - '0');
        }
        parts[n++] = v;
        while (*p == ' ' || *p == '\t') ++p;
        if (n < 3) {
            if (*p != sep) return false;
            ++p;
        }
    }
    if (fraction) {
        *fraction = 0;
        *fractionDigits = 0;
        if (*p == '.') {
            ++p;
            int64_t scale = NS_PER_SECOND;
            while (isdigit(static_cast<unsigned char>(*p))) {
                if (*fractionDigits < 9) {
                    scale /= 10;
                    *fraction += (*p - '0') * scale;
                }
                ++*fractionDigits;
                ++p;
            }
        }
        while (*p == ' ' || *p == '\t') ++p;
    }
    return *p == '\0';
}

}  // namespace

bool KComtradeStamp::parse(const char* date, const char* time, bool monthFirst, KString& reason,
                           bool& swappedDayMonth) {
    valid_ = false;
    swappedDayMonth = false;
    int64_t d[3], t[3], fraction = 0;
    int digits = 0;
    if (!splitNumbers(date, '/', d)) {
        reason = "a date as dd/mm/yyyy";
        return false;
    }
    if (!splitNumbers(time, ':', t, &fraction, &digits)) {
        reason = "a time as hh:mm:ss.ssssss";
        return false;
    }
    int64_t day = monthFirst ? d[1] : d[0];
    int64_t month = monthFirst ? d[0] : d[1];
    int64_t year = d[2];
    bool twoDigits = false;
    while (*date == ' ') ++date;
    const char* lastSlash = date;
    for (const char* p = date; *p; ++p)
        if (*p == '/') lastSlash = p + 1;
    while (*lastSlash == ' ') ++lastSlash;
    int yearDigits = 0;
    while (isdigit(static_cast<unsigned char>(lastSlash[yearDigits]))) ++yearDigits;
    if (yearDigits <= 2) {
        twoDigits = true;
        year += year < 70 ? 2000 : 1900;
    }
    if ((month < 1 || month > 12) && day >= 1 && day <= 12) {
        std::swap(day, month);
        swappedDayMonth = true;
    }
    if (month < 1 || month > 12 || year < 1900 || year > 2200 || day < 1 ||
        day > daysInMonth(static_cast<int>(year), static_cast<int>(month))) {
        reason = "a calendar date between the years 1900 and 2200";
        return false;
    }
    if (t[0] > 23 || t[1] > 59 || t[2] > 60) {
        reason = "a time of day";
        return false;
    }
    nanoseconds_ =
        daysFromCivil(year, static_cast<int>(month), static_cast<int>(day)) * NS_PER_DAY +
        ((t[0] * 60 + t[1]) * 60 + t[2]) * NS_PER_SECOND + fraction;
    fractionDigits_ = digits > 9 ? 9 : digits;
    monthFirst_ = monthFirst != swappedDayMonth;
    twoDigitYear_ = twoDigits;
    valid_ = true;
    return true;
}

KComtradeStamp KComtradeStamp::fromNanoseconds(int64_t ns, int fractionDigits) {
    KComtradeStamp s;
    s.nanoseconds_ = ns;
    s.fractionDigits_ = fractionDigits;
    s.valid_ = true;
    return s;
}

void KComtradeStamp::setMonthFirst(bool monthFirst, bool twoDigitYear) {
    monthFirst_ = monthFirst;
    twoDigitYear_ = twoDigitYear;
}

namespace {

KString formatStamp(int64_t ns, int fractionDigits, bool monthFirst, bool twoDigitYear) {
    int64_t days = ns >= 0 ? ns / NS_PER_DAY : -((-ns + NS_PER_DAY - 1) / NS_PER_DAY);
    int64_t rest = ns - days * NS_PER_DAY;
    int y, m, d;
    civilFromDays(days, y, m, d);
    const int64_t secs = rest / NS_PER_SECOND;
    int64_t frac = rest % NS_PER_SECOND;
    for (int i = fractionDigits; i < 9; ++i) frac /= 10;
    char date[32];
    if (twoDigitYear)
        snprintf(date, sizeof date, "%02d/%02d/%02d", monthFirst ? m : d, monthFirst ? d : m,
                 y % 100);
    else
        snprintf(date, sizeof date, "%02d/%02d/%04d", monthFirst ? m : d, monthFirst ? d : m, y);
    KString text;
    if (fractionDigits > 0)
        text.format("%s,%02d:%02d:%02d.%0*lld", date, static_cast<int>(secs / 3600),
                    static_cast<int>(secs / 60 % 60), static_cast<int>(secs % 60), fractionDigits,
                    static_cast<long long>(frac));
    else
        text.format("%s,%02d:%02d:%02d", date, static_cast<int>(secs / 3600),
                    static_cast<int>(secs / 60 % 60), static_cast<int>(secs % 60));
    return text;
}

}  // namespace

KString KComtradeStamp::toString() const {
    return formatStamp(nanoseconds_, fractionDigits_, monthFirst_, twoDigitYear_);
}

KString KComtradeStamp::toDisplayString() const {
    return formatStamp(nanoseconds_, fractionDigits_, false, false);
}

double KComtradeStamp::secondsTo(const KComtradeStamp& other) const {
    const int64_t diff = other.nanoseconds_ - nanoseconds_;
    return static_cast<double>(diff / NS_PER_SECOND) +
           static_cast<double>(diff % NS_PER_SECOND) * 1e-9;
}

bool KComtradeStamp::operator==(const KComtradeStamp& other) const {
    return valid_ == other.valid_ && nanoseconds_ == other.nanoseconds_ &&
           fractionDigits_ == other.fractionDigits_ && monthFirst_ == other.monthFirst_ &&
           twoDigitYear_ == other.twoDigitYear_;
}
