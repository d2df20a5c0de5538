#include <gtest/gtest.h>

#include "tests/support/host_tools.h"

namespace SMTPClientNS {

TEST(CodePage932, CarriesTextsAndResults) {
    CSender sender;
    sender.message->SetSender(u"\u65E5\u20AC@example.org",
                              nullptr);  // The second one is not in it.
    EXPECT_EQ(sender.client->Send(), ResultSuccess);
    EXPECT_EQ(sender.server.Commands().at(3).substr(0, 26), "MAIL FROM:<\x93\xFA?@example.org");
    sender.message->Reset(ResetSender);
    sender.client->SendAsync();
    EXPECT_TRUE(sender.sink.WaitForReports(1));
    EXPECT_EQ(
        sender.sink.told,
        "1=-17 "
        "\u9001\u4FE1\u8005\u304C\u6307\u5B9A\u3055\u308C\u3066\u3044\u307E\u305B\u3093\u3002\n");
}

}  // namespace SMTPClientNS
