#include <kalvo/analysis/KSymmetricalComponents.h>

#include <strings.h>
#include <cmath>

namespace {
constexpr double PI = 3.14159265358979323846;
}

const KSymmetricalComponents::Phasor KSymmetricalComponents::a(-0.5, 0.86602540378443864676);

bool KSymmetricalComponents::parseRotation(const char* text, Rotation& rotation) {
    if (text == nullptr) return false;
    if (strcasecmp(text, "ABC") == 0) {
        rotation = ABC;
    } else if (strcasecmp(text, "ACB") == 0) {
        rotation = ACB;
    } else {
        return false;
    }
    return true;
}

const char* KSymmetricalComponents::getRotationName(Rotation rotation) {
    return rotation == ACB ? "ACB" : "ABC";
}

void KSymmetricalComponents::compute(const Phasor abc[3], Rotation rotation, Phasor sequences[3]) {
    const Phasor a2 = a * a;
    const Phasor forward = (abc[0] + a * abc[1] + a2 * abc[2]) / 3.0;
    const Phasor backward = (abc[0] + a2 * abc[1] + a * abc[2]) / 3.0;
    sequences[ZERO] = (abc[0] + abc[1] + abc[2]) / 3.0;
    sequences[POSITIVE] = rotation == ABC ? forward : backward;
    sequences[NEGATIVE] = rotation == ABC ? backward : forward;
}

void KSymmetricalComponents::expand(Phasor member, Sequence sequence, Rotation rotation,
                                    Phasor abc[3]) {
    abc[0] = member;
    if (sequence == ZERO) {
        abc[1] = abc[2] = member;
        return;
    }
    // B lags A in the sequence that turns as the system does.
    const bool lagging = (sequence == POSITIVE) == (rotation == ABC);
    const Phasor a2 = a * a;
    abc[1] = (lagging ? a2 : a) * member;
    abc[2] = (lagging ? a : a2) * member;
}

KSymmetricalComponents::Phasor KSymmetricalComponents::fromPolar(double magnitude, double degrees) {
    return std::polar(magnitude, degrees * PI / 180.0);
}

double KSymmetricalComponents::degreesOf(Phasor phasor) {
    return std::atan2(phasor.imag(), phasor.real()) * 180.0 / PI;
}
