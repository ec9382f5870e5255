#include <kalvo/record/KTraceSummary.h>

#include <cmath>
#include <limits>

namespace {
constexpr double HUGE_VALUE = std::numeric_limits<double>::infinity();
}

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
        const int end = b * BLOCK + BLOCK < n ? b * BLOCK + BLOCK : n;
        for (int i = b * BLOCK; i < end; ++i) {
            const double v = y[i];
            if (!std::isfinite(v)) {
                gap = true;
                continue;
            }
            if (v < lo) lo = v;
            if (v > hi) hi = v;
        }
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
        for (int i = from; i < to; ++i) {
            const double v = y[i];
            if (!std::isfinite(v)) {
                e.gap = true;
                continue;
            }
            if (v < e.min) e.min = v;
            if (v > e.max) e.max = v;
        }
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
