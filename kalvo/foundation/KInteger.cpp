#include <kalvo/foundation/KInteger.h>

#include <cstdlib>

int KInteger::valueOf(const char* text) {
    return text == nullptr || *text == 0 ? 0 : std::atoi(text);
}

int KInteger::parseInt(const char* text) { return text == nullptr ? 0 : std::atoi(text); }

KString KInteger::toString() const {
    KString out;
    return out.format("%d", value_);
}

// The arithmetic runs in 64 bits so that extreme values cannot overflow on the way.
int KInteger::floor(int v, int step) {
    if (step == 0) return v;
    const long long s = step < 0 ? 1 : step;
    long long r = v % s;
    if (r < 0) r += s;
    return static_cast<int>(v - r);
}

int KInteger::ceil(int v, int step) {
    if (step == 0) return v;
    const long long s = step < 0 ? 1 : step;
    long long r = v % s;
    if (r > 0) r -= s;
    return static_cast<int>(v - r);
}

int KInteger::nearest(int v, int step) {
    if (step == 0) return v;
    const long long s = step;
    const long long half = s / 2;
    const long long r = v % s;
    if (r > half) return static_cast<int>(v - r + s);
    if (r < -half) return static_cast<int>(v - r - s);
    return static_cast<int>(v - r);
}
