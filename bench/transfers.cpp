#include "bench/transfers.h"

#include <curl/curl.h>

#include "tests/support/host_tools.h"

using SMTPClientNS::Client;
using SMTPClientNS::ICompletionSink;
using SMTPClientNS::Message;
using SMTPClientNS::Wide;

namespace {

// What the library makes of the mail, so that all ways send the same.
constexpr const char *Headers =
    "From: <sender@example.org>\r\nTo: <recipient@example.org>\r\nX-Priority: 3\r\nSubject: Large";

struct Handles {
    CURL *easy = curl_easy_init();
    curl_mime *mime = curl_mime_init(easy);
    curl_slist *recipients = curl_slist_append(nullptr, "recipient@example.org");
    curl_slist *headers = curl_slist_append(nullptr, Headers);

    Handles() = default;
    ~Handles() {
        curl_slist_free_all(recipients);
        curl_slist_free_all(headers);
        curl_mime_free(mime);
        curl_easy_cleanup(easy);
    }
    Handles(const Handles &) = delete;
    Handles &operator=(const Handles &) = delete;
};

curl_mimepart *AddSubtree(const Handles &handles, const char *type) {
    curl_mime *const subtree = curl_mime_init(handles.easy);
    curl_mimepart *const holder = curl_mime_addpart(handles.mime);
    curl_mime_subparts(holder, subtree);
    curl_mime_type(holder, type);
    return curl_mime_addpart(subtree);
}

void Prepare(const Handles &handles, const MailToSend &mail) {
    CURL *const easy = handles.easy;
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_URL, "smtp://127.0.0.1");
    curl_easy_setopt(easy, CURLOPT_PORT, static_cast<long>(mail.port));
    curl_easy_setopt(easy, CURLOPT_USERNAME, "user");
    curl_easy_setopt(easy, CURLOPT_PASSWORD, "password");
    curl_easy_setopt(easy, CURLOPT_MAIL_FROM, "sender@example.org");
    curl_easy_setopt(easy, CURLOPT_MAIL_RCPT, handles.recipients);
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, handles.headers);
    curl_mimepart *const text = AddSubtree(handles, "multipart/alternative");
    curl_mime_data(text, "See attachment.\r\n", CURL_ZERO_TERMINATED);
    curl_mime_type(text, "text/plain; charset=UTF-8");
    curl_mimepart *const attachment = AddSubtree(handles, "multipart/mixed");
    curl_mime_filedata(attachment, mail.attachment.c_str());
    curl_mime_encoder(attachment, "base64");
    curl_easy_setopt(easy, CURLOPT_MIMEPOST, handles.mime);
}

int CountBytes(CURL * /*easy*/, curl_infotype type, char * /*data*/, std::size_t size,
               void *count) noexcept {
    *static_cast<std::uint64_t *>(count) += type == CURLINFO_DATA_OUT ? size : 0;
    return 0;
}

Message MakeMessage(const MailToSend &mail) {
    Message message(CreateMimeMessage());
    message->SetSender(u"sender@example.org", nullptr);
    message->AddRecipient(u"recipient@example.org", nullptr);
    message->SetSubject(u"Large");
    message->SetTextBody(u"See attachment.\r\n");
    message->AddAttachment(Wide(mail.attachment).c_str());
    return message;
}

Client MakeClient(const MailToSend &mail, const Message &message) {
    Client client(CreateSmtpClient());
    client->SetHost(u"127.0.0.1");
    client->SetPort(mail.port);
    client->SetUseTls(false);
    client->SetUserName(u"user");
    client->SetPassword(u"password");
    client->SetMessage(message.get());
    return client;
}

class CLastCode final : public ICompletionSink {
public:
    void OnSendComplete(std::int32_t /*taskId*/, std::int32_t ended,
                        const char16_t * /*text*/) override {
        code = ended;
    }

    std::int32_t code = 0;
};

}  // namespace

bool SendWithBareCurl(const MailToSend &mail) {
    const Handles handles;
    Prepare(handles, mail);
    return curl_easy_perform(handles.easy) == CURLE_OK;
}

bool SendWithCountingTrace(const MailToSend &mail, std::uint64_t &wireBytes) {
    wireBytes = 0;
    const Handles handles;
    Prepare(handles, mail);
    curl_easy_setopt(handles.easy, CURLOPT_VERBOSE, 1L);
    curl_easy_setopt(handles.easy, CURLOPT_DEBUGFUNCTION, &CountBytes);
    curl_easy_setopt(handles.easy, CURLOPT_DEBUGDATA, &wireBytes);
    return curl_easy_perform(handles.easy) == CURLE_OK;
}

bool SendWithLogFile(const MailToSend &mail) {
    const Message message = MakeMessage(mail);
    const Client client = MakeClient(mail, message);
    constexpr bool Append = false;
    client->SetLogFile(Wide(mail.logFile).c_str(), Append);
    return client->Send() == SMTPClientNS::ResultSuccess;
}

bool SendInBackground(const MailToSend &mail) {
    const Message message = MakeMessage(mail);
    const Client client = MakeClient(mail, message);
    CLastCode sink;
    client->SetCompletionSink(&sink);
    client->SendAsync();
    constexpr int NoLimit = -1;
    SmtpClientWaitEvents(NoLimit);
    return sink.code == SMTPClientNS::ResultSuccess;
}
