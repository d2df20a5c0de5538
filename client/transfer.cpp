#include "client/transfer.h"

#include <curl/curl.h>

#include <string_view>

#include "client/file_parts.h"
#include "platform/socket.h"
#include "transport/curl_use.h"
#include "transport/trust_store.h"

namespace SMTPClientNS {
namespace {

bool HoldsLineBreak(std::string_view address) {
    return address.find_first_of("\r\n") != std::string_view::npos;
}

bool EnvelopeHoldsLineBreak(const SendHandles &handles) {
    const curl_slist *recipient = handles.recipientList.get();
    while (recipient != nullptr && !HoldsLineBreak(recipient->data)) {
        recipient = recipient->next;
    }
    return recipient != nullptr || HoldsLineBreak(handles.senderAddress);
}

/// CURLOPT_XFERINFOFUNCTION: called many times a second while bytes flow, and once a second while
/// none do. Anything but 0 ends the transfer.
int StopIfRequested(void *stopRequested, curl_off_t /*downloadTotal*/, curl_off_t /*downloaded*/,
                    curl_off_t /*uploadTotal*/, curl_off_t /*uploaded*/) noexcept {
    const auto *const stop = static_cast<const std::atomic<bool> *>(stopRequested);
    return IsProcessEnding() || (stop != nullptr && stop->load()) ? 1 : 0;
}

/// CURLOPT_OPENSOCKETFUNCTION. A socket that libcurl opens by itself would stay open in programs
/// that the host executes.
curl_socket_t OpenConnection(void * /*unused*/, curlsocktype /*purpose*/,
                             curl_sockaddr *address) noexcept {
    return static_cast<curl_socket_t>(
        OpenSocket(address->family, address->socktype, address->protocol));
}

}  // namespace

std::int32_t PerformTransfer(SendHandles &handles,
                             const std::atomic<bool> *stopRequested) noexcept {
    const CCurlUse use;
    if (!use.IsGranted()) {
        return CURLE_ABORTED_BY_CALLBACK;
    }
    if (EnvelopeHoldsLineBreak(handles)) {
        return CURLE_BAD_FUNCTION_ARGUMENT;
    }
    if (const CURLcode refusal = TakeOverFiles(handles); refusal != CURLE_OK) {
        return refusal;
    }
    CURL *const easy = handles.easyHandle.get();
    CSharedTrust trust;
    if (handles.sharesTrust) {
        trust.ApplyTo(easy, TrustPlacesOf(easy), handles.trace);
    }
    curl_easy_setopt(easy, CURLOPT_OPENSOCKETFUNCTION, &OpenConnection);
    curl_easy_setopt(easy, CURLOPT_XFERINFOFUNCTION, &StopIfRequested);
    curl_easy_setopt(easy, CURLOPT_XFERINFODATA, stopRequested);
    curl_easy_setopt(easy, CURLOPT_NOPROGRESS, 0L);
    return curl_easy_perform(easy);
}

}  // namespace SMTPClientNS
