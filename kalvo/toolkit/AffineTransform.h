#pragma once

#include <kalvo/platform/CPoint.h>

// An affine map of points, X = x·a + y·c + e and Y = x·b + y·d + f, rounded to integers,
// with a remembered rotation in degrees, in (-180, 180], and mirror state, for drawing
// rotated and mirrored shapes.
class AffineTransform {
public:
    AffineTransform() = default;
    virtual ~AffineTransform() = default;

    // Moves the origin by (dx, dy) in the transform's own coordinates.
    void translate(int dx, int dy);
    void rotate(double degrees);
    // Flips the x axis.
    void Mirror();

    double getRotation() const { return rotation_; }
    bool isMirrored() const { return mirrored_; }
    double getA() const { return a_; }
    double getB() const { return b_; }
    double getC() const { return c_; }
    double getD() const { return d_; }
    double getE() const { return e_; }
    double getF() const { return f_; }

    int toLogicalX(int x, int y) const;
    int toLogicalY(int x, int y) const;
    void WPtoLP(int x, int y, int& X, int& Y) const;
    void WPtoLP(int x, int y, POINT& p) const;
    CPoint WPtoLP(int x, int y) const;
    CPoint WPtoLP(CPoint p) const;

private:
    double a_ = 1, b_ = 0, c_ = 0, d_ = 1, e_ = 0, f_ = 0;
    bool mirrored_ = false;
    double rotation_ = 0;
};
