#ifndef PLATFORM_THREAD_SAFETY_H
#define PLATFORM_THREAD_SAFETY_H

#include <mutex>

/// Clang proves at compile time (-Wthread-safety) that what is GUARDED_BY a mutex is touched only
/// with that mutex held. Other compilers see nothing of it.
#if defined(__clang__)
#define SMTPCLIENT_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define SMTPCLIENT_THREAD_ANNOTATION(x)
#endif

#define GUARDED_BY(x) SMTPCLIENT_THREAD_ANNOTATION(guarded_by(x))
#define REQUIRES(x) SMTPCLIENT_THREAD_ANNOTATION(requires_capability(x))

namespace SMTPClientNS {

class SMTPCLIENT_THREAD_ANNOTATION(capability("mutex")) CMutex {
public:
    // Lower case, so that std::condition_variable_any can wait on it.
    void lock() SMTPCLIENT_THREAD_ANNOTATION(acquire_capability()) { mutex.lock(); }
    void unlock() SMTPCLIENT_THREAD_ANNOTATION(release_capability()) { mutex.unlock(); }

private:
    std::mutex mutex;
};

/// Holds a mutex from here to the end of the block.
class SMTPCLIENT_THREAD_ANNOTATION(scoped_lockable) CLock {
public:
    explicit CLock(CMutex &toHold) SMTPCLIENT_THREAD_ANNOTATION(acquire_capability(toHold))
        : mutex(toHold) {
        mutex.lock();
    }
    ~CLock() SMTPCLIENT_THREAD_ANNOTATION(release_capability()) { mutex.unlock(); }
    CLock(const CLock &) = delete;
    CLock &operator=(const CLock &) = delete;

private:
    CMutex &mutex;
};

}  // namespace SMTPClientNS

#endif  // PLATFORM_THREAD_SAFETY_H
