#include <smtpclient/mime_message.h>
#include <smtpclient/smtp_client.h>

#include "client/smtp_client.h"
#include "client/smtp_client_wrapper.h"
#include "message/mime_message.h"

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
