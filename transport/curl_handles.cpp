#include "transport/curl_handles.h"

#include <cstdint>
#include <optional>

#include "platform/socket.h"

namespace SMTPClientNS {

void CurlEasyCloser::operator()(CURL *handle) const noexcept {
    // The clean-up sends QUIT and would wait up to 120 s for a server that does not answer it.
    curl_socket_t socket = CURL_SOCKET_BAD;
    std::optional<CFarewell> farewell;
    if (curl_easy_getinfo(handle, CURLINFO_ACTIVESOCKET, &socket) == CURLE_OK &&
        socket != CURL_SOCKET_BAD) {
        farewell.emplace(static_cast<std::intptr_t>(socket));
    }
    curl_easy_cleanup(handle);
}

CurlEasy MakeEasyHandle() {
    CurlEasy handle(curl_easy_init());
    if (handle != nullptr) {
        // Without it libcurl swaps the process's SIGPIPE handler around every call, and threads
        // that do so at once leave the host without its own.
        curl_easy_setopt(handle.get(), CURLOPT_NOSIGNAL, 1L);
    }
    return handle;
}

CurlMime MakeMime(const CurlEasy &easyHandle) {
    return CurlMime(easyHandle != nullptr ? curl_mime_init(easyHandle.get()) : nullptr);
}

}  // namespace SMTPClientNS
