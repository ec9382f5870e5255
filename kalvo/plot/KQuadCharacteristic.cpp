#include <kalvo/plot/KQuadCharacteristic.h>

#include <algorithm>
#include <cmath>

#include <kalvo/foundation/KArchive.h>
#include <kalvo/foundation/KException.h>

K_IMPLEMENT_CLASS(KQuadCharacteristic, KCharacteristic, 1)

namespace {
constexpr std::int32_t STORED_VERSION = 1;
constexpr double PI = 3.14159265358979323846;

double radians(double degrees) {
    return degrees * PI / 180;
}

bool within(double v, double lo, double hi) {
    return std::isfinite(v) && v >= lo && v <= hi;
}
}  // namespace

KQuadCharacteristic::KQuadCharacteristic(double reach, double resistiveReach, double lineAngle,
                                         double tilt, double directional)
    : reach_(1.0), resistive_(1.0), lineAngle_(75.0), tilt_(0.0), directional_(15.0) {
    setReach(reach);
    setResistiveReach(resistiveReach);
    setLineAngle(lineAngle);
    setTilt(tilt);
    setDirectionalAngle(directional);
}

void KQuadCharacteristic::setReach(double ohms) {
    if (std::isfinite(ohms) && ohms > 0) reach_ = ohms;
}

void KQuadCharacteristic::setResistiveReach(double ohms) {
    if (std::isfinite(ohms) && ohms > 0) resistive_ = ohms;
}

void KQuadCharacteristic::setLineAngle(double degrees) {
    if (within(degrees, 45, 90)) lineAngle_ = degrees;
}

void KQuadCharacteristic::setTilt(double degrees) {
    if (within(degrees, -45, 45)) tilt_ = degrees;
}

void KQuadCharacteristic::setDirectionalAngle(double degrees) {
    if (within(degrees, 0, 45)) directional_ = degrees;
}

void KQuadCharacteristic::getSides(Side sides[4]) const {
    const double line = radians(lineAngle_), tilt = radians(tilt_), dir = radians(directional_);
    sides[0] = {-std::tan(tilt), -1.0, reach_};
    sides[1] = {-std::sin(line), std::cos(line), resistive_ * std::sin(line)};
    sides[2] = {std::sin(dir), std::cos(dir), 0.0};
    sides[3] = {std::cos(dir), std::sin(dir), 0.0};
}

bool KQuadCharacteristic::contains(double r, double x) const {
    Side sides[4];
    getSides(sides);
    const double tolerance = 1e-6 * std::max(reach_, resistive_);
    for (const Side& s : sides) {
        if ((s.a * r + s.b * x + s.c) / std::hypot(s.a, s.b) < -tolerance) return false;
    }
    return true;
}

void KQuadCharacteristic::getOutline(std::vector<Point>& outline) const {
    Side sides[4];
    getSides(sides);
    auto meet = [](const Side& p, const Side& q) {
        const double d = p.a * q.b - q.a * p.b;
        return Point{(p.b * q.c - q.b * p.c) / d, (q.a * p.c - p.a * q.c) / d};
    };
    // Left with bottom (the origin), bottom with right, right with top, top with left.
    outline = {meet(sides[3], sides[2]), meet(sides[2], sides[1]), meet(sides[1], sides[0]),
               meet(sides[0], sides[3])};
}

KString KQuadCharacteristic::describe() const {
    KString text;
    text.format("quad X %g ohm, R %g ohm at %g deg", reach_, resistive_, lineAngle_);
    return text;
}

void KQuadCharacteristic::copy(const KObject& other) {
    KCharacteristic::copy(other);
    if (const auto* q = k_dynamic_cast<KQuadCharacteristic>(const_cast<KObject*>(&other))) {
        reach_ = q->reach_;
        resistive_ = q->resistive_;
        lineAngle_ = q->lineAngle_;
        tilt_ = q->tilt_;
        directional_ = q->directional_;
    }
}

void KQuadCharacteristic::Serialize(KArchive& ar) {
    KCharacteristic::Serialize(ar);
    if (ar.isStoring()) {
        ar << STORED_VERSION << reach_ << resistive_ << lineAngle_ << tilt_ << directional_;
        return;
    }
    std::int32_t version = 0;
    ar >> version;
    if (version < 0)
        KException::raise("Archive Error", "Invalid quadrilateral version %d", version);
    if (version < 1) return;
    double reach, resistive, line, tilt, directional;
    ar >> reach >> resistive >> line >> tilt >> directional;
    setReach(reach);
    setResistiveReach(resistive);
    setLineAngle(line);
    setTilt(tilt);
    setDirectionalAngle(directional);
}
