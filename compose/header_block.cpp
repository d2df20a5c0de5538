#include "compose/header_block.h"

#include <cstdint>
#include <optional>

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

void AppendHex(std::uint32_t number, unsigned int digits, NarrowString &target) {
    for (unsigned int left = digits; left > 0; --left) {
        target += "0123456789ABCDEF"[number >> (4 * (left - 1)) & 0xFU];
    }
}

/// In groups of 8, 4, 4, 4 and 12 digits.
void AppendGuid(NarrowString &target) {
    const std::optional<Guid> guid = MakeGuid();
    if (!guid) {
        return;
    }
    AppendHex(guid->data1, 8, target);
    target += '-';
    AppendHex(guid->data2, 4, target);
    target += '-';
    AppendHex(guid->data3, 4, target);
    target += '-';
    for (std::size_t i = 0; i < guid->data4.size(); ++i) {
        if (i == 2) {
            target += '-';
        }
        AppendHex(guid->data4[i], 2, target);
    }
}

void AppendMessageIdLine(NarrowString &target) {
    target += MessageIdHead;
    target += '<';
    AppendGuid(target);
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
