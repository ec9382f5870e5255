#pragma once

#include <cmath>

class KRange;

// How the times of a view fall on pixel columns. A time's column is counted from an origin
// and the view's own first column taken off: views of the same span over the same origin
// map every time alike to the bit, and a view panned by whole columns differs from the one
// before by exactly that many columns in every time it maps. The scale is kept to 32
// significant bits, so that a span a pan moved along (whose ends were rounded afresh) gives
// the same scale.
class KColumnScale {
public:
    // No view: every time falls on column 0.
    KColumnScale() = default;
    // The view lo..hi over `columns` columns, counted from `origin`; from lo when the origin
    // is not finite or lies too many columns away.
    KColumnScale(double lo, double hi, int columns, double origin);
    // The view of the range's limits, counted from its lower bound.
    KColumnScale(const KRange& range, int columns);

    // Finite limits, hi above lo and at least one column.
    bool isValid() const { return valid_; }
    // The column of x from the view's first, not rounded away from far values.
    double columnOf(double x) const { return std::floor(scale_ * (x - origin_) + 0.5) - first_; }
    // The view's first column counted from the origin: what a pan changes.
    double getFirst() const { return first_; }
    // Whether the two map times alike apart from their first columns.
    bool isPanOf(const KColumnScale& other) const {
        return valid_ && other.valid_ && scale_ == other.scale_ && origin_ == other.origin_;
    }
    bool operator==(const KColumnScale&) const = default;

private:
    double scale_ = 0.0;
    double origin_ = 0.0;
    double first_ = 0.0;
    bool valid_ = false;
};
