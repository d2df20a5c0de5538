#include "async/async_thread.h"

#include <condition_variable>
#include <deque>
#include <exception>
#include <map>
#include <utility>

#include "platform/completion_queue.h"
#include "platform/thread_safety.h"

namespace SMTPClientNS {
namespace {

using TaskRecord = std::unique_ptr<AsyncTaskRecord>;
using TaskTable = std::map<std::int32_t, TaskRecord>;

constexpr std::chrono::milliseconds LongestWaitForWorker(1000);

/// A task whose transfer has ended, on its way to the thread that reports.
class CTaskDone final : public IQueuedWork {
public:
    explicit CTaskDone(TaskRecord ended) : record(std::move(ended)) {}

    void Run() override {
        // Kept apart from the record, whose end may end the client and more.
        const std::unique_ptr<INesting> nesting = std::move(record->nesting);
        nesting->Finish();
        record.reset();
    }

private:
    TaskRecord record;
};

}  // namespace

/// What the client's thread and the worker share.
class CAsyncThread::CSharedState {
public:
    /// Gives finished tasks their way back, to the calling thread, unless they have one.
    void BindToThisThread() {
        const CLock lock(mutex);
        if (doneQueue == nullptr) {
            doneQueue = CCompletionQueue::ForThisThread();
        }
    }

    void Queue(std::int32_t taskId, TaskRecord record) {
        const CLock lock(mutex);
        tasks.emplace(taskId, std::move(record));
        messages.push_back(taskId);
        hasMessage.notify_one();
    }

    TaskRecord Take(std::int32_t taskId) {
        const CLock lock(mutex);
        const auto found = tasks.find(taskId);
        if (found == tasks.end()) {
            return nullptr;
        }
        TaskRecord record = std::move(found->second);
        tasks.erase(found);
        return record;
    }

    TaskTable TakeAll() {
        const CLock lock(mutex);
        return std::exchange(tasks, {});
    }

    void Stop() {
        stopRequested.store(true);
        const CLock lock(mutex);
        messages.push_back(StopWorker);
        hasMessage.notify_one();
    }

    /// The next task to run; null when the worker has to leave. Waits for either.
    TaskRecord WaitForTask() {
        for (;;) {
            const std::int32_t taskId = WaitForMessage();
            if (taskId == StopWorker) {
                return nullptr;
            }
            // Gone if it was removed since its message was posted.
            if (TaskRecord record = Take(taskId)) {
                record->taskId = taskId;
                record->stopRequested = &stopRequested;
                return record;
            }
        }
    }

    void PostDone(TaskRecord record) {
        std::shared_ptr<CCompletionQueue> queue;
        {
            const CLock lock(mutex);
            queue = doneQueue;
        }
        if (queue != nullptr) {
            queue->Post(std::make_unique<CTaskDone>(std::move(record)));
        }
    }

private:
    static constexpr std::int32_t StopWorker = 0;  // No task has this id.

    std::int32_t WaitForMessage() {
        const CLock lock(mutex);
        while (messages.empty()) {
            hasMessage.wait(mutex);
        }
        const std::int32_t message = messages.front();
        messages.pop_front();
        return message;
    }

    CMutex mutex;
    std::condition_variable_any hasMessage;
    std::deque<std::int32_t> messages GUARDED_BY(mutex);
    TaskTable tasks GUARDED_BY(mutex);  ///< Queued, and not yet taken up by the worker.
    std::shared_ptr<CCompletionQueue> doneQueue GUARDED_BY(mutex);
    std::atomic<bool> stopRequested{false};
};

CAsyncThread::CAsyncThread() = default;

CAsyncThread::~CAsyncThread() {
    if (!worker.IsStarted() || worker.IsLeftBehind()) {
        return;  // In the child of a fork the worker may have left the lock held for ever.
    }
    shared->Stop();
    worker.WaitForEnd(LongestWaitForWorker);
}

std::int32_t CAsyncThread::StartTask(std::unique_ptr<AsyncTaskRecord> record) {
    if (shared == nullptr) {
        shared = std::make_shared<CSharedState>();
    }
    shared->BindToThisThread();
    if (!worker.IsStarted()) {
        worker.Start([state = shared] { WorkerLoop(*state); });
    }
    INesting &nesting = *record->nesting;
    nesting.SetTaskData(record.get());
    nesting.Prepare();
    shared->Queue(++lastTaskId, std::move(record));
    return lastTaskId;
}

std::int32_t CAsyncThread::RemoveTask(std::int32_t taskId) {
    if (shared == nullptr) {
        return -1;
    }
    if (taskId != 0) {
        return shared->Take(taskId) != nullptr ? 1 : -1;
    }
    TaskTable removed = shared->TakeAll();
    if (removed.empty()) {
        return -1;
    }
    while (!removed.empty()) {  // In the order of the ids.
        removed.erase(removed.begin());
    }
    return 1;
}

void CAsyncThread::WorkerLoop(CSharedState &state) noexcept {
    while (TaskRecord record = state.WaitForTask()) {
        record->nesting->Perform();
        try {
            state.PostDone(std::move(record));
        } catch (const std::exception &) {
            // No memory for the report: the task has been released instead.
        }
    }
}

}  // namespace SMTPClientNS
