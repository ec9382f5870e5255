#include <kalvo/record/KRecordProducer.h>

#include <cmath>
#include <cstdio>

#include <kalvo/foundation/KDouble.h>
#include <kalvo/record/KRecordObserver.h>
#include <kalvo/record/KSampleStatistics.h>

K_IMPLEMENT_ABSTRACT(KRecordProducer, KObject)

KRecordProducer::KRecordProducer() : observers_(0, 8) {}

KRecordProducer::KRecordProducer(const KRecordProducer& other) : KObject(other), observers_(0, 8) {}

KRecordProducer& KRecordProducer::operator=(const KRecordProducer& other) {
    KObject::operator=(other);
    return *this;
}

KRecordProducer::~KRecordProducer() {
    // An observer may stop observing while it is told.
    while (observers_.getCount() > 0) {
        auto* observer = static_cast<KRecordObserver*>(observers_.remove(observers_.getCount() - 1));
        observer->recordDestroyed(this);
    }
}

int KRecordProducer::getTraceCount() const {
    return 0;
}

void KRecordProducer::getLimits(double& first, double& last) const {
    first = last = KDouble::NaN;
    const double* x = getXData();
    const int n = getSampleCount();
    if (x == nullptr || n <= 0) return;
    first = x[0];
    last = x[n - 1];
}

int KRecordProducer::getSampleCount() const {
    return getTraceCount();
}

double KRecordProducer::getMinValue(int from, int count) const {
    const double* y = getYData();
    if (y == nullptr) return KDouble::NaN;
    return KSampleStatistics::minimum(y, getSampleCount(), from, count);
}

double KRecordProducer::getMaxValue(int from, int count) const {
    const double* y = getYData();
    if (y == nullptr) return KDouble::NaN;
    return KSampleStatistics::maximum(y, getSampleCount(), from, count);
}

bool KRecordProducer::copyData(KString& out, int from, int to) const {
    const double* x = getXData();
    const double* y = getYData();
    const int n = getSampleCount();
    if (to < 0 || to > n) to = n;
    if (from < 0 || from >= to || x == nullptr || y == nullptr) return false;

    // Large copies must neither be cut at the usual string limit nor regrow in small steps.
    KString::setIncrement(4096);
    KString::setMaxSize(-1);
    out.ensureCapacity(out.length() + 20u * static_cast<unsigned>(to - from));
    // Two "%f" of the largest doubles take about 640 characters.
    char row[1024];
    for (int i = from; i < to; ++i) {
        std::snprintf(row, sizeof row, "%f,%f\n", x[i], y[i]);
        out.append(row);
    }
    KString::setMaxSize(65535);
    KString::setIncrement(0);
    return true;
}

double KRecordProducer::getTriggerValue() const {
    return KDouble::NaN;
}

void KRecordProducer::addObserver(KRecordObserver* observer) {
    if (observer != nullptr) observers_.add(observer);
}

void KRecordProducer::removeObserver(KRecordObserver* observer) {
    observers_.removeItem(observer);
}

void KRecordProducer::updateObservers(KRecordObserver* except) {
    for (int i = 0; i < observers_.getCount(); ++i) {
        auto* observer = static_cast<KRecordObserver*>(observers_.get(i));
        if (observer != except) observer->recordUpdate();
    }
}

int KRecordProducer::getObserverCount() const {
    return observers_.getCount();
}

KRecordObserver* KRecordProducer::getObserver(int i) const {
    return static_cast<KRecordObserver*>(observers_.get(i));
}

KRecordObserver* KRecordProducer::findObserver(int id) const {
    for (int i = 0; i < observers_.getCount(); ++i) {
        auto* observer = static_cast<KRecordObserver*>(observers_.get(i));
        if (observer->getObserverId() == id) return observer;
    }
    return nullptr;
}

void KRecordProducer::refreshObservers() {
    for (int i = 0; i < observers_.getCount(); ++i) getObserver(i)->recordRefresh();
}

void KRecordProducer::resetObservers() {
    for (int i = 0; i < observers_.getCount(); ++i) getObserver(i)->recordReset();
}

int KRecordProducer::findIndex(double x) const {
    const double* xs = getXData();
    const int n = getSampleCount();
    if (!std::isfinite(x) || xs == nullptr || n <= 0) return -1;
    if (x <= xs[0]) return 0;
    if (x >= xs[n - 1]) return n - 1;
    int lo = 0;
    int hi = n - 1;
    int mid = hi / 2;
    if (mid < 1) return 0;
    while (lo < mid) {
        if (xs[mid] >= x) {
            hi = mid;
        } else {
            lo = mid;
        }
        mid = (lo + hi) / 2;
    }
    return lo;
}

double KRecordProducer::getValueAt(int i) const {
    const double* y = getYData();
    if (y == nullptr || i < 0 || i >= getSampleCount()) return KDouble::NaN;
    return y[i];
}

double KRecordProducer::getValueAt(double x, bool interpolate) const {
    const double* xs = getXData();
    const double* y = getYData();
    if (xs == nullptr || y == nullptr) return KDouble::NaN;
    const int i = findIndex(x);
    if (i < 0 || i >= getSampleCount() - 1) return KDouble::NaN;
    if (!interpolate) return y[i];
    return y[i] + (x - xs[i]) / (xs[i + 1] - xs[i]) * (y[i + 1] - y[i]);
}

double KRecordProducer::interpolate(double x) const {
    const double* xs = getXData();
    const double* y = getYData();
    const int i = findIndex(x);
    // At or before the first sample there is no interval before x's.
    if (xs == nullptr || y == nullptr || i < 1) return KDouble::NaN;
    return ((x - xs[i - 1]) * y[i - 1] + (xs[i] - x) * y[i]) / (xs[i] - xs[i - 1]);
}
