#include <kalvo/foundation/KDate.h>

#include <cmath>
#include <ctime>

#include <kalvo/foundation/KException.h>

KDate::KDate(double seconds)
    : seconds_(std::isfinite(seconds) && seconds >= 0 && seconds < 2147483648.0
                   ? static_cast<int>(seconds)
                   : -1) {}

KString KDate::toString(const char* fmt) const {
    if (!isValid()) return KString();
    if (fmt == nullptr || *fmt == 0) fmt = "%a %b %d %H:%M:%S %Z %Y";
    const std::time_t t = seconds_;
    std::tm local{};
    if (localtime_r(&t, &local) == nullptr) return KString();
    char text[KString::FORMAT_LIMIT];
    const size_t n = std::strftime(text, sizeof text, fmt, &local);
    return KString(text, 0, static_cast<int>(n));
}

int KDate::get(int field) const {
    if (!isValid() || field < SECOND || field > YEAR) return -1;
    const std::time_t t = seconds_;
    std::tm local{};
    if (localtime_r(&t, &local) == nullptr) return -1;
    switch (field) {
        case SECOND: return local.tm_sec;
        case MINUTE: return local.tm_min;
        case HOUR: return local.tm_hour;
        case DAY: return local.tm_mday;
        case MONTH: return local.tm_mon + 1;
        default: return local.tm_year + 1900;
    }
}

void KDate::add(int field, int amount) {
    if (!isValid()) return;
    long long seconds = 0, minutes = 0, hours = 0, days = 0;
    switch (field) {
        case SECOND: seconds = amount; break;
        case MINUTE: minutes = amount; break;
        case HOUR: hours = amount; break;
        case DAY: days = amount; break;
        default: break;
    }
    const long long span = seconds + 60 * (minutes + 60 * (hours + 24 * days));
    // Only the span's remainder modulo 60 moves the date: that is what this operation does.
    seconds_ += static_cast<int>(span - 60 * (span / 60));
}

double KDate::round(int unit, bool up) const {
    if (!isValid()) throw KException("Date Error", "Invalid date value");
    double step = 1.0, origin = 0.0;
    switch (unit) {
        case MINUTE: step = 60.0; break;
        case HOUR: step = 3600.0; break;
        case DAY: step = 86400.0; origin = 21600.0; break;  // days turn at 06:00 UTC here
        default: break;
    }
    const double k = (seconds_ - origin) / step;
    return (up ? std::ceil(k) : std::floor(k)) * step + origin;
}

double KDate::floor(int unit) const { return round(unit, false); }
double KDate::ceil(int unit) const { return round(unit, true); }
