#ifndef PLATFORM_COMPLETION_QUEUE_H
#define PLATFORM_COMPLETION_QUEUE_H

#include <chrono>
#include <condition_variable>
#include <list>
#include <memory>
#include <optional>

#include "platform/thread_safety.h"
#include "platform/unique_fd.h"

namespace SMTPClientNS {

/// Work that is to be done on another thread. Dropped undone if that thread has ended.
class IQueuedWork {
public:
    virtual ~IQueuedWork() = default;
    virtual void Run() = 0;
};

/// Work that other threads hand to one thread, and the descriptor that tells it of work.
///
/// Each thread has one queue, made at its first call of ForThisThread. Whoever may still post
/// holds a reference, so that a post to a thread that has ended goes nowhere and does no harm. The
/// child of a fork gets a fresh queue: the parent's is neither drained nor signalled from there.
class CCompletionQueue {
public:
    using Work = std::unique_ptr<IQueuedWork>;
    /// One piece of work and its place in a queue: who makes it ahead can post without memory.
    using Entry = std::list<Work>;
    using Deadline = std::optional<std::chrono::steady_clock::time_point>;

    static std::shared_ptr<CCompletionQueue> ForThisThread();

    static Entry MakeEntry(Work work);

    /// Any thread. Never blocks for longer than another operation moves one entry. Once the owning
    /// thread has ended, the work is dropped at once, on the calling thread.
    void Post(Entry entry) noexcept;

    /// Owning thread only. Polls readable for exactly as long as the queue holds work; closed by
    /// the last holder of the queue. -1 with errno set if the system gives none; the next call
    /// tries again.
    int Descriptor();

    /// Owning thread only. Runs what waits at the time of the call, in the order of posting,
    /// without the lock held: work may post, and may dispatch again. Returns how many entries it
    /// ran itself.
    int Dispatch();

    /// Owning thread only. Waits until the queue holds work; without a deadline for ever.
    void WaitForWork(Deadline deadline);

private:
    static void EndThread(void *holder) noexcept;

    Work TakeFirst();
    void Close();

    CMutex mutex;
    std::condition_variable_any hasWork;
    std::list<Work> waiting GUARDED_BY(mutex);
    CUniqueFd eventFd GUARDED_BY(mutex);
    bool closed GUARDED_BY(mutex) = false;
};

}  // namespace SMTPClientNS

#endif  // PLATFORM_COMPLETION_QUEUE_H
