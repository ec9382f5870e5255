#pragma once

#include <kalvo/plot/KCharacteristic.h>

// The mho circle: the circle whose diameter runs from the reach point, reach ohms out along
// the characteristic angle, to the offset point, offset ohms back the other way (an offset of
// 0, the default, puts the origin on the circle: a directional mho).
class KMhoCharacteristic : public KCharacteristic {
    K_DECLARE_CLASS(KMhoCharacteristic);

public:
    KMhoCharacteristic(double reach = 1.0, double degrees = 75.0, double offset = 0.0);

    // Reach above 0, offset 0 or more, angles finite; others are ignored.
    void setReach(double ohms);
    double getReach() const { return reach_; }
    void setAngle(double degrees);
    double getAngle() const { return angle_; }
    void setOffset(double ohms);
    double getOffset() const { return offset_; }

    bool contains(double r, double x) const override;
    void getOutline(std::vector<Point>& outline) const override;
    // "mho 8 ohm at 75 deg", with ", offset 1 ohm" when there is one.
    KString describe() const override;

    void copy(const KObject& other) override;
    // After the characteristic: version 1; reach, angle, offset.
    void Serialize(KArchive& archive) override;

private:
    double reach_;
    double angle_;
    double offset_;
};
