#pragma once

#include <complex>

// Symmetrical components of a three-phase set of phasors: the zero, positive and negative
// sequence sets that add up to it. With a = 1 at 120 degrees and phase rotation ABC,
//
//     V0 = (Va + Vb + Vc) / 3,  V1 = (Va + a Vb + a^2 Vc) / 3,  V2 = (Va + a^2 Vb + a Vc) / 3,
//
// the components of phase A. With rotation ACB the system turns the other way: what ABC
// calls the negative sequence is its positive one, so V1 and V2 change places.
class KSymmetricalComponents {
public:
    using Phasor = std::complex<double>;

    enum Rotation { ABC, ACB };
    enum Sequence { ZERO = 0, POSITIVE = 1, NEGATIVE = 2 };

    // 1 at 120 degrees.
    static const Phasor a;

    // "ABC" or "ACB", in any case; false for anything else.
    static bool parseRotation(const char* text, Rotation& rotation);
    static const char* getRotationName(Rotation rotation);

    // The zero, positive and negative sequence components of phase A, in that order.
    static void compute(const Phasor abc[3], Rotation rotation, Phasor sequences[3]);
    // The members of phases A, B and C of a sequence set whose phase-A member is given:
    // equal for the zero sequence; for the positive sequence B lags A by 120 degrees and C
    // leads it under rotation ABC (the other way under ACB), and the negative sequence turns
    // the other way round.
    static void expand(Phasor member, Sequence sequence, Rotation rotation, Phasor abc[3]);

    static Phasor fromPolar(double magnitude, double degrees);
    // The angle in degrees, -180 to 180.
    static double degreesOf(Phasor phasor);
};
