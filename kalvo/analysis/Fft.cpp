#include "kalvo/analysis/Fft.h"

#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <type_traits>

// The transform is decimation in frequency: each factor p of the length, in the order of the
// factor list, splits every sub-sequence of the current span into p interleaved ones with a
// p-point butterfly followed by the rotation of output j by w^(j*k); the results come out in
// digit-reversed order and a final permutation puts them in natural order.
//
// Rotation factors are computed once per length with sin/cos (no recurrence, so long
// factors stay accurate) and kept, stage by stage, as contiguous tables in which the factors
// of output j run along the butterfly index k, so that the butterfly loops read data and
// rotations with unit stride.

namespace {

constexpr int kMaxFactors = 11;
constexpr double kTwoPi = 6.28318530717958647692528676655900577;

const char kDimensionError[] = "Error: fftns() - dimension error\n";
const char kSignError[] = "Error: fftns() - iSign must not be 0\n";
const char kRadixArgumentError[] = "Error: fftradix() - dimension error\n";
const char kFactorError[] = "Error: fftradix() - exceeded number of factors\n";
const char kMemoryError[] = "Error: fftradix() - insufficient memory.\n";

// Module-wide scratch and the length its tables describe.
struct Scratch {
    // Per-stage rotation tables, followed by the p rotations of each general odd factor.
    double* rotRe = nullptr;
    double* rotIm = nullptr;
    size_t rotCapacity = 0;
    // Sums and differences of the general odd-radix butterfly.
    double* tmpRe = nullptr;
    double* tmpIm = nullptr;
    size_t tmpCapacity = 0;
    // Cycles of the digit-reversal permutation (the first index of a cycle stored as its
    // one's complement), followed while building them by a bit set of the visited indices.
    int* perm = nullptr;
    size_t permCapacity = 0;

    size_t length = 0;  // 0: the tables describe nothing
    int sign = 0;
    int factors[kMaxFactors + 1] = {};
    int factorCount = 0;
    size_t stageBase[kMaxFactors] = {};
    size_t oddBase[kMaxFactors] = {};
    size_t rotUsed = 0;
    size_t permCount = 0;
};

Scratch scratch;

// Splits n into its factor list: 4 for every 16, then the square roots of odd square
// factors, a 2 for a remaining 4, then the rest (the central factors: one factor of 4 or
// less, or primes in increasing order), then the square roots again in reverse. Returns
// the number of factors, or -1 when there are more than kMaxFactors.
int factorize(size_t n, int factors[]) {
    int count = 0;
    bool overflow = false;
    auto add = [&](size_t f) {
        if (count < kMaxFactors)
            factors[count++] = static_cast<int>(f);
        else
            overflow = true;
    };
    size_t k = n;
    while (k % 16 == 0) {
        add(4);
        k /= 16;
    }
    for (size_t j = 3; j * j <= k; j += 2) {
        while (k % (j * j) == 0) {
            add(j);
            k /= j * j;
        }
    }
    int squares;
    if (k <= 4) {
        squares = count;
        if (k != 1) add(k);
    } else {
        if (k % 4 == 0) {
            add(2);
            k /= 4;
        }
        squares = count;
        // What is left has no square factor, so each prime divides it once.
        for (size_t j = 2; j * j <= k; j = (j + 1) / 2 * 2 + 1) {
            if (k % j == 0) {
                add(j);
                k /= j;
            }
        }
        if (k > 1) add(k);
    }
    for (int i = squares; i-- > 0;) add(factors[i]);
    return overflow ? -1 : count;
}

bool isGeneralOdd(int p) { return p > 5; }

template <class T>
bool grow(T*& a, T*& b, size_t& capacity, size_t need) {
    if (need <= capacity) return true;
    T* na = static_cast<T*>(std::realloc(a, need * sizeof(T)));
    if (na == nullptr) return false;
    a = na;
    T* nb = static_cast<T*>(std::realloc(b, need * sizeof(T)));
    if (nb == nullptr) return false;
    b = nb;
    capacity = need;
    return true;
}

bool growPerm(size_t need) {
    if (need <= scratch.permCapacity) return true;
    int* p = static_cast<int*>(std::realloc(scratch.perm, need * sizeof(int)));
    if (p == nullptr) return false;
    scratch.perm = p;
    scratch.permCapacity = need;
    return true;
}

size_t permNeed(size_t n) { return n + (n + 31) / 32; }

// Position, after the butterflies, of frequency index k.
uint32_t reversedPosition(uint32_t k, uint32_t n, const int factors[], int count) {
    uint32_t position = 0;
    uint32_t weight = n;
    for (int i = 0; i < count; ++i) {
        const uint32_t f = static_cast<uint32_t>(factors[i]);
        weight /= f;
        position += (k % f) * weight;
        k /= f;
    }
    return position;
}

// Lists the cycles of the permutation that moves the value at reversedPosition(k) to k.
void buildPermutation(size_t n) {
    int* cycles = scratch.perm;
    uint32_t* visited = reinterpret_cast<uint32_t*>(scratch.perm + n);
    for (size_t w = 0; w < (n + 31) / 32; ++w) visited[w] = 0;
    const uint32_t len = static_cast<uint32_t>(n);
    size_t count = 0;
    for (uint32_t k = 0; k < len; ++k) {
        if (visited[k / 32] & (1u << (k % 32))) continue;
        uint32_t next = reversedPosition(k, len, scratch.factors, scratch.factorCount);
        if (next == k) continue;
        cycles[count++] = ~static_cast<int>(k);
        visited[k / 32] |= 1u << (k % 32);
        while (next != k) {
            cycles[count++] = static_cast<int>(next);
            visited[next / 32] |= 1u << (next % 32);
            next = reversedPosition(next, len, scratch.factors, scratch.factorCount);
        }
    }
    scratch.permCount = count;
}

void fillRotations(size_t n, int sign) {
    size_t m = n;
    size_t base = 0;
    for (int s = 0; s < scratch.factorCount; ++s) {
        const size_t p = static_cast<size_t>(scratch.factors[s]);
        const size_t mp = m / p;
        scratch.stageBase[s] = base;
        if (s + 1 < scratch.factorCount) {
            const double step = sign * kTwoPi / static_cast<double>(m);
            for (size_t j = 1; j < p; ++j) {
                double* re = scratch.rotRe + base + (j - 1) * mp;
                double* im = scratch.rotIm + base + (j - 1) * mp;
                for (size_t k = 0; k < mp; ++k) {
                    const double angle = step * static_cast<double>(j * k);
                    re[k] = std::cos(angle);
                    im[k] = std::sin(angle);
                }
            }
            base += (p - 1) * mp;
        }
        m = mp;
    }
    for (int s = 0; s < scratch.factorCount; ++s) {
        const int p = scratch.factors[s];
        if (!isGeneralOdd(p)) continue;
        scratch.oddBase[s] = base;
        const double step = sign * kTwoPi / p;
        for (int t = 0; t < p; ++t) {
            scratch.rotRe[base + t] = std::cos(step * t);
            scratch.rotIm[base + t] = std::sin(step * t);
        }
        base += static_cast<size_t>(p);
    }
    scratch.rotUsed = base;
}

// Makes the scratch tables describe an n-point transform of the given sign.
bool preparePlan(size_t n, int sign, size_t rotHint, size_t permHint) {
    if (scratch.length == n) {
        if (scratch.sign != sign) {
            for (size_t i = 0; i < scratch.rotUsed; ++i) scratch.rotIm[i] = -scratch.rotIm[i];
            scratch.sign = sign;
        }
        return true;
    }
    scratch.length = 0;
    int factors[kMaxFactors + 1];
    const int count = factorize(n, factors);
    bool ok = count > 0;
    if (!ok) std::fputs(kFactorError, stderr);

    size_t rotNeed = 0;
    size_t tmpNeed = 0;
    if (ok) {
        size_t m = n;
        for (int s = 0; s < count; ++s) {
            const size_t p = static_cast<size_t>(factors[s]);
            if (s + 1 < count) rotNeed += (p - 1) * (m / p);
            if (isGeneralOdd(factors[s])) {
                rotNeed += p;
                if (p > tmpNeed) tmpNeed = p;
            }
            m /= p;
        }
        if (rotHint > rotNeed) rotNeed = rotHint;
        const size_t permSize = permNeed(n > permHint ? n : permHint);
        ok = grow(scratch.rotRe, scratch.rotIm, scratch.rotCapacity, rotNeed) &&
             grow(scratch.tmpRe, scratch.tmpIm, scratch.tmpCapacity, tmpNeed) &&
             growPerm(permSize);
    }
    if (!ok) {
        fftFreeScratch();
        std::fputs(kMemoryError, stderr);
        return false;
    }
    for (int s = 0; s < count; ++s) scratch.factors[s] = factors[s];
    scratch.factors[count] = 0;
    scratch.factorCount = count;
    fillRotations(n, sign);
    buildPermutation(n);
    scratch.length = n;
    scratch.sign = sign;
    return true;
}

// ---------------------------------------------------------------------------------------
// Butterflies. Each kernel runs `count` butterflies; butterfly i starts at index i * step of
// re/im and its p points are `span` apart. With rotations (Rotate), output j > 0 of
// butterfly i is multiplied by wr/wi[(j - 1) * col + i * twStep]. Step and TwStep are
// either size_t or a compile-time constant, so that the common unit-stride loops vectorise.

using Unit = std::integral_constant<size_t, 1>;
using Zero = std::integral_constant<size_t, 0>;

#define FFT_KERNEL_ARGS                                                                  \
    double *__restrict re, double *__restrict im, size_t count, Step step, size_t span, \
        const double *__restrict wr, const double *__restrict wi, TwStep twStep, size_t col

inline void rotateStore(double* __restrict re, double* __restrict im, size_t k, double xr,
                        double xi, double c, double s) {
    re[k] = xr * c - xi * s;
    im[k] = xr * s + xi * c;
}

struct Radix2 {
    template <bool Rotate, class Step, class TwStep>
    void run(FFT_KERNEL_ARGS) const {
        for (size_t i = 0; i < count; ++i) {
            const size_t k0 = i * step;
            const size_t k1 = k0 + span;
            const double ar = re[k0], ai = im[k0], br = re[k1], bi = im[k1];
            re[k0] = ar + br;
            im[k0] = ai + bi;
            if constexpr (Rotate) {
                const size_t w = i * twStep;
                rotateStore(re, im, k1, ar - br, ai - bi, wr[w], wi[w]);
            } else {
                re[k1] = ar - br;
                im[k1] = ai - bi;
            }
        }
        (void)col;
    }
};

struct Radix3 {
    double s120;  // sin 120 degrees, signed with the direction

    template <bool Rotate, class Step, class TwStep>
    void run(FFT_KERNEL_ARGS) const {
        for (size_t i = 0; i < count; ++i) {
            const size_t k0 = i * step;
            const size_t k1 = k0 + span;
            const size_t k2 = k1 + span;
            const double sr = re[k1] + re[k2], si = im[k1] + im[k2];
            const double dr = s120 * (re[k1] - re[k2]), di = s120 * (im[k1] - im[k2]);
            const double ar = re[k0], ai = im[k0];
            re[k0] = ar + sr;
            im[k0] = ai + si;
            const double tr = ar - 0.5 * sr, ti = ai - 0.5 * si;
            if constexpr (Rotate) {
                const size_t w = i * twStep;
                rotateStore(re, im, k1, tr - di, ti + dr, wr[w], wi[w]);
                rotateStore(re, im, k2, tr + di, ti - dr, wr[col + w], wi[col + w]);
            } else {
                re[k1] = tr - di;
                im[k1] = ti + dr;
                re[k2] = tr + di;
                im[k2] = ti - dr;
            }
        }
    }
};

struct Radix4 {
    double sign;  // +1 or -1: multiplying by sign * i is the quarter turn

    template <bool Rotate, class Step, class TwStep>
    void run(FFT_KERNEL_ARGS) const {
        for (size_t i = 0; i < count; ++i) {
            const size_t k0 = i * step;
            const size_t k1 = k0 + span;
            const size_t k2 = k1 + span;
            const size_t k3 = k2 + span;
            const double s02r = re[k0] + re[k2], s02i = im[k0] + im[k2];
            const double d02r = re[k0] - re[k2], d02i = im[k0] - im[k2];
            const double s13r = re[k1] + re[k3], s13i = im[k1] + im[k3];
            const double d13r = sign * (re[k1] - re[k3]), d13i = sign * (im[k1] - im[k3]);
            re[k0] = s02r + s13r;
            im[k0] = s02i + s13i;
            if constexpr (Rotate) {
                const size_t w = i * twStep;
                rotateStore(re, im, k1, d02r - d13i, d02i + d13r, wr[w], wi[w]);
                rotateStore(re, im, k2, s02r - s13r, s02i - s13i, wr[col + w], wi[col + w]);
                rotateStore(re, im, k3, d02r + d13i, d02i - d13r, wr[2 * col + w],
                            wi[2 * col + w]);
            } else {
                re[k1] = d02r - d13i;
                im[k1] = d02i + d13r;
                re[k2] = s02r - s13r;
                im[k2] = s02i - s13i;
                re[k3] = d02r + d13i;
                im[k3] = d02i - d13r;
            }
        }
    }
};

struct Radix5 {
    double c72, s72, c144, s144;  // sines signed with the direction

    template <bool Rotate, class Step, class TwStep>
    void run(FFT_KERNEL_ARGS) const {
        for (size_t i = 0; i < count; ++i) {
            const size_t k0 = i * step;
            const size_t k1 = k0 + span;
            const size_t k2 = k1 + span;
            const size_t k3 = k2 + span;
            const size_t k4 = k3 + span;
            const double ar = re[k0], ai = im[k0];
            const double s14r = re[k1] + re[k4], s14i = im[k1] + im[k4];
            const double d14r = re[k1] - re[k4], d14i = im[k1] - im[k4];
            const double s23r = re[k2] + re[k3], s23i = im[k2] + im[k3];
            const double d23r = re[k2] - re[k3], d23i = im[k2] - im[k3];
            re[k0] = ar + s14r + s23r;
            im[k0] = ai + s14i + s23i;
            const double a1r = ar + c72 * s14r + c144 * s23r;
            const double a1i = ai + c72 * s14i + c144 * s23i;
            const double a2r = ar + c144 * s14r + c72 * s23r;
            const double a2i = ai + c144 * s14i + c72 * s23i;
            const double b1r = s72 * d14r + s144 * d23r;
            const double b1i = s72 * d14i + s144 * d23i;
            const double b2r = s144 * d14r - s72 * d23r;
            const double b2i = s144 * d14i - s72 * d23i;
            if constexpr (Rotate) {
                const size_t w = i * twStep;
                rotateStore(re, im, k1, a1r - b1i, a1i + b1r, wr[w], wi[w]);
                rotateStore(re, im, k2, a2r - b2i, a2i + b2r, wr[col + w], wi[col + w]);
                rotateStore(re, im, k3, a2r + b2i, a2i - b2r, wr[2 * col + w],
                            wi[2 * col + w]);
                rotateStore(re, im, k4, a1r + b1i, a1i - b1r, wr[3 * col + w],
                            wi[3 * col + w]);
            } else {
                re[k1] = a1r - b1i;
                im[k1] = a1i + b1r;
                re[k2] = a2r - b2i;
                im[k2] = a2i + b2r;
                re[k3] = a2r + b2i;
                im[k3] = a2i - b2r;
                re[k4] = a1r + b1i;
                im[k4] = a1i - b1r;
            }
        }
    }
};

// Any odd p: the points are folded into sums and differences of the pairs (q, p - q), and
// outputs j and p - j are built together from them.
struct OddRadix {
    size_t p;
    const double* cr;  // cos and signed sin of 2*pi*t/p, t < p
    const double* ci;
    double* sumRe;  // pair sums at [q], differences at [p - q], q = 1 .. (p-1)/2
    double* sumIm;

    template <bool Rotate, class Step, class TwStep>
    void run(FFT_KERNEL_ARGS) const {
        const size_t half = (p - 1) / 2;
        for (size_t i = 0; i < count; ++i) {
            const size_t k0 = i * step;
            const double ar = re[k0], ai = im[k0];
            double yr = ar, yi = ai;
            for (size_t q = 1; q <= half; ++q) {
                const size_t ka = k0 + q * span;
                const size_t kb = k0 + (p - q) * span;
                sumRe[q] = re[ka] + re[kb];
                sumIm[q] = im[ka] + im[kb];
                sumRe[p - q] = re[ka] - re[kb];
                sumIm[p - q] = im[ka] - im[kb];
                yr += sumRe[q];
                yi += sumIm[q];
            }
            re[k0] = yr;
            im[k0] = yi;
            for (size_t j = 1; j <= half; ++j) {
                double xr = ar, xi = ai, zr = 0.0, zi = 0.0;
                size_t t = 0;
                for (size_t q = 1; q <= half; ++q) {
                    t += j;
                    if (t >= p) t -= p;
                    xr += cr[t] * sumRe[q];
                    xi += cr[t] * sumIm[q];
                    zr += ci[t] * sumRe[p - q];
                    zi += ci[t] * sumIm[p - q];
                }
                const size_t kj = k0 + j * span;
                const size_t kr = k0 + (p - j) * span;
                if constexpr (Rotate) {
                    const size_t w = i * twStep;
                    rotateStore(re, im, kj, xr - zi, xi + zr, wr[(j - 1) * col + w],
                                wi[(j - 1) * col + w]);
                    rotateStore(re, im, kr, xr + zi, xi - zr, wr[(p - j - 1) * col + w],
                                wi[(p - j - 1) * col + w]);
                } else {
                    re[kj] = xr - zi;
                    im[kj] = xi + zr;
                    re[kr] = xr + zi;
                    im[kr] = xi - zr;
                }
            }
        }
    }
};

#undef FFT_KERNEL_ARGS

// Geometry of one pass, in array indices (strides already multiplied by |iSign|).
struct Pass {
    double* re;
    double* im;
    size_t nt;     // end of the data
    size_t kspan;  // span of the sub-sequences this pass splits
    size_t span;   // kspan / p: distance between the points of a butterfly
    size_t jc;     // distance between neighbouring elements of the dimension
    size_t inc;    // distance between neighbouring elements of the array
    size_t mp;     // butterflies per sub-sequence
    const double* wr;
    const double* wi;
};

template <class Kernel, class Step>
void runPass(const Kernel& kernel, const Pass& a, Step step) {
    if (a.mp == 1) {
        // Last pass: no rotations.
        if (a.jc == a.inc) {
            kernel.template run<false>(a.re, a.im, a.nt / a.kspan, a.kspan, a.span, nullptr,
                                       nullptr, Zero(), 0);
        } else {
            for (size_t g = 0; g < a.nt; g += a.kspan)
                kernel.template run<false>(a.re + g, a.im + g, a.jc / a.inc, step, a.span,
                                           nullptr, nullptr, Zero(), 0);
        }
    } else if (a.jc == a.inc) {
        // Elements of the dimension are neighbours: run along the butterflies of each
        // sub-sequence, rotations in step.
        for (size_t g = 0; g < a.nt; g += a.kspan)
            kernel.template run<true>(a.re + g, a.im + g, a.mp, step, a.span, a.wr, a.wi,
                                      Unit(), a.mp);
    } else {
        // A later dimension: run along the earlier dimensions, which share each rotation.
        for (size_t g = 0; g < a.nt; g += a.kspan)
            for (size_t k = 0; k < a.mp; ++k)
                kernel.template run<true>(a.re + g + k * a.jc, a.im + g + k * a.jc,
                                          a.jc / a.inc, step, a.span, a.wr + k, a.wi + k,
                                          Zero(), a.mp);
    }
}

template <class Kernel>
void runPass(const Kernel& kernel, const Pass& a) {
    if (a.inc == 1)
        runPass(kernel, a, Unit());
    else
        runPass(kernel, a, a.inc);
}

// Moves the value at reversedPosition(k) to k along every line of the dimension.
void permute(double* re, double* im, size_t nt, size_t ks, size_t jc, size_t inc) {
    const int* cycles = scratch.perm;
    const size_t count = scratch.permCount;
    size_t c = 0;
    while (c < count) {
        size_t end = c + 1;
        while (end < count && cycles[end] >= 0) ++end;
        const size_t first = static_cast<size_t>(~cycles[c]) * jc;
        for (size_t block = 0; block < nt; block += ks) {
            for (size_t r = block; r < block + jc; r += inc) {
                size_t to = first + r;
                const double tr = re[to], ti = im[to];
                for (size_t q = c + 1; q < end; ++q) {
                    const size_t from = static_cast<size_t>(cycles[q]) * jc + r;
                    re[to] = re[from];
                    im[to] = im[from];
                    to = from;
                }
                re[to] = tr;
                im[to] = ti;
            }
        }
        c = end;
    }
}

}  // namespace

int fftradix(double Re[], double Im[], size_t nTotal, size_t nPass, size_t nSpan, int iSign,
             int maxFactors, int maxPerm) {
    if (nPass < 2) return 0;
    if (iSign == 0 || nSpan == 0 || nSpan % nPass != 0 || nTotal % nSpan != 0 ||
        nPass > static_cast<size_t>(INT_MAX)) {
        std::fputs(kRadixArgumentError, stderr);
        return -1;
    }
    const int sign = iSign < 0 ? -1 : 1;
    const size_t inc = static_cast<size_t>(iSign < 0 ? -static_cast<long>(iSign) : iSign);
    if (!preparePlan(nPass, sign, maxFactors > 0 ? static_cast<size_t>(maxFactors) : 0,
                     maxPerm > 0 ? static_cast<size_t>(maxPerm) : 0))
        return -1;

    const size_t nt = nTotal * inc;
    const size_t ks = nSpan * inc;
    const size_t jc = ks / nPass;
    const double s = sign;
    const double angle72 = kTwoPi / 5.0;
    Pass pass{Re, Im, nt, ks, 0, jc, inc, 0, nullptr, nullptr};
    for (int f = 0; f < scratch.factorCount; ++f) {
        const int p = scratch.factors[f];
        pass.span = pass.kspan / static_cast<size_t>(p);
        pass.mp = pass.span / jc;
        pass.wr = scratch.rotRe + scratch.stageBase[f];
        pass.wi = scratch.rotIm + scratch.stageBase[f];
        switch (p) {
            case 2:
                runPass(Radix2{}, pass);
                break;
            case 3:
                runPass(Radix3{s * std::sqrt(0.75)}, pass);
                break;
            case 4:
                runPass(Radix4{s}, pass);
                break;
            case 5:
                runPass(Radix5{std::cos(angle72), s * std::sin(angle72), std::cos(2 * angle72),
                               s * std::sin(2 * angle72)},
                        pass);
                break;
            default:
                runPass(OddRadix{static_cast<size_t>(p), scratch.rotRe + scratch.oddBase[f],
                                 scratch.rotIm + scratch.oddBase[f], scratch.tmpRe,
                                 scratch.tmpIm},
                        pass);
                break;
        }
        pass.kspan = pass.span;
    }
    permute(Re, Im, nt, ks, jc, inc);
    return 0;
}

int fftns(int ndim, const int dims[], double Re[], double Im[], int iSign, double scaling) {
    if (dims != nullptr && (ndim == 0 || dims[0] == 0)) {
        ndim = 0;
        while (dims[ndim] != 0) ++ndim;
    }
    bool ok = dims != nullptr && ndim > 0;
    size_t total = 1;
    int maxDim = 0;
    for (int i = 0; ok && i < ndim; ++i) {
        if (dims[i] < 1 || total > SIZE_MAX / static_cast<size_t>(dims[i])) {
            ok = false;
        } else {
            total *= static_cast<size_t>(dims[i]);
            if (dims[i] > maxDim) maxDim = dims[i];
        }
    }
    if (!ok) {
        std::fputs(kDimensionError, stderr);
        return -1;
    }
    if (iSign == 0) {
        std::fputs(kSignError, stderr);
        return -1;
    }

    size_t nSpan = 1;
    for (int i = 0; i < ndim; ++i) {
        nSpan *= static_cast<size_t>(dims[i]);
        const int ret = fftradix(Re, Im, total, static_cast<size_t>(dims[i]), nSpan, iSign,
                                 maxDim, maxDim);
        if (ret != 0) return ret;
    }

    if (scaling == -1.0)
        scaling = static_cast<double>(total);
    else if (scaling < -1.0)
        scaling = std::sqrt(static_cast<double>(total));
    if (scaling != 0.0 && scaling != 1.0) {
        const size_t inc = static_cast<size_t>(iSign < 0 ? -static_cast<long>(iSign) : iSign);
        for (size_t i = 0; i < total * inc; i += inc) {
            Re[i] /= scaling;
            Im[i] /= scaling;
        }
    }
    return 0;
}

double fftFrequency(int n, int i) {
    if (n < 1 || i >= n) return 0.0;
    if (i > n / 2) return -static_cast<double>(n - i) / n;
    return static_cast<double>(i) / n;
}

void fftFreeScratch() {
    std::free(scratch.rotRe);
    std::free(scratch.rotIm);
    std::free(scratch.tmpRe);
    std::free(scratch.tmpIm);
    std::free(scratch.perm);
    scratch = Scratch();
}

size_t fftScratchSize() {
    return 2 * (scratch.rotCapacity + scratch.tmpCapacity) * sizeof(double) +
           scratch.permCapacity * sizeof(int);
}
