#pragma once

// A party that acts on records (an acquisition, a reader) without being one. The record
// itself asks nothing of it; the type exists so that such parties share one base.
class KRecordActor {
public:
    KRecordActor() = default;
    KRecordActor(const KRecordActor&) = default;
    KRecordActor& operator=(const KRecordActor&) = default;
    virtual ~KRecordActor() = default;
};
