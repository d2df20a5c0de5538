#include <curl/curl.h>

#include <thread>

#include "bench/ways.h"

namespace {

constexpr const char *Headers =
    "From: <sender@example.org>\r\nX-Priority: 3 \r\nSubject: Measured\r\n\r\n"
    "Message - ID: <00000000-0000-4000-8000-000000000000@host>";

struct Handles {
    CURL *easy = curl_easy_init();
    curl_mime *mime = curl_mime_init(easy);
    curl_slist *recipients = nullptr;
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

void ApplyConnection(CURL *easy, const MailToSend &mail) {
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_URL, "smtp://127.0.0.1");
    curl_easy_setopt(easy, CURLOPT_PORT, static_cast<long>(mail.port));
    curl_easy_setopt(easy, CURLOPT_USERNAME, "user");
    curl_easy_setopt(easy, CURLOPT_PASSWORD, "password");
    curl_easy_setopt(easy, CURLOPT_USE_SSL,
                     static_cast<long>(mail.isTls ? CURLUSESSL_ALL : CURLUSESSL_NONE));
    curl_easy_setopt(easy, CURLOPT_SSL_VERIFYPEER, mail.isVerified ? 1L : 0L);
    curl_easy_setopt(easy, CURLOPT_SSL_VERIFYHOST, mail.isVerified ? 2L : 0L);
}

curl_mime *AddSubtree(const Handles &handles, const char *type) {
    curl_mime *const subtree = curl_mime_init(handles.easy);
    curl_mimepart *const holder = curl_mime_addpart(handles.mime);
    curl_mime_subparts(holder, subtree);
    curl_mime_type(holder, type);
    return subtree;
}

void AddBody(curl_mime *bodies, const std::string &body, const char *type) {
    curl_mimepart *const part = curl_mime_addpart(bodies);
    curl_mime_data(part, body.c_str(), CURL_ZERO_TERMINATED);
    curl_mime_type(part, type);
}

void AddFiles(curl_mime *files, const std::vector<std::string> &paths, bool arePictures) {
    for (const std::string &path : paths) {
        curl_mimepart *const part = curl_mime_addpart(files);
        curl_mime_filedata(part, path.c_str());
        curl_mime_encoder(part, "base64");
        if (arePictures) {
            curl_slist *headers =
                curl_slist_append(nullptr, ("Content-ID: <" + path + ">").c_str());
            headers = curl_slist_append(headers, "Content-Disposition: inline");
            curl_mime_headers(part, headers, 1);
        }
    }
}

/// libcurl walks a list to its end at each append, so it is given the end.
void AddRecipients(Handles &handles, std::size_t count) {
    curl_slist *last = nullptr;
    for (std::size_t number = 0; number < count; ++number) {
        curl_slist *const added = curl_slist_append(last, RecipientOf(number).c_str());
        handles.recipients = handles.recipients == nullptr ? added : handles.recipients;
        last = last == nullptr ? added : last->next;
    }
    curl_easy_setopt(handles.easy, CURLOPT_MAIL_RCPT, handles.recipients);
}

std::string ToLine(std::size_t recipients) {
    std::string line = "To: ";
    for (std::size_t number = 0; number < recipients; ++number) {
        line += (number == 0 ? "" : ",\r\n ") + RecipientOf(number);
    }
    return line;
}

bool Perform(const MailToSend &mail, curl_debug_callback trace, void *count) {
    Handles handles;
    CURL *const easy = handles.easy;
    ApplyConnection(easy, mail);
    curl_easy_setopt(easy, CURLOPT_MAIL_FROM, "sender@example.org");
    AddRecipients(handles, mail.recipients);
    curl_slist_append(handles.headers, ToLine(mail.recipients).c_str());
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, handles.headers);
    curl_mime *const bodies = AddSubtree(handles, "multipart/alternative");
    if (!mail.html.empty()) {
        AddBody(bodies, mail.html, "text/html; charset=UTF-8");
    }
    AddBody(bodies, BodyOf(mail), "text/plain; charset=UTF-8");
    if (!mail.pictures.empty()) {
        AddFiles(AddSubtree(handles, "multipart/related"), mail.pictures, true);
    }
    if (!mail.attachments.empty()) {
        AddFiles(AddSubtree(handles, "multipart/mixed"), mail.attachments, false);
    }
    curl_easy_setopt(easy, CURLOPT_MIMEPOST, handles.mime);
    if (trace != nullptr) {
        curl_easy_setopt(easy, CURLOPT_VERBOSE, 1L);
        curl_easy_setopt(easy, CURLOPT_DEBUGFUNCTION, trace);
        curl_easy_setopt(easy, CURLOPT_DEBUGDATA, count);
    }
    return curl_easy_perform(easy) == CURLE_OK;
}

int CountBytes(CURL * /*easy*/, curl_infotype /*type*/, char * /*data*/, std::size_t size,
               void *count) noexcept {
    *static_cast<std::size_t *>(count) += size;
    return 0;
}

bool PerformAll(const MailToSend &mail, int times, curl_debug_callback trace) {
    std::size_t count = 0;
    bool areTaken = true;
    for (int sent = 0; sent < times && areTaken; ++sent) {
        areTaken = Perform(mail, trace, &count);
    }
    return areTaken;
}

bool PerformOnThread(const MailToSend &mail, int times) {
    bool areTaken = false;
    std::thread([&] { areTaken = PerformAll(mail, times, nullptr); }).join();
    return areTaken;
}

}  // namespace

std::map<std::string, Way> CurlWays() {
    return {
        {"curl",
         [](const MailToSend &mail, int times) { return PerformAll(mail, times, nullptr); }},
        {"curl-trace",
         [](const MailToSend &mail, int times) { return PerformAll(mail, times, &CountBytes); }},
        {"curl-thread", PerformOnThread},
    };
}
