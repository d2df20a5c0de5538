#ifndef ASYNC_ASYNC_TASK_RECORD_H
#define ASYNC_ASYNC_TASK_RECORD_H

#include <atomic>
#include <cstdint>
#include <memory>

#include <smtpclient/smtp_client.h>

#include "async/nesting.h"
#include "client/prepare_send.h"

namespace SMTPClientNS {

/// A counted reference on a client.
class CClientReference {
public:
    explicit CClientReference(ISmtpClient *referred) : client(referred) { client->AddRef(); }
    ~CClientReference() { client->Release(); }
    CClientReference(const CClientReference &) = delete;
    CClientReference &operator=(const CClientReference &) = delete;

    ISmtpClient *operator->() const noexcept { return client; }
    ISmtpClient *Get() const noexcept { return client; }

private:
    ISmtpClient *client;
};

/// One background send. It belongs to one thread at a time and so needs no lock: first to the
/// caller of SendAsync, then to the worker, then to the thread that reports. The queues between
/// them hand it on.
///
/// The worker frees the handles as soon as the transfer has ended; the record's end, which may end
/// the client with it, frees those of a task that was removed from the queue.
struct AsyncTaskRecord {
    explicit AsyncTaskRecord(ISmtpClient *sendingClient) : client(sendingClient) {}

    SendHandles sendHandles;
    CClientReference client;
    std::unique_ptr<INesting> nesting;
    std::int32_t taskId = 0;  ///< Set by the worker.
    std::int32_t result = 0;  ///< Internal code, of the preparation, then of the transfer.
    /// Owned by the worker's shared state; true once the transfer must stop.
    const std::atomic<bool> *stopRequested = nullptr;
};

}  // namespace SMTPClientNS

#endif  // ASYNC_ASYNC_TASK_RECORD_H
