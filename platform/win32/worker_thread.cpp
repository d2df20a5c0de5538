#include "platform/worker_thread.h"

#include <utility>

namespace SMTPClientNS {

struct CWorkerThread::Thread {
    HANDLE handle = nullptr;
    DWORD id = 0;

    Thread() = default;
    Thread(const Thread &) = delete;
    Thread &operator=(const Thread &) = delete;
    ~Thread() {
        if (handle != nullptr) {
            ::CloseHandle(handle);
        }
    }

    static DWORD WINAPI Run(void *argument) {
        const std::unique_ptr<std::function<void()>> body(
            static_cast<std::function<void()> *>(argument));
        (*body)();
        return 0;
    }
};

CWorkerThread::CWorkerThread() = default;

CWorkerThread::~CWorkerThread() = default;

bool CWorkerThread::Start(std::function<void()> body) {
    auto starting = std::make_shared<Thread>();
    auto owned = std::make_unique<std::function<void()>>(std::move(body));
    starting->handle = ::CreateThread(nullptr, 0, &Thread::Run, owned.get(), 0, &starting->id);
    if (starting->handle == nullptr) {
        return false;
    }
    static_cast<void>(owned.release());  // The new thread owns it now.
    thread = std::move(starting);
    return true;
}

bool CWorkerThread::IsLeftBehind() const noexcept {
    return false;
}

bool CWorkerThread::WaitForEnd(std::chrono::milliseconds limit) {
    return thread == nullptr || thread->id == ::GetCurrentThreadId() ||
           ::WaitForSingleObject(thread->handle, static_cast<DWORD>(limit.count())) ==
               WAIT_OBJECT_0;
}

}  // namespace SMTPClientNS
