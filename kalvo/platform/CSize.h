#pragma once

// A width and a height in integer units.
struct SIZE {
    int cx;
    int cy;
};

class CSize : public SIZE {
public:
    constexpr CSize() : SIZE{0, 0} {}
    constexpr CSize(int w, int h) : SIZE{w, h} {}
    constexpr CSize(const SIZE& s) : SIZE{s.cx, s.cy} {}

    constexpr bool operator==(const SIZE& s) const { return cx == s.cx && cy == s.cy; }
    constexpr bool operator!=(const SIZE& s) const { return !(*this == s); }
    constexpr CSize operator+(const SIZE& s) const { return CSize(cx + s.cx, cy + s.cy); }
    constexpr CSize operator-(const SIZE& s) const { return CSize(cx - s.cx, cy - s.cy); }
    constexpr CSize& operator+=(const SIZE& s) {
        cx += s.cx;
        cy += s.cy;
        return *this;
    }
    constexpr CSize& operator-=(const SIZE& s) {
        cx -= s.cx;
        cy -= s.cy;
        return *this;
    }
};
