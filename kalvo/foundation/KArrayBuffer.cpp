#include <kalvo/foundation/KArrayBuffer.h>

#include <cstdlib>

KArrayBuffer::KArrayBuffer(int elementSize, int capacity, int step)
    : elementSize_(elementSize > 0 ? elementSize : 1), step_(step > 0 ? step : 1) {
    ensureCapacity(capacity);
}

KArrayBuffer::KArrayBuffer(const KArrayBuffer& other)
    : elementSize_(other.elementSize_), step_(other.step_) {
    append(other.bytes_, other.count_);
}

KArrayBuffer& KArrayBuffer::operator=(const KArrayBuffer& other) {
    if (this == &other) return *this;
    std::free(bytes_);
    bytes_ = nullptr;
    count_ = capacity_ = 0;
    elementSize_ = other.elementSize_;
    step_ = other.step_;
    append(other.bytes_, other.count_);
    return *this;
}

KArrayBuffer::~KArrayBuffer() { std::free(bytes_); }

void KArrayBuffer::ensureCapacity(int n) {
    if (n <= capacity_) return;
    unsigned char* bytes =
        static_cast<unsigned char*>(std::realloc(bytes_, static_cast<size_t>(n) * elementSize_));
    if (bytes == nullptr) std::abort();
    bytes_ = bytes;
    capacity_ = n;
}

void KArrayBuffer::grow(int n) {
    const int extra = step_ > capacity_ / 2 ? step_ : capacity_ / 2;
    ensureCapacity(capacity_ + extra > n ? capacity_ + extra : n);
}

void KArrayBuffer::append(const void* elements, int n) {
    if (n <= 0) return;
    if (count_ + n > capacity_) grow(count_ + n);
    std::memcpy(bytes_ + static_cast<size_t>(count_) * elementSize_, elements,
                static_cast<size_t>(n) * elementSize_);
    count_ += n;
}

void KArrayBuffer::setCount(int n) {
    if (n < 0) n = 0;
    if (n > capacity_) grow(n);
    if (n > count_) {
        std::memset(bytes_ + static_cast<size_t>(count_) * elementSize_, 0,
                    static_cast<size_t>(n - count_) * elementSize_);
    }
    count_ = n;
}

void KArrayBuffer::setCountUnset(int n) {
    if (n < 0) n = 0;
    if (n > capacity_) grow(n);
    count_ = n;
}

void KArrayBuffer::freeExtra() {
    if (count_ == capacity_) return;
    if (count_ == 0) {
        std::free(bytes_);
        bytes_ = nullptr;
        capacity_ = 0;
        return;
    }
    unsigned char* bytes =
        static_cast<unsigned char*>(std::realloc(bytes_, static_cast<size_t>(count_) * elementSize_));
    if (bytes != nullptr) {
        bytes_ = bytes;
        capacity_ = count_;
    }
}
