#include "platform/completion_queue.h"

#include <algorithm>
#include <new>
#include <set>
#include <utility>

#include "platform/never_destroyed.h"
#include "platform/thread_safety.h"
#include "platform/thread_slot.h"

namespace SMTPClientNS {
namespace {

constexpr UINT TaskDoneMessage = 5119;
constexpr const wchar_t *WindowClass = L"SmtpClientAsyncThreadWindow";
constexpr const wchar_t *WindowTitle = WindowClass;
constexpr UINT RedrawOnResize = CS_HREDRAW | CS_VREDRAW;

LRESULT CALLBACK NotificationWindowProc(HWND window, UINT message, WPARAM first, LPARAM second);

class CWindowQueue;

/// What the queues of one thread share.
struct ThreadRecord {
    CMutex mutex;
    /// Entries, in all of them. Held while one is announced and counted, so that whoever finds the
    /// message finds the work, and the other way round.
    std::size_t waiting GUARDED_BY(mutex) = 0;
    std::set<CWindowQueue *> queues GUARDED_BY(mutex);

    std::size_t CountWaiting() {
        const CLock lock(mutex);
        return waiting;
    }
};

/// One client's queue: a hidden window of the thread that made it, to which each entry is
/// announced by a message. The message carries no pointer, so that none is lost with the window.
class CWindowQueue final : public ICompletionQueue,
                           public std::enable_shared_from_this<CWindowQueue> {
public:
    CWindowQueue(HWND made, std::shared_ptr<ThreadRecord> owner)
        : window(made), thread(std::move(owner)) {
        ::SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
        const CLock lock(thread->mutex);
        thread->queues.insert(this);
    }

    /// Any thread; nothing waits, since what waits holds the queue.
    ~CWindowQueue() override {
        {
            const CLock lock(thread->mutex);
            thread->queues.erase(this);
        }
        ::SetWindowLongPtrW(window, GWLP_USERDATA, 0);
        if (::DestroyWindow(window) == 0) {
            ::PostMessageW(window, WM_CLOSE, 0, 0);  // Only its own thread can destroy it.
        }
    }
    CWindowQueue(const CWindowQueue &) = delete;
    CWindowQueue &operator=(const CWindowQueue &) = delete;

    void Post(Entry entry) noexcept override {
        const CLock lock(mutex);
        if (isClosed) {
            return;  // The work is destroyed with the argument, after unlocking.
        }
        waiting.splice(waiting.end(), entry);
        const CLock counting(thread->mutex);
        Announce();
        ++thread->waiting;
    }

    /// Owning thread only.
    void RunFirst() {
        Entry first;
        {
            const CLock lock(mutex);
            if (waiting.empty()) {
                return;
            }
            first.splice(first.end(), waiting, waiting.begin());
            const CLock counting(thread->mutex);
            --thread->waiting;
            if (unannounced > 0) {
                --unannounced;
                Announce();
            }
        }
        first.front()->Run();  // May end this queue.
    }

    /// Drops what waits and what is still to come.
    void Close() {
        Entry dropped;  // Destroyed after unlocking: that may end a client.
        const CLock lock(mutex);
        isClosed = true;
        dropped.swap(waiting);
    }

private:
    /// The system holds back 10,000 messages for a thread, and no more.
    void Announce() REQUIRES(mutex) {
        if (::PostMessageW(window, TaskDoneMessage, 0, 0) == 0) {
            ++unannounced;
        }
    }

    const HWND window;
    const std::shared_ptr<ThreadRecord> thread;
    CMutex mutex;
    Entry waiting GUARDED_BY(mutex);
    std::size_t unannounced GUARDED_BY(mutex) = 0;
    bool isClosed GUARDED_BY(mutex) = false;
};

LRESULT CALLBACK NotificationWindowProc(HWND window, UINT message, WPARAM first, LPARAM second) {
    if (message == WM_CREATE) {
        return 1;
    }
    if (message != TaskDoneMessage) {
        return ::DefWindowProcW(window, message, first, second);
    }
    if (auto *const queue =
            reinterpret_cast<CWindowQueue *>(::GetWindowLongPtrW(window, GWLP_USERDATA))) {
        queue->RunFirst();
    }
    return 1;
}

bool IsOurs(HWND window) {
    return ::GetWindowLongPtrW(window, GWLP_WNDPROC) ==
           reinterpret_cast<LONG_PTR>(&NotificationWindowProc);
}

void EndThread(void *ending) {
    const std::unique_ptr<std::shared_ptr<ThreadRecord>> record(
        static_cast<std::shared_ptr<ThreadRecord> *>(ending));
    std::list<std::shared_ptr<CWindowQueue>> queues;
    {
        const CLock lock((*record)->mutex);
        for (CWindowQueue *const queue : (*record)->queues) {
            queues.push_back(queue->weak_from_this().lock());
        }
    }
    for (const std::shared_ptr<CWindowQueue> &queue : queues) {
        if (queue != nullptr) {
            queue->Close();
        }
    }
}

const CThreadSlot &Slot() {
    static CNeverDestroyed<const CThreadSlot> perThread;
    return perThread.Get([] { return CThreadSlot(EndThread); });
}

/// Null for a thread without queues.
std::shared_ptr<ThreadRecord> RecordOfThisThread() {
    const auto *const record = static_cast<const std::shared_ptr<ThreadRecord> *>(Slot().Get());
    return record != nullptr ? *record : nullptr;
}

std::shared_ptr<ThreadRecord> MakeRecord() {
    auto record = std::make_unique<std::shared_ptr<ThreadRecord>>(std::make_shared<ThreadRecord>());
    if (!Slot().Set(record.get())) {
        throw std::bad_alloc();
    }
    return *record.release();
}

HWND MakeWindow() noexcept {
    WNDCLASSEXW windowClass = {};
    windowClass.cbSize = sizeof windowClass;
    windowClass.style = RedrawOnResize;
    windowClass.lpfnWndProc = NotificationWindowProc;
    windowClass.hInstance = ::GetModuleHandleW(nullptr);
    windowClass.hCursor = ::LoadCursorW(nullptr, MAKEINTRESOURCEW(32512));  // The arrow.
    windowClass.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_WINDOW + 1);
    windowClass.lpszClassName = WindowClass;
    if (::RegisterClassExW(&windowClass) == 0 && ::GetLastError() != ERROR_CLASS_ALREADY_EXISTS) {
        return nullptr;
    }
    return ::CreateWindowExW(0, WindowClass, WindowTitle, 0, 0, 0, 0, 0, nullptr, nullptr,
                             windowClass.hInstance, nullptr);
}

}  // namespace

std::shared_ptr<ICompletionQueue> ICompletionQueue::ForThisThread() {
    std::shared_ptr<ThreadRecord> record = RecordOfThisThread();
    if (record == nullptr) {
        record = MakeRecord();
    }
    const HWND window = MakeWindow();
    return window != nullptr ? std::make_shared<CWindowQueue>(window, std::move(record)) : nullptr;
}

ICompletionQueue::Entry ICompletionQueue::MakeEntry(Work work) {
    Entry entry;
    entry.push_back(std::move(work));
    return entry;
}

int DispatchCompletions() {
    const std::shared_ptr<ThreadRecord> record = RecordOfThisThread();
    std::size_t limit = record != nullptr ? record->CountWaiting() : 0;
    int handled = 0;
    MSG message = {};
    // A nested call, from inside a sink, may take the rest.
    while (limit > 0 &&
           ::PeekMessageW(&message, nullptr, TaskDoneMessage, TaskDoneMessage, PM_REMOVE) != 0) {
        if (IsOurs(message.hwnd)) {  // The number is free for the host's windows, too.
            --limit;
            ++handled;
        }
        ::DispatchMessageW(&message);
    }
    return handled;
}

void WaitForCompletions(std::optional<std::chrono::steady_clock::time_point> deadline) {
    using std::chrono::steady_clock;
    const std::shared_ptr<ThreadRecord> record = RecordOfThisThread();
    while (record == nullptr || record->CountWaiting() == 0) {
        DWORD longest = INFINITE;
        if (deadline) {
            const auto left =
                std::chrono::ceil<std::chrono::milliseconds>(*deadline - steady_clock::now());
            if (left.count() <= 0) {
                return;
            }
            longest = static_cast<DWORD>(std::min<long long>(left.count(), INFINITE - 1));
        }
        // Wakes for each new message, the host's own included.
        ::MsgWaitForMultipleObjectsEx(0, nullptr, longest, QS_POSTMESSAGE, 0);
    }
}

}  // namespace SMTPClientNS
