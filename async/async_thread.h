#ifndef ASYNC_ASYNC_THREAD_H
#define ASYNC_ASYNC_THREAD_H

#include <cstdint>
#include <memory>

#include "async/async_task_record.h"
#include "platform/worker_thread.h"

namespace SMTPClientNS {

/// Where a client's transfers run in the background: a worker thread, one transfer at a time in the
/// order of the task ids, and the way back to the thread that made the first SendAsync. Both come
/// into being with the first task and cost nothing until then.
///
/// Operations are called by the client's thread. The destructor may run on any: it comes when the
/// client's last reference goes.
class CAsyncThread {
public:
    CAsyncThread();
    /// Tells the worker to leave, a transfer that still runs to stop, and waits up to a second.
    virtual ~CAsyncThread();
    CAsyncThread(const CAsyncThread &) = delete;
    CAsyncThread &operator=(const CAsyncThread &) = delete;

    /// Runs the first stage of the record's nesting, queues the task whatever came of it, and
    /// returns its id: 1 and up. Where the system gives no thread or no queue, the task waits for
    /// the next StartTask that gets one.
    std::int32_t StartTask(std::unique_ptr<AsyncTaskRecord> record);

    /// Releases the task of that id, or with id 0 all, if the worker has not taken it up. 1, or -1
    /// if there is none.
    std::int32_t RemoveTask(std::int32_t taskId);

private:
    class CSharedState;

    static void WorkerLoop(CSharedState &state) noexcept;

    /// The worker's, too: what it uses outlives this object.
    std::shared_ptr<CSharedState> shared;
    CWorkerThread worker;
    std::int32_t lastTaskId = 0;
};

}  // namespace SMTPClientNS

#endif  // ASYNC_ASYNC_THREAD_H
