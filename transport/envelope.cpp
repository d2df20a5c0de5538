#include "transport/envelope.h"

#include <vector>

#include <smtpclient/mime_message.h>

#include "compose/text_conversion.h"
#include "platform/text_types.h"
#include "transport/result_catalogue.h"

namespace SMTPClientNS {
namespace {

std::vector<WideString> CollectEnvelopeAddresses(const IMimeMessage &message) {
    const auto toCount = static_cast<std::uint32_t>(message.GetRecipientCount());
    const auto ccCount = static_cast<std::uint32_t>(message.GetCcCount());
    const auto bccCount = static_cast<std::uint32_t>(message.GetBccCount());
    std::vector<WideString> addresses;
    addresses.reserve(std::size_t{toCount} + ccCount + bccCount);
    for (std::uint32_t index = 1; index <= toCount; ++index) {
        addresses.emplace_back(message.GetRecipient(index, FieldAddress));
    }
    for (std::uint32_t index = 1; index <= ccCount; ++index) {
        addresses.emplace_back(message.GetCc(index, FieldAddress));
    }
    for (std::uint32_t index = 1; index <= bccCount; ++index) {
        addresses.emplace_back(message.GetBcc(index, FieldAddress));
    }
    return addresses;
}

/// Appends one entry after tail and gives the new tail; null if libcurl has no memory for it.
/// curl_slist_append walks from the entry that it is given to the end of the list, so it is given
/// the last one: appending to the first would make many recipients cost quadratic time.
curl_slist *AppendBehind(curl_slist *tail, CurlList &list, const NarrowString &entry) {
    curl_slist *const result = curl_slist_append(tail, entry.c_str());
    if (result == nullptr || list != nullptr) {
        return result != nullptr ? tail->next : nullptr;
    }
    list.reset(result);
    return result;
}

}  // namespace

std::int32_t ApplyEnvelopeRecipients(CURL *handle, CurlList &list, const ISmtpClient *client) {
    const IMimeMessage *const message =
        handle != nullptr && client != nullptr ? client->GetMessage() : nullptr;
    if (message == nullptr) {
        return NothingToSend;
    }
    const std::vector<WideString> addresses = CollectEnvelopeAddresses(*message);
    if (addresses.empty()) {
        return NoRecipients;
    }
    curl_slist *tail = nullptr;
    for (const WideString &address : addresses) {
        tail = AppendBehind(tail, list, WideToAnsi(address.c_str()));
        if (tail == nullptr) {
            return CURLE_OUT_OF_MEMORY;
        }
    }
    curl_easy_setopt(handle, CURLOPT_MAIL_RCPT, list.get());
    return CURLE_OK;
}

}  // namespace SMTPClientNS
