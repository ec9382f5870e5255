#pragma once

#include <kalvo/foundation/KVectorBuffer.h>

// A typed list of pointers to T (for KVector<double>, pointers to arrays of doubles). It
// does not own what it points to: whoever receives the pointers decides their fate.
template <class T>
class KVector {
public:
    explicit KVector(int capacity = 0, int step = 8) : items_(capacity, step) {}

    int getCount() const { return items_.getCount(); }
    int size() const { return items_.getCount(); }
    bool isEmpty() const { return items_.isEmpty(); }

    // Null outside 0..count-1.
    T* get(int i) const { return static_cast<T*>(items_.get(i)); }
    T* operator[](int i) const { return get(i); }
    void set(int i, T* item) { items_.set(i, item); }
    int add(T* item) { return items_.add(item); }
    void insert(int i, T* item) { items_.insert(i, item); }
    T* remove(int i) { return static_cast<T*>(items_.remove(i)); }
    bool removeItem(const T* item) { return items_.removeItem(item); }
    int indexOf(const T* item) const { return items_.indexOf(item); }
    void removeAll() { items_.removeAll(); }

private:
    KVectorBuffer items_;
};
