#pragma once

#include <kalvo/plot/KCharacteristic.h>

// The quadrilateral: four straight sides,
//   - the reactance line on top, through jX (the reach) and tilted down to the right by the
//     tilt angle;
//   - the resistive reach on the right, through R (the resistive reach) at the line angle;
//   - the directional line at the bottom, through the origin and the directional angle below
//     the R axis;
//   - the directional line on the left, through the origin and the directional angle left of
//     the X axis;
// so that it covers the line, and faults with resistance on it, in front of the relay only.
class KQuadCharacteristic : public KCharacteristic {
    K_DECLARE_CLASS(KQuadCharacteristic);

public:
    KQuadCharacteristic(double reach = 1.0, double resistiveReach = 1.0, double lineAngle = 75.0,
                        double tilt = 0.0, double directional = 15.0);

    // Reaches above 0; the line angle from 45 to 90, the tilt from -45 to 45 and the
    // directional angle from 0 to 45 degrees; others are ignored.
    void setReach(double ohms);
    double getReach() const { return reach_; }
    void setResistiveReach(double ohms);
    double getResistiveReach() const { return resistive_; }
    void setLineAngle(double degrees);
    double getLineAngle() const { return lineAngle_; }
    void setTilt(double degrees);
    double getTilt() const { return tilt_; }
    void setDirectionalAngle(double degrees);
    double getDirectionalAngle() const { return directional_; }

    bool contains(double r, double x) const override;
    // The corners: the origin, bottom right, top right, top left.
    void getOutline(std::vector<Point>& outline) const override;
    // "quad X 10 ohm, R 5 ohm at 75 deg".
    KString describe() const override;

    void copy(const KObject& other) override;
    // After the characteristic: version 1; reach, resistive reach, line angle, tilt,
    // directional angle.
    void Serialize(KArchive& archive) override;

private:
    // The four sides as a r + b x + c >= 0 inside, top, right, bottom, left.
    struct Side {
        double a, b, c;
    };
    void getSides(Side sides[4]) const;

    double reach_;
    double resistive_;
    double lineAngle_;
    double tilt_;
    double directional_;
};
