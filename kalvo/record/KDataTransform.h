#pragma once

#include <kalvo/foundation/KString.h>
#include <kalvo/foundation/KVector.h>

// A transform of sample columns: each column of in is an array of n doubles. A transform
// appends new arrays of its own to out, which the caller owns and deletes with delete[].
// It may change n to tell the caller how much of each output to use.
class KDataTransform {
public:
    KDataTransform() : name_("KDataTransform") {}
    KDataTransform(const KDataTransform&) = default;
    KDataTransform& operator=(const KDataTransform&) = default;
    virtual ~KDataTransform() = default;

    const KString& getName() const { return name_; }
    void setName(const KString& name) { name_ = name; }

    // The base transforms nothing: false, and out is left alone.
    virtual bool transform(KVector<double>& in, KVector<double>& out, int& n);

    // Deletes every array of columns and empties it.
    static void deleteColumns(KVector<double>& columns);

private:
    KString name_;
};
