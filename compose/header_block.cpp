#include "compose/header_block.h"

#include <array>
#include <cstdio>

#include <smtpclient/mime_message.h>

#include "compose/encoded_word.h"
#include "compose/text_conversion.h"
#include "platform/identity.h"

namespace SMTPClientNS {
namespace {

constexpr const char *FromHead = "From: ";
constexpr const char *ToHead = "To: ";
constexpr const char *CcHead = "Cc: ";
constexpr const char *BccHead = "Bcc: ";
constexpr const char *AddressSeparator = ",\r\n ";
constexpr const char *LineEnd = "\r\n";
constexpr const char *NormalPriorityLine = "X-Priority: 3 \r\n";
constexpr const char *LowPriorityLine = "X-Priority: 4 \r\n";
constexpr const char *HighPriorityLine = "X-Priority: 2 \r\n";
constexpr const char *SubjectHead = "Subject: ";
constexpr const char *MessageIdHead = "Message - ID: ";
constexpr const char *GuidFormat = "%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X";

/// The reading operations of one address list.
struct AddressList {
    const char *head;
    std::int32_t (IMimeMessage::*count)() const;
    const char16_t *(IMimeMessage::*entry)(std::uint32_t index, std::int32_t selector) const;
};

constexpr AddressList ToList = {ToHead, &IMimeMessage::GetRecipientCount,
                                &IMimeMessage::GetRecipient};
constexpr AddressList CcList = {CcHead, &IMimeMessage::GetCcCount, &IMimeMessage::GetCc};
constexpr AddressList BccList = {BccHead, &IMimeMessage::GetBccCount, &IMimeMessage::GetBcc};

void AppendEntry(const char16_t *address, const char16_t *name, const NarrowString &charset,
                 NarrowString &target) {
    if (IsEmpty(name)) {
        target += WideToAnsi(address);
        return;
    }
    NarrowString encodedName;
    EncodeDisplayName(charset, name, encodedName);
    target += encodedName;
    target += " <";
    target += WideToAnsi(address);
    target += '>';
}

void AppendFromLine(const IMimeMessage &message, const NarrowString &charset,
                    NarrowString &target) {
    target += FromHead;
    AppendEntry(message.GetSender(FieldAddress), message.GetSender(FieldName), charset, target);
    target += LineEnd;
}

void AppendListLine(const IMimeMessage &message, const AddressList &list,
                    const NarrowString &charset, NarrowString &target) {
    const auto count = static_cast<std::uint32_t>((message.*list.count)());
    if (count == 0) {
        return;
    }
    target += list.head;
    for (std::uint32_t index = 1; index <= count; ++index) {
        if (index > 1) {
            target += AddressSeparator;
        }
        AppendEntry((message.*list.entry)(index, FieldAddress),
                    (message.*list.entry)(index, FieldName), charset, target);
    }
    target += LineEnd;
}

void AppendPriorityLine(std::int32_t priority, NarrowString &target) {
    switch (priority) {
        case PriorityNormal:
            target += NormalPriorityLine;
            break;
        case PriorityLow:
            target += LowPriorityLine;
            break;
        case PriorityHigh:
            target += HighPriorityLine;
            break;
        default:
            break;
    }
}

void AppendSubjectLine(const IMimeMessage &message, const NarrowString &charset,
                       NarrowString &target) {
    NarrowString subject;
    EncodeSubject(charset, message.GetSubject(), subject);
    target += SubjectHead;
    target += subject;
    target += LineEnd;
    target += LineEnd;
}

NarrowString GuidText() {
    const std::optional<Guid> guid = MakeGuid();
    if (!guid) {
        return {};
    }
    const auto &tail = guid->data4;
    std::array<char, 80> text = {};
    std::snprintf(text.data(), text.size(), GuidFormat, guid->data1, guid->data2, guid->data3,
                  tail[0], tail[1], tail[2], tail[3], tail[4], tail[5], tail[6], tail[7]);
    return text.data();
}

void AppendMessageIdLine(NarrowString &target) {
    target += MessageIdHead;
    target += '<';
    target += GuidText();
    target += '@';
    target += ComputerName();
    target += '>';
    target += LineEnd;
}

}  // namespace

void BuildHeaderBlock(const ISmtpClient *client, NarrowString &target) {
    const IMimeMessage *const message = client != nullptr ? client->GetMessage() : nullptr;
    if (message == nullptr) {
        return;
    }
    const NarrowString charset = WideToAnsi(message->GetCharset());
    AppendFromLine(*message, charset, target);
    for (const AddressList &list : {ToList, CcList, BccList}) {
        AppendListLine(*message, list, charset, target);
    }
    AppendPriorityLine(message->GetPriority(), target);
    AppendSubjectLine(*message, charset, target);
    AppendMessageIdLine(target);
}

}  // namespace SMTPClientNS
