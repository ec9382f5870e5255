#pragma once

#include <kalvo/foundation/KObject.h>
#include <kalvo/foundation/KString.h>
#include <kalvo/foundation/KVectorBuffer.h>

class KRecordObserver;

// The side of a data source that displays read: a domain array (sample times), the values
// of one selected trace, and the observers to notify when either changes. The arrays come
// from the derived class; the look-ups here work on whatever it supplies.
class KRecordProducer : public KObject {
    K_DECLARE_CLASS(KRecordProducer);

public:
    KRecordProducer();
    // Observers belong to one producer: a copy starts with none.
    KRecordProducer(const KRecordProducer& other);
    KRecordProducer& operator=(const KRecordProducer& other);
    // Tells every observer that the producer is going.
    ~KRecordProducer() override;

    virtual int getTraceCount() const;
    // Both NaN when there are no samples, else the first and the last domain value.
    virtual void getLimits(double& first, double& last) const;
    // Sample rows; by default as many as there are traces, which a record overrides.
    virtual int getSampleCount() const;
    virtual const double* getXData() const = 0;
    // The values of the selected trace; null when none is selected.
    virtual const double* getYData() const = 0;
    virtual void selectTrace(int trace) = 0;
    virtual int getTraceIndex() const = 0;
    // Extremes of the selected trace over count samples from from (count 0: to the end).
    virtual double getMinValue(int from, int count) const;
    virtual double getMaxValue(int from, int count) const;
    // Appends "%f,%f\n" rows (domain, selected trace) for the samples from..to-1; a negative
    // or too large to means to the end. False when from < 0 or from >= to.
    virtual bool copyData(KString& out, int from, int to) const;
    // The domain value of the trigger; NaN when the source has none.
    virtual double getTriggerValue() const;

    virtual void addObserver(KRecordObserver* observer);
    virtual void removeObserver(KRecordObserver* observer);
    // Tells every observer but except (the one that made the change) that the data changed.
    virtual void updateObservers(KRecordObserver* except = nullptr);
    virtual int getObserverCount() const;
    virtual KRecordObserver* getObserver(int i) const;
    virtual KRecordObserver* findObserver(int id) const;
    virtual void refreshObservers();
    virtual void resetObservers();

    // The index i with X[i] < x <= X[i+1], clamped to 0..n-1; -1 for a non-finite x or
    // when there are no samples.
    int findIndex(double x) const;
    // Y[i]; NaN outside 0..n-1 or when there are no values.
    double getValueAt(int i) const;
    // The value at or before x, optionally interpolated towards the next sample; NaN at
    // the last sample and beyond the data.
    double getValueAt(double x, bool interpolate) const;
    // Interpolation over the interval before x's, with the weights of its two ends swapped.
    // Displays rely on this exact rule. NaN when that interval does not exist.
    double interpolate(double x) const;

private:
    KVectorBuffer observers_;
};
