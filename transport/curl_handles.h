#ifndef TRANSPORT_CURL_HANDLES_H
#define TRANSPORT_CURL_HANDLES_H

#include <curl/curl.h>

#include <memory>

namespace SMTPClientNS {

struct CurlEasyCloser {
    /// Sends QUIT on a connection that is still open, and does not wait for the answer.
    void operator()(CURL *handle) const noexcept;
};
using CurlEasy = std::unique_ptr<CURL, CurlEasyCloser>;

struct CurlMimeFreer {
    void operator()(curl_mime *mime) const noexcept { curl_mime_free(mime); }
};
using CurlMime = std::unique_ptr<curl_mime, CurlMimeFreer>;

struct CurlListFreer {
    void operator()(curl_slist *list) const noexcept { curl_slist_free_all(list); }
};
using CurlList = std::unique_ptr<curl_slist, CurlListFreer>;

/// A new easy handle that leaves the signals of the process alone; null if libcurl gives none.
/// Inside a CCurlUse only.
CurlEasy MakeEasyHandle();

/// A new mime handle for an easy handle; null for a null easy handle, or if libcurl gives none.
CurlMime MakeMime(const CurlEasy &easyHandle);

}  // namespace SMTPClientNS

#endif  // TRANSPORT_CURL_HANDLES_H
