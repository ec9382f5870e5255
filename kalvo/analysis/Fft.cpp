#include "kalvo/analysis/Fft.h"

#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
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
    // The digit-reversal permutation as swaps and cycles, followed while building them by a
    // bit set of the indices already listed.
    int* perm = nullptr;
    size_t permCapacity = 0;

    size_t length = 0;  // 0: the tables describe nothing
    int sign = 0;
    int factors[kMaxFactors + 1] = {};
    int factorCount = 0;
    size_t stageBase[kMaxFactors] = {};
    size_t oddBase[kMaxFactors] = {};
    size_t rotUsed = 0;
    size_t swapCount = 0;
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

bool isGeneralOdd(int p) {
    return p > 5;
}

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

size_t permNeed(size_t n) {
    return n + (n + 31) / 32;
}

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

inline bool isVisited(const uint32_t* visited, uint32_t k) {
    return (visited[k / 32] >> (k % 32)) & 1u;
}

inline void markVisited(uint32_t* visited, uint32_t k) {
    visited[k / 32] |= 1u << (k % 32);
}

// Lists the permutation that moves the value at reversedPosition(k) to k: first its swaps,
// as pairs, then its longer cycles.
//
// The square factors make most of it swaps. They are listed tile by tile: the lowest digits
// of k and its highest digits vary fastest, and since reversal turns one into the other,
// both ends of the swaps walk through whole cache lines.
void buildPermutation(size_t n) {
    int* list = scratch.perm;
    uint32_t* visited = reinterpret_cast<uint32_t*>(scratch.perm + n);
    for (size_t w = 0; w < (n + 31) / 32; ++w) visited[w] = 0;
    const int* factors = scratch.factors;
    const int count = scratch.factorCount;
    const uint32_t len = static_cast<uint32_t>(n);
    auto position = [&](uint32_t k) { return reversedPosition(k, len, factors, count); };

    uint32_t low = 1, high = 1;
    for (int t = 0; 2 * (t + 1) <= count && low < 8; ++t) {
        low *= static_cast<uint32_t>(factors[t]);
        high *= static_cast<uint32_t>(factors[count - 1 - t]);
    }
    const uint32_t highWeight = len / high;
    size_t used = 0;
    for (uint32_t mid = 0; mid < highWeight; mid += low) {
        for (uint32_t h = 0; h < len; h += highWeight) {
            for (uint32_t l = 0; l < low; ++l) {
                const uint32_t k = h + mid + l;
                const uint32_t target = position(k);
                if (target <= k || position(target) != k) continue;
                list[used++] = static_cast<int>(k);
                list[used++] = static_cast<int>(target);
                markVisited(visited, k);
                markVisited(visited, target);
            }
        }
    }
    scratch.swapCount = used / 2;

    // Longer cycles, the first index stored as its one's complement.
    for (uint32_t k = 0; k < len; ++k) {
        if (isVisited(visited, k)) continue;
        uint32_t next = position(k);
        if (next == k) continue;
        list[used++] = ~static_cast<int>(k);
        markVisited(visited, k);
        while (next != k) {
            list[used++] = static_cast<int>(next);
            markVisited(visited, next);
            next = position(next);
        }
    }
    scratch.permCount = used;
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
             grow(scratch.tmpRe, scratch.tmpIm, scratch.tmpCapacity, tmpNeed) && growPerm(permSize);
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
// Butterflies. A kernel's butterfly() computes one butterfly with V = double, or two
// neighbouring ones at once with V = Pair (two doubles in one vector register). Its p points
// start at data index k0 and lie `span` apart. With rotations (Rotate), output j > 0 is
// multiplied by the rotation at wr/wi[(j - 1) * col + w]; for a pair that is two
// neighbouring rotations, or one shared by both butterflies (Shared).

typedef double Pair __attribute__((vector_size(16)));

using Unit = std::integral_constant<size_t, 1>;
using Zero = std::integral_constant<size_t, 0>;

template <class V>
inline V load(const double* p) {
    if constexpr (std::is_same_v<V, double>) {
        return *p;
    } else {
        V v;
        std::memcpy(&v, p, sizeof v);
        return v;
    }
}

template <class V>
inline void store(double* p, V v) {
    if constexpr (std::is_same_v<V, double>)
        *p = v;
    else
        std::memcpy(p, &v, sizeof v);
}

template <class V, bool Shared>
inline V loadRotation(const double* p) {
    if constexpr (std::is_same_v<V, double> || !Shared)
        return load<V>(p);
    else
        return V{*p, *p};
}

template <class V, bool Shared>
inline void rotateStore(double* __restrict re, double* __restrict im, size_t k, V xr, V xi,
                        const double* __restrict wr, const double* __restrict wi, size_t w) {
    const V c = loadRotation<V, Shared>(wr + w);
    const V s = loadRotation<V, Shared>(wi + w);
    store(re + k, xr * c - xi * s);
    store(im + k, xr * s + xi * c);
}

#define FFT_BUTTERFLY_ARGS                                                \
    double *__restrict re, double *__restrict im, size_t k0, size_t span, \
        const double *__restrict wr, const double *__restrict wi, size_t w, size_t col

struct Radix2 {
    static constexpr bool kPairs = true;

    template <class V, bool Rotate, bool Shared>
    void butterfly(FFT_BUTTERFLY_ARGS) const {
        const size_t k1 = k0 + span;
        const V ar = load<V>(re + k0), ai = load<V>(im + k0);
        const V br = load<V>(re + k1), bi = load<V>(im + k1);
        store(re + k0, ar + br);
        store(im + k0, ai + bi);
        if constexpr (Rotate) {
            rotateStore<V, Shared>(re, im, k1, ar - br, ai - bi, wr, wi, w);
        } else {
            store(re + k1, ar - br);
            store(im + k1, ai - bi);
        }
        (void)col;
    }
};

struct Radix3 {
    static constexpr bool kPairs = true;
    double s120;  // sin 120 degrees, signed with the direction

    template <class V, bool Rotate, bool Shared>
    void butterfly(FFT_BUTTERFLY_ARGS) const {
        const size_t k1 = k0 + span;
        const size_t k2 = k1 + span;
        const V r1 = load<V>(re + k1), i1 = load<V>(im + k1);
        const V r2 = load<V>(re + k2), i2 = load<V>(im + k2);
        const V sr = r1 + r2, si = i1 + i2;
        const V dr = s120 * (r1 - r2), di = s120 * (i1 - i2);
        const V ar = load<V>(re + k0), ai = load<V>(im + k0);
        store(re + k0, ar + sr);
        store(im + k0, ai + si);
        const V tr = ar - 0.5 * sr, ti = ai - 0.5 * si;
        if constexpr (Rotate) {
            rotateStore<V, Shared>(re, im, k1, tr - di, ti + dr, wr, wi, w);
            rotateStore<V, Shared>(re, im, k2, tr + di, ti - dr, wr + col, wi + col, w);
        } else {
            store(re + k1, tr - di);
            store(im + k1, ti + dr);
            store(re + k2, tr + di);
            store(im + k2, ti - dr);
        }
    }
};

struct Radix4 {
    static constexpr bool kPairs = true;
    double sign;  // +1 or -1: multiplying by sign * i is the quarter turn

    template <class V, bool Rotate, bool Shared>
    void butterfly(FFT_BUTTERFLY_ARGS) const {
        const size_t k1 = k0 + span;
        const size_t k2 = k1 + span;
        const size_t k3 = k2 + span;
        const V r0 = load<V>(re + k0), i0 = load<V>(im + k0);
        const V r1 = load<V>(re + k1), i1 = load<V>(im + k1);
        const V r2 = load<V>(re + k2), i2 = load<V>(im + k2);
        const V r3 = load<V>(re + k3), i3 = load<V>(im + k3);
        const V s02r = r0 + r2, s02i = i0 + i2, d02r = r0 - r2, d02i = i0 - i2;
        const V s13r = r1 + r3, s13i = i1 + i3;
        const V d13r = sign * (r1 - r3), d13i = sign * (i1 - i3);
        store(re + k0, s02r + s13r);
        store(im + k0, s02i + s13i);
        if constexpr (Rotate) {
            rotateStore<V, Shared>(re, im, k1, d02r - d13i, d02i + d13r, wr, wi, w);
            rotateStore<V, Shared>(re, im, k2, s02r - s13r, s02i - s13i, wr + col, wi + col, w);
            rotateStore<V, Shared>(re, im, k3, d02r + d13i, d02i - d13r, wr + 2 * col, wi + 2 * col,
                                   w);
        } else {
            store(re + k1, d02r - d13i);
            store(im + k1, d02i + d13r);
            store(re + k2, s02r - s13r);
            store(im + k2, s02i - s13i);
            store(re + k3, d02r + d13i);
            store(im + k3, d02i - d13r);
        }
    }
};

struct Radix5 {
    static constexpr bool kPairs = true;
    double c72, s72, c144, s144;  // sines signed with the direction

    template <class V, bool Rotate, bool Shared>
    void butterfly(FFT_BUTTERFLY_ARGS) const {
        const size_t k1 = k0 + span;
        const size_t k2 = k1 + span;
        const size_t k3 = k2 + span;
        const size_t k4 = k3 + span;
        const V ar = load<V>(re + k0), ai = load<V>(im + k0);
        const V r1 = load<V>(re + k1), i1 = load<V>(im + k1);
        const V r2 = load<V>(re + k2), i2 = load<V>(im + k2);
        const V r3 = load<V>(re + k3), i3 = load<V>(im + k3);
        const V r4 = load<V>(re + k4), i4 = load<V>(im + k4);
        const V s14r = r1 + r4, s14i = i1 + i4, d14r = r1 - r4, d14i = i1 - i4;
        const V s23r = r2 + r3, s23i = i2 + i3, d23r = r2 - r3, d23i = i2 - i3;
        store(re + k0, ar + s14r + s23r);
        store(im + k0, ai + s14i + s23i);
        const V a1r = ar + c72 * s14r + c144 * s23r;
        const V a1i = ai + c72 * s14i + c144 * s23i;
        const V a2r = ar + c144 * s14r + c72 * s23r;
        const V a2i = ai + c144 * s14i + c72 * s23i;
        const V b1r = s72 * d14r + s144 * d23r;
        const V b1i = s72 * d14i + s144 * d23i;
        const V b2r = s144 * d14r - s72 * d23r;
        const V b2i = s144 * d14i - s72 * d23i;
        if constexpr (Rotate) {
            rotateStore<V, Shared>(re, im, k1, a1r - b1i, a1i + b1r, wr, wi, w);
            rotateStore<V, Shared>(re, im, k2, a2r - b2i, a2i + b2r, wr + col, wi + col, w);
            rotateStore<V, Shared>(re, im, k3, a2r + b2i, a2i - b2r, wr + 2 * col, wi + 2 * col, w);
            rotateStore<V, Shared>(re, im, k4, a1r + b1i, a1i - b1r, wr + 3 * col, wi + 3 * col, w);
        } else {
            store(re + k1, a1r - b1i);
            store(im + k1, a1i + b1r);
            store(re + k2, a2r - b2i);
            store(im + k2, a2i + b2r);
            store(re + k3, a2r + b2i);
            store(im + k3, a2i - b2r);
            store(re + k4, a1r + b1i);
            store(im + k4, a1i - b1r);
        }
    }
};

// Any odd p: the points are folded into sums and differences of the pairs (q, p - q), and
// outputs j and p - j are built together from them. One butterfly at a time.
struct OddRadix {
    static constexpr bool kPairs = false;
    size_t p;
    const double* cr;  // cos and signed sin of 2*pi*t/p, t < p
    const double* ci;
    double* sumRe;  // pair sums at [q], differences at [p - q], q = 1 .. (p-1)/2
    double* sumIm;

    template <class V, bool Rotate, bool Shared>
    void butterfly(FFT_BUTTERFLY_ARGS) const {
        static_assert(std::is_same_v<V, double>);
        const size_t half = (p - 1) / 2;
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
                rotateStore<double, Shared>(re, im, kj, xr - zi, xi + zr, wr + (j - 1) * col,
                                            wi + (j - 1) * col, w);
                rotateStore<double, Shared>(re, im, kr, xr + zi, xi - zr, wr + (p - j - 1) * col,
                                            wi + (p - j - 1) * col, w);
            } else {
                re[kj] = xr - zi;
                im[kj] = xi + zr;
                re[kr] = xr + zi;
                im[kr] = xi - zr;
            }
        }
    }
};

#undef FFT_BUTTERFLY_ARGS

// Runs `count` butterflies, butterfly i starting at data index i * step with its rotations
// at index i * twStep; two at a time where neighbouring butterflies sit side by side.
template <bool Rotate, class Kernel, class Step, class TwStep>
void runButterflies(const Kernel& kernel, double* re, double* im, size_t count, Step step,
                    size_t span, const double* wr, const double* wi, TwStep twStep, size_t col) {
    constexpr bool shared = std::is_same_v<TwStep, Zero>;
    size_t i = 0;
    if constexpr (Kernel::kPairs && std::is_same_v<Step, Unit> &&
                  (shared || std::is_same_v<TwStep, Unit>)) {
        for (; i + 2 <= count; i += 2)
            kernel.template butterfly<Pair, Rotate, shared>(re, im, i, span, wr, wi, shared ? 0 : i,
                                                            col);
    }
    for (; i < count; ++i)
        kernel.template butterfly<double, Rotate, shared>(re, im, i * step, span, wr, wi,
                                                          i * twStep, col);
}

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
            runButterflies<false>(kernel, a.re, a.im, a.nt / a.kspan, a.kspan, a.span, nullptr,
                                  nullptr, Zero(), 0);
        } else {
            for (size_t g = 0; g < a.nt; g += a.kspan)
                runButterflies<false>(kernel, a.re + g, a.im + g, a.jc / a.inc, step, a.span,
                                      nullptr, nullptr, Zero(), 0);
        }
    } else if (a.jc == a.inc) {
        // Elements of the dimension are neighbours: run along the butterflies of each
        // sub-sequence, rotations in step.
        for (size_t g = 0; g < a.nt; g += a.kspan)
            runButterflies<true>(kernel, a.re + g, a.im + g, a.mp, step, a.span, a.wr, a.wi, Unit(),
                                 a.mp);
    } else {
        // A later dimension: run along the earlier dimensions, which share each rotation.
        for (size_t g = 0; g < a.nt; g += a.kspan)
            for (size_t k = 0; k < a.mp; ++k)
                runButterflies<true>(kernel, a.re + g + k * a.jc, a.im + g + k * a.jc, a.jc / a.inc,
                                     step, a.span, a.wr + k, a.wi + k, Zero(), a.mp);
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
    const int* list = scratch.perm;
    const size_t swapEnd = 2 * scratch.swapCount;
    if (jc == inc && nt == ks) {
        // One line of neighbouring elements: the common one-dimensional case.
        for (size_t c = 0; c < swapEnd; c += 2) {
            const size_t a = static_cast<size_t>(list[c]) * jc;
            const size_t b = static_cast<size_t>(list[c + 1]) * jc;
            const double tr = re[a], ti = im[a];
            re[a] = re[b];
            im[a] = im[b];
            re[b] = tr;
            im[b] = ti;
        }
    } else {
        for (size_t c = 0; c < swapEnd; c += 2) {
            const size_t a = static_cast<size_t>(list[c]) * jc;
            const size_t b = static_cast<size_t>(list[c + 1]) * jc;
            for (size_t block = 0; block < nt; block += ks) {
                for (size_t r = block; r < block + jc; r += inc) {
                    const double tr = re[a + r], ti = im[a + r];
                    re[a + r] = re[b + r];
                    im[a + r] = im[b + r];
                    re[b + r] = tr;
                    im[b + r] = ti;
                }
            }
        }
    }
    const size_t count = scratch.permCount;
    size_t c = swapEnd;
    while (c < count) {
        size_t end = c + 1;
        while (end < count && list[end] >= 0) ++end;
        const size_t first = static_cast<size_t>(~list[c]) * jc;
        for (size_t block = 0; block < nt; block += ks) {
            for (size_t r = block; r < block + jc; r += inc) {
                size_t to = first + r;
                const double tr = re[to], ti = im[to];
                for (size_t q = c + 1; q < end; ++q) {
                    const size_t from = static_cast<size_t>(list[q]) * jc + r;
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
                                 scratch.rotIm + scratch.oddBase[f], scratch.tmpRe, scratch.tmpIm},
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
        const int ret =
            fftradix(Re, Im, total, static_cast<size_t>(dims[i]), nSpan, iSign, maxDim, maxDim);
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
