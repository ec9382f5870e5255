#pragma once

#include <kalvo/foundation/KSerializable.h>

// The interval shown along one axis with its grid step: decimal 1-2-2.5-5-10 steps, or
// time steps (second to year) when the range is a span of seconds ("unitized").
class KRange : public KSerializable {
public:
    KRange() = default;
    KRange(double minimum, double maximum) : minimum_(minimum), maximum_(maximum) {}

    void setUnitized(bool on) { unitized_ = on ? 1 : 0; }
    bool isUnitized() const { return unitized_ != 0; }
    // In unitized mode, the time unit of the grid: 0 second ... 5 year.
    int getUnitLevel() const { return unitLevel_; }

    double getMinimum() const { return minimum_; }
    double getMaximum() const { return maximum_; }
    double getRangeSize() const { return maximum_ - minimum_; }
    double getGrid() const { return grid_; }
    // Ignored unless v > 0.
    void setGrid(double v);

    // False, and no change, when b - a is below the minimum aperture. Neither reorders
    // the ends nor recomputes the grid.
    bool setLimits(double a, double b);
    void getLimits(double& minimum, double& maximum) const;
    double getMinAperture() const { return minAperture_; }
    void setMinAperture(double v);  // ignored when negative

    void setFixedGrid(bool on) { fixedGrid_ = on ? 1 : 0; }
    bool isFixedGrid() const { return fixedGrid_ != 0; }

    // Bounds: the extent that the data allow, for callers that keep the range within it.
    // Non-finite values are ignored; reversed ones are put in order.
    void setBounds(double lower, double upper);
    void getBounds(double& lower, double& upper) const;
    double getFactor() const { return factor_; }
    void setFactor(double factor) { factor_ = factor; }

    void computeGrid(bool snap);
    void expandLimits();    // zoom out by a quarter of the span on each side
    void compressLimits();  // zoom in by a quarter of the span on each side
    void snapToGrid();
    bool contains(double v) const;
    // Pans by whole grid steps until v lies at the centre or just below it.
    void containValue(double v);

    // The decimals to pass to KDouble's range labels (toLabel(v, decimals, min, max)) so
    // that multiples of the grid show exactly: the fewest (0 to 15) that show the grid step
    // on the range's prefix scale, less the one decimal that a prefixed label adds.
    int getPrecision() const;
    // v, or 0.0 when v is rounding noise around zero at the given number of decimals
    // (below half a unit of the last decimal; a negative precision counts tens, hundreds...);
    // -0.0 becomes 0.0.
    static double snapZero(double v, int precision);

    bool operator==(const KRange& other) const;

    // Stored as a version (1) and the fields in declaration order.
    void writeObject(KArchive& archive) const override;
    void readObject(KArchive& archive) override;

private:
    int unitized_ = 0;
    int unitLevel_ = 0;
    double minimum_ = 0.0;
    double maximum_ = 1.0;
    double grid_ = 0.1;
    double minAperture_ = 0.0;
    int fixedGrid_ = 0;
    double lowerBound_ = -1.0;
    double upperBound_ = 1.0;
    double factor_ = 1.0;
};
