#include <kalvo/record/KTraceSummary.h>

#include <algorithm>
#include <cmath>
#include <limits>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {
constexpr double HUGE_VALUE = std::numeric_limits<double>::infinity();

// Folds the finite samples of y[from..to-1] into lo and hi, and sets gap when one is not
// finite. Two lanes at a time, four samples a step, without branches: a sample that is not
// finite counts as an infinity that moves neither extreme.
void foldSamples(const double* y, int from, int to, double& lo, double& hi, bool& gap) {
    int i = from;
#if defined(__SSE2__)
    if (to - from >= 8) {
        const __m128d magnitude = _mm_castsi128_pd(_mm_set1_epi64x(0x7FFFFFFFFFFFFFFF));
        const __m128d largest = _mm_set1_pd(std::numeric_limits<double>::max());
        const __m128d up = _mm_set1_pd(HUGE_VALUE), down = _mm_set1_pd(-HUGE_VALUE);
        __m128d lo0 = _mm_set1_pd(lo), lo1 = lo0, hi0 = _mm_set1_pd(hi), hi1 = hi0;
        __m128d finite = _mm_castsi128_pd(_mm_set1_epi64x(-1));
        auto fold = [&](__m128d v, __m128d& l, __m128d& h) {
            const __m128d ok = _mm_cmple_pd(_mm_and_pd(v, magnitude), largest);
            finite = _mm_and_pd(finite, ok);
            l = _mm_min_pd(l, _mm_or_pd(_mm_and_pd(ok, v), _mm_andnot_pd(ok, up)));
            h = _mm_max_pd(h, _mm_or_pd(_mm_and_pd(ok, v), _mm_andnot_pd(ok, down)));
        };
        for (; i + 4 <= to; i += 4) {
            fold(_mm_loadu_pd(y + i), lo0, hi0);
            fold(_mm_loadu_pd(y + i + 2), lo1, hi1);
        }
        alignas(16) double l[2], h[2];
        _mm_store_pd(l, _mm_min_pd(lo0, lo1));
        _mm_store_pd(h, _mm_max_pd(hi0, hi1));
        lo = std::min(l[0], l[1]);
        hi = std::max(h[0], h[1]);
        if (_mm_movemask_pd(finite) != 3) gap = true;
    }
#endif
    for (; i < to; ++i) {
        const double v = y[i];
        if (!std::isfinite(v)) {
            gap = true;
            continue;
        }
        if (v < lo) lo = v;
        if (v > hi) hi = v;
    }
}

}  // namespace

void KTraceSummary::clear() {
    count_ = 0;
    ordered_ = true;
    levels_.clear();
}

void KTraceSummary::build(const double* x, const double* y, int n) {
    clear();
    if (y == nullptr || n <= 0) return;
    count_ = n;
    if (x != nullptr) {
        for (int i = 0; i < n && ordered_; ++i) {
            if (!std::isfinite(x[i]) || (i > 0 && x[i] < x[i - 1])) ordered_ = false;
        }
    }
    // Level 0 from the samples.
    Level base;
    const int blocks = (n + BLOCK - 1) / BLOCK;
    base.nodes.resize(blocks);
    base.gaps.assign((blocks + 63) / 64, 0);
    for (int b = 0; b < blocks; ++b) {
        double lo = HUGE_VALUE, hi = -HUGE_VALUE;
        bool gap = false;
        foldSamples(y, b * BLOCK, b * BLOCK + BLOCK < n ? b * BLOCK + BLOCK : n, lo, hi, gap);
        base.nodes[b] = Node{lo, hi};
        if (gap) base.setGap(b);
    }
    levels_.push_back(std::move(base));
    // Each further level from the one below, until a level has few entries.
    while (levels_.back().nodes.size() > static_cast<std::size_t>(FANOUT)) {
        const Level& below = levels_.back();
        const std::size_t m = below.nodes.size();
        Level up;
        const std::size_t count = (m + FANOUT - 1) / FANOUT;
        up.nodes.resize(count);
        up.gaps.assign((count + 63) / 64, 0);
        for (std::size_t b = 0; b < count; ++b) {
            double lo = HUGE_VALUE, hi = -HUGE_VALUE;
            bool gap = false;
            const std::size_t end = b * FANOUT + FANOUT < m ? b * FANOUT + FANOUT : m;
            for (std::size_t i = b * FANOUT; i < end; ++i) {
                if (below.nodes[i].min < lo) lo = below.nodes[i].min;
                if (below.nodes[i].max > hi) hi = below.nodes[i].max;
                gap = gap || below.gap(i);
            }
            up.nodes[b] = Node{lo, hi};
            if (gap) up.setGap(b);
        }
        levels_.push_back(std::move(up));
    }
}

// Level -1 is the samples themselves.
void KTraceSummary::scan(const double* y, int level, int from, int to, Extremes& e) const {
    if (level < 0) {
        foldSamples(y, from, to, e.min, e.max, e.gap);
        return;
    }
    const Level& l = levels_[level];
    for (int i = from; i < to; ++i) {
        if (l.nodes[i].min < e.min) e.min = l.nodes[i].min;
        if (l.nodes[i].max > e.max) e.max = l.nodes[i].max;
        if (l.gap(i)) e.gap = true;
    }
}

void KTraceSummary::query(const double* y, int level, int from, int to, Extremes& e) const {
    const int fanout = level < 0 ? BLOCK : FANOUT;
    // The blocks of the level above that lie wholly inside the stretch.
    const int first = (from + fanout - 1) / fanout;
    const int last = to / fanout;
    if (level + 1 >= static_cast<int>(levels_.size()) || first >= last) {
        scan(y, level, from, to, e);
        return;
    }
    scan(y, level, from, first * fanout, e);
    scan(y, level, last * fanout, to, e);
    query(y, level + 1, first, last, e);
}

KTraceSummary::Extremes KTraceSummary::find(const double* y, int from, int to) const {
    Extremes e{HUGE_VALUE, -HUGE_VALUE, false};
    if (from < 0) from = 0;
    if (to > count_) to = count_;
    if (y == nullptr || from >= to) return e;
    query(y, -1, from, to, e);
    return e;
}

std::size_t KTraceSummary::getMemorySize() const {
    std::size_t bytes = 0;
    for (const Level& l : levels_) {
        bytes += l.nodes.capacity() * sizeof(Node) + l.gaps.capacity() * sizeof(std::uint64_t);
    }
    return bytes;
}
