#pragma once

#include <cstddef>
#include <new>

// Allocator for long sample arrays: growing a vector leaves the new samples uninitialised (give
// resize a value to fill them). A decoder writes every sample once; zeroing them first would
// add a pass over memory as large as the decoding's own output.
template <class T>
class KSampleAllocator {
public:
    using value_type = T;

    KSampleAllocator() = default;
    template <class U>
    KSampleAllocator(const KSampleAllocator<U>&) noexcept {}

    T* allocate(size_t n) { return static_cast<T*>(::operator new(n * sizeof(T))); }
    void deallocate(T* p, size_t) noexcept { ::operator delete(p); }

    template <class U>
    void construct(U* p) noexcept {
        ::new (static_cast<void*>(p)) U;
    }
    template <class U, class... Args>
    void construct(U* p, Args&&... args) {
        ::new (static_cast<void*>(p)) U(static_cast<Args&&>(args)...);
    }

    template <class U>
    bool operator==(const KSampleAllocator<U>&) const noexcept {
        return true;
    }
};
