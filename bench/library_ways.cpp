#include "bench/ways.h"
#include "tests/support/host_tools.h"

namespace {

using SMTPClientNS::Client;
using SMTPClientNS::ICompletionSink;
using SMTPClientNS::Message;
using SMTPClientNS::Wide;

Message MakeMessage(const MailToSend &mail) {
    Message message(CreateMimeMessage());
    message->SetSender(u"sender@example.org", nullptr);
    for (std::size_t number = 0; number < mail.recipients; ++number) {
        message->AddRecipient(Wide(RecipientOf(number)).c_str(), nullptr);
    }
    message->SetSubject(u"Measured");
    message->SetTextBody(Wide(BodyOf(mail)).c_str());
    message->SetHtmlBody(Wide(mail.html).c_str());
    for (const std::string &path : mail.pictures) {
        message->AddInlineImage(Wide(path).c_str(), Wide(path).c_str());
    }
    for (const std::string &path : mail.attachments) {
        message->AddAttachment(Wide(path).c_str());
    }
    return message;
}

Client MakeClient(const MailToSend &mail, const Message &message) {
    Client client(CreateSmtpClient());
    client->SetHost(u"127.0.0.1");
    client->SetPort(mail.port);
    client->SetUseTls(mail.isTls);
    client->SetVerifyPeer(mail.isVerified ? 1 : 0);
    client->SetUserName(u"user");
    client->SetPassword(u"password");
    client->SetMessage(message.get());
    return client;
}

bool SendAll(const MailToSend &mail, int times, bool isLogged) {
    const Message message = MakeMessage(mail);
    const Client client = MakeClient(mail, message);
    client->SetLogFile(Wide(isLogged ? mail.logFile : "").c_str(), true);
    bool areTaken = true;
    for (int sent = 0; sent < times && areTaken; ++sent) {
        areTaken = client->Send() == SMTPClientNS::ResultSuccess;
    }
    return areTaken;
}

class CCountingSink final : public ICompletionSink {
public:
    void OnSendComplete(std::int32_t /*taskId*/, std::int32_t code,
                        const char16_t * /*text*/) override {
        ++ended;
        taken += code == SMTPClientNS::ResultSuccess ? 1 : 0;
    }

    int ended = 0;
    int taken = 0;
};

bool SendInBackground(const MailToSend &mail, int times) {
    const Message message = MakeMessage(mail);
    const Client client = MakeClient(mail, message);
    CCountingSink sink;
    client->SetCompletionSink(&sink);
    for (int sent = 0; sent < times; ++sent) {
        client->SendAsync();
    }
    while (sink.ended < times) {
        SmtpClientWaitEvents(-1);
    }
    return sink.taken == times;
}

}  // namespace

std::map<std::string, Way> LibraryWays() {
    return {
        {"send", [](const MailToSend &mail, int times) { return SendAll(mail, times, false); }},
        {"send-log", [](const MailToSend &mail, int times) { return SendAll(mail, times, true); }},
        {"send-async", SendInBackground},
    };
}
