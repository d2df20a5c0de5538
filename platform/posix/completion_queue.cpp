#include "platform/completion_queue.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cstdint>
#include <new>
#include <utility>

#include "platform/never_destroyed.h"
#include "platform/process.h"
#include "platform/thread_slot.h"

namespace SMTPClientNS {
namespace {

struct Holder {
    std::shared_ptr<CCompletionQueue> queue;
    std::uint32_t generation;
};

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

}  // namespace

std::shared_ptr<CCompletionQueue> CCompletionQueue::ForThisThread() {
    static CNeverDestroyed<const CThreadSlot> perThread;
    const CThreadSlot &slot = perThread.Get([] { return CThreadSlot(EndThread); });
    auto *holder = static_cast<Holder *>(slot.Get());
    if (holder != nullptr && holder->generation == ForkGeneration()) {
        return holder->queue;
    }
    // A parent's holder is not even freed: another thread may have held its lock at the fork.
    auto fresh = std::make_unique<Holder>();
    fresh->queue = std::make_shared<CCompletionQueue>();
    fresh->generation = ForkGeneration();
    if (!slot.Set(fresh.get())) {
        throw std::bad_alloc();
    }
    return fresh.release()->queue;
}

void CCompletionQueue::EndThread(void *holder) noexcept {
    const std::unique_ptr<Holder> ending(static_cast<Holder *>(holder));
    if (ending->generation == ForkGeneration()) {
        ending->queue->Close();
    }
}

CCompletionQueue::Entry CCompletionQueue::MakeEntry(Work work) {
    Entry entry;
    entry.push_back(std::move(work));
    return entry;
}

void CCompletionQueue::Post(Entry entry) noexcept {
    const CLock lock(mutex);
    if (closed) {
        return;  // The work is destroyed with the argument, after unlocking.
    }
    if (waiting.empty()) {
        Raise(eventFd);
    }
    waiting.splice(waiting.end(), entry);
    hasWork.notify_one();
}

int CCompletionQueue::Descriptor() {
    const CLock lock(mutex);
    if (!eventFd) {
        CUniqueFd made(::eventfd(waiting.empty() ? 0 : 1, EFD_CLOEXEC | EFD_NONBLOCK));
        eventFd = AwayFromStandardStreams(std::move(made));
    }
    return eventFd.Get();
}

int CCompletionQueue::Dispatch() {
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

void CCompletionQueue::WaitForWork(Deadline deadline) {
    const CLock lock(mutex);
    while (waiting.empty()) {
        if (!deadline) {
            hasWork.wait(mutex);
        } else if (hasWork.wait_until(mutex, *deadline) == std::cv_status::timeout) {
            return;
        }
    }
}

CCompletionQueue::Work CCompletionQueue::TakeFirst() {
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

void CCompletionQueue::Close() {
    std::list<Work> dropped;  // Destroyed after unlocking: that may end a client.
    const CLock lock(mutex);
    closed = true;
    dropped.swap(waiting);
}

}  // namespace SMTPClientNS
