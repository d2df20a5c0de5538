#include "platform/worker_thread.h"

#include <pthread.h>

#include <condition_variable>
#include <csignal>
#include <cstdint>
#include <utility>

#include "platform/process.h"
#include "platform/thread_safety.h"

namespace SMTPClientNS {

struct CWorkerThread::Thread {
    std::function<void()> body;
    const std::uint32_t generation = ForkGeneration();
    pthread_t id = {};
    bool joined = false;

    CMutex mutex;
    std::condition_variable_any ended;
    bool hasEnded GUARDED_BY(mutex) = false;

    static void *Run(void *argument) noexcept {
        // The argument keeps the record alive for as long as this thread runs.
        const std::unique_ptr<std::shared_ptr<Thread>> share(
            static_cast<std::shared_ptr<Thread> *>(argument));
        Thread &self = **share;
        ::pthread_setname_np(::pthread_self(), "smtpclient");
        std::exchange(self.body, nullptr)();
        const CLock lock(self.mutex);
        self.hasEnded = true;
        self.ended.notify_all();
        return nullptr;
    }

    bool WaitUntil(std::chrono::steady_clock::time_point deadline) {
        const CLock lock(mutex);
        while (!hasEnded) {
            if (ended.wait_until(mutex, deadline) == std::cv_status::timeout) {
                return hasEnded;
            }
        }
        return true;
    }
};

namespace {

class CThreadAttributes {
public:
    CThreadAttributes() {
        ::pthread_attr_init(&attributes);
        sigset_t all;
        ::sigfillset(&all);
        ::pthread_attr_setsigmask_np(&attributes, &all);
    }
    ~CThreadAttributes() { ::pthread_attr_destroy(&attributes); }
    CThreadAttributes(const CThreadAttributes &) = delete;
    CThreadAttributes &operator=(const CThreadAttributes &) = delete;

    const pthread_attr_t *Get() const { return &attributes; }

private:
    pthread_attr_t attributes = {};
};

}  // namespace

CWorkerThread::CWorkerThread() = default;

CWorkerThread::~CWorkerThread() {
    if (thread != nullptr && !thread->joined && !IsLeftBehind()) {
        ::pthread_detach(thread->id);
    }
}

bool CWorkerThread::Start(std::function<void()> body) {
    auto starting = std::make_shared<Thread>();
    starting->body = std::move(body);
    auto share = std::make_unique<std::shared_ptr<Thread>>(starting);
    const CThreadAttributes attributes;
    if (::pthread_create(&starting->id, attributes.Get(), &Thread::Run, share.get()) != 0) {
        return false;
    }
    static_cast<void>(share.release());  // The new thread owns it now.
    thread = std::move(starting);
    return true;
}

bool CWorkerThread::IsLeftBehind() const noexcept {
    return thread != nullptr && thread->generation != ForkGeneration();
}

bool CWorkerThread::WaitForEnd(std::chrono::milliseconds limit) {
    if (thread == nullptr || thread->joined || IsLeftBehind() ||
        ::pthread_equal(thread->id, ::pthread_self()) != 0) {
        return true;
    }
    if (!thread->WaitUntil(std::chrono::steady_clock::now() + limit)) {
        return false;
    }
    thread->joined = ::pthread_join(thread->id, nullptr) == 0;
    return true;
}

}  // namespace SMTPClientNS
