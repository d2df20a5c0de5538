#include <cerrno>
#include <chrono>
#include <new>

#include <smtpclient/host_platform.h>

#include "platform/completion_queue.h"
#include "platform/message_box.h"

using SMTPClientNS::CCompletionQueue;

int SmtpClientEventFd(void) {
    try {
        return CCompletionQueue::ForThisThread()->Descriptor();
    } catch (const std::bad_alloc &) {
        errno = ENOMEM;
        return -1;
    }
}

int SmtpClientDispatchEvents(void) {
    return CCompletionQueue::ForThisThread()->Dispatch();
}

int SmtpClientWaitEvents(int timeoutMs) {
    CCompletionQueue::Deadline deadline;
    if (timeoutMs >= 0) {
        deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    }
    const auto queue = CCompletionQueue::ForThisThread();
    queue->WaitForWork(deadline);
    return queue->Dispatch();
}

void SmtpClientSetMessageBox(SmtpClientMessageBox show, void *context) {
    SMTPClientNS::SetMessageBox(show, context);
}
