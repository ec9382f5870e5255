#pragma once

#include <kalvo/platform/CPoint.h>
#include <kalvo/platform/CSize.h>

// A rectangle given by its sides; right and bottom lie just outside it.
struct RECT {
    int left;
    int top;
    int right;
    int bottom;
};

class CRect : public RECT {
public:
    constexpr CRect() : RECT{0, 0, 0, 0} {}
    constexpr CRect(int l, int t, int r, int b) : RECT{l, t, r, b} {}
    constexpr CRect(const RECT& r) : RECT{r.left, r.top, r.right, r.bottom} {}
    constexpr CRect(const POINT& topLeft, const SIZE& size)
        : RECT{topLeft.x, topLeft.y, topLeft.x + size.cx, topLeft.y + size.cy} {}
    constexpr CRect(const POINT& topLeft, const POINT& bottomRight)
        : RECT{topLeft.x, topLeft.y, bottomRight.x, bottomRight.y} {}

    constexpr int Width() const { return right - left; }
    constexpr int Height() const { return bottom - top; }
    constexpr CSize Size() const { return CSize(Width(), Height()); }
    constexpr CPoint TopLeft() const { return CPoint(left, top); }
    constexpr CPoint BottomRight() const { return CPoint(right, bottom); }
    constexpr CPoint CenterPoint() const { return CPoint((left + right) / 2, (top + bottom) / 2); }

    // Empty when it has no area; null when every side is zero.
    constexpr bool IsRectEmpty() const { return Width() <= 0 || Height() <= 0; }
    constexpr bool IsRectNull() const { return left == 0 && top == 0 && right == 0 && bottom == 0; }

    constexpr void SetRect(int l, int t, int r, int b) {
        left = l;
        top = t;
        right = r;
        bottom = b;
    }
    constexpr void SetRectEmpty() { SetRect(0, 0, 0, 0); }

    constexpr void NormalizeRect() {
        if (left > right) {
            int t = left;
            left = right;
            right = t;
        }
        if (top > bottom) {
            int t = top;
            top = bottom;
            bottom = t;
        }
    }
    constexpr void InflateRect(int dx, int dy) {
        left -= dx;
        top -= dy;
        right += dx;
        bottom += dy;
    }
    constexpr void InflateRect(int l, int t, int r, int b) {
        left -= l;
        top -= t;
        right += r;
        bottom += b;
    }
    constexpr void InflateRect(const RECT& r) { InflateRect(r.left, r.top, r.right, r.bottom); }
    constexpr void DeflateRect(int dx, int dy) { InflateRect(-dx, -dy); }
    constexpr void DeflateRect(int l, int t, int r, int b) { InflateRect(-l, -t, -r, -b); }
    constexpr void DeflateRect(const RECT& r) { DeflateRect(r.left, r.top, r.right, r.bottom); }
    constexpr void OffsetRect(int dx, int dy) {
        left += dx;
        right += dx;
        top += dy;
        bottom += dy;
    }
    constexpr void OffsetRect(const POINT& p) { OffsetRect(p.x, p.y); }

    // Right and bottom are outside the rectangle.
    constexpr bool PtInRect(const POINT& p) const {
        return p.x >= left && p.x < right && p.y >= top && p.y < bottom;
    }

    // The common part of a and b; false (and an empty rectangle) when they do not overlap.
    constexpr bool IntersectRect(const RECT& a, const RECT& b) {
        CRect r(a.left > b.left ? a.left : b.left, a.top > b.top ? a.top : b.top,
                a.right < b.right ? a.right : b.right, a.bottom < b.bottom ? a.bottom : b.bottom);
        if (r.IsRectEmpty()) {
            SetRectEmpty();
            return false;
        }
        *this = r;
        return true;
    }
    // The smallest rectangle holding both; an empty side is left out.
    constexpr bool UnionRect(const RECT& a, const RECT& b) {
        CRect ra(a), rb(b);
        if (ra.IsRectEmpty()) {
            *this = rb;
        } else if (rb.IsRectEmpty()) {
            *this = ra;
        } else {
            SetRect(ra.left < rb.left ? ra.left : rb.left, ra.top < rb.top ? ra.top : rb.top,
                    ra.right > rb.right ? ra.right : rb.right,
                    ra.bottom > rb.bottom ? ra.bottom : rb.bottom);
        }
        return !IsRectEmpty();
    }

    constexpr bool operator==(const RECT& r) const {
        return left == r.left && top == r.top && right == r.right && bottom == r.bottom;
    }
    constexpr bool operator!=(const RECT& r) const { return !(*this == r); }
    constexpr CRect& operator+=(const POINT& p) {
        OffsetRect(p);
        return *this;
    }
    constexpr CRect& operator-=(const POINT& p) {
        OffsetRect(-p.x, -p.y);
        return *this;
    }
    constexpr CRect operator+(const POINT& p) const {
        CRect r(*this);
        r.OffsetRect(p);
        return r;
    }
    constexpr CRect operator-(const POINT& p) const {
        CRect r(*this);
        r.OffsetRect(-p.x, -p.y);
        return r;
    }
    constexpr CRect& operator&=(const RECT& r) {
        IntersectRect(*this, r);
        return *this;
    }
    constexpr CRect& operator|=(const RECT& r) {
        UnionRect(*this, r);
        return *this;
    }
};
