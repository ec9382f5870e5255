#include <kalvo/plot/KPlotCurve.h>

#include <algorithm>
#include <cmath>

#include <kalvo/foundation/KArchive.h>
#include <kalvo/foundation/KException.h>
#include <kalvo/record/KRecord.h>

K_IMPLEMENT_CLASS(KPlotCurve, KCurve, 1)

namespace {
constexpr std::int32_t STORED_VERSION = 1;
}

KPlotCurve::KPlotCurve(const char* name) : KCurve(name) {
    if (name == nullptr || *name == '\0') setName("KPlotCurve");
    setMenu("KCurve");
}

void KPlotCurve::setPair(KRecordProducer* producer, int xTrace, int yTrace) {
    xChannel_ = xTrace < 0 ? DOMAIN : xTrace;
    // A curve takes its channel from the producer when it attaches: attach afresh, keeping
    // alive a producer the curve kept alive.
    const std::shared_ptr<KRecordProducer> kept = getSharedProducer();
    setProducer(nullptr);
    if (producer != nullptr) producer->selectTrace(yTrace);
    if (kept != nullptr && kept.get() == producer) {
        setSharedProducer(kept);
    } else {
        setProducer(producer);
    }
}

void KPlotCurve::setSharedPair(std::shared_ptr<KRecordProducer> producer, int xTrace, int yTrace) {
    xChannel_ = xTrace < 0 ? DOMAIN : xTrace;
    setProducer(nullptr);
    if (producer != nullptr) producer->selectTrace(yTrace);
    setSharedProducer(std::move(producer));
}

void KPlotCurve::setCaption(const char* caption) {
    caption_ = caption != nullptr ? caption : "";
    recordUpdate();
}

void KPlotCurve::setPolar(bool polar) {
    if (polar_ == polar) return;
    polar_ = polar;
    recordUpdate();
}

const double* KPlotCurve::getXValues() {
    if (xChannel_ == DOMAIN) return getXData();
    KRecordProducer* source = getSourceRecord();
    if (source == nullptr) return nullptr;
    if (const auto* record = k_dynamic_cast<KRecord>(source)) {
        const KRecord::Trace* trace = record->getTrace(xChannel_);
        return trace != nullptr && trace->getCount() == getSampleCount() ? trace->getData()
                                                                         : nullptr;
    }
    source->selectTrace(xChannel_);
    const double* x = source->getYData();
    source->selectTrace(getChannel());
    return x;
}

bool KPlotCurve::findStretch(double t0, double t1, int& first, int& last) {
    const double* t = getXData();
    const int n = getSampleCount();
    if (t == nullptr || n <= 0) return false;
    if (std::isnan(t0) && std::isnan(t1)) {
        first = 0;
        last = n - 1;
        return true;
    }
    if (t1 < t0) std::swap(t0, t1);
    first = static_cast<int>(std::lower_bound(t, t + n, t0) - t);
    last = static_cast<int>(std::upper_bound(t, t + n, t1) - t) - 1;
    return first <= last;
}

void KPlotCurve::recordUpdate() {
    KCurve::recordUpdate();
    const auto* record = k_dynamic_cast<KRecord>(getSourceRecord());
    if (record == nullptr) return;
    if (const KRecord::Trace* y = record->getTrace(getChannel())) {
        yName_ = y->getName();
        setUnits(y->getUnits().c_str());
    }
    if (const KRecord::Trace* x =
            xChannel_ == DOMAIN ? &record->getDomain() : record->getTrace(xChannel_)) {
        xName_ = x->getName().isEmpty() && xChannel_ == DOMAIN ? KString("Time") : x->getName();
        xUnits_ = x->getUnits().isEmpty() && xChannel_ == DOMAIN ? KString("s") : x->getUnits();
    }
    if (!caption_.isEmpty()) {
        setText(caption_.c_str());
    } else if (polar_) {
        KString text(xName_);
        text << " at " << yName_;
        setText(text.c_str());
    } else {
        KString text(yName_);
        text << " / " << xName_;
        setText(text.c_str());
    }
}

void KPlotCurve::copy(const KObject& other) {
    if (const auto* c = k_dynamic_cast<KPlotCurve>(const_cast<KObject*>(&other))) {
        xChannel_ = c->xChannel_;
        caption_ = c->caption_;
        polar_ = c->polar_;
    }
    KCurve::copy(other);
}

void KPlotCurve::Serialize(KArchive& ar) {
    KCurve::Serialize(ar);
    if (ar.isStoring()) {
        ar << STORED_VERSION << xChannel_;
        ar.writeString(caption_);
        return;
    }
    std::int32_t version = 0;
    ar >> version;
    if (version < 0) KException::raise("Archive Error", "Invalid plot curve version %d", version);
    if (version < 1) return;
    ar >> xChannel_;
    if (xChannel_ < DOMAIN) xChannel_ = DOMAIN;
    caption_ = ar.readString();
}
