#include <kalvo/foundation/KVectorBuffer.h>

#include <cstdlib>
#include <cstring>

KVectorBuffer::KVectorBuffer(int capacity, int step) : step_(step > 0 ? step : 1) {
    ensureCapacity(capacity);
}

KVectorBuffer::KVectorBuffer(const KVectorBuffer& other) : step_(other.step_) {
    ensureCapacity(other.count_);
    if (other.count_ > 0) std::memcpy(items_, other.items_, sizeof(void*) * other.count_);
    count_ = other.count_;
}

KVectorBuffer& KVectorBuffer::operator=(const KVectorBuffer& other) {
    if (this == &other) return *this;
    count_ = 0;
    ensureCapacity(other.count_);
    if (other.count_ > 0) std::memcpy(items_, other.items_, sizeof(void*) * other.count_);
    count_ = other.count_;
    step_ = other.step_;
    return *this;
}

KVectorBuffer::~KVectorBuffer() { std::free(items_); }

void KVectorBuffer::ensureCapacity(int n) {
    if (n <= capacity_) return;
    int grown = capacity_ + (step_ > capacity_ / 2 ? step_ : capacity_ / 2);
    if (grown < n) grown = n;
    void** items = static_cast<void**>(std::realloc(items_, sizeof(void*) * grown));
    if (items == nullptr) std::abort();
    items_ = items;
    capacity_ = grown;
}

void KVectorBuffer::set(int i, void* item) {
    if (i >= 0 && i < count_) items_[i] = item;
}

int KVectorBuffer::add(void* item) {
    ensureCapacity(count_ + 1);
    items_[count_] = item;
    return count_++;
}

void KVectorBuffer::insert(int i, void* item) {
    if (i < 0) i = 0;
    if (i > count_) i = count_;
    ensureCapacity(count_ + 1);
    std::memmove(items_ + i + 1, items_ + i, sizeof(void*) * (count_ - i));
    items_[i] = item;
    ++count_;
}

void* KVectorBuffer::remove(int i) {
    if (i < 0 || i >= count_) return nullptr;
    void* item = items_[i];
    std::memmove(items_ + i, items_ + i + 1, sizeof(void*) * (count_ - i - 1));
    --count_;
    return item;
}

bool KVectorBuffer::removeItem(const void* item) {
    const int i = indexOf(item);
    if (i < 0) return false;
    remove(i);
    return true;
}

int KVectorBuffer::indexOf(const void* item) const {
    for (int i = 0; i < count_; ++i) {
        if (items_[i] == item) return i;
    }
    return -1;
}
