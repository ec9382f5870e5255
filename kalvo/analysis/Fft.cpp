#include "kalvo/analysis/Fft.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <type_traits>
#include <utility>

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
    // The passes over the data: pass t runs factor stageFirst[t], or with stageSize[t] = 2
    // that one and the next at once (see Radix), with its rotations at stageBase[t].
    int stageFirst[kMaxFactors] = {};
    int stageSize[kMaxFactors] = {};
    int stageCount = 0;
    size_t stageBase[kMaxFactors] = {};
    size_t stageSpan[kMaxFactors] = {};  // length / the radices up to and including stage t
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
// Every kInterleave neighbouring butterflies interleave theirs, so that a pass reads one
// stream of rotations in each table, a vector of them at a time, and rotation j of butterfly
// k lies at rotationIndex(k) + kInterleave * (j - 1).
constexpr size_t kInterleave = 4;

inline size_t rotationIndex(size_t k, size_t perButterfly) {
    return (k & ~(kInterleave - 1)) * perButterfly + (k & (kInterleave - 1));
}

// Table entries of a stage of radix p with mp butterflies per sub-sequence.
size_t stageTableSize(size_t p, size_t mp) {
    return (p - 1) * ((mp + kInterleave - 1) & ~(kInterleave - 1));
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

// Groups the factor list into passes: a 2 runs together with a neighbouring factor of 5 or
// less.
void groupStages(Plan& plan) {
    int t = 0;
    for (int f = 0; f < plan.factorCount; ++t) {
        const int a = plan.factors[f];
        const int b = plan.factors[f + 1];  // 0 after the last
        const bool fuse = b != 0 && a <= 5 && b <= 5 && (a == 2 || b == 2);
        plan.stageFirst[t] = f;
        plan.stageSize[t] = fuse ? 2 : 1;
        f += plan.stageSize[t];
    }
    plan.stageCount = t;
}

size_t stageRadix(const Plan& plan, int t) {
    const int f = plan.stageFirst[t];
    return static_cast<size_t>(plan.factors[f]) *
           static_cast<size_t>(plan.stageSize[t] == 2 ? plan.factors[f + 1] : 1);
}

// A large prime's chirp tables serve every place it has in the factor list.
bool isFirstOf(const Plan& plan, int f) {
    for (int e = 0; e < f; ++e)
        if (plan.factors[e] == plan.factors[f]) return false;
    return true;
}

void fillRotations(Plan& plan, size_t n, int sign) {
    size_t m = n;
    size_t base = 0;
    for (int t = 0; t < plan.stageCount; ++t) {
        const size_t p = stageRadix(plan, t);
        const size_t mp = m / p;
        plan.stageBase[t] = base;
        plan.stageSpan[t] = mp;
        if (t + 1 < plan.stageCount) {
            const double step = sign * kTwoPi / static_cast<double>(m);
            for (size_t k = 0; k < mp; ++k) {
                const size_t at = base + rotationIndex(k, p - 1);
                for (size_t j = 1; j < p; ++j) {
                    const double angle = step * static_cast<double>(j * k);
                    plan.rotRe[at + kInterleave * (j - 1)] = std::cos(angle);
                    plan.rotIm[at + kInterleave * (j - 1)] = std::sin(angle);
                }
            }
            base += stageTableSize(p, mp);
        }
        m = mp;
    }
    for (int f = 0; f < plan.factorCount; ++f) {
        const int p = plan.factors[f];
        if (!isGeneralOdd(p)) continue;
        plan.oddBase[f] = base;
        const double step = sign * kTwoPi / p;
        for (int t = 0; t < p; ++t) {
            plan.rotRe[base + t] = std::cos(step * t);
            plan.rotIm[base + t] = std::sin(step * t);
        }
        base += static_cast<size_t>(p);
    }
    for (int f = 0; f < plan.factorCount; ++f) {
        const int p = plan.factors[f];
        if (!isLargePrime(p)) continue;
        if (isFirstOf(plan, f)) {
            plan.chirpBase[f] = base;
            base += fillChirp(plan.rotRe + base, plan.rotIm + base, static_cast<size_t>(p), sign);
        } else {
            for (int e = 0; e < f; ++e)
                if (plan.factors[e] == p) plan.chirpBase[f] = plan.chirpBase[e];
        }
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
    const int count = factorize(n, plan.factors);
    bool ok = count > 0;
    if (!ok) std::fputs(kFactorError, stderr);

    size_t rotNeed = 0;
    size_t tmpNeed = 0;
    size_t batch = 0;
    if (ok) {
        plan.factors[count] = 0;
        plan.factorCount = count;
        groupStages(plan);
        size_t m = n;
        for (int t = 0; t + 1 < plan.stageCount; ++t) {
            const size_t p = stageRadix(plan, t);
            rotNeed += stageTableSize(p, m / p);
            m /= p;
        }
        size_t largest = 0;
        for (int f = 0; f < count; ++f) {
            const size_t p = static_cast<size_t>(plan.factors[f]);
            if (isGeneralOdd(plan.factors[f])) {
                rotNeed += p;
                tmpNeed = std::max(tmpNeed, p);
            }
            if (isLargePrime(plan.factors[f])) largest = std::max(largest, p);
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
                for (int f = 0; f < count; ++f)
                    if (isLargePrime(plan.factors[f]) && isFirstOf(plan, f))
                        rotNeed += static_cast<size_t>(plan.factors[f]) + length;
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
    plan.chirpBatch = batch;
    fillRotations(plan, n, sign);
    buildPermutation(plan, n);
    buildTiles(plan, n);
    plan.length = n;
    plan.sign = sign;
    return true;
}

// ---------------------------------------------------------------------------------------
// Butterflies. A kernel's butterfly() computes one butterfly with V = double, or two or four
// neighbouring ones at once with V = Pair or Quad (doubles side by side in one vector
// register). Its p points start at data index k0 and lie `span` apart. With rotations
// (Rotate), output j > 0 is multiplied by the rotation at wr/wi[w + kInterleave * (j - 1)];
// for a vector that is as many neighbouring rotations, or one shared by all its butterflies
// (Shared).

typedef double Pair __attribute__((vector_size(16)));
// Only used in functions compiled for processors with AVX2 (see runSmallRadix).
typedef double Quad __attribute__((vector_size(32)));

template <class V>
constexpr size_t kLanes = sizeof(V) / sizeof(double);

// Distance between the lanes of a vector: Unit where neighbouring butterflies sit side by
// side, or a size_t where they lie further apart (the last pass, strided data), when a vector
// is gathered from its lanes.
using Unit = std::integral_constant<size_t, 1>;

// Vectors go in and out by reference: a Quad passed by value would change the calling
// convention between the code compiled with and without AVX.
template <class V, class Lane>
[[gnu::always_inline]] inline void load(V& v, const double* p, Lane lane) {
    if constexpr (std::is_same_v<V, double>) {
        v = *p;
    } else if constexpr (std::is_same_v<Lane, Unit>) {
        std::memcpy(&v, p, sizeof v);
    } else if constexpr (kLanes<V> == 2) {
        v = V{p[0], p[lane]};
    } else {
        v = V{p[0], p[lane], p[2 * lane], p[3 * lane]};
    }
}

template <class V, class Lane>
[[gnu::always_inline]] inline void store(double* p, const V& v, Lane lane) {
    if constexpr (std::is_same_v<V, double>) {
        *p = v;
    } else if constexpr (std::is_same_v<Lane, Unit>) {
        std::memcpy(p, &v, sizeof v);
    } else {
        for (size_t l = 0; l < kLanes<V>; ++l) p[l * lane] = v[l];
    }
}

template <bool Shared, class V>
[[gnu::always_inline]] inline void loadRotation(V& v, const double* p) {
    if constexpr (std::is_same_v<V, double> || !Shared)
        load(v, p, Unit());
    else
        v = *p - V{};  // every lane; subtracting zero keeps a negative zero
}

template <bool Shared, class V, class Lane>
[[gnu::always_inline]] inline void rotateStore(double* __restrict re, double* __restrict im,
                                               size_t k, const V& xr, const V& xi,
                                               const double* __restrict wr,
                                               const double* __restrict wi, size_t w, Lane lane) {
    V c, s;
    loadRotation<Shared>(c, wr + w);
    loadRotation<Shared>(s, wi + w);
    const V yr = xr * c - xi * s;
    const V yi = xr * s + xi * c;
    store(re + k, yr, lane);
    store(im + k, yi, lane);
}

#define FFT_BUTTERFLY_ARGS                                                \
    double *__restrict re, double *__restrict im, size_t k0, size_t span, \
        const double *__restrict wr, const double *__restrict wi, size_t w, Lane lane

// Calls f(integral_constant<size_t, i>) for i = 0 .. N - 1, so that the indices are constants
// and the small arrays of a butterfly stay in registers.
template <size_t N, class F>
inline void forEach(F&& f) {
    [&]<size_t... I>(std::index_sequence<I...>) {
        (f(std::integral_constant<size_t, I>()), ...);
    }(std::make_index_sequence<N>());
}

// Constants of the small transforms, signed with the direction.
struct SmallDft {
    static constexpr size_t kMaxFused = 10;
    double sign;  // +1 or -1: multiplying by sign * i is the quarter turn
    double s120;  // sin 120 degrees
    double c72, s72, c144, s144;
    // e^(i * sign * 2 * pi * t / P) for the rotations inside a fused pass of P points.
    double cosP[kMaxFused], sinP[kMaxFused];

    // Computed once for each direction and P.
    static const SmallDft& of(int direction, size_t fused) {
        static const auto tables = [] {
            std::array<std::array<SmallDft, kMaxFused + 1>, 2> t{};
            for (int d = 0; d < 2; ++d)
                for (size_t p = 1; p <= kMaxFused; ++p) t[d][p] = SmallDft(d ? 1 : -1, p);
            return t;
        }();
        return tables[direction > 0][fused];
    }

    SmallDft() = default;

    SmallDft(int direction, size_t fused) : sign(direction) {
        const double angle72 = kTwoPi / 5.0;
        s120 = sign * std::sqrt(0.75);
        c72 = std::cos(angle72);
        s72 = sign * std::sin(angle72);
        c144 = std::cos(2 * angle72);
        s144 = sign * std::sin(2 * angle72);
        for (size_t t = 0; t < fused; ++t) {
            const double angle = kTwoPi * static_cast<double>(t) / static_cast<double>(fused);
            cosP[t] = std::cos(angle);
            sinP[t] = sign * std::sin(angle);
        }
    }
};

// The P-point transform of x in place, outputs in natural order.
template <size_t P, class V>
[[gnu::always_inline]] inline void dft(const SmallDft& c, V* xr, V* xi) {
    if constexpr (P == 2) {
        const V r = xr[0] - xr[1], i = xi[0] - xi[1];
        xr[0] += xr[1];
        xi[0] += xi[1];
        xr[1] = r;
        xi[1] = i;
    } else if constexpr (P == 3) {
        const V sr = xr[1] + xr[2], si = xi[1] + xi[2];
        const V dr = c.s120 * (xr[1] - xr[2]), di = c.s120 * (xi[1] - xi[2]);
        const V tr = xr[0] - 0.5 * sr, ti = xi[0] - 0.5 * si;
        xr[0] += sr;
        xi[0] += si;
        xr[1] = tr - di;
        xi[1] = ti + dr;
        xr[2] = tr + di;
        xi[2] = ti - dr;
    } else if constexpr (P == 4) {
        const V s02r = xr[0] + xr[2], s02i = xi[0] + xi[2];
        const V d02r = xr[0] - xr[2], d02i = xi[0] - xi[2];
        const V s13r = xr[1] + xr[3], s13i = xi[1] + xi[3];
        const V d13r = c.sign * (xr[1] - xr[3]), d13i = c.sign * (xi[1] - xi[3]);
        xr[0] = s02r + s13r;
        xi[0] = s02i + s13i;
        xr[1] = d02r - d13i;
        xi[1] = d02i + d13r;
        xr[2] = s02r - s13r;
        xi[2] = s02i - s13i;
        xr[3] = d02r + d13i;
        xi[3] = d02i - d13r;
    } else {
        static_assert(P == 5);
        const V ar = xr[0], ai = xi[0];
        const V s14r = xr[1] + xr[4], s14i = xi[1] + xi[4];
        const V d14r = xr[1] - xr[4], d14i = xi[1] - xi[4];
        const V s23r = xr[2] + xr[3], s23i = xi[2] + xi[3];
        const V d23r = xr[2] - xr[3], d23i = xi[2] - xi[3];
        const V a1r = ar + c.c72 * s14r + c.c144 * s23r;
        const V a1i = ai + c.c72 * s14i + c.c144 * s23i;
        const V a2r = ar + c.c144 * s14r + c.c72 * s23r;
        const V a2i = ai + c.c144 * s14i + c.c72 * s23i;
        const V b1r = c.s72 * d14r + c.s144 * d23r;
        const V b1i = c.s72 * d14i + c.s144 * d23i;
        const V b2r = c.s144 * d14r - c.s72 * d23r;
        const V b2i = c.s144 * d14i - c.s72 * d23i;
        xr[0] = ar + s14r + s23r;
        xi[0] = ai + s14i + s23i;
        xr[1] = a1r - b1i;
        xi[1] = a1i + b1r;
        xr[2] = a2r - b2i;
        xi[2] = a2i + b2r;
        xr[3] = a2r + b2i;
        xi[3] = a2i - b2r;
        xr[4] = a1r + b1i;
        xi[4] = a1i - b1r;
    }
}

// The pass of factor A of the factor list, or with B > 1 the passes of the neighbouring
// factors A and then B at once: an A*B-point butterfly that leaves every value where the
// two passes would. With x_q at q = q2 + B*q1, output r = j1 + A*j2 is
//     sum_q x_q e^(2*pi*i*s*q*r/(A*B)),
// taken as A-point transforms over q1, rotations by e^(2*pi*i*s*j1*q2/(A*B)) and B-point
// transforms over q2; it goes to slot B*j1 + j2 with the rotation of output r of a stage of
// radix A*B. Fusing spares a pass over the data, which matters most for the radix-2 passes.
//
// With Natural, the last pass runs after the permutation (see runPlan), which has put x_q at
// point q1 + A*q2 and wants output r at point r.
template <size_t A, size_t B, bool Natural = false>
struct Radix {
    static constexpr bool kPairs = true;
    static constexpr size_t P = A * B;
    static constexpr size_t rotationCount() { return P - 1; }
    const SmallDft& c;

    explicit Radix(int sign) : c(SmallDft::of(sign, P)) {}

    // Flattened, so that the small arrays live in registers rather than memory.
    template <class V, bool Rotate, bool Shared, class Lane>
    [[gnu::always_inline, gnu::flatten]] inline void butterfly(FFT_BUTTERFLY_ARGS) const {
        V xr[P], xi[P];
        forEach<P>([&](auto q) {
            constexpr size_t point = Natural ? q / B + A * (q % B) : q;
            load(xr[q], re + k0 + point * span, lane);
            load(xi[q], im + k0 + point * span, lane);
        });
        if constexpr (B == 1) {
            dft<A>(c, xr, xi);
        } else {
            V yr[P], yi[P];  // slot j1 * B + q2
            forEach<B>([&](auto q2) {
                V ur[A], ui[A];
                forEach<A>([&](auto q1) {
                    ur[q1] = xr[q2 + B * q1];
                    ui[q1] = xi[q2 + B * q1];
                });
                dft<A>(c, ur, ui);
                forEach<A>([&](auto j1) {
                    constexpr size_t t = j1 * q2 % P;
                    V vr = ur[j1], vi = ui[j1];
                    if constexpr (4 * t == P) {
                        vr = -c.sign * ui[j1];
                        vi = c.sign * ur[j1];
                    } else if constexpr (2 * t == P) {
                        vr = -vr;
                        vi = -vi;
                    } else if constexpr (4 * t == 3 * P) {
                        vr = c.sign * ui[j1];
                        vi = -c.sign * ur[j1];
                    } else if constexpr (t != 0) {
                        vr = ur[j1] * c.cosP[t] - ui[j1] * c.sinP[t];
                        vi = ur[j1] * c.sinP[t] + ui[j1] * c.cosP[t];
                    }
                    yr[j1 * B + q2] = vr;
                    yi[j1 * B + q2] = vi;
                });
            });
            forEach<A>([&](auto j1) { dft<B>(c, yr + j1 * B, yi + j1 * B); });
            forEach<P>([&](auto s) {
                xr[s] = yr[s];
                xi[s] = yi[s];
            });
        }
        forEach<P>([&](auto s) {
            constexpr size_t r = s / B + A * (s % B);
            const size_t k = k0 + (Natural ? r : s) * span;
            if constexpr (Rotate && r > 0) {
                rotateStore<Shared>(re, im, k, xr[s], xi[s], wr + kInterleave * (r - 1),
                                       wi + kInterleave * (r - 1), w, lane);
            } else {
                store(re + k, xr[s], lane);
                store(im + k, xi[s], lane);
            }
        });
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

    template <class V, bool Rotate, bool Shared, class Lane>
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
                rotateStore<Shared>(re, im, kj, xr - zi, xi + zr,
                                            wr + kInterleave * (j - 1), wi + kInterleave * (j - 1),
                                            w, lane);
                rotateStore<Shared>(re, im, kr, xr + zi, xi - zr,
                                            wr + kInterleave * (p - j - 1),
                                            wi + kInterleave * (p - j - 1), w, lane);
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

// Runs `count` butterflies, butterfly i starting at data index i * step; where the kernel
// allows it, as many at a time as a Wide vector holds, then two at a time. Each butterfly
// has its own rotations (see rotationIndex), or with Shared all of them use those at wr/wi[0].
template <class Wide, bool Rotate, bool Shared, class Kernel, class Step>
void runButterflies(const Kernel& kernel, double* re, double* im, size_t count, Step step,
                    size_t span, const double* wr, const double* wi) {
    const size_t perButterfly = kernel.rotationCount();
    auto rotations = [&](size_t i) { return Shared ? 0 : rotationIndex(i, perButterfly); };
    size_t i = 0;
    if constexpr (Kernel::kPairs) {
        if constexpr (kLanes<Wide> > 2) {
            for (; i + kLanes<Wide> <= count; i += kLanes<Wide>)
                kernel.template butterfly<Wide, Rotate, Shared>(re, im, i * step, span, wr, wi,
                                                                rotations(i), step);
        }
        for (; i + 2 <= count; i += 2)
            kernel.template butterfly<Pair, Rotate, Shared>(re, im, i * step, span, wr, wi,
                                                            rotations(i), step);
    }
    for (; i < count; ++i)
        kernel.template butterfly<double, Rotate, Shared>(re, im, i * step, span, wr, wi,
                                                          rotations(i), step);
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
    size_t groups;  // sub-sequences: nt / kspan
    size_t lines;   // jc / inc: elements of the earlier dimensions at each point
    const double* wr;
    const double* wi;
};

template <class Wide, class Kernel, class Step>
void runPass(const Kernel& kernel, const Pass& a, Step step) {
    if (a.wr == nullptr) {
        // The last pass: no rotations.
        if (a.span == a.inc) {
            // One butterfly in each sub-sequence: run across them.
            runButterflies<Wide, false, true>(kernel, a.re, a.im, a.groups, a.kspan,
                                              a.span, nullptr, nullptr);
        } else {
            for (size_t g = 0; g < a.nt; g += a.kspan)
                runButterflies<Wide, false, true>(kernel, a.re + g, a.im + g, a.mp * a.lines, step,
                                                  a.span, nullptr, nullptr);
        }
    } else if (a.jc == a.inc) {
        // Elements of the dimension are neighbours: run along the butterflies of each
        // sub-sequence, rotations in step.
        for (size_t g = 0; g < a.nt; g += a.kspan)
            runButterflies<Wide, true, false>(kernel, a.re + g, a.im + g, a.mp, step, a.span, a.wr, a.wi);
    } else {
        // A later dimension: run along the earlier dimensions, which share each rotation.
        for (size_t g = 0; g < a.nt; g += a.kspan) {
            for (size_t k = 0; k < a.mp; ++k) {
                const size_t w = rotationIndex(k, kernel.rotationCount());
                runButterflies<Wide, true, true>(kernel, a.re + g + k * a.jc, a.im + g + k * a.jc,
                                           a.lines, step, a.span, a.wr + w, a.wi + w);
            }
        }
    }
}

template <class Wide, class Kernel>
void runPass(const Kernel& kernel, const Pass& a) {
    if (a.inc == 1)
        runPass<Wide>(kernel, a, Unit());
    else
        runPass<Wide>(kernel, a, a.inc);
}

// Runs the pass of a stage of the factors a and b (b = 1: a alone) when both are 5 or less;
// returns false for any other stage. Natural: the last pass, after the permutation.
template <class Wide>
bool runSmallRadix(int a, int b, int sign, const Pass& pass, bool natural) {
    switch (16 * a + b) {
        // clang-format off
        case 16 * 2 + 1: runPass<Wide>(Radix<2, 1>(sign), pass); return true;
        case 16 * 3 + 1: runPass<Wide>(Radix<3, 1>(sign), pass); return true;
        case 16 * 4 + 1: runPass<Wide>(Radix<4, 1>(sign), pass); return true;
        case 16 * 5 + 1: runPass<Wide>(Radix<5, 1>(sign), pass); return true;
        // clang-format on
        default: break;
    }
    if (natural) {
        switch (16 * a + b) {
            // clang-format off
            case 16 * 2 + 2: runPass<Wide>(Radix<2, 2, true>(sign), pass); return true;
            case 16 * 2 + 3: runPass<Wide>(Radix<2, 3, true>(sign), pass); return true;
            case 16 * 3 + 2: runPass<Wide>(Radix<3, 2, true>(sign), pass); return true;
            case 16 * 2 + 4: runPass<Wide>(Radix<2, 4, true>(sign), pass); return true;
            case 16 * 4 + 2: runPass<Wide>(Radix<4, 2, true>(sign), pass); return true;
            case 16 * 2 + 5: runPass<Wide>(Radix<2, 5, true>(sign), pass); return true;
            case 16 * 5 + 2: runPass<Wide>(Radix<5, 2, true>(sign), pass); return true;
            // clang-format on
            default: return false;
        }
    }
    switch (16 * a + b) {
        // clang-format off
        case 16 * 2 + 2: runPass<Wide>(Radix<2, 2>(sign), pass); return true;
        case 16 * 2 + 3: runPass<Wide>(Radix<2, 3>(sign), pass); return true;
        case 16 * 3 + 2: runPass<Wide>(Radix<3, 2>(sign), pass); return true;
        case 16 * 2 + 4: runPass<Wide>(Radix<2, 4>(sign), pass); return true;
        case 16 * 4 + 2: runPass<Wide>(Radix<4, 2>(sign), pass); return true;
        case 16 * 2 + 5: runPass<Wide>(Radix<2, 5>(sign), pass); return true;
        case 16 * 5 + 2: runPass<Wide>(Radix<5, 2>(sign), pass); return true;
        // clang-format on
        default: return false;
    }
}

// fftUseWideVectors(false) keeps to the passes every processor runs.
bool wideVectorsAllowed = true;

#if defined(__x86_64__) || defined(__i386__)
// The same passes compiled for processors with AVX2 and FMA, four butterflies at a time;
// everything they call is compiled into them.
[[gnu::target("avx2,fma"), gnu::flatten]] bool runSmallRadixWide(int a, int b, int sign,
                                                                 const Pass& pass, bool natural) {
    return runSmallRadix<Quad>(a, b, sign, pass, natural);
}

bool hasWideVectors() {
    static const bool has = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
    return has && wideVectorsAllowed;
}
#else
bool runSmallRadixWide(int a, int b, int sign, const Pass& pass, bool natural) {
    return runSmallRadix<Pair>(a, b, sign, pass, natural);
}

bool hasWideVectors() {
    return false;
}
#endif

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
    const size_t perSequence = a.mp * a.lines;
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
                        const size_t k = a.lines == 1 ? e + b : (e + b) / a.lines;
                        const size_t w = rotationIndex(k, p - 1) + kInterleave * (j - 1);
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
    const int s = plan.sign;
    // Geometry by multiplication where it can be: divisions cost more than a short transform.
    const size_t blocks = nt == ks ? 1 : nt / ks;
    Pass pass{re, im, nt, ks, 0, jc, inc, 0, blocks, jc == inc ? 1 : jc / inc, nullptr, nullptr};
    // The last pass transforms groups of neighbouring points without rotations, and the
    // permutation takes each group to points spaced as those of a first pass. Done after the
    // permutation, a small radix's last pass therefore runs along neighbouring butterflies,
    // whole vectors at a time, instead of gathering each vector from separate butterflies.
    const int last = plan.stageCount - 1;
    const bool lastAfterPermutation = plan.factors[plan.stageFirst[last]] <= 5;
    for (int t = 0; t <= last; ++t) {
        const bool natural = t == last && lastAfterPermutation;
        if (natural) {
            permute(plan, re, im, nt, ks, jc, inc);
            pass.kspan = ks;
            pass.groups = blocks;
        }
        const int f = plan.stageFirst[t];
        const int a = plan.factors[f];
        const int b = plan.stageSize[t] == 2 ? plan.factors[f + 1] : 1;
        pass.mp = natural ? plan.length / stageRadix(plan, t) : plan.stageSpan[t];
        pass.span = pass.mp * jc;
        pass.wr = t == last ? nullptr : plan.rotRe + plan.stageBase[t];
        pass.wi = t == last ? nullptr : plan.rotIm + plan.stageBase[t];
        const bool small = hasWideVectors() ? runSmallRadixWide(a, b, s, pass, natural)
                                            : runSmallRadix<Pair>(a, b, s, pass, natural);
        if (!small && isLargePrime(a)) {
            runLargePrime(plan, f, pass);
        } else if (!small) {
            runPass<Pair>(OddRadix{static_cast<size_t>(a), plan.rotRe + plan.oddBase[f],
                                   plan.rotIm + plan.oddBase[f], plan.tmpRe, plan.tmpIm},
                          pass);
        }
        pass.kspan = pass.span;
        pass.groups *= stageRadix(plan, t);
    }
    if (!lastAfterPermutation) permute(plan, re, im, nt, ks, jc, inc);
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

void fftUseWideVectors(bool use) {
    wideVectorsAllowed = use;
}

void fftFreeScratch() {
    releasePlan(mainPlan);
    releasePlan(convolutionPlan);
}

size_t fftScratchSize() {
    return planBytes(mainPlan) + planBytes(convolutionPlan);
}
