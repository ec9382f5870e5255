#include <kalvo/record/KImpedanceTransform.h>

#include <strings.h>
#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <vector>

#include <kalvo/foundation/KDouble.h>
#include <kalvo/record/KPhaseChannels.h>
#include <kalvo/record/KRecord.h>
#include <kalvo/record/KSlidingPhasorTransform.h>

namespace {

constexpr double PI = 3.14159265358979323846;
const char* const LOOP_NAMES[6] = {"AG", "BG", "CG", "AB", "BC", "CA"};
// The phases of each loop: the faulted phase of a ground loop; both of a phase loop.
constexpr int FIRST[6] = {0, 1, 2, 0, 1, 2};
constexpr int SECOND[6] = {-1, -1, -1, 1, 2, 0};
// The share of the largest loop current below which the impedance is left out, by default.
constexpr double LEAST_SHARE = 0.02;

}  // namespace

KImpedanceTransform::KImpedanceTransform() {
    setName("Impedance");
}

const char* KImpedanceTransform::getLoopName(int loop) {
    return loop >= 0 && loop < LOOP_COUNT ? LOOP_NAMES[loop] : nullptr;
}

int KImpedanceTransform::findLoop(const char* name) {
    if (name == nullptr) return -1;
    for (int loop = 0; loop < LOOP_COUNT; ++loop) {
        if (strcasecmp(name, LOOP_NAMES[loop]) == 0) return loop;
        // A phase loop named the other way round: "BA" is AB.
        const char reversed[3] = {LOOP_NAMES[loop][1], LOOP_NAMES[loop][0], '\0'};
        if (!isGroundLoop(loop) && strcasecmp(name, reversed) == 0) return loop;
    }
    return -1;
}

void KImpedanceTransform::setLoop(int loop) {
    if (loop >= 0 && loop < LOOP_COUNT) loop_ = loop;
}

void KImpedanceTransform::setResidualFactor(double magnitude, double degrees) {
    if (!std::isfinite(magnitude) || !std::isfinite(degrees)) return;
    k0Magnitude_ = magnitude;
    k0Degrees_ = degrees;
}

void KImpedanceTransform::getResidualFactor(double& magnitude, double& degrees) const {
    magnitude = k0Magnitude_;
    degrees = k0Degrees_;
}

void KImpedanceTransform::setFrequency(double hz) {
    if (std::isfinite(hz) && hz >= 0.0) frequency_ = hz;
}

void KImpedanceTransform::setChannels(const int channels[6]) {
    for (int c = 0; c < 6; ++c) channels_[c] = channels[c];
}

void KImpedanceTransform::getChannels(int channels[6]) const {
    for (int c = 0; c < 6; ++c) channels[c] = channels_[c];
}

void KImpedanceTransform::setMinimumCurrent(double amperes) {
    if (!std::isnan(amperes)) minimumCurrent_ = amperes;
}

bool KImpedanceTransform::transform(KVector<double>&, KVector<double>&, int&) {
    return false;
}

bool KImpedanceTransform::fail(const char* format, ...) {
    char text[1024];
    va_list args;
    va_start(args, format);
    std::vsnprintf(text, sizeof text, format, args);
    va_end(args);
    error_ = text;
    return false;
}

bool KImpedanceTransform::transform(KRecord* source, KRecord& target, int from, int to, bool,
                                    bool) {
    error_ = "";
    if (source == nullptr) return fail("there is no record");
    const char* name = source->getName().c_str();
    if (from < 0 || to > source->getSampleCount() || to <= from) {
        return fail("%s has no samples %d to %d", name, from, to - 1);
    }
    int channels[6];
    getChannels(channels);
    if (std::any_of(channels, channels + 6, [](int c) { return c < 0; })) {
        if (!KPhaseChannels::find(*source, channels, channels + 3)) {
            return fail("%s has no set of three phase voltages and three phase currents", name);
        }
    }
    // Every channel in volts or amperes, as its place asks.
    double factor[6];
    for (int c = 0; c < 6; ++c) {
        const KRecord::Trace* trace = source->getTrace(channels[c]);
        if (trace == nullptr || trace->isDigital()) {
            return fail("%s has no analog channel %d", name, channels[c] + 1);
        }
        const int kind = c < 3 ? KPhaseChannels::VOLTAGE : KPhaseChannels::CURRENT;
        if (KPhaseChannels::kindOf(trace->getUnits().c_str()) != kind) {
            return fail("%s is in '%s', not in %s", trace->getName().c_str(),
                        trace->getUnits().c_str(),
                        kind == KPhaseChannels::VOLTAGE ? "volts" : "amperes");
        }
        factor[c] = KPhaseChannels::toBaseUnits(trace->getUnits().c_str());
    }
    KSlidingPhasorTransform phasors;
    phasors.setFrequency(frequency_);
    const double hz = phasors.frequencyFor(*source);
    if (hz <= 0.0) return fail("%s has no line frequency", name);
    phasors.setFrequency(hz);

    const int n = to - from;
    const double* x = source->getXData() + from;
    auto samples = [&](int c) { return source->getTrace(channels[c])->getData() + from; };
    const int p = FIRST[loop_], q = SECOND[loop_];
    const bool ground = isGroundLoop(loop_);
    // Phasors are linear: the loop's quantities are taken in the time domain first, where
    // they are sums and differences, and only k0 is applied to the phasors.
    std::vector<double> work(static_cast<size_t>(n));
    auto combine = [&](int a, int b, double* out) {
        const double* ya = samples(a);
        const double* yb = b >= 0 ? samples(b) : nullptr;
        for (int i = 0; i < n; ++i)
            out[i] = ya[i] * factor[a] - (yb != nullptr ? yb[i] * factor[b] : 0.0);
    };
    std::vector<double> cr(static_cast<size_t>(n)), ci(static_cast<size_t>(n));
    combine(3 + p, ground ? -1 : 3 + q, work.data());
    if (!phasors.computePhasors(x, work.data(), n, cr.data(), ci.data())) {
        return fail(
            "%s: no phasors at %g Hz (its times do not run forward, or it has fewer than "
            "4 samples a cycle)",
            name, hz);
    }
    if (ground && k0Magnitude_ != 0.0) {
        const double* ia = samples(3);
        const double* ib = samples(4);
        const double* ic = samples(5);
        for (int i = 0; i < n; ++i)
            work[i] = ia[i] * factor[3] + ib[i] * factor[4] + ic[i] * factor[5];
        std::vector<double> zr(static_cast<size_t>(n)), zi(static_cast<size_t>(n));
        phasors.computePhasors(x, work.data(), n, zr.data(), zi.data());
        const double kr = k0Magnitude_ * std::cos(k0Degrees_ * PI / 180.0);
        const double ki = k0Magnitude_ * std::sin(k0Degrees_ * PI / 180.0);
        for (int i = 0; i < n; ++i) {
            cr[i] += kr * zr[i] - ki * zi[i];
            ci[i] += kr * zi[i] + ki * zr[i];
        }
    }
    window_ = phasors.getWindow();
    double least = minimumCurrent_;
    if (least < 0.0) {
        double largest = 0.0;
        for (int i = 0; i < n; ++i) {
            const double m = std::hypot(cr[i], ci[i]);
            if (m > largest) largest = m;
        }
        least = LEAST_SHARE * largest;
    }

    target.create(2, 0, 1024);
    target.getDomain().append(x, n);
    target.getDomain().setName(source->getDomain().getName().c_str());
    target.getDomain().setUnits(source->getDomain().getUnits().c_str());
    KRecord::Trace* r = target.getTrace(0);
    KRecord::Trace* xs = target.getTrace(1);
    for (KRecord::Trace* t : {r, xs}) {
        t->ensureCapacity(n);
        t->setCountUnset(n);
        t->setUnits("Ohm");
    }
    KString text(getLoopName(loop_));
    text << " R";
    r->setName(text.c_str());
    text = getLoopName(loop_);
    text << " X";
    xs->setName(text.c_str());
    // The loop voltage's phasor goes where the impedance will be.
    double* vr = r->getData();
    double* vi = xs->getData();
    combine(p, ground ? -1 : q, work.data());
    phasors.computePhasors(x, work.data(), n, vr, vi);
    for (int i = 0; i < n; ++i) {
        const double c2 = cr[i] * cr[i] + ci[i] * ci[i];
        if (!(c2 >= least * least) || c2 == 0.0) {
            vr[i] = vi[i] = KDouble::NaN;
            continue;
        }
        const double a = vr[i], b = vi[i];
        vr[i] = (a * cr[i] + b * ci[i]) / c2;
        vi[i] = (b * cr[i] - a * ci[i]) / c2;
    }
    target.setName(source->getName().c_str());
    target.setDevice(source->getDevice().c_str());
    target.setFormat(source->getFormat().c_str());
    text.format("Apparent impedance of loop %s", getLoopName(loop_));
    target.setDescription(text.c_str());
    target.setTriggerValue(source->getTriggerValue());
    const KProperties& properties = source->getProperties();
    for (int i = 0; i < properties.getCount(); ++i) {
        target.setProperty(properties.getKey(i).c_str(), properties.getValue(i).c_str());
    }
    target.selectTrace(0);
    target.updateObservers();
    return true;
}
