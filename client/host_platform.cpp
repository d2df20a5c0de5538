#include <cerrno>
#include <chrono>
#include <memory>
#include <new>

#include <smtpclient/host_platform.h>

#include "platform/completion_queue.h"
#include "platform/message_box.h"

using SMTPClientNS::CCompletionQueue;

namespace {

/// This thread's queue; null if there is no memory for one, so that nothing can wait in it.
std::shared_ptr<CCompletionQueue> ThisQueue() {
    try {
        return CCompletionQueue::ForThisThread();
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

}  // namespace

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
