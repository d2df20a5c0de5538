#ifndef ASYNC_NESTING_H
#define ASYNC_NESTING_H

namespace SMTPClientNS {

struct AsyncTaskRecord;

/// A background send in three stages, each on a thread of its own. Works on the record of its task,
/// which owns it.
class INesting {
public:
    virtual ~INesting() = default;

    /// On the caller of SendAsync: all reading of client and message, all composition.
    virtual void Prepare() = 0;

    /// On the worker: the transfer, if there is one to run.
    virtual void Perform() = 0;

    /// On the thread of the client's first SendAsync: the report to the sink.
    virtual void Finish() = 0;

    /// Binds the task; before every stage.
    virtual void SetTaskData(AsyncTaskRecord *record) = 0;
    virtual AsyncTaskRecord *GetTaskData() const = 0;
};

}  // namespace SMTPClientNS

#endif  // ASYNC_NESTING_H
