#ifndef PLATFORM_WIPING_ALLOCATOR_H
#define PLATFORM_WIPING_ALLOCATOR_H

#include <cstddef>
#include <memory>

#include "platform/process.h"

namespace SMTPClientNS {

/// Overwrites what a container gives back, at its end and whenever it grows: for text with secrets
/// in it. What a string keeps in its own object, a short text, no allocator gets to see.
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
