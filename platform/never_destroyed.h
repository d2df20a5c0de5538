#ifndef PLATFORM_NEVER_DESTROYED_H
#define PLATFORM_NEVER_DESTROYED_H

#include <atomic>
#include <new>

#include "platform/first_use.h"

namespace SMTPClientNS {

/// A process-wide object that is made at its first use and left to the end of the process: a thread
/// of the host, or one of its static destructors, may still use it while the process ends.
///
/// Any number of threads may ask for it at once. A static of this type needs no guard of the
/// compiler's, which the child of a fork would find held for ever.
template <typename T>
class CNeverDestroyed {
public:
    constexpr CNeverDestroyed() noexcept = default;
    ~CNeverDestroyed() = default;
    CNeverDestroyed(const CNeverDestroyed &) = delete;
    CNeverDestroyed &operator=(const CNeverDestroyed &) = delete;

    T &Get() {
        return Get([] { return T(); });
    }

    /// make gives the object at the first use. If it throws, the next use tries again.
    template <typename Make>
    T &Get(const Make &make) {
        if (T *const existing = object.load(std::memory_order_acquire)) {
            return *existing;
        }
        const CFirstUse firstUse;
        if (object.load(std::memory_order_relaxed) == nullptr) {
            object.store(::new (static_cast<void *>(storage)) T(make()), std::memory_order_release);
        }
        return *object.load(std::memory_order_relaxed);
    }

private:
    alignas(T) unsigned char storage[sizeof(T)] = {};
    std::atomic<T *> object{nullptr};
};

}  // namespace SMTPClientNS

#endif  // PLATFORM_NEVER_DESTROYED_H
