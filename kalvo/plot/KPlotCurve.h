#pragma once

#include <cstdint>
#include <memory>

#include <kalvo/graph/KCurve.h>

// One pair of a plot: a curve of its Y trace, with everything a curve holds (colour, width,
// legend entry, the producer it observes, the Y scale and offsets), and the trace of the same
// producer that gives its X values: another trace, or the producer's domain (DOMAIN) for a
// quantity against time. Its legend text is its caption, or "<Y> / <X>" without one.
class KPlotCurve : public KCurve {
    K_DECLARE_CLASS(KPlotCurve);

public:
    // The X channel of a pair against the domain (time).
    static constexpr int DOMAIN = -1;

    explicit KPlotCurve(const char* name = nullptr);

    // Attaches to the producer with its traces x (or DOMAIN) and y.
    void setPair(KRecordProducer* producer, int xTrace, int yTrace);
    // The same, keeping the producer alive with every curve given it.
    void setSharedPair(std::shared_ptr<KRecordProducer> producer, int xTrace, int yTrace);
    int getXChannel() const { return xChannel_; }

    // The legend text; empty (the default) names the pair "<Y> / <X>", or "<X> at <Y>" (the
    // magnitude at the angle) in a polar plot.
    void setCaption(const char* caption);
    const KString& getCaption() const { return caption_; }
    // Whether the pair is magnitude and angle, as a polar plot takes it.
    void setPolar(bool polar);
    bool isPolar() const { return polar_; }

    // The X values, as many as getSampleCount(): the X trace's samples or the domain's; null
    // without data.
    const double* getXValues();
    // Names and units of the two traces ("Time" and "s" for the domain).
    const KString& getXName() const { return xName_; }
    const KString& getXUnits() const { return xUnits_; }
    const KString& getYName() const { return yName_; }

    // The samples whose times lie from t0 to t1 (both NaN: all of them): false when none.
    bool findStretch(double t0, double t1, int& first, int& last);

    void recordUpdate() override;

    void copy(const KObject& other) override;
    // After the curve: version 1; the X channel and the caption.
    void Serialize(KArchive& archive) override;

private:
    std::int32_t xChannel_ = DOMAIN;
    KString caption_;
    bool polar_ = false;
    KString xName_, xUnits_, yName_;
};
