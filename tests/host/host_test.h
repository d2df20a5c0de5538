#ifndef TESTS_HOST_HOST_TEST_H
#define TESTS_HOST_HOST_TEST_H

#include <gtest/gtest.h>
#include <poll.h>

#include <algorithm>
#include <chrono>
#include <functional>

#include "tests/support/host_tools.h"
#include "tests/support/smtp_server.h"

namespace SMTPClientNS {

/// A limit that only a hang reaches.
constexpr int LongestWaitMs = 60000;

/// Writes down what it is told, "id=code text" a line, then acts.
class CHostSink final : public ICompletionSink {
public:
    void OnSendComplete(std::int32_t taskId, std::int32_t code, const char16_t *text) override {
        told += std::to_string(taskId) + "=" + std::to_string(code) + " " + Narrow(text) + "\n";
        if (act) {
            act(taskId);
        }
    }

    bool WaitForReports(std::ptrdiff_t count) const {
        while (std::count(told.begin(), told.end(), '\n') < count) {
            if (SmtpClientWaitEvents(LongestWaitMs) == 0) {
                return false;
            }
        }
        return true;
    }

    std::function<void(std::int32_t)> act;
    std::string told;
};

/// Threads and open descriptors of this process.
inline std::pair<std::ptrdiff_t, std::ptrdiff_t> Resources() {
    using Entries = std::filesystem::directory_iterator;
    return {std::distance(Entries("/proc/self/task"), {}),
            std::distance(Entries("/proc/self/fd"), {})};
}

/// A server, and a host with one client that is ready to send a small mail. At its end each test is
/// asked for the threads and descriptors that it took.
class CHostTest : public testing::Test {
protected:
    CHostTest() {
        client->SetMessage(message.get());
        client->SetCompletionSink(&sink);
    }

    void TearDown() override {
        client.reset();
        // A joined thread is listed a moment longer, and the server closes in its own time.
        const auto areBack = [&] {
            const auto [threads, descriptors] = Resources();
            return threads <= start.first && descriptors <= start.second;
        };
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
        while (!areBack() && std::chrono::steady_clock::now() < deadline) {
            std::this_thread::yield();
        }
        EXPECT_TRUE(areBack());
    }

    /// Has a background send under way until the server's gate opens.
    void HoldOneSend() {
        server.At("MAIL", CSmtpServer::Hold);
        client->SendAsync();
        ASSERT_TRUE(server.WaitForCommands("MAIL", 1));
    }

    CSmtpServer server;
    CHostSink sink;
    Message message = MakeSmallMessage();
    Client client = MakeClientFor(server.Port());
    const int descriptor = SmtpClientEventFd();
    const std::pair<std::ptrdiff_t, std::ptrdiff_t> start = Resources();
};

inline bool IsReadable(int polledDescriptor, int timeoutMs = 0) {
    pollfd polled = {polledDescriptor, POLLIN, 0};
    return ::poll(&polled, 1, timeoutMs) == 1 && polled.revents == POLLIN;
}

}  // namespace SMTPClientNS

#endif  // TESTS_HOST_HOST_TEST_H
