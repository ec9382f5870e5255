#include "kalvo/analysis/Fft.h"

#include <algorithm>
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
// factors stay accurate) and kept, stage by stage, in tables ordered the way the passes read
// them (see rotationIndex), so that the butterfly loops read data and rotations in sequence.

namespace {

constexpr int kMaxFactors = 11;
constexpr double kTwoPi = 6.28318530717958647692528676655900577;

const char kDimensionError[] = "Error: fftns() - dimension error\n";
const char kSignError[] = "Error: fftns() - iSign must not be 0\n";
const char kRadixArgumentError[] = "Error: fftradix() - dimension error\n";
const char kFactorError[] = "Error: fftradix() - exceeded number of factors\n";
const char kMemoryError[] = "Error: fftradix() - insufficient memory.\n";

// The tables of one transform length, and the length they describe.
struct Plan {
    // Per-stage rotation tables, followed by the p rotations of each general odd factor, then
    // for each large prime factor p its p chirp values and the spectrum of its chirp filter.
    double* rotRe = nullptr;
    double* rotIm = nullptr;
    size_t rotCapacity = 0;
    // Sums and differences of the general odd-radix butterfly, or the rows that the
    // convolutions of a large prime factor transform.
    double* tmpRe = nullptr;
    double* tmpIm = nullptr;
    size_t tmpCapacity = 0;
    // The digit-reversal permutation as swaps and cycles, followed while building them by a
    // bit set of the indices already listed, then the tables of the same permutation by tiles.
    int* perm = nullptr;
    size_t permCapacity = 0;

    size_t length = 0;  // 0: the tables describe nothing
    int sign = 0;
    int factors[kMaxFactors + 1] = {};
    int factorCount = 0;
    size_t stageBase[kMaxFactors] = {};
    size_t oddBase[kMaxFactors] = {};
    size_t chirpBase[kMaxFactors] = {};
    size_t chirpBatch = 0;  // butterflies of a large prime factor convolved at once
    size_t rotUsed = 0;
    size_t swapCount = 0;
    size_t permCount = 0;
    // The same permutation by tiles (see buildTiles); tileSide 0 when there is none.
    size_t tileSide = 0;
    size_t tileRows = 0;  // tiles in a column of them: M in buildTiles
    size_t tileBase = 0;  // where in perm the tile tables begin
    size_t tileListEnd = 0;
};

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

// Odd prime factors up to this go through the general odd-radix butterfly; larger ones,
// whose butterflies would cost the square of the factor, through a chirp convolution.
constexpr int kLargestOddRadix = 50;

bool isGeneralOdd(int p) {
    return p > 5 && p <= kLargestOddRadix;
}

bool isLargePrime(int p) {
    return p > kLargestOddRadix;
}

// The length of the convolutions for large prime factors up to p: the smallest one of at
// least 2p - 1 made of factors 2, 3 and 5 that the factor list can hold; 0 if none fits an int.
size_t convolutionLength(size_t p) {
    int factors[kMaxFactors + 1];
    for (size_t m = 2 * p - 1; m <= static_cast<size_t>(INT_MAX); ++m) {
        size_t k = m;
        for (size_t f : {2, 3, 5})
            while (k % f == 0) k /= f;
        if (k == 1 && factorize(m, factors) > 0) return m;
    }
    return 0;
}

// Butterflies of a large prime factor convolved together: as many as keep the rows of one
// batch within about this many complex values.
constexpr size_t kBatchPoints = 8192;
constexpr size_t kMaxBatch = 8;

size_t batchSize(size_t m) {
    return std::clamp<size_t>(kBatchPoints / m, 1, kMaxBatch);
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

bool growPerm(Plan& plan, size_t need) {
    if (need <= plan.permCapacity) return true;
    int* p = static_cast<int*>(std::realloc(plan.perm, need * sizeof(int)));
    if (p == nullptr) return false;
    plan.perm = p;
    plan.permCapacity = need;
    return true;
}

// Largest tile side of the tiled permutation: two tiles of one array are on the stack.
constexpr size_t kMaxTileSide = 32;
// Smallest tile side: a row of a tile should fill a cache line.
constexpr size_t kMinTileSide = 8;
// Addresses this many bytes apart share a set of the first-level data cache (64 sets of
// 64-byte lines). When the rows of the tiles lie a multiple of it apart, the swap list
// thrashes those sets and the tiles are faster; otherwise the list does less work.
constexpr size_t kCacheSetSpan = 4096;

// The swap and cycle list (at most n entries), the bit set of listed indices, then the tile
// tables: two of at most kMaxTileSide entries and the cycles, one entry per tile.
size_t permNeed(size_t n) {
    return n + (n + 31) / 32 + 2 * kMaxTileSide + n / (kMinTileSide * kMinTileSide);
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
void buildPermutation(Plan& plan, size_t n) {
    int* list = plan.perm;
    uint32_t* visited = reinterpret_cast<uint32_t*>(plan.perm + n);
    for (size_t w = 0; w < (n + 31) / 32; ++w) visited[w] = 0;
    const int* factors = plan.factors;
    const int count = plan.factorCount;
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
    plan.swapCount = used / 2;

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
    plan.permCount = used;
}

// The permutation by tiles, for long one-dimensional transforms. With L the product of the
// first t factors (also that of the last t, since they mirror them) and M = n / L^2, index
// k = l + L * (m + M * h) takes its value from
//     reversedPosition(k) = qh[h] + L * (qm(m) + M * ql[l]),
// because reversal moves the t lowest digits to the top and the t highest to the bottom.
// So tile m (the L rows h of L neighbouring elements l) is tile qm(m) transposed, with its
// rows and columns reordered; permute() copies whole rows of a tile into a buffer, where
// reading across them costs nothing, and writes whole rows back. Where the swaps of the
// list would touch L rows far apart at once (rows at power-of-two distances compete for
// the same few cache sets), this reads and writes every cache line once.
//
// Stored after the bit set: ql (times L, the offset of its row in a tile buffer), qh, then
// the cycles of qm, each led by the one's complement of its first tile.
void buildTiles(Plan& plan, size_t n) {
    plan.tileSide = 0;
    const int* factors = plan.factors;
    const int count = plan.factorCount;
    size_t side = 1;
    int t = 0;
    while (side < kMinTileSide && 2 * (t + 1) <= count && factors[t] == factors[count - 1 - t])
        side *= static_cast<size_t>(factors[t++]);
    if (side < kMinTileSide || side > kMaxTileSide) return;

    const uint32_t len = static_cast<uint32_t>(n);
    auto position = [&](size_t k) {
        return reversedPosition(static_cast<uint32_t>(k), len, factors, count);
    };
    const size_t rows = n / (side * side);
    const size_t bitWords = (n + 31) / 32;
    uint32_t* visited = reinterpret_cast<uint32_t*>(plan.perm + n);
    int* ql = plan.perm + n + bitWords;
    int* qh = ql + side;
    for (size_t i = 0; i < side; ++i) {
        ql[i] = static_cast<int>(position(i) / (side * rows) * side);
        qh[i] = static_cast<int>(position(i * side * rows));
    }
    for (size_t w = 0; w < (rows + 31) / 32; ++w) visited[w] = 0;
    int* list = qh + side;
    size_t used = 0;
    for (size_t m = 0; m < rows; ++m) {
        if (isVisited(visited, static_cast<uint32_t>(m))) continue;
        list[used++] = ~static_cast<int>(m);
        markVisited(visited, static_cast<uint32_t>(m));
        for (size_t next = position(side * m) / side; next != m;
             next = position(side * next) / side) {
            list[used++] = static_cast<int>(next);
            markVisited(visited, static_cast<uint32_t>(next));
        }
    }
    plan.tileSide = side;
    plan.tileRows = rows;
    plan.tileBase = n + bitWords;
    plan.tileListEnd = plan.tileBase + 2 * side + used;
}

// Where the rotations of butterfly k of a stage with p - 1 rotations per butterfly begin.
// Two neighbouring butterflies interleave theirs, so that a pass reads one stream of
// rotations in each table, and rotation j of butterfly k lies at rotationIndex(k) + 2 * (j - 1).
inline size_t rotationIndex(size_t k, size_t perButterfly) {
    return (k & ~size_t{1}) * perButterfly + (k & 1);
}

// Table entries of a stage of radix p with mp butterflies per sub-sequence.
size_t stageTableSize(size_t p, size_t mp) {
    return (p - 1) * (mp + (mp & 1));
}

Plan mainPlan;
// Transforms of the convolution length for the large prime factors of mainPlan's length.
Plan convolutionPlan;

void runPlan(const Plan& plan, double* re, double* im, size_t nt, size_t ks, size_t jc,
             size_t inc);

// The convolution transforms of runLargePrime run with the kernel of the given sign; the plan
// holds the positive one, and swapping the real and imaginary parts turns it round.
void convolve(double* re, double* im, size_t batch, int sign) {
    const size_t nt = convolutionPlan.length * batch;
    if (sign > 0)
        runPlan(convolutionPlan, re, im, nt, nt, batch, 1);
    else
        runPlan(convolutionPlan, im, re, nt, nt, batch, 1);
}

// The tables of a large prime factor p (see runLargePrime): the chirp c_t = e^(i*pi*s*t^2/p)
// for t < p, then the transform of the filter conj(c_t), laid out for a cyclic convolution of
// the convolution length m (t at t and at m - t), divided by m so that the inverse transform
// needs no scaling. Negating every imaginary part gives the tables of the other sign.
// Returns the number of entries written.
size_t fillChirp(double* re, double* im, size_t p, int sign) {
    const size_t m = convolutionPlan.length;
    for (size_t t = 0; t < p; ++t) {
        // t^2 mod 2p keeps the angle small, and so accurate, for every t.
        const double angle = sign * kTwoPi / 2.0 * static_cast<double>(t * t % (2 * p)) /
                             static_cast<double>(p);
        re[t] = std::cos(angle);
        im[t] = std::sin(angle);
    }
    double* fr = re + p;
    double* fi = im + p;
    std::fill(fr, fr + m, 0.0);
    std::fill(fi, fi + m, 0.0);
    for (size_t t = 0; t < p; ++t) {
        fr[t] = re[t] / static_cast<double>(m);
        fi[t] = -im[t] / static_cast<double>(m);
        if (t > 0) {
            fr[m - t] = fr[t];
            fi[m - t] = fi[t];
        }
    }
    convolve(fr, fi, 1, sign);
    return p + m;
}

void fillRotations(Plan& plan, size_t n, int sign) {
    size_t m = n;
    size_t base = 0;
    for (int s = 0; s < plan.factorCount; ++s) {
        const size_t p = static_cast<size_t>(plan.factors[s]);
        const size_t mp = m / p;
        plan.stageBase[s] = base;
        if (s + 1 < plan.factorCount) {
            const double step = sign * kTwoPi / static_cast<double>(m);
            for (size_t k = 0; k < mp; ++k) {
                const size_t at = base + rotationIndex(k, p - 1);
                for (size_t j = 1; j < p; ++j) {
                    const double angle = step * static_cast<double>(j * k);
                    plan.rotRe[at + 2 * (j - 1)] = std::cos(angle);
                    plan.rotIm[at + 2 * (j - 1)] = std::sin(angle);
                }
            }
            base += stageTableSize(p, mp);
        }
        m = mp;
    }
    for (int s = 0; s < plan.factorCount; ++s) {
        const int p = plan.factors[s];
        if (!isGeneralOdd(p)) continue;
        plan.oddBase[s] = base;
        const double step = sign * kTwoPi / p;
        for (int t = 0; t < p; ++t) {
            plan.rotRe[base + t] = std::cos(step * t);
            plan.rotIm[base + t] = std::sin(step * t);
        }
        base += static_cast<size_t>(p);
    }
    for (int s = 0; s < plan.factorCount; ++s) {
        const int p = plan.factors[s];
        if (!isLargePrime(p)) continue;
        int same = 0;
        while (plan.factors[same] != p) ++same;
        if (same < s) {
            plan.chirpBase[s] = plan.chirpBase[same];
            continue;
        }
        plan.chirpBase[s] = base;
        base += fillChirp(plan.rotRe + base, plan.rotIm + base, static_cast<size_t>(p), sign);
    }
    plan.rotUsed = base;
}

// Makes the scratch tables describe an n-point transform of the given sign.
bool preparePlan(Plan& plan, size_t n, int sign, size_t rotHint, size_t permHint) {
    if (plan.length == n) {
        if (plan.sign != sign) {
            for (size_t i = 0; i < plan.rotUsed; ++i) plan.rotIm[i] = -plan.rotIm[i];
            plan.sign = sign;
        }
        return true;
    }
    plan.length = 0;
    int factors[kMaxFactors + 1];
    const int count = factorize(n, factors);
    bool ok = count > 0;
    if (!ok) std::fputs(kFactorError, stderr);

    size_t rotNeed = 0;
    size_t tmpNeed = 0;
    size_t batch = 0;
    if (ok) {
        size_t m = n;
        size_t largest = 0;
        for (int s = 0; s < count; ++s) {
            const size_t p = static_cast<size_t>(factors[s]);
            if (s + 1 < count) rotNeed += stageTableSize(p, m / p);
            if (isGeneralOdd(factors[s])) {
                rotNeed += p;
                if (p > tmpNeed) tmpNeed = p;
            }
            if (isLargePrime(factors[s]) && p > largest) largest = p;
            m /= p;
        }
        if (largest > 0) {
            // The convolutions' own plan comes first: the chirp tables are made with it.
            const size_t length = convolutionLength(largest);
            if (length == 0) {
                ok = false;
            } else {
                if (!preparePlan(convolutionPlan, length, 1, 0, 0)) return false;
                batch = batchSize(length);
                tmpNeed = std::max(tmpNeed, length * batch);
                for (int s = 0; s < count; ++s) {
                    bool first = true;
                    for (int t = 0; t < s; ++t) first = first && factors[t] != factors[s];
                    if (isLargePrime(factors[s]) && first)
                        rotNeed += static_cast<size_t>(factors[s]) + length;
                }
            }
        }
        if (rotHint > rotNeed) rotNeed = rotHint;
        const size_t permSize = permNeed(n > permHint ? n : permHint);
        ok = ok && grow(plan.rotRe, plan.rotIm, plan.rotCapacity, rotNeed) &&
             grow(plan.tmpRe, plan.tmpIm, plan.tmpCapacity, tmpNeed) && growPerm(plan, permSize);
    }
    if (!ok) {
        fftFreeScratch();
        std::fputs(kMemoryError, stderr);
        return false;
    }
    for (int s = 0; s < count; ++s) plan.factors[s] = factors[s];
    plan.factors[count] = 0;
    plan.factorCount = count;
    plan.chirpBatch = batch;
    fillRotations(plan, n, sign);
    buildPermutation(plan, n);
    buildTiles(plan, n);
    plan.length = n;
    plan.sign = sign;
    return true;
}

// ---------------------------------------------------------------------------------------
// Butterflies. A kernel's butterfly() computes one butterfly with V = double, or two
// neighbouring ones at once with V = Pair (two doubles in one vector register). Its p points
// start at data index k0 and lie `span` apart. With rotations (Rotate), output j > 0 is
// multiplied by the rotation at wr/wi[w + 2 * (j - 1)]; for a pair that is two neighbouring
// rotations, or one shared by both butterflies (Shared).

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
        const double *__restrict wr, const double *__restrict wi, size_t w

struct Radix2 {
    static constexpr bool kPairs = true;
    static constexpr size_t rotationCount() { return 1; }

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
    }
};

struct Radix3 {
    static constexpr bool kPairs = true;
    static constexpr size_t rotationCount() { return 2; }
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
            rotateStore<V, Shared>(re, im, k2, tr + di, ti - dr, wr + 2, wi + 2, w);
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
    static constexpr size_t rotationCount() { return 3; }
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
            rotateStore<V, Shared>(re, im, k2, s02r - s13r, s02i - s13i, wr + 2, wi + 2, w);
            rotateStore<V, Shared>(re, im, k3, d02r + d13i, d02i - d13r, wr + 4, wi + 4, w);
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
    static constexpr size_t rotationCount() { return 4; }
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
            rotateStore<V, Shared>(re, im, k2, a2r - b2i, a2i + b2r, wr + 2, wi + 2, w);
            rotateStore<V, Shared>(re, im, k3, a2r + b2i, a2i - b2r, wr + 4, wi + 4, w);
            rotateStore<V, Shared>(re, im, k4, a1r + b1i, a1i - b1r, wr + 6, wi + 6, w);
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
    size_t rotationCount() const { return p - 1; }
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
                rotateStore<double, Shared>(re, im, kj, xr - zi, xi + zr, wr + 2 * (j - 1),
                                            wi + 2 * (j - 1), w);
                rotateStore<double, Shared>(re, im, kr, xr + zi, xi - zr, wr + 2 * (p - j - 1),
                                            wi + 2 * (p - j - 1), w);
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

// Runs `count` butterflies, butterfly i starting at data index i * step; two at a time where
// neighbouring butterflies sit side by side. Each butterfly has its own rotations (see
// rotationIndex), or with Shared all of them use those at wr/wi[0].
template <bool Rotate, bool Shared, class Kernel, class Step>
void runButterflies(const Kernel& kernel, double* re, double* im, size_t count, Step step,
                    size_t span, const double* wr, const double* wi) {
    const size_t perButterfly = kernel.rotationCount();
    size_t i = 0;
    if constexpr (Kernel::kPairs && std::is_same_v<Step, Unit>) {
        for (; i + 2 <= count; i += 2)
            kernel.template butterfly<Pair, Rotate, Shared>(re, im, i, span, wr, wi,
                                                            Shared ? 0 : i * perButterfly);
    }
    for (; i < count; ++i)
        kernel.template butterfly<double, Rotate, Shared>(
            re, im, i * step, span, wr, wi, Shared ? 0 : rotationIndex(i, perButterfly));
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
            runButterflies<false, true>(kernel, a.re, a.im, a.nt / a.kspan, a.kspan, a.span,
                                        nullptr, nullptr);
        } else {
            for (size_t g = 0; g < a.nt; g += a.kspan)
                runButterflies<false, true>(kernel, a.re + g, a.im + g, a.jc / a.inc, step, a.span,
                                            nullptr, nullptr);
        }
    } else if (a.jc == a.inc) {
        // Elements of the dimension are neighbours: run along the butterflies of each
        // sub-sequence, rotations in step.
        for (size_t g = 0; g < a.nt; g += a.kspan)
            runButterflies<true, false>(kernel, a.re + g, a.im + g, a.mp, step, a.span, a.wr, a.wi);
    } else {
        // A later dimension: run along the earlier dimensions, which share each rotation.
        for (size_t g = 0; g < a.nt; g += a.kspan) {
            for (size_t k = 0; k < a.mp; ++k) {
                const size_t w = rotationIndex(k, kernel.rotationCount());
                runButterflies<true, true>(kernel, a.re + g + k * a.jc, a.im + g + k * a.jc,
                                           a.jc / a.inc, step, a.span, a.wr + w, a.wi + w);
            }
        }
    }
}

template <class Kernel>
void runPass(const Kernel& kernel, const Pass& a) {
    if (a.inc == 1)
        runPass(kernel, a, Unit());
    else
        runPass(kernel, a, a.inc);
}

// Data of one tile, row by row, at `stride` between neighbouring elements.
void copyTile(double* tile, const double* x, size_t side, size_t rowDistance, size_t stride) {
    for (size_t r = 0; r < side; ++r, tile += side, x += rowDistance) {
        if (stride == 1) {
            std::memcpy(tile, x, side * sizeof(double));
        } else {
            for (size_t c = 0; c < side; ++c) tile[c] = x[c * stride];
        }
    }
}

// One array in one-dimensional order, by the tiles of buildTiles.
void permuteTiles(const Plan& plan, double* x, size_t inc) {
    const size_t side = plan.tileSide;
    const size_t rowDistance = side * plan.tileRows * inc;
    const size_t tileDistance = side * inc;
    const int* ql = plan.perm + plan.tileBase;
    const int* qh = ql + side;
    const int* list = qh + side;
    const size_t count = static_cast<size_t>(plan.perm + plan.tileListEnd - list);
    double first[kMaxTileSide * kMaxTileSide];
    double other[kMaxTileSide * kMaxTileSide];
    size_t c = 0;
    while (c < count) {
        // Tile m receives tile qm(m), the next one of the cycle; the first is saved before
        // the last overwrites it.
        size_t m = static_cast<size_t>(~list[c]);
        copyTile(first, x + m * tileDistance, side, rowDistance, inc);
        for (++c;; ++c) {
            const bool last = c == count || list[c] < 0;
            const double* source = first;
            if (!last) {
                copyTile(other, x + static_cast<size_t>(list[c]) * tileDistance, side, rowDistance,
                         inc);
                source = other;
            }
            double* row = x + m * tileDistance;
            for (size_t h = 0; h < side; ++h, row += rowDistance) {
                const double* column = source + qh[h];
                for (size_t l = 0; l < side; ++l) row[l * inc] = column[ql[l]];
            }
            if (last) break;
            m = static_cast<size_t>(list[c]);
        }
    }
}

// Moves the value at reversedPosition(k) to k along every line of the dimension.
void permute(const Plan& plan, double* re, double* im, size_t nt, size_t ks, size_t jc,
             size_t inc) {
    if (jc == inc && nt == ks && plan.tileSide != 0 &&
        plan.tileSide * plan.tileRows * sizeof(double) % kCacheSetSpan == 0) {
        permuteTiles(plan, re, inc);
        permuteTiles(plan, im, inc);
        return;
    }
    const int* list = plan.perm;
    const size_t swapEnd = 2 * plan.swapCount;
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
    const size_t count = plan.permCount;
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

// A stage of a large prime factor p. Since 2jq = j^2 + q^2 - (j - q)^2, each butterfly
//     X_j = sum_q x_q e^(2*pi*i*s*j*q/p) = c_j * sum_q (x_q c_q) conj(c_(j-q))
// with c_t = e^(i*pi*s*t^2/p): a cyclic convolution, of any length m >= 2p - 1, carried out
// by transforms of length m. Butterflies that neighbour each other in memory are convolved
// together, as the rows of a two-dimensional transform.
void runLargePrime(const Plan& plan, int f, const Pass& a) {
    const size_t p = static_cast<size_t>(plan.factors[f]);
    const size_t m = convolutionPlan.length;
    const double* cr = plan.rotRe + plan.chirpBase[f];
    const double* ci = plan.rotIm + plan.chirpBase[f];
    const double* filterRe = cr + p;
    const double* filterIm = ci + p;
    const size_t perSequence = a.span / a.inc;
    for (size_t g = 0; g < a.nt; g += a.kspan) {
        for (size_t e = 0; e < perSequence; e += plan.chirpBatch) {
            const size_t batch = std::min(plan.chirpBatch, perSequence - e);
            double* re = a.re + g + e * a.inc;
            double* im = a.im + g + e * a.inc;
            double* rowRe = plan.tmpRe;
            double* rowIm = plan.tmpIm;
            for (size_t q = 0; q < p; ++q, rowRe += batch, rowIm += batch) {
                const double* xr = re + q * a.span;
                const double* xi = im + q * a.span;
                for (size_t b = 0; b < batch; ++b) {
                    const double x = xr[b * a.inc], y = xi[b * a.inc];
                    rowRe[b] = x * cr[q] - y * ci[q];
                    rowIm[b] = x * ci[q] + y * cr[q];
                }
            }
            std::fill(rowRe, plan.tmpRe + m * batch, 0.0);
            std::fill(rowIm, plan.tmpIm + m * batch, 0.0);
            convolve(plan.tmpRe, plan.tmpIm, batch, plan.sign);
            rowRe = plan.tmpRe;
            rowIm = plan.tmpIm;
            for (size_t k = 0; k < m; ++k, rowRe += batch, rowIm += batch) {
                for (size_t b = 0; b < batch; ++b) {
                    const double x = rowRe[b], y = rowIm[b];
                    rowRe[b] = x * filterRe[k] - y * filterIm[k];
                    rowIm[b] = x * filterIm[k] + y * filterRe[k];
                }
            }
            convolve(plan.tmpRe, plan.tmpIm, batch, -plan.sign);
            rowRe = plan.tmpRe;
            rowIm = plan.tmpIm;
            for (size_t j = 0; j < p; ++j, rowRe += batch, rowIm += batch) {
                double* xr = re + j * a.span;
                double* xi = im + j * a.span;
                for (size_t b = 0; b < batch; ++b) {
                    double x = rowRe[b] * cr[j] - rowIm[b] * ci[j];
                    double y = rowRe[b] * ci[j] + rowIm[b] * cr[j];
                    if (a.mp > 1 && j > 0) {
                        // Rotated by w^(j*k) for butterfly k, as the other radices do.
                        const size_t k = (e + b) * a.inc / a.jc;
                        const size_t w = rotationIndex(k, p - 1) + 2 * (j - 1);
                        const double t = x * a.wr[w] - y * a.wi[w];
                        y = x * a.wi[w] + y * a.wr[w];
                        x = t;
                    }
                    xr[b * a.inc] = x;
                    xi[b * a.inc] = y;
                }
            }
        }
    }
}

// Runs the passes of every factor over one dimension, then the permutation. nt: end of the
// data, ks: span of the dimension's sequences, jc: distance between their neighbouring
// elements, inc: distance between neighbouring elements of the array.
void runPlan(const Plan& plan, double* re, double* im, size_t nt, size_t ks, size_t jc,
             size_t inc) {
    const double s = plan.sign;
    const double angle72 = kTwoPi / 5.0;
    Pass pass{re, im, nt, ks, 0, jc, inc, 0, nullptr, nullptr};
    for (int f = 0; f < plan.factorCount; ++f) {
        const int p = plan.factors[f];
        pass.span = pass.kspan / static_cast<size_t>(p);
        pass.mp = pass.span / jc;
        pass.wr = plan.rotRe + plan.stageBase[f];
        pass.wi = plan.rotIm + plan.stageBase[f];
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
                if (isLargePrime(p))
                    runLargePrime(plan, f, pass);
                else
                    runPass(OddRadix{static_cast<size_t>(p), plan.rotRe + plan.oddBase[f],
                                     plan.rotIm + plan.oddBase[f], plan.tmpRe, plan.tmpIm},
                            pass);
                break;
        }
        pass.kspan = pass.span;
    }
    permute(plan, re, im, nt, ks, jc, inc);
}

void releasePlan(Plan& plan) {
    std::free(plan.rotRe);
    std::free(plan.rotIm);
    std::free(plan.tmpRe);
    std::free(plan.tmpIm);
    std::free(plan.perm);
    plan = Plan();
}

size_t planBytes(const Plan& plan) {
    return 2 * (plan.rotCapacity + plan.tmpCapacity) * sizeof(double) +
           plan.permCapacity * sizeof(int);
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
    if (!preparePlan(mainPlan, nPass, sign, maxFactors > 0 ? static_cast<size_t>(maxFactors) : 0,
                     maxPerm > 0 ? static_cast<size_t>(maxPerm) : 0))
        return -1;

    runPlan(mainPlan, Re, Im, nTotal * inc, nSpan * inc, nSpan * inc / nPass, inc);
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
    releasePlan(mainPlan);
    releasePlan(convolutionPlan);
}

size_t fftScratchSize() {
    return planBytes(mainPlan) + planBytes(convolutionPlan);
}
