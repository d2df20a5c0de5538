#ifndef MESSAGE_MESSAGE_STORE_H
#define MESSAGE_MESSAGE_STORE_H

#include <vector>

#include <smtpclient/mime_message.h>

#include "message/mail_address.h"
#include "platform/text_types.h"

namespace SMTPClientNS {

/// The message that hosts get.
class CMimeMessage final : public IMimeMessage {
public:
    CMimeMessage() = default;
    CMimeMessage(const CMimeMessage &) = delete;
    CMimeMessage &operator=(const CMimeMessage &) = delete;

    std::int32_t Reset(std::int32_t kind) override;
    void Release() override;

    std::int32_t AddRecipient(const char16_t *address, const char16_t *name) override;
    std::int32_t GetRecipientCount() const override;
    const char16_t *GetRecipient(std::uint32_t index, std::int32_t selector) const override;
    std::int32_t AddCc(const char16_t *address, const char16_t *name) override;
    std::int32_t GetCcCount() const override;
    const char16_t *GetCc(std::uint32_t index, std::int32_t selector) const override;
    std::int32_t AddBcc(const char16_t *address, const char16_t *name) override;
    std::int32_t GetBccCount() const override;
    const char16_t *GetBcc(std::uint32_t index, std::int32_t selector) const override;

    std::int32_t AddAttachment(const char16_t *path) override;
    std::int32_t GetAttachmentCount() const override;
    const char16_t *GetAttachment(std::uint32_t index) const override;
    std::int32_t AddInlineImage(const char16_t *path, const char16_t *id) override;
    std::int32_t GetInlineImageCount() const override;
    const char16_t *GetInlineImagePath(std::uint32_t index) const override;
    const char16_t *GetInlineImageId(std::uint32_t index) const override;

    std::int32_t SetSender(const char16_t *address, const char16_t *name) override;
    const char16_t *GetSender(std::int32_t selector) const override;
    void SetPriority(std::int32_t value) override;
    std::int32_t GetPriority() const override;
    void SetSubject(const char16_t *text) override;
    const char16_t *GetSubject() const override;
    void SetCharset(const char16_t *text) override;
    const char16_t *GetCharset() const override;
    void LoadBodyFromFile(const char16_t *path, std::int32_t mode) override;
    void SetHtmlBody(const char16_t *text) override;
    const char16_t *GetHtmlBody() const override;
    void SetTextBody(const char16_t *text) override;
    const char16_t *GetTextBody() const override;

private:
    std::int32_t priority = PriorityNormal;
    WideString charset = u"UTF-8";
    WideString subject;
    WideString htmlBody;
    WideString textBody;
    MailAddress sender;
    std::vector<MailAddress> recipients;
    std::vector<MailAddress> ccRecipients;
    std::vector<MailAddress> bccRecipients;
    std::vector<WideString> attachments;
    std::vector<MailAddress> inlineImages;
};

}  // namespace SMTPClientNS

#endif  // MESSAGE_MESSAGE_STORE_H
