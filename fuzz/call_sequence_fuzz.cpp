#include <map>
#include <memory>
#include <vector>

#include "client/smtp_client.h"
#include "client/smtp_client_wrapper.h"
#include "fuzz/fuzz_input.h"
#include "message/mime_message.h"

namespace SMTPClientNS {
namespace {

using Text = std::u16string;

/// What a message has to remember, as plainly as it can be said.
struct MessageModel {
    std::vector<std::pair<Text, Text>> lists[3];  // To, Cc, Bcc: address, name
    Text senderAddress, senderName, subject, html, text, charset = u"UTF-8";
    std::int32_t priority = 0;
};

bool IsAddress(const Text &text) {
    const std::size_t at = text.find(u'@');
    return at != Text::npos && at > 0 && at < text.size() - 1;
}

void Reset(MessageModel &model, std::int32_t kind) {
    const Text charset = model.charset;
    if (kind == 0) {
        model = {};
        model.charset = charset;
    } else if (kind >= 1 && kind <= 3) {
        model.lists[kind - 1].clear();
    } else if (kind == 6) {
        model.senderAddress.clear();
        model.senderName.clear();
    }
}

using AddTo = std::int32_t (IMimeMessage::*)(const char16_t *, const char16_t *);
using CountOf = std::int32_t (IMimeMessage::*)() const;
using EntryOf = const char16_t *(IMimeMessage::*)(std::uint32_t, std::int32_t) const;
constexpr AddTo Adders[] = {&IMimeMessage::AddRecipient, &IMimeMessage::AddCc,
                            &IMimeMessage::AddBcc};
constexpr CountOf Counters[] = {&IMimeMessage::GetRecipientCount, &IMimeMessage::GetCcCount,
                                &IMimeMessage::GetBccCount};
constexpr EntryOf Readers[] = {&IMimeMessage::GetRecipient, &IMimeMessage::GetCc,
                               &IMimeMessage::GetBcc};

void Step(IMimeMessage &message, MessageModel &model, CFuzzInput &input) {
    const std::uint8_t operation = input.Byte() % 9;
    const Text first = input.Text();
    const Text second = input.Text();
    if (operation < 3) {
        auto &list = model.lists[operation];
        if (IsAddress(first)) {
            list.emplace_back(first, second);
        }
        const auto expected = IsAddress(first) ? static_cast<std::int32_t>(list.size()) : -1;
        Require((message.*Adders[operation])(first.c_str(), second.c_str()) == expected);
    } else if (operation == 3) {
        const std::int32_t kind = static_cast<std::int8_t>(input.Byte()) % 9;
        Reset(model, kind);
        Require(message.Reset(kind) == (kind >= 0 && kind <= 6 ? 1 : -1));
    } else if (operation == 4) {
        const bool taken = IsAddress(first);
        model.senderAddress = taken ? first : model.senderAddress;
        model.senderName = taken && !second.empty() ? second : model.senderName;
        Require(message.SetSender(first.c_str(), second.c_str()) == (taken ? 1 : -1));
    } else if (operation == 5) {
        message.SetSubject((model.subject = first).c_str());
        message.SetPriority(model.priority = input.Number());
    } else if (operation == 6) {
        message.SetHtmlBody((model.html = first).c_str());
        message.SetTextBody((model.text = second).c_str());
    } else if (operation == 7) {
        message.SetCharset(first.c_str());
        model.charset = first.empty() ? model.charset : first;
    }
}

void Compare(const IMimeMessage &message, const MessageModel &model) {
    for (int i = 0; i < 3; ++i) {
        const auto &list = model.lists[i];
        Require((message.*Counters[i])() == static_cast<std::int32_t>(list.size()));
        for (std::uint32_t at = 1; at <= list.size(); ++at) {
            Require(list[at - 1].first == (message.*Readers[i])(at, 0));
            Require(list[at - 1].second == (message.*Readers[i])(at, 1));
        }
        Require(*(message.*Readers[i])(static_cast<std::uint32_t>(list.size() + 1), 0) == 0);
    }
    Require(model.senderAddress == message.GetSender(0) &&
            model.senderName == message.GetSender(1));
    Require(model.subject == message.GetSubject() && model.priority == message.GetPriority());
    Require(model.html == message.GetHtmlBody() && model.text == message.GetTextBody());
    Require(model.charset == message.GetCharset());
}

struct ProxyModel {
    Text values[5] = {u"", u"-1", u"2", u"", u""};
    bool enabled = false;
};

Text Decimal(std::int32_t number) {
    const std::string digits = std::to_string(number);
    return {digits.begin(), digits.end()};
}

void ProxyStep(ISmtpClient &client, ProxyModel &model, CFuzzInput &input) {
    const Text host = input.Text();
    const Text user = input.Text();
    const Text password = input.Text();
    const std::int32_t port = static_cast<std::int8_t>(input.Byte());
    const std::int32_t type = input.Number();
    model.enabled = !host.empty() && port > 0;
    if (model.enabled) {
        const bool both = !user.empty() && !password.empty();
        const Text fresh[] = {host, Decimal(port), Decimal(type), both ? user : model.values[3],
                              both ? password : model.values[4]};
        std::copy(std::begin(fresh), std::end(fresh), model.values);
    }
    const std::int32_t expected = model.enabled ? 1 : 0;
    Require(client.SetProxy(host.c_str(), port, type, user.c_str(), password.c_str()) == expected);
    Require(client.IsProxyEnabled() == model.enabled);
    for (std::int32_t index = 0; index < 5; ++index) {
        char16_t buffer[ProxyValueCapacity];
        client.GetProxyValue(buffer, index);
        Require(model.values[index] == buffer);
    }
    client.SetPassword(password.c_str());
    client.SetBearerToken(user.c_str());
    Require(password == client.GetPassword() && user == client.GetBearerToken());
}

}  // namespace
}  // namespace SMTPClientNS

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using namespace SMTPClientNS;
    CFuzzInput input(data, size);
    CMimeMessage message;
    MessageModel model;
    ProxyModel proxy;
    ISmtpClient *const client = CreateSmtpClient();
    while (!input.IsEmpty()) {
        if (input.Byte() % 4 == 0) {
            ProxyStep(*client, proxy, input);
        } else {
            Step(message, model, input);
        }
    }
    Compare(message, model);
    client->Release();
    return 0;
}
