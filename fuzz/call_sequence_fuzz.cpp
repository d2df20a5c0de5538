#include <map>
#include <vector>

#include "fuzz/fuzz_input.h"
#include "message/message_store.h"
#include "tests/support/host_tools.h"

namespace SMTPClientNS {
namespace {

using Text = std::u16string;

/// What a message and a client's proxy have to remember, as plainly as it can be said.
struct Model {
    std::vector<std::pair<Text, Text>> recipients;  // Address, name
    std::pair<Text, Text> sender;
    Text subject, html, charset = u"UTF-8";
    std::vector<Text> proxy = {u"", u"-1", u"2", u"", u""};
};

bool IsAddress(const Text &text) {
    const std::size_t at = text.find(u'@');
    return at != Text::npos && at > 0 && at < text.size() - 1;
}

Text Decimal(std::int32_t number) {
    const std::string digits = std::to_string(number);
    return {digits.begin(), digits.end()};
}

void Step(IMimeMessage &message, ISmtpClient &client, Model &model, CFuzzInput &input) {
    const std::uint8_t operation = input.Byte() % 6;
    const Text first = input.Text();
    const Text second = input.Text();
    const bool isAddress = IsAddress(first);
    if (operation < 2) {
        if (isAddress) {
            model.recipients.emplace_back(first, second);
        }
        const auto length = static_cast<std::int32_t>(model.recipients.size());
        Require(message.AddRecipient(first.c_str(), second.c_str()) == (isAddress ? length : -1));
    } else if (operation == 2) {
        if (isAddress) {
            model.sender = {first, second.empty() ? model.sender.second : second};
        }
        Require(message.SetSender(first.c_str(), second.c_str()) == (isAddress ? 1 : -1));
    } else if (operation == 3) {
        message.SetSubject((model.subject = first).c_str());
        message.SetHtmlBody((model.html = second).c_str());
        message.SetCharset(first.c_str());
        model.charset = first.empty() ? model.charset : first;
    } else if (operation == 4) {
        const std::int32_t kind = static_cast<std::int8_t>(input.Byte());
        Require(message.Reset(kind) == (kind >= ResetAll && kind <= ResetSender ? 1 : -1));
        if (kind == ResetAll) {
            const Model before = model;
            model = {};
            model.charset = before.charset;
            model.proxy = before.proxy;
        }
        model.recipients.resize(kind == ResetRecipients ? 0 : model.recipients.size());
        model.sender = kind == ResetSender ? decltype(model.sender)() : model.sender;
    } else {
        const std::int32_t port = input.Number();
        const bool taken = !first.empty() && port > 0;
        if (taken) {
            const bool hasLogin = !second.empty();
            model.proxy = {first, Decimal(port), u"3", hasLogin ? second : model.proxy[3],
                           hasLogin ? first : model.proxy[4]};
        }
        Require(client.SetProxy(first.c_str(), port, 3, second.c_str(), first.c_str()) ==
                (taken ? 1 : 0));
        client.SetPassword(first.c_str());
        Require(client.IsProxyEnabled() == taken && first == client.GetPassword());
    }
}

void Compare(const IMimeMessage &message, const ISmtpClient &client, const Model &model) {
    Require(message.GetRecipientCount() == static_cast<std::int32_t>(model.recipients.size()));
    for (std::uint32_t at = 1; at <= model.recipients.size(); ++at) {
        Require(model.recipients[at - 1].first == message.GetRecipient(at, FieldAddress));
        Require(model.recipients[at - 1].second == message.GetRecipient(at, FieldName));
    }
    Require(model.sender.first == message.GetSender(FieldAddress));
    Require(model.sender.second == message.GetSender(FieldName));
    Require(model.subject == message.GetSubject() && model.html == message.GetHtmlBody());
    Require(model.charset == message.GetCharset());
    for (std::size_t index = 0; index < model.proxy.size(); ++index) {
        char16_t buffer[ProxyValueCapacity];
        client.GetProxyValue(buffer, static_cast<std::int32_t>(index));
        Require(model.proxy[index] == buffer);
    }
}

}  // namespace
}  // namespace SMTPClientNS

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using namespace SMTPClientNS;
    CFuzzInput input(data, size);
    CMimeMessage message;
    Model model;
    const Client client = MakeClient();
    while (!input.IsEmpty()) {
        Step(message, *client, model, input);
    }
    Compare(message, *client, model);
    return 0;
}
