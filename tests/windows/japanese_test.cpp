#include <gtest/gtest.h>

#include "tests/support/host_tools.h"

namespace SMTPClientNS {

TEST(CodePage932, CarriesTextsAndResults) {
    CSender sender;
    sender.message->SetSender(u"日€@example.org", nullptr);  // It lacks the euro.
    EXPECT_EQ(sender.client->Send(), ResultSuccess);
    EXPECT_EQ(sender.server.Commands().at(3).substr(0, 26), "MAIL FROM:<\x93\xFA?@example.org");
    sender.message->Reset(ResetSender);
    sender.client->SendAsync();
    EXPECT_TRUE(sender.sink.WaitForReports(1));
    EXPECT_EQ(sender.sink.told, "1=-17 送信者が指定されていません。\n");
}

}  // namespace SMTPClientNS
