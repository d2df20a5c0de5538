#include <gtest/gtest.h>

#include <coroutine>

#include <smtpclient/mail.h>

#include "tests/support/host_tools.h"
#include "tests/support/smtp_server.h"

namespace smtpclient {
namespace {

/// Owns a coroutine that starts at once.
class CTask {
public:
    struct promise_type {
        CTask get_return_object() {
            return CTask(std::coroutine_handle<promise_type>::from_promise(*this));
        }
        std::suspend_never initial_suspend() noexcept { return {}; }
        std::suspend_always final_suspend() noexcept { return {}; }
        void return_void() {}
        void unhandled_exception() { std::terminate(); }
    };

    explicit CTask(std::coroutine_handle<> owned) : handle(owned) {}
    ~CTask() {
        if (handle) {
            handle.destroy();
        }
    }
    CTask(CTask &&other) noexcept : handle(std::exchange(other.handle, nullptr)) {}
    CTask &operator=(CTask &&) = delete;
    CTask(const CTask &) = delete;
    CTask &operator=(const CTask &) = delete;

    bool IsDone() const { return handle.done(); }

private:
    std::coroutine_handle<> handle;
};

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
    EXPECT_FALSE(task.IsDone());
    DispatchUntilIdle();
    EXPECT_TRUE(task.IsDone());
    EXPECT_EQ(told, "-17sent");
}

TEST_F(Coroutine, MayEndBeforeItsSend) {
    { const CTask task = SendTwice(client, told); }
    DispatchUntilIdle();
    EXPECT_EQ(told, "");
}

TEST_F(Coroutine, StaysSuspendedWhenTheClientEnds) {
    const CTask task = SendTwice(client, told);
    client = Client("elsewhere");
    EXPECT_EQ(SmtpClientWaitEvents(SMTPClientNS::LongestWaitMs), 1);
    EXPECT_FALSE(task.IsDone());
}

}  // namespace
}  // namespace smtpclient
