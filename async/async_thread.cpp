#include "async/async_thread.h"

#include <condition_variable>
#include <map>
#include <utility>

#include "platform/cancellation.h"
#include "platform/completion_queue.h"
#include "platform/thread_safety.h"

namespace SMTPClientNS {
namespace {

using TaskRecord = std::unique_ptr<AsyncTaskRecord>;

constexpr std::chrono::milliseconds LongestWaitForWorker(1000);

/// A task's last stage, on the thread that reports.
class CTaskDone final : public IQueuedWork {
public:
    explicit CTaskDone(TaskRecord toReport) : record(std::move(toReport)) {}

    void Run() override {
        // Taken out of the record, which Finish may outlive: its end may end the client.
        const std::unique_ptr<INesting> nesting = std::move(record->nesting);
        nesting->Finish();
        record.reset();
    }

private:
    TaskRecord record;
};

/// A queued task. The entry that will carry it to the reporting thread is made together with it, so
/// that the worker needs no memory to report.
struct Task {
    AsyncTaskRecord *record = nullptr;  ///< Owned by report.
    ICompletionQueue::Entry report;

    Task() = default;
    explicit Task(TaskRecord toRun)
        : record(toRun.get()),
          report(ICompletionQueue::MakeEntry(std::make_unique<CTaskDone>(std::move(toRun)))) {}
};
using TaskTable = std::map<std::int32_t, Task>;

}  // namespace

/// What the client's thread and the worker share.
class CAsyncThread::CSharedState {
public:
    /// Has finished tasks reported on the calling thread, unless an earlier call has chosen one.
    void BindToThisThread() {
        const CLock lock(mutex);
        if (doneQueue == nullptr) {
            doneQueue = ICompletionQueue::ForThisThread();
        }
    }

    void Queue(std::int32_t taskId, Task task) {
        const CLock lock(mutex);
        tasks.emplace(taskId, std::move(task));
        hasTask.notify_one();
    }

    /// The task of that id; an empty one if it is not queued (any more).
    Task Take(std::int32_t taskId) {
        const CLock lock(mutex);
        const auto found = tasks.find(taskId);
        if (found == tasks.end()) {
            return {};
        }
        Task task = std::move(found->second);
        tasks.erase(found);
        return task;
    }

    TaskTable TakeAll() {
        const CLock lock(mutex);
        return std::exchange(tasks, {});
    }

    void Stop() {
        // Seen by the transfer's progress callback at once, and by WaitForTask through the lock.
        stopRequested.store(true);
        const CLock lock(mutex);
        hasTask.notify_one();
    }

    /// The next task to run; an empty one when the worker has to leave. Waits for either.
    Task WaitForTask() {
        const CLock lock(mutex);
        while (tasks.empty() && !stopRequested.load()) {
            hasTask.wait(mutex);
        }
        if (stopRequested.load()) {
            return {};
        }
        const auto first = tasks.begin();
        Task task = std::move(first->second);
        task.record->taskId = first->first;
        task.record->stopRequested = &stopRequested;
        tasks.erase(first);
        return task;
    }

    void Report(Task task) noexcept {
        // Posted without the lock: a post to a thread that has ended destroys the task here, and
        // the end of its client takes the lock again.
        std::shared_ptr<ICompletionQueue> queue;
        {
            const CLock lock(mutex);
            queue = doneQueue;
        }
        if (queue != nullptr) {
            queue->Post(std::move(task.report));
        }
    }

private:
    CMutex mutex;
    std::condition_variable_any hasTask;
    /// Queued, and not yet taken up by the worker. The map is the queue: ids rise, so that its
    /// order is that of the calls of SendAsync.
    TaskTable tasks GUARDED_BY(mutex);
    std::shared_ptr<ICompletionQueue> doneQueue GUARDED_BY(mutex);
    std::atomic<bool> stopRequested{false};
};

CAsyncThread::CAsyncThread() = default;

CAsyncThread::~CAsyncThread() {
    if (!worker.IsStarted() || worker.IsLeftBehind()) {
        return;  // In the child of a fork the lock may be held by a worker that does not exist.
    }
    const CUncancellable untilEnded;
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
    // Counted once the task is queued: where memory runs out, the id stays free.
    shared->Queue(lastTaskId + 1, Task(std::move(record)));
    return ++lastTaskId;
}

std::int32_t CAsyncThread::RemoveTask(std::int32_t taskId) {
    if (shared == nullptr) {
        return -1;
    }
    if (taskId != 0) {
        return shared->Take(taskId).record != nullptr ? 1 : -1;
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
    for (Task task = state.WaitForTask(); task.record != nullptr; task = state.WaitForTask()) {
        task.record->nesting->Perform();
        state.Report(std::move(task));
    }
}

}  // namespace SMTPClientNS
