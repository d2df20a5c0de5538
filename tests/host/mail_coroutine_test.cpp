#include <gtest/gtest.h>

#include <smtpclient/mail.h>

#include "examples/task.h"
#include "tests/support/host_tools.h"

namespace smtpclient {
namespace {

CTask SendTwice(Client &client, std::string &told) {
    Message message;
    message.To("b@example.org");
    told += std::to_string((co_await client.Sending(message)).code);
    const Outcome outcome = co_await client.Sending(message.From("a@example.org"));
    told += outcome ? "sent" : outcome.text;
}

class Coroutine : public testing::Test {
protected:
    Coroutine() { client.Login("user", "pass").WithoutTls(); }

    void DispatchUntilIdle() {
        while (client.Pending() > 0 && SmtpClientWaitEvents(SMTPClientNS::LongestWaitMs) > 0) {
        }
    }

    SMTPClientNS::CSmtpServer server;
    Client client{"127.0.0.1", server.Port()};
    std::string told;
};

TEST_F(Coroutine, IsResumedWithEachOutcome) {
    const CTask task = SendTwice(client, told);
    EXPECT_FALSE(task.handle.done());
    DispatchUntilIdle();
    EXPECT_TRUE(task.handle.done());
    EXPECT_EQ(told, "-17sent");
    task.handle.destroy();
}

TEST_F(Coroutine, MayEndBeforeItsSend) {
    SendTwice(client, told).handle.destroy();
    DispatchUntilIdle();
    EXPECT_EQ(told, "");
}

TEST_F(Coroutine, StaysSuspendedWhenTheClientEnds) {
    const CTask task = SendTwice(client, told);
    client = Client("elsewhere");
    EXPECT_EQ(SmtpClientWaitEvents(SMTPClientNS::LongestWaitMs), 1);
    EXPECT_FALSE(task.handle.done());
    task.handle.destroy();
}

}  // namespace
}  // namespace smtpclient
