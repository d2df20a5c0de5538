#include <cerrno>
#include <chrono>
#include <memory>
#include <new>

#include <smtpclient/host_platform.h>
#include <smtpclient/mime_message.h>
#include <smtpclient/smtp_client.h>

#include "client/client_handle.h"
#include "client/smtp_client_wrapper.h"
#include "message/message_store.h"
#include "platform/completion_queue.h"
#include "platform/message_box.h"

using SMTPClientNS::CCompletionQueue;
using SMTPClientNS::CMimeMessage;
using SMTPClientNS::CSmtpClient;
using SMTPClientNS::CSmtpClientWrapper;

namespace {

/// This thread's queue. Null if there is no memory for one; nothing can be waiting then.
std::shared_ptr<CCompletionQueue> ThisQueue() {
    try {
        return CCompletionQueue::ForThisThread();
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

}  // namespace

SMTPClientNS::ISmtpClient *CreateSmtpClient() {
    auto *const client = new CSmtpClientWrapper;
    try {
        return new CSmtpClient(client);
    } catch (...) {
        client->Release();
        throw;
    }
}

SMTPClientNS::IMimeMessage *CreateMimeMessage() {
    return new CMimeMessage;
}

int SmtpClientEventFd(void) {
    if (const auto queue = ThisQueue()) {
        return queue->Descriptor();
    }
    errno = ENOMEM;
    return -1;
}

int SmtpClientDispatchEvents(void) {
    const auto queue = ThisQueue();
    return queue != nullptr ? queue->Dispatch() : 0;
}

int SmtpClientWaitEvents(int timeoutMs) {
    CCompletionQueue::Deadline deadline;
    if (timeoutMs >= 0) {
        deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    }
    const auto queue = ThisQueue();
    if (queue == nullptr) {
        return 0;
    }
    queue->WaitForWork(deadline);
    return queue->Dispatch();
}

void SmtpClientSetMessageBox(SmtpClientMessageBox show, void *context) {
    SMTPClientNS::SetMessageBox(show, context);
}
