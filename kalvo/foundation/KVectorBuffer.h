#pragma once

// A growable array of untyped pointers, which it does not own. It grows by at least its
// step and at least by half of what it holds, so that adding one by one stays linear.
class KVectorBuffer {
public:
    explicit KVectorBuffer(int capacity = 0, int step = 8);
    KVectorBuffer(const KVectorBuffer& other);
    KVectorBuffer& operator=(const KVectorBuffer& other);
    ~KVectorBuffer();

    int getCount() const { return count_; }
    int getCapacity() const { return capacity_; }
    int getStep() const { return step_; }
    bool isEmpty() const { return count_ == 0; }
    void* const* data() const { return items_; }

    // Null outside 0..count-1.
    void* get(int i) const { return i >= 0 && i < count_ ? items_[i] : nullptr; }
    // Ignored outside 0..count-1.
    void set(int i, void* item);
    int add(void* item);
    // Inserts before position i (clamped to 0..count).
    void insert(int i, void* item);
    // The item removed, or null outside 0..count-1.
    void* remove(int i);
    bool removeItem(const void* item);
    int indexOf(const void* item) const;
    void removeAll() { count_ = 0; }
    void ensureCapacity(int n);

private:
    void** items_ = nullptr;
    int count_ = 0;
    int capacity_ = 0;
    int step_;
};
