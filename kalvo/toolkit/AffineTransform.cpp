#include <kalvo/toolkit/AffineTransform.h>

#include <cmath>

void AffineTransform::translate(int dx, int dy) {
    e_ += dx * a_ + dy * c_;
    f_ += dx * b_ + dy * d_;
}

void AffineTransform::rotate(double degrees) {
    const double theta = degrees * 0.017453292519944444;
    rotation_ = mirrored_ ? rotation_ - degrees : rotation_ + degrees;
    if (rotation_ > 180) {
        rotation_ -= 360;
    } else if (rotation_ <= -180) {
        rotation_ += 360;
    }
    const double s = std::sin(theta), k = std::cos(theta);
    const double a = a_, b = b_, c = c_, d = d_;
    c_ = k * c - s * a;
    a_ = s * c + k * a;
    b_ = s * d + k * b;
    d_ = k * d - s * b;
}

void AffineTransform::Mirror() {
    rotation_ = 180 - rotation_;
    mirrored_ = !mirrored_;
    if (rotation_ > 180) rotation_ -= 360;
    a_ = -a_;
    b_ = -b_;
}

int AffineTransform::toLogicalX(int x, int y) const {
    return static_cast<int>(x * a_ + y * c_ + e_ + 0.5);
}

int AffineTransform::toLogicalY(int x, int y) const {
    return static_cast<int>(x * b_ + y * d_ + f_ + 0.5);
}

void AffineTransform::WPtoLP(int x, int y, int& X, int& Y) const {
    X = toLogicalX(x, y);
    Y = toLogicalY(x, y);
}

void AffineTransform::WPtoLP(int x, int y, POINT& p) const { WPtoLP(x, y, p.x, p.y); }

CPoint AffineTransform::WPtoLP(int x, int y) const {
    return CPoint(toLogicalX(x, y), toLogicalY(x, y));
}

CPoint AffineTransform::WPtoLP(CPoint p) const { return WPtoLP(p.x, p.y); }
