#include <chrono>
#include <optional>

#include <smtpclient/host_platform.h>
#include <smtpclient/mime_message.h>
#include <smtpclient/smtp_client.h>

#include "client/client_handle.h"
#include "client/smtp_client_wrapper.h"
#include "message/message_store.h"
#include "platform/completion_queue.h"
#include "platform/message_box.h"

using SMTPClientNS::CMimeMessage;
using SMTPClientNS::CSmtpClient;
using SMTPClientNS::CSmtpClientWrapper;

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

int SmtpClientDispatchEvents(void) {
    return SMTPClientNS::DispatchCompletions();
}

int SmtpClientWaitEvents(int timeoutMs) {
    std::optional<std::chrono::steady_clock::time_point> deadline;
    if (timeoutMs >= 0) {
        deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    }
    SMTPClientNS::WaitForCompletions(deadline);
    return SMTPClientNS::DispatchCompletions();
}

void SmtpClientSetMessageBox(SmtpClientMessageBox show, void *context) {
    SMTPClientNS::SetMessageBox(show, context);
}
