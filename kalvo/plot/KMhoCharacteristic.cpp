#include <kalvo/plot/KMhoCharacteristic.h>

#include <cmath>

#include <kalvo/foundation/KArchive.h>
#include <kalvo/foundation/KException.h>

K_IMPLEMENT_CLASS(KMhoCharacteristic, KCharacteristic, 1)

namespace {
constexpr std::int32_t STORED_VERSION = 1;
constexpr double PI = 3.14159265358979323846;
constexpr int OUTLINE_POINTS = 180;
}  // namespace

KMhoCharacteristic::KMhoCharacteristic(double reach, double degrees, double offset)
    : reach_(1.0), angle_(75.0), offset_(0.0) {
    setReach(reach);
    setAngle(degrees);
    setOffset(offset);
}

void KMhoCharacteristic::setReach(double ohms) {
    if (std::isfinite(ohms) && ohms > 0) reach_ = ohms;
}

void KMhoCharacteristic::setAngle(double degrees) {
    if (std::isfinite(degrees)) angle_ = degrees;
}

void KMhoCharacteristic::setOffset(double ohms) {
    if (std::isfinite(ohms) && ohms >= 0) offset_ = ohms;
}

bool KMhoCharacteristic::contains(double r, double x) const {
    const double a = angle_ * PI / 180;
    const double centre = (reach_ - offset_) / 2;
    const double radius = (reach_ + offset_) / 2;
    return std::hypot(r - centre * std::cos(a), x - centre * std::sin(a)) <= radius * (1 + 1e-6);
}

void KMhoCharacteristic::getOutline(std::vector<Point>& outline) const {
    const double a = angle_ * PI / 180;
    const double centre = (reach_ - offset_) / 2;
    const double radius = (reach_ + offset_) / 2;
    outline.clear();
    for (int k = 0; k < OUTLINE_POINTS; ++k) {
        const double t = 2 * PI * k / OUTLINE_POINTS;
        outline.push_back({centre * std::cos(a) + radius * std::cos(t),
                           centre * std::sin(a) + radius * std::sin(t)});
    }
}

KString KMhoCharacteristic::describe() const {
    KString text;
    text.format("mho %g ohm at %g deg", reach_, angle_);
    if (offset_ > 0) {
        KString more;
        more.format(", offset %g ohm", offset_);
        text << more;
    }
    return text;
}

void KMhoCharacteristic::copy(const KObject& other) {
    KCharacteristic::copy(other);
    if (const auto* m = k_dynamic_cast<KMhoCharacteristic>(const_cast<KObject*>(&other))) {
        reach_ = m->reach_;
        angle_ = m->angle_;
        offset_ = m->offset_;
    }
}

void KMhoCharacteristic::Serialize(KArchive& ar) {
    KCharacteristic::Serialize(ar);
    if (ar.isStoring()) {
        ar << STORED_VERSION << reach_ << angle_ << offset_;
        return;
    }
    std::int32_t version = 0;
    ar >> version;
    if (version < 0) KException::raise("Archive Error", "Invalid mho version %d", version);
    if (version < 1) return;
    double reach, angle, offset;
    ar >> reach >> angle >> offset;
    setReach(reach);
    setAngle(angle);
    setOffset(offset);
}
