#include "client/prepare_send.h"

#include <smtpclient/mime_message.h>

#include "compose/body_tree.h"
#include "compose/header_block.h"
#include "compose/text_conversion.h"
#include "transport/connection_options.h"
#include "transport/curl_use.h"
#include "transport/envelope.h"
#include "transport/result_catalogue.h"

namespace SMTPClientNS {
namespace {

bool IsComplete(const SendHandles &handles) {
    return handles.easyHandle != nullptr && handles.rootMime != nullptr &&
           handles.attachmentMime != nullptr && handles.imageMime != nullptr &&
           handles.bodyMime != nullptr;
}

std::int32_t ApplyEnvelope(SendHandles &handles, const ISmtpClient &client) {
    const IMimeMessage *const message = client.GetMessage();
    if (message == nullptr) {
        return NothingToSend;
    }
    const char16_t *const sender = message->GetSender(FieldAddress);
    if (IsEmpty(sender)) {
        return NoSender;
    }
    handles.senderAddress = WideToAnsi(sender);
    curl_easy_setopt(handles.easyHandle.get(), CURLOPT_MAIL_FROM, handles.senderAddress.c_str());
    return ApplyEnvelopeRecipients(handles.easyHandle.get(), handles.recipientList, &client);
}

std::int32_t ApplyHeaders(SendHandles &handles, const ISmtpClient &client) {
    NarrowString block;
    BuildHeaderBlock(&client, block);
    handles.headerList.reset(curl_slist_append(nullptr, block.c_str()));
    if (handles.headerList == nullptr) {
        return CURLE_OUT_OF_MEMORY;
    }
    curl_easy_setopt(handles.easyHandle.get(), CURLOPT_HTTPHEADER, handles.headerList.get());
    return CURLE_OK;
}

std::int32_t ApplyBody(SendHandles &handles, const ISmtpClient &client) {
    curl_mime *const root = handles.rootMime.get();
    AddBodyParts(root, handles.bodyMime.get(), &client);
    AddInlineImageParts(root, handles.imageMime.get(), &client, handles.files);
    AddAttachmentParts(root, handles.attachmentMime.get(), &client, handles.files);
    return curl_easy_setopt(handles.easyHandle.get(), CURLOPT_MIMEPOST, root);
}

}  // namespace

std::int32_t PrepareSend(SendHandles &handles, const ISmtpClient *client) {
    const CCurlUse use;
    if (!use.IsGranted() || client == nullptr || !IsComplete(handles)) {
        return NothingToSend;
    }
    if (client->GetUseTls()) {
        StartTls();
    }
    handles.sharesTrust =
        client->GetUseTls() && client->GetVerifyPeer() != 0 && !client->GetVerifyStatus();
    std::int32_t result = ApplyConnectionOptions(handles.easyHandle.get(), client);
    if (result == CURLE_OK) {
        result = ApplyEnvelope(handles, *client);
    }
    if (result == CURLE_OK) {
        result = ApplyHeaders(handles, *client);
    }
    if (result == CURLE_OK) {
        result = ApplyBody(handles, *client);
    }
    return result;
}

}  // namespace SMTPClientNS
