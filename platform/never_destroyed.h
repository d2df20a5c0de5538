#ifndef PLATFORM_NEVER_DESTROYED_H
#define PLATFORM_NEVER_DESTROYED_H

#include <new>
#include <utility>

namespace SMTPClientNS {

/// A process-wide object that is left to the end of the process: a thread of the host, or one of
/// its static destructors, may still use it while the process ends.
template <typename T>
class CNeverDestroyed {
public:
    template <typename... Arguments>
    explicit CNeverDestroyed(Arguments &&...arguments) {
        ::new (static_cast<void *>(storage)) T(std::forward<Arguments>(arguments)...);
    }
    ~CNeverDestroyed() = default;
    CNeverDestroyed(const CNeverDestroyed &) = delete;
    CNeverDestroyed &operator=(const CNeverDestroyed &) = delete;

    T &Get() noexcept { return *std::launder(reinterpret_cast<T *>(storage)); }

private:
    alignas(T) unsigned char storage[sizeof(T)];
};

}  // namespace SMTPClientNS

#endif  // PLATFORM_NEVER_DESTROYED_H
