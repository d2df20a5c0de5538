#ifndef ASYNC_ASYNC_TASK_H
#define ASYNC_ASYNC_TASK_H

#include <cstdint>

#include <smtpclient/smtp_client.h>

#include "async/async_thread.h"

namespace SMTPClientNS {

/// A client's background sends.
class CAsyncTask {
public:
    /// Composes the client's mail now and sends it in the background; returns the task id, or -1 if
    /// there is no memory to queue it. The task holds a reference on the client until it has been
    /// reported or removed.
    std::int32_t ExecuteTask(ISmtpClient *client);

    /// Takes queued tasks back; as ISmtpClient::CancelAsync.
    std::int32_t RemoveTask(std::int32_t taskId) { return thread.RemoveTask(taskId); }

private:
    CAsyncThread thread;
};

}  // namespace SMTPClientNS

#endif  // ASYNC_ASYNC_TASK_H
