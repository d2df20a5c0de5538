#ifndef PLATFORM_WIPING_ALLOCATOR_H
#define PLATFORM_WIPING_ALLOCATOR_H

#include <cstddef>
#include <memory>

#include "platform/process.h"

namespace SMTPClientNS {

/// Overwrites the memory that a container gives back, at its end and whenever it grows: for text
/// with secrets in it. A string keeps short text inside the object, which no allocator sees.
template <typename T>
struct CWipingAllocator {
    using value_type = T;

    CWipingAllocator() = default;
    template <typename U>
    CWipingAllocator(const CWipingAllocator<U> & /*other*/) noexcept {}

    T *allocate(std::size_t count) { return std::allocator<T>().allocate(count); }

    void deallocate(T *memory, std::size_t count) noexcept {
        WipeMemory(memory, count * sizeof(T));
        std::allocator<T>().deallocate(memory, count);
    }

    friend bool operator==(const CWipingAllocator & /*left*/, const CWipingAllocator & /*right*/) {
        return true;
    }
    friend bool operator!=(const CWipingAllocator & /*left*/, const CWipingAllocator & /*right*/) {
        return false;
    }
};

}  // namespace SMTPClientNS

#endif  // PLATFORM_WIPING_ALLOCATOR_H
