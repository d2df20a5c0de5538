#include <gtest/gtest.h>

#include "tests/support/host_tools.h"
#include "tests/support/smtp_server.h"

namespace SMTPClientNS {
namespace {

TEST(CodePage932, CarriesTextsAndResults) {
    CSmtpServer server;
    const Message message = MakeSmallMessage();
    message->SetSender(u"\u65E5\u20AC@example.org", nullptr);  // The second one is not in it.
    const Client client = MakeClientFor(server.Port());
    client->SetMessage(message.get());
    EXPECT_EQ(client->Send(), ResultSuccess);
    EXPECT_EQ(server.Commands().at(3).substr(0, 26), "MAIL FROM:<\x93\xFA?@example.org");

    std::u16string told;
    struct Sink final : ICompletionSink {
        explicit Sink(std::u16string &to) : text(to) {}
        void OnSendComplete(std::int32_t, std::int32_t, const char16_t *toldText) override {
            text = toldText;
        }
        std::u16string &text;
    } sink(told);
    message->Reset(ResetSender);
    client->SetCompletionSink(&sink);
    client->SendAsync();
    EXPECT_EQ(SmtpClientWaitEvents(LongestWaitMs), 1);
    EXPECT_EQ(
        told,
        u"\u9001\u4FE1\u8005\u304C\u6307\u5B9A\u3055\u308C\u3066\u3044\u307E\u305B\u3093\u3002");
}

}  // namespace
}  // namespace SMTPClientNS
