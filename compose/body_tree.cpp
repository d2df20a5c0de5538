#include "compose/body_tree.h"

#include <string_view>
#include <utility>

#include <smtpclient/mime_message.h>

#include "compose/charset_converter.h"
#include "compose/text_conversion.h"
#include "platform/ascii.h"

namespace SMTPClientNS {
namespace {

constexpr const char *InlineDisposition = "Content-Disposition: inline";
constexpr const char *AlternativeType = "multipart/alternative";
constexpr const char *RelatedType = "multipart/related";
constexpr const char *MixedType = "multipart/mixed";
constexpr const char *HtmlType = "text/html; charset=";
constexpr const char *TextType = "text/plain; charset=";
constexpr const char *FileEncoding = "base64";

// libcurl's refusals are not looked at. A file that cannot be read ends the transfer with
// CURLE_READ_ERROR; any other comes of a lack of memory, and the mail lacks what was refused.
// A null part is refused by every later call.

const IMimeMessage *MessageOf(const ISmtpClient *client) {
    return client != nullptr ? client->GetMessage() : nullptr;
}

void AddBodyPart(curl_mime *bodies, const char16_t *text, const NarrowString &charset,
                 const char *typeHead) {
    ConvertedText converted;
    GetCharsetConverter().ConvertWideToCharset(charset, text, converted);
    curl_mimepart *const part = curl_mime_addpart(bodies);
    // Up to the first 0 byte; null, after a failed conversion, leaves the part empty.
    curl_mime_data(part, converted.buffer.get(), CURL_ZERO_TERMINATED);
    curl_mime_type(part, (typeHead + charset).c_str());
}

/// Without a type libcurl chooses one.
void AddFilePart(curl_mime *parts, const char16_t *path, const char *type,
                 std::vector<NarrowString> headers, std::vector<FilePart> &files) {
    curl_mimepart *const part = curl_mime_addpart(parts);
    curl_mime_filedata(part, WideToAnsi(path).c_str());
    const bool hasType = *type != '\0';
    if (hasType) {
        curl_mime_type(part, type);
    }
    if (!headers.empty()) {
        SetPartHeaders(part, headers);
    }
    curl_mime_encoder(part, FileEncoding);
    files.push_back({part, path, hasType, std::move(headers)});
}

curl_mimepart *Hang(curl_mime *root, curl_mime *subtree, const char *type) {
    curl_mimepart *const part = curl_mime_addpart(root);
    curl_mime_subparts(part, subtree);
    curl_mime_type(part, type);
    return part;
}

}  // namespace

void AddBodyParts(curl_mime *root, curl_mime *bodies, const ISmtpClient *client) {
    const IMimeMessage *const message = MessageOf(client);
    if (message == nullptr) {
        return;
    }
    const NarrowString charset = WideToAnsi(message->GetCharset());
    const bool hasHtml = !IsEmpty(message->GetHtmlBody());
    const bool hasText = !IsEmpty(message->GetTextBody());
    if (hasHtml) {
        AddBodyPart(bodies, message->GetHtmlBody(), charset, HtmlType);
    }
    if (hasText) {
        AddBodyPart(bodies, message->GetTextBody(), charset, TextType);
    }
    if (hasHtml || hasText) {
        SetPartHeaders(Hang(root, bodies, AlternativeType), {InlineDisposition});
    }
}

void AddInlineImageParts(curl_mime *root, curl_mime *images, const ISmtpClient *client,
                         std::vector<FilePart> &files) {
    const IMimeMessage *const message = MessageOf(client);
    if (message == nullptr || IsEmpty(message->GetHtmlBody()) ||
        message->GetInlineImageCount() == 0) {
        return;
    }
    const auto count = static_cast<std::uint32_t>(message->GetInlineImageCount());
    for (std::uint32_t index = 1; index <= count; ++index) {
        const char16_t *const path = message->GetInlineImagePath(index);
        const char16_t *const id = message->GetInlineImageId(index);
        if (IsEmpty(path) || IsEmpty(id)) {
            continue;
        }
        AddFilePart(images, path, ImageTypeForPath(WideToAnsi(path)),
                    {"Content-ID: <" + WideToAnsi(id) + ">", InlineDisposition}, files);
    }
    Hang(root, images, RelatedType);
}

void AddAttachmentParts(curl_mime *root, curl_mime *attachments, const ISmtpClient *client,
                        std::vector<FilePart> &files) {
    const IMimeMessage *const message = MessageOf(client);
    if (message == nullptr || message->GetAttachmentCount() == 0) {
        return;
    }
    const auto count = static_cast<std::uint32_t>(message->GetAttachmentCount());
    for (std::uint32_t index = 1; index <= count; ++index) {
        const char16_t *const path = message->GetAttachment(index);
        if (IsEmpty(path)) {
            continue;
        }
        AddFilePart(attachments, path, "", {}, files);
    }
    Hang(root, attachments, MixedType);
}

CURLcode SetPartHeaders(curl_mimepart *part, const std::vector<NarrowString> &lines) {
    curl_slist *headers = nullptr;
    for (const NarrowString &line : lines) {
        curl_slist *const longer = curl_slist_append(headers, line.c_str());
        if (longer == nullptr) {
            curl_slist_free_all(headers);
            return CURLE_OUT_OF_MEMORY;
        }
        headers = longer;
    }
    constexpr int TakeOwnership = 1;
    const CURLcode result = curl_mime_headers(part, headers, TakeOwnership);
    if (result != CURLE_OK) {
        curl_slist_free_all(headers);
    }
    return result;
}

const char *ImageTypeForPath(const NarrowString &path) {
    const std::size_t dot = path.rfind('.');
    if (dot == NarrowString::npos) {
        return "";
    }
    const std::string_view extension = std::string_view(path).substr(dot + 1);
    if (FoldsTo(extension, "bmp")) {
        return "image/bmp";
    }
    if (FoldsTo(extension, "png")) {
        return "image/png";
    }
    return "";
}

}  // namespace SMTPClientNS
