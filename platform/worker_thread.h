#ifndef PLATFORM_WORKER_THREAD_H
#define PLATFORM_WORKER_THREAD_H

#include <chrono>
#include <functional>
#include <memory>

namespace SMTPClientNS {

/// One thread of the library's own inside the host's process.
///
/// It is made with all signals blocked, so that none that is meant for the host lands on it, and
/// it is never ended by force. Each operation belongs to one thread at a time.
class CWorkerThread {
public:
    CWorkerThread();
    /// Lets a thread go that has not been waited for; it runs on with what its body holds.
    ~CWorkerThread();
    CWorkerThread(const CWorkerThread &) = delete;
    CWorkerThread &operator=(const CWorkerThread &) = delete;

    /// Runs body on a new thread. Body must not throw, and must own what it uses. False if the
    /// system gives no thread; then nothing has changed.
    bool Start(std::function<void()> body);

    bool IsStarted() const noexcept { return thread != nullptr; }

    /// The thread was started in a parent process and does not exist here.
    bool IsLeftBehind() const noexcept;

    /// Waits for the thread's end. True if it has ended within the limit, or there is none to wait
    /// for: none was started, it is the caller itself, or it was left behind in a parent process.
    bool WaitForEnd(std::chrono::milliseconds limit);

private:
    struct Thread;
    std::shared_ptr<Thread> thread;
};

}  // namespace SMTPClientNS

#endif  // PLATFORM_WORKER_THREAD_H
