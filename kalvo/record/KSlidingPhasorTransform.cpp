#include <kalvo/record/KSlidingPhasorTransform.h>

#include <algorithm>
#include <cmath>
#include <memory>

#include <kalvo/foundation/KDouble.h>
#include <kalvo/record/KRecord.h>

namespace {

constexpr double PI = 3.14159265358979323846;
// A domain counts as evenly spaced when no sample lies further than this share of a step
// from its place on the even grid, and as a whole number of samples per cycle within this
// share (over ten million samples that keeps the angle reference within a tenth of a degree).
constexpr double EVEN = 0.01;
constexpr double WHOLE = 1e-9;
// Fewer samples per cycle than this give no phasors.
constexpr int LEAST_WINDOW = 4;
// An interval this many typical steps long is a gap.
constexpr double GAP = 2.5;
// The running sums restart from an exact sum about this often (in samples).
constexpr int LEAST_BLOCK = 16384;

struct Twiddle {
    double re, im;
};

// Whether every sample of y[from..to-1] is finite: any NaN or infinity makes the sum NaN.
bool allFinite(const double* y, int from, int to) {
    double check = 0.0;
    for (int i = from; i < to; ++i) check += y[i] * 0.0;
    return check == 0.0;
}

}  // namespace

KSlidingPhasorTransform::KSlidingPhasorTransform() {
    setName("Phasor");
}

void KSlidingPhasorTransform::setFrequency(double hz) {
    if (std::isfinite(hz) && hz >= 0.0) frequency_ = hz;
}

void KSlidingPhasorTransform::setForm(int form) {
    if (form == CARTESIAN || form == POLAR) form_ = form;
}

double KSlidingPhasorTransform::frequencyFor(const KRecord& record) const {
    if (frequency_ > 0.0) return frequency_;
    const KString text = record.getProperty(KRecord::LINE_FREQUENCY);
    const double hz = text.isEmpty() ? 0.0 : KDouble::valueOf(text.c_str());
    return std::isfinite(hz) && hz > 0.0 ? hz : 0.0;
}

bool KSlidingPhasorTransform::plan(const double* x, int n, double hz) {
    window_ = 0;
    resampled_ = false;
    if (x == nullptr || n < 2 || !(hz > 0.0) || !std::isfinite(hz)) return false;
    if (!std::isfinite(x[0]) || !std::isfinite(x[n - 1])) return false;
    const double step = (x[n - 1] - x[0]) / (n - 1);
    if (!(step > 0.0)) return false;
    // One pass: the times run forward (and are finite), and whether they keep to the grid.
    bool even = true;
    for (int i = 1; i < n; ++i) {
        if (!(x[i] >= x[i - 1])) return false;
        even = even && std::fabs(x[i] - (x[0] + i * step)) <= EVEN * step;
    }
    const double perCycle = 1.0 / (step * hz);
    const double whole = std::round(perCycle);
    if (even && std::fabs(perCycle - whole) <= WHOLE * perCycle) {
        if (whole < LEAST_WINDOW) return false;
        window_ = static_cast<int>(whole);
        step_ = step;
        gap_ = GAP * step;
        return true;
    }
    // The typical step: the median of (at most a few thousand) intervals spread over the
    // record, so that slow stretches and gaps do not decide it.
    const int stride = std::max(1, (n - 1) / 4096);
    std::vector<double> steps;
    for (int i = 1; i < n; i += stride) {
        if (x[i] > x[i - 1]) steps.push_back(x[i] - x[i - 1]);
    }
    if (steps.empty()) return false;
    std::nth_element(steps.begin(), steps.begin() + steps.size() / 2, steps.end());
    const double typical = steps[steps.size() / 2];
    const double grid = std::ceil(1.0 / (typical * hz) - 1e-6);
    if (!(grid >= LEAST_WINDOW) || grid > 1e6) return false;
    window_ = static_cast<int>(grid);
    resampled_ = true;
    step_ = 1.0 / (grid * hz);
    gap_ = GAP * typical;
    return true;
}

namespace {

// The sums of the cycle that ends at sample last.
void exactSum(const double* y, int last, const Twiddle* t, int w, double& sr, double& si) {
    sr = si = 0.0;
    int k = (last - w + 1) % w;
    for (int i = last - w + 1; i <= last; ++i) {
        sr += y[i] * t[k].re;
        si += y[i] * t[k].im;
        if (++k == w) k = 0;
    }
}

// The phasors of samples first..end-1, each from the one before; cycles that hold a sample
// that is not finite have none (the sums then take the finite samples only).
void slideOne(const double* y, int first, int end, const Twiddle* t, int w, double* re,
              double* im) {
    int k = (first + 1) % w;
    double sr, si;
    if (allFinite(y, first - w + 1, end)) {
        exactSum(y, first, t, w, sr, si);
        re[first] = sr;
        im[first] = si;
        for (int i = first + 1; i < end; ++i) {
            const double d = y[i] - y[i - w];
            sr += d * t[k].re;
            si += d * t[k].im;
            re[i] = sr;
            im[i] = si;
            if (++k == w) k = 0;
        }
        return;
    }
    sr = si = 0.0;
    int missing = 0;
    auto take = [&](int i, int kk, double sign) {
        if (std::isfinite(y[i])) {
            sr += sign * y[i] * t[kk].re;
            si += sign * y[i] * t[kk].im;
        } else {
            missing += sign > 0 ? 1 : -1;
        }
    };
    for (int i = first - w + 1, kk = (first - w + 1) % w; i <= first; ++i) {
        take(i, kk, 1.0);
        if (++kk == w) kk = 0;
    }
    re[first] = missing > 0 ? KDouble::NaN : sr;
    im[first] = missing > 0 ? KDouble::NaN : si;
    for (int i = first + 1; i < end; ++i) {
        // Samples i and i - w share their place in the kernel.
        take(i - w, k, -1.0);
        take(i, k, 1.0);
        re[i] = missing > 0 ? KDouble::NaN : sr;
        im[i] = missing > 0 ? KDouble::NaN : si;
        if (++k == w) k = 0;
    }
}

// Four stretches of the same whole number of cycles from first on, side by side: their sums
// advance independently, so that none waits for the one before. Every sample is finite.
void slideFour(const double* y, int first, int stretch, const Twiddle* t, int w, double* re,
               double* im) {
    const int b0 = first, b1 = first + stretch, b2 = first + 2 * stretch, b3 = first + 3 * stretch;
    double r0, i0, r1, i1, r2, i2, r3, i3;
    exactSum(y, b0, t, w, r0, i0);
    exactSum(y, b1, t, w, r1, i1);
    exactSum(y, b2, t, w, r2, i2);
    exactSum(y, b3, t, w, r3, i3);
    re[b0] = r0, im[b0] = i0, re[b1] = r1, im[b1] = i1;
    re[b2] = r2, im[b2] = i2, re[b3] = r3, im[b3] = i3;
    // The stretches are whole cycles apart: their samples share the kernel's place.
    int k = (first + 1) % w;
    for (int i = 1; i < stretch; ++i) {
        const double tr = t[k].re, ti = t[k].im;
        const double d0 = y[b0 + i] - y[b0 + i - w], d1 = y[b1 + i] - y[b1 + i - w];
        const double d2 = y[b2 + i] - y[b2 + i - w], d3 = y[b3 + i] - y[b3 + i - w];
        r0 += d0 * tr, i0 += d0 * ti, r1 += d1 * tr, i1 += d1 * ti;
        r2 += d2 * tr, i2 += d2 * ti, r3 += d3 * tr, i3 += d3 * ti;
        re[b0 + i] = r0, im[b0 + i] = i0, re[b1 + i] = r1, im[b1 + i] = i1;
        re[b2 + i] = r2, im[b2 + i] = i2, re[b3 + i] = r3, im[b3 + i] = i3;
        if (++k == w) k = 0;
    }
}

}  // namespace

void KSlidingPhasorTransform::slide(const double* y, int n, double t0, double hz, double* re,
                                    double* im) const {
    const int w = window_;
    // The DFT's kernel over one cycle, with the RMS scale and the turn of time t0 folded in.
    std::vector<Twiddle> kernel(static_cast<size_t>(w));
    const double scale = std::sqrt(2.0) / w;
    const double start = std::fmod(2 * PI * hz * t0, 2 * PI);
    for (int k = 0; k < w; ++k) {
        const double angle = start + 2 * PI * k / w;
        kernel[k] = {scale * std::cos(angle), -scale * std::sin(angle)};
    }
    const Twiddle* t = kernel.data();
    // No phasor before the first whole cycle.
    for (int i = 0; i < std::min(n, w - 1); ++i) re[i] = im[i] = KDouble::NaN;
    // Stretches of whole cycles, each restarted from an exact sum so that rounding cannot
    // build up, four at a time where all their samples are finite.
    const int stretch = w * std::max(1, LEAST_BLOCK / w);
    for (int b = w - 1; b < n;) {
        if (n - b >= 4 * stretch && allFinite(y, b - w + 1, b + 4 * stretch)) {
            slideFour(y, b, stretch, t, w, re, im);
            b += 4 * stretch;
        } else {
            const int end = std::min(n, b + stretch);
            slideOne(y, b, end, t, w, re, im);
            b = end;
        }
    }
}

bool KSlidingPhasorTransform::computePhasors(const double* x, const double* y, int n, double* re,
                                             double* im) {
    if (y == nullptr || re == nullptr || im == nullptr || n < 1) return false;
    if (!plan(x, n, frequency_)) return false;
    compute(x, y, n, frequency_, re, im);
    return true;
}

void KSlidingPhasorTransform::compute(const double* x, const double* y, int n, double hz,
                                      double* re, double* im) {
    setSampleRate(1.0 / step_);
    if (!resampled_) {
        slide(y, n, x[0], hz, re, im);
        return;
    }
    // Resampled onto the even grid, with NaN where the grid point falls into a gap.
    const double span = x[n - 1] - x[0];
    const int m = static_cast<int>(std::floor(span / step_ + 1e-9)) + 1;
    std::vector<double> grid(static_cast<size_t>(m));
    int j = 0;
    for (int g = 0; g < m; ++g) {
        const double t = x[0] + g * step_;
        while (j + 1 < n && x[j + 1] <= t) ++j;
        if (j + 1 >= n) {
            grid[g] = y[j];
            continue;
        }
        const double dt = x[j + 1] - x[j];
        grid[g] = dt > gap_ ? KDouble::NaN : y[j] + (y[j + 1] - y[j]) * (t - x[j]) / dt;
    }
    std::vector<double> gr(static_cast<size_t>(m)), gi(static_cast<size_t>(m));
    slide(grid.data(), m, x[0], hz, gr.data(), gi.data());
    // Each sample between the two grid windows that end around it.
    for (int i = 0; i < n; ++i) {
        const double u = (x[i] - x[0]) / step_;
        const int g = std::clamp(static_cast<int>(std::floor(u)), 0, m - 1);
        const double f = u - g;
        if (g + 1 < m && f > 1e-9) {
            re[i] = gr[g] + (gr[g + 1] - gr[g]) * f;
            im[i] = gi[g] + (gi[g + 1] - gi[g]) * f;
        } else {
            re[i] = gr[g];
            im[i] = gi[g];
        }
    }
}

void KSlidingPhasorTransform::toPolar(double* re, double* im, int n) {
    for (int i = 0; i < n; ++i) {
        const double magnitude = std::hypot(re[i], im[i]);
        im[i] = std::atan2(im[i], re[i]) * 180.0 / PI;
        re[i] = magnitude;
    }
}

bool KSlidingPhasorTransform::transform(KVector<double>& in, KVector<double>& out, int& n) {
    if (n < 1 || in.getCount() < 2 || in.get(0) == nullptr) return false;
    for (int c = 1; c < in.getCount(); ++c) {
        if (in.get(c) == nullptr) return false;
    }
    if (!plan(in.get(0), n, frequency_)) return false;
    KVector<double> made;
    for (int c = 1; c < in.getCount(); ++c) {
        auto* re = new double[static_cast<size_t>(n)];
        auto* im = new double[static_cast<size_t>(n)];
        made.add(re);
        made.add(im);
        compute(in.get(0), in.get(c), n, frequency_, re, im);
        if (form_ == POLAR) toPolar(re, im, n);
    }
    for (int c = 0; c < made.getCount(); ++c) out.add(made.get(c));
    return true;
}

bool KSlidingPhasorTransform::transform(KRecord* source, KRecord& target, int from, int to, bool,
                                        bool) {
    if (source == nullptr || source->getTrace(source->getTraceIndex()) == nullptr) return false;
    return fill(*source, {source->getTraceIndex()}, from, to, target);
}

bool KSlidingPhasorTransform::transformTraces(const KRecord& source, const std::vector<int>& traces,
                                              KRecord& target) {
    return fill(source, traces, 0, source.getSampleCount(), target);
}

bool KSlidingPhasorTransform::fill(const KRecord& source, const std::vector<int>& traces, int from,
                                   int to, KRecord& target) {
    if (from < 0 || to > source.getSampleCount() || to <= from) return false;
    for (int t : traces) {
        if (source.getTrace(t) == nullptr) return false;
    }
    const double hz = frequencyFor(source);
    const int n = to - from;
    const double* x = source.getXData() + from;
    // Everything that can fail is known from the plan: target changes only after it.
    if (!plan(x, n, hz)) return false;
    // A target of the same make-up keeps its traces, and their memory.
    const int count = 2 * static_cast<int>(traces.size());
    if (target.getTraceCount() != count || &target == &source) {
        target.create(count, 0, 1024);
    } else {
        target.getDomain().removeAll();
        target.clearSamplingTable();
    }
    target.getDomain().append(x, n);
    target.getDomain().setName(source.getDomain().getName().c_str());
    target.getDomain().setUnits(source.getDomain().getUnits().c_str());
    static const char* const suffix[2][2] = {{" re", " im"}, {" mag", " ang"}};
    for (size_t c = 0; c < traces.size(); ++c) {
        const KRecord::Trace& in = *source.getTrace(traces[c]);
        KRecord::Trace* pair[2] = {target.getTrace(2 * static_cast<int>(c)),
                                   target.getTrace(2 * static_cast<int>(c) + 1)};
        for (int t = 0; t < 2; ++t) {
            pair[t]->ensureCapacity(n);
            pair[t]->setCountUnset(n);
            KString name(in.getName());
            name << suffix[form_][t];
            pair[t]->setName(name.c_str());
            pair[t]->setUnits(form_ == POLAR && t == 1 ? "deg" : in.getUnits().c_str());
            pair[t]->setPhase(in.getPhase().c_str());
            pair[t]->setCircuit(in.getCircuit().c_str());
        }
        compute(x, in.getData() + from, n, hz, pair[0]->getData(), pair[1]->getData());
        if (form_ == POLAR) toPolar(pair[0]->getData(), pair[1]->getData(), n);
    }
    target.setName(source.getName().c_str());
    target.setDevice(source.getDevice().c_str());
    target.setFormat(source.getFormat().c_str());
    target.setDescription("One-cycle phasors");
    target.setTriggerValue(source.getTriggerValue());
    const KProperties& properties = source.getProperties();
    for (int i = 0; i < properties.getCount(); ++i) {
        target.setProperty(properties.getKey(i).c_str(), properties.getValue(i).c_str());
    }
    target.selectTrace(0);
    target.updateObservers();
    return true;
}
