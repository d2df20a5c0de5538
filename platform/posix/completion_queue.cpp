#include "platform/completion_queue.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <condition_variable>
#include <cstdint>
#include <new>
#include <utility>

#include <smtpclient/host_platform.h>

#include "platform/never_destroyed.h"
#include "platform/posix/unique_fd.h"
#include "platform/process.h"
#include "platform/thread_safety.h"
#include "platform/thread_slot.h"

namespace SMTPClientNS {
namespace {

// The counter of the descriptor is 0 or 1, and the descriptor does not block. So neither call can
// fail or be interrupted. Without a descriptor both fail with EBADF, which is as good as nothing.

void Raise(const CUniqueFd &eventFd) {
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(eventFd.Get(), &one, sizeof one);
}

void Lower(const CUniqueFd &eventFd) {
    std::uint64_t count = 0;
    [[maybe_unused]] const ssize_t taken = ::read(eventFd.Get(), &count, sizeof count);
}

/// A thread's one queue, made at its first use, and the descriptor that tells it of work.
class CThreadQueue final : public ICompletionQueue {
public:
    void Post(Entry entry) noexcept override;

    /// Owning thread only. Polls readable for exactly as long as the queue holds work; closed by
    /// the last holder of the queue. -1 with errno set if the system gives none; the next call
    /// tries again.
    int Descriptor();

    int Dispatch();
    void WaitForWork(std::optional<std::chrono::steady_clock::time_point> deadline);

    /// Drops what waits and what is still to come.
    void Close();

private:
    Work TakeFirst();

    CMutex mutex;
    std::condition_variable_any hasWork;
    std::list<Work> waiting GUARDED_BY(mutex);
    CUniqueFd eventFd GUARDED_BY(mutex);
    bool closed GUARDED_BY(mutex) = false;
};

struct Holder {
    std::shared_ptr<CThreadQueue> queue;
    std::uint32_t generation;
};

/// Clients may hold the queue for longer than the thread lives; closed, it takes nothing more.
void EndThread(void *holder) noexcept {
    const std::unique_ptr<Holder> ending(static_cast<Holder *>(holder));
    if (ending->generation == ForkGeneration()) {
        ending->queue->Close();
    }
}

std::shared_ptr<CThreadQueue> ThisQueue() {
    static CNeverDestroyed<const CThreadSlot> perThread;
    const CThreadSlot &slot = perThread.Get([] { return CThreadSlot(EndThread); });
    auto *holder = static_cast<Holder *>(slot.Get());
    if (holder != nullptr && holder->generation == ForkGeneration()) {
        return holder->queue;
    }
    // A parent's holder is not even freed: another thread may have held its lock at the fork.
    auto fresh = std::make_unique<Holder>();
    fresh->queue = std::make_shared<CThreadQueue>();
    fresh->generation = ForkGeneration();
    if (!slot.Set(fresh.get())) {
        throw std::bad_alloc();
    }
    return fresh.release()->queue;
}

/// Null if there is no memory for one; nothing can be waiting then.
std::shared_ptr<CThreadQueue> ThisQueueIfAny() {
    try {
        return ThisQueue();
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

void CThreadQueue::Post(Entry entry) noexcept {
    const CLock lock(mutex);
    if (closed) {
        return;  // The work is destroyed with the argument, after unlocking.
    }
    // The first entry raises and the last one taken lowers: in between the descriptor stays as it
    // is.
    if (waiting.empty()) {
        Raise(eventFd);
    }
    waiting.splice(waiting.end(), entry);
    hasWork.notify_one();
}

int CThreadQueue::Descriptor() {
    const CLock lock(mutex);
    if (!eventFd) {
        CUniqueFd made(::eventfd(waiting.empty() ? 0 : 1, EFD_CLOEXEC | EFD_NONBLOCK));
        eventFd = AwayFromStandardStreams(std::move(made));
    }
    return eventFd.Get();
}

int CThreadQueue::Dispatch() {
    // A sink that sends again would keep the caller here for ever if later entries counted.
    std::size_t limit = 0;
    {
        const CLock lock(mutex);
        limit = waiting.size();
    }
    int handled = 0;
    for (; limit > 0; --limit) {
        const Work work = TakeFirst();
        if (work == nullptr) {  // A nested call, from inside a sink, has taken the rest.
            break;
        }
        work->Run();
        ++handled;
    }
    return handled;
}

void CThreadQueue::WaitForWork(std::optional<std::chrono::steady_clock::time_point> deadline) {
    const CLock lock(mutex);
    while (waiting.empty()) {
        if (!deadline) {
            hasWork.wait(mutex);
        } else if (hasWork.wait_until(mutex, *deadline) == std::cv_status::timeout) {
            return;
        }
    }
}

ICompletionQueue::Work CThreadQueue::TakeFirst() {
    const CLock lock(mutex);
    if (waiting.empty()) {
        return nullptr;
    }
    Work first = std::move(waiting.front());
    waiting.pop_front();
    if (waiting.empty()) {
        Lower(eventFd);
    }
    return first;
}

void CThreadQueue::Close() {
    std::list<Work> dropped;  // Destroyed after unlocking: that may end a client.
    const CLock lock(mutex);
    closed = true;
    dropped.swap(waiting);
}

}  // namespace

std::shared_ptr<ICompletionQueue> ICompletionQueue::ForThisThread() {
    return ThisQueue();
}

ICompletionQueue::Entry ICompletionQueue::MakeEntry(Work work) {
    Entry entry;
    entry.push_back(std::move(work));
    return entry;
}

int DispatchCompletions() {
    const auto queue = ThisQueueIfAny();
    return queue != nullptr ? queue->Dispatch() : 0;
}

void WaitForCompletions(std::optional<std::chrono::steady_clock::time_point> deadline) {
    if (const auto queue = ThisQueueIfAny()) {
        queue->WaitForWork(deadline);
    }
}

}  // namespace SMTPClientNS

int SmtpClientEventFd(void) {
    if (const auto queue = SMTPClientNS::ThisQueueIfAny()) {
        return queue->Descriptor();
    }
    errno = ENOMEM;
    return -1;
}
