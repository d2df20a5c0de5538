// Drives client, message and sink by the tables of the system's own C++ interface.

#include <smtpclient/smtpclient.h>

using namespace SMTPClientNS;

namespace {

class CSink final : public ICompletionSink {
public:
    void OnSendComplete(std::int32_t taskId, std::int32_t code, const char16_t *) override {
        told = 100 * taskId + code;
    }
    std::int32_t told = 0;
};

}  // namespace

extern "C" int SendTwiceByMsvcTables(int port) {
    CSink sink;
    IMimeMessage *const message = CreateMimeMessage();
    message->SetSender(u"a@example.org", u"A");
    message->AddRecipient(u"b@example.org", nullptr);
    message->SetTextBody(u"hello\r\n");
    ISmtpClient *const client = CreateSmtpClient();
    client->SetHost(u"127.0.0.1");
    client->SetPort(port);
    client->SetUseTls(false);
    client->SetUserName(u"user");
    client->SetPassword(u"pass");
    client->SetCompletionSink(&sink);
    client->SetMessage(message);
    const int sent = client->GetMessage() == message ? client->Send() : 0;
    client->SendAsync();
    message->Release();
    while (SmtpClientWaitEvents(-1) == 0) {
    }
    client->Release();
    return 1000 * sent + sink.told;
}
