#include "message/message_store.h"

#include <optional>
#include <string_view>

#include "compose/text_conversion.h"
#include "message/html_images.h"
#include "platform/file.h"

namespace SMTPClientNS {
namespace {

constexpr std::uint64_t BodyFileLimit = std::uint64_t{4} << 30U;  // Bytes
constexpr std::int32_t Refused = -1;

bool IsValidAddress(const char16_t *address) {
    if (IsEmpty(address)) {
        return false;
    }
    const std::u16string_view text = address;
    const std::size_t at = text.find(u'@');
    return at != std::u16string_view::npos && at != 0 && at + 1 != text.size();
}

bool FileExists(const char16_t *path) {
    return path != nullptr && PathExists(path);
}

WideString TextOrEmpty(const char16_t *text) {
    return text != nullptr ? text : u"";
}

template <typename Entry>
std::int32_t LengthOf(const std::vector<Entry> &list) {
    return static_cast<std::int32_t>(list.size());
}

std::int32_t AddAddress(std::vector<MailAddress> &list, const char16_t *address,
                        const char16_t *name) {
    if (!IsValidAddress(address)) {
        return Refused;
    }
    list.push_back({TextOrEmpty(name), address});
    return LengthOf(list);
}

/// The entry at an index that counts from 1; null if there is none.
template <typename Entry>
const Entry *EntryAt(const std::vector<Entry> &list, std::uint32_t index) {
    return index >= 1 && index <= list.size() ? &list[index - 1] : nullptr;
}

const char16_t *FieldOf(const MailAddress *entry, std::int32_t selector) {
    if (entry != nullptr && selector == FieldAddress) {
        return entry->address.c_str();
    }
    if (entry != nullptr && selector == FieldName) {
        return entry->name.c_str();
    }
    return u"";
}

}  // namespace

std::int32_t CMimeMessage::Reset(std::int32_t kind) {
    if (kind < ResetAll || kind > ResetSender) {
        return Refused;
    }
    const auto isMeant = [kind](std::int32_t part) { return kind == ResetAll || kind == part; };
    if (isMeant(ResetRecipients)) {
        recipients.clear();
    }
    if (isMeant(ResetCc)) {
        ccRecipients.clear();
    }
    if (isMeant(ResetBcc)) {
        bccRecipients.clear();
    }
    if (isMeant(ResetAttachments)) {
        attachments.clear();
    }
    if (isMeant(ResetInlineImages)) {
        inlineImages.clear();
    }
    if (isMeant(ResetSender)) {
        sender = {};
    }
    if (kind == ResetAll) {
        priority = PriorityNormal;
        subject.clear();
        textBody.clear();
        htmlBody.clear();
    }
    return 1;
}

void CMimeMessage::Release() {
    delete this;
}

std::int32_t CMimeMessage::AddRecipient(const char16_t *address, const char16_t *name) {
    return AddAddress(recipients, address, name);
}
std::int32_t CMimeMessage::GetRecipientCount() const {
    return LengthOf(recipients);
}
const char16_t *CMimeMessage::GetRecipient(std::uint32_t index, std::int32_t selector) const {
    return FieldOf(EntryAt(recipients, index), selector);
}

std::int32_t CMimeMessage::AddCc(const char16_t *address, const char16_t *name) {
    return AddAddress(ccRecipients, address, name);
}
std::int32_t CMimeMessage::GetCcCount() const {
    return LengthOf(ccRecipients);
}
const char16_t *CMimeMessage::GetCc(std::uint32_t index, std::int32_t selector) const {
    return FieldOf(EntryAt(ccRecipients, index), selector);
}

std::int32_t CMimeMessage::AddBcc(const char16_t *address, const char16_t *name) {
    return AddAddress(bccRecipients, address, name);
}
std::int32_t CMimeMessage::GetBccCount() const {
    return LengthOf(bccRecipients);
}
const char16_t *CMimeMessage::GetBcc(std::uint32_t index, std::int32_t selector) const {
    return FieldOf(EntryAt(bccRecipients, index), selector);
}

std::int32_t CMimeMessage::AddAttachment(const char16_t *path) {
    if (!FileExists(path)) {
        return Refused;
    }
    attachments.emplace_back(path);
    return LengthOf(attachments);
}
std::int32_t CMimeMessage::GetAttachmentCount() const {
    return LengthOf(attachments);
}
const char16_t *CMimeMessage::GetAttachment(std::uint32_t index) const {
    const WideString *const path = EntryAt(attachments, index);
    return path != nullptr ? path->c_str() : u"";
}

std::int32_t CMimeMessage::AddInlineImage(const char16_t *path, const char16_t *id) {
    if (!FileExists(path)) {
        return Refused;
    }
    inlineImages.push_back({TextOrEmpty(id), path});
    return LengthOf(inlineImages);
}
std::int32_t CMimeMessage::GetInlineImageCount() const {
    return LengthOf(inlineImages);
}
const char16_t *CMimeMessage::GetInlineImagePath(std::uint32_t index) const {
    return FieldOf(EntryAt(inlineImages, index), FieldAddress);
}
const char16_t *CMimeMessage::GetInlineImageId(std::uint32_t index) const {
    return FieldOf(EntryAt(inlineImages, index), FieldName);
}

std::int32_t CMimeMessage::SetSender(const char16_t *address, const char16_t *name) {
    if (!IsValidAddress(address)) {
        return Refused;
    }
    // Both are copied before either is replaced: the host may pass a text that the sender holds
    // now.
    sender = MailAddress{IsEmpty(name) ? sender.name : WideString(name), address};
    return 1;
}
const char16_t *CMimeMessage::GetSender(std::int32_t selector) const {
    return FieldOf(&sender, selector);
}

void CMimeMessage::SetPriority(std::int32_t value) {
    priority = value;
}
std::int32_t CMimeMessage::GetPriority() const {
    return priority;
}

void CMimeMessage::SetSubject(const char16_t *text) {
    subject = TextOrEmpty(text);
}
const char16_t *CMimeMessage::GetSubject() const {
    return subject.c_str();
}

void CMimeMessage::SetCharset(const char16_t *text) {
    if (!IsEmpty(text)) {
        charset = text;
    }
}
const char16_t *CMimeMessage::GetCharset() const {
    return charset.c_str();
}

void CMimeMessage::LoadBodyFromFile(const char16_t *path, std::int32_t mode) {
    if (path == nullptr) {
        return;
    }
    const std::optional<NarrowString> bytes = ReadWholeFile(path, BodyFileLimit);
    if (!bytes || mode < BodyTextSystem || mode > BodyHtmlUtf8WithImages) {
        return;
    }
    const bool isUtf8 =
        mode == BodyTextUtf8 || mode == BodyHtmlUtf8 || mode == BodyHtmlUtf8WithImages;
    WideString &body = mode <= BodyTextUtf8 ? textBody : htmlBody;
    BytesToWide(bytes->c_str(), body, isUtf8 ? Utf8CodePage : SystemCodePage);
    if (mode >= BodyHtmlSystemWithImages) {
        ScanHtmlImages(*this);
    }
}

void CMimeMessage::SetHtmlBody(const char16_t *text) {
    htmlBody = TextOrEmpty(text);
}
const char16_t *CMimeMessage::GetHtmlBody() const {
    return htmlBody.c_str();
}

void CMimeMessage::SetTextBody(const char16_t *text) {
    textBody = TextOrEmpty(text);
}
const char16_t *CMimeMessage::GetTextBody() const {
    return textBody.c_str();
}

}  // namespace SMTPClientNS
