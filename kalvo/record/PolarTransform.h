#pragma once

#include <kalvo/record/KDataTransform.h>

// Cartesian to polar: from the columns x and y, the magnitude sqrt(x² + y²) and the angle
// atan2(y, x) in degrees.
class PolarTransform : public KDataTransform {
public:
    // False for n < 1 or without two input columns; appends magnitude, then angle.
    bool transform(KVector<double>& in, KVector<double>& out, int& n) override;
};
