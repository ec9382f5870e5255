#pragma once

// A point in integer device or logical coordinates.
struct POINT {
    int x;
    int y;
};

class CSize;

class CPoint : public POINT {
public:
    constexpr CPoint() : POINT{0, 0} {}
    constexpr CPoint(int px, int py) : POINT{px, py} {}
    constexpr CPoint(const POINT& p) : POINT{p.x, p.y} {}

    constexpr void SetPoint(int px, int py) {
        x = px;
        y = py;
    }
    constexpr void Offset(int dx, int dy) {
        x += dx;
        y += dy;
    }
    constexpr void Offset(const POINT& p) { Offset(p.x, p.y); }

    constexpr bool operator==(const POINT& p) const { return x == p.x && y == p.y; }
    constexpr bool operator!=(const POINT& p) const { return !(*this == p); }
    constexpr CPoint& operator+=(const POINT& p) {
        Offset(p.x, p.y);
        return *this;
    }
    constexpr CPoint& operator-=(const POINT& p) {
        Offset(-p.x, -p.y);
        return *this;
    }
    constexpr CPoint operator+(const POINT& p) const { return CPoint(x + p.x, y + p.y); }
    constexpr CPoint operator-(const POINT& p) const { return CPoint(x - p.x, y - p.y); }
    constexpr CPoint operator-() const { return CPoint(-x, -y); }
};
