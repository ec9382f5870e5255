#pragma once

class KRecordProducer;

// Something that shows or uses the data of a record producer. The producer calls it when
// its data change (recordUpdate), when what is shown needs redrawing (recordRefresh) and
// when its data were replaced altogether (recordReset). Observers ignore what they do not
// need, so every notification does nothing by default.
class KRecordObserver {
public:
    virtual ~KRecordObserver() = default;

    virtual void recordUpdate() {}
    virtual void recordRefresh() {}
    virtual void recordReset() {}
    // The producer is being destroyed: the observer must forget it (and call nothing of it).
    virtual void recordDestroyed(KRecordProducer*) {}
    // The identifier a producer's findObserver looks for.
    virtual int getObserverId() const { return 0; }
};
