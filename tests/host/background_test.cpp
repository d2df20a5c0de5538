#include <gtest/gtest.h>

#include "tests/support/host_tools.h"
#include "tests/support/smtp_server.h"

namespace SMTPClientNS {
namespace {

TEST(Background, ReportsInTheOrderOfTheIds) {
    CSmtpServer server;
    const Client client = MakeClientFor(server.Port());
    const Message message = MakeSmallMessage();
    CRecordingSink sink;
    client->SetMessage(message.get());
    client->SetCompletionSink(&sink);
    EXPECT_EQ(client->SendAsync(), 1);
    EXPECT_EQ(client->SendAsync(), 2);
    ASSERT_TRUE(sink.WaitForReports(2));
    for (const std::int32_t id : {1, 2}) {
        EXPECT_EQ(sink.reports[static_cast<std::size_t>(id) - 1].taskId, id);
        EXPECT_EQ(sink.reports[static_cast<std::size_t>(id) - 1].code, ResultSuccess);
        EXPECT_EQ(sink.reports[static_cast<std::size_t>(id) - 1].text, u"");
    }
    EXPECT_EQ(server.Mails().size(), 2U);
}

}  // namespace
}  // namespace SMTPClientNS
