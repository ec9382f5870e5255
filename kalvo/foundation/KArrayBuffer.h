#pragma once

#include <cstring>

// A growable array of fixed-size elements (raw bytes). It grows by at least its step and
// at least by half of what it holds, so that appending one by one stays linear.
class KArrayBuffer {
public:
    KArrayBuffer(int elementSize, int capacity, int step);
    KArrayBuffer(const KArrayBuffer& other);
    KArrayBuffer& operator=(const KArrayBuffer& other);
    virtual ~KArrayBuffer();

    int getElementSize() const { return elementSize_; }
    int getCount() const { return count_; }
    int getCapacity() const { return capacity_; }
    int getStep() const { return step_; }
    void* data() { return bytes_; }
    const void* data() const { return bytes_; }
    // The element at i; null outside 0..count-1.
    void* at(int i) { return i >= 0 && i < count_ ? bytes_ + static_cast<size_t>(i) * elementSize_ : nullptr; }

    void append(const void* element) {
        if (count_ == capacity_) grow(count_ + 1);
        std::memcpy(bytes_ + static_cast<size_t>(count_) * elementSize_, element, elementSize_);
        ++count_;
    }
    // Appends one element of type T, which must be the element size.
    template <class T>
    void appendValue(T value) {
        static_assert(sizeof(T) <= 16, "elements are small values");
        if (count_ == capacity_) grow(count_ + 1);
        std::memcpy(bytes_ + static_cast<size_t>(count_) * sizeof(T), &value, sizeof(T));
        ++count_;
    }
    // Appends n elements copied from elements.
    void append(const void* elements, int n);
    // Changes the count; new elements are zero bytes.
    void setCount(int n);
    // Changes the count; new elements are left unset, for a caller that writes every one of
    // them (clearing memory that is then overwritten costs a pass of its own).
    void setCountUnset(int n);
    void removeAll() { count_ = 0; }
    void ensureCapacity(int n);
    // Gives back memory beyond the count.
    void freeExtra();

private:
    void grow(int n);

    unsigned char* bytes_ = nullptr;
    int count_ = 0;
    int capacity_ = 0;
    int elementSize_;
    int step_;
};
