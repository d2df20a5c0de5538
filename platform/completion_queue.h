#ifndef PLATFORM_COMPLETION_QUEUE_H
#define PLATFORM_COMPLETION_QUEUE_H

#include <chrono>
#include <list>
#include <memory>
#include <optional>

namespace SMTPClientNS {

/// Work that is to be done on another thread. Dropped undone if that thread has ended.
class IQueuedWork {
public:
    virtual ~IQueuedWork() = default;
    virtual void Run() = 0;
};

/// Work that other threads hand to one thread, which is told of it in the system's way.
///
/// Whoever may still post holds a reference, so that a post to a thread that has ended goes nowhere
/// and does no harm. The child of a fork gets fresh queues: the parent's are neither drained nor
/// signalled from there.
class ICompletionQueue {
public:
    using Work = std::unique_ptr<IQueuedWork>;
    /// One piece of work and its place in a queue: who makes it ahead can post without memory.
    using Entry = std::list<Work>;

    /// A queue of the calling thread's. Null if the system gives none now.
    static std::shared_ptr<ICompletionQueue> ForThisThread();

    static Entry MakeEntry(Work work);

    virtual ~ICompletionQueue() = default;

    /// Any thread. Never blocks for longer than another operation moves one entry. Once the owning
    /// thread has ended, the work is dropped at once, on the calling thread.
    virtual void Post(Entry entry) noexcept = 0;
};

/// Runs what waits in the calling thread's queues at the time of the call, in the order of posting,
/// without a lock held: work may post, and may dispatch again. Returns how many entries it ran
/// itself.
int DispatchCompletions();

/// Waits until something can be dispatched on the calling thread; without a deadline for ever.
void WaitForCompletions(std::optional<std::chrono::steady_clock::time_point> deadline);

}  // namespace SMTPClientNS

#endif  // PLATFORM_COMPLETION_QUEUE_H
