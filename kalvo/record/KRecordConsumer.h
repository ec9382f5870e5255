#pragma once

// The side of a record through which an acquisition feeds it, one sample row at a time:
// the domain value and each trace value of the row are set, then the row is committed.
class KRecordConsumer {
public:
    virtual ~KRecordConsumer() = default;

    virtual void setName(const char* name) = 0;
    virtual void setDomainValue(double value) = 0;
    virtual void setTraceName(int trace, const char* name) = 0;
    virtual void setTraceValue(int trace, double value) = 0;
};
