#ifndef TESTS_HOST_HOST_TEST_H
#define TESTS_HOST_HOST_TEST_H

#include <gtest/gtest.h>
#include <poll.h>

#include "tests/support/host_tools.h"
#include "tests/support/resources.h"

namespace SMTPClientNS {

/// A server, and a host with one client that is ready to send a small mail. At its end each test is
/// asked for the threads and descriptors that it took.
class CHostTest : public testing::Test, protected CSender {
protected:
    void TearDown() override {
        client.reset();
        EXPECT_TRUE(ReturnTo(start));
    }

    /// Has a background send under way until the server's gate opens.
    void HoldOneSend() {
        server.At("MAIL", CSmtpServer::Hold);
        client->SendAsync();
        ASSERT_TRUE(server.WaitForCommands("MAIL", 1));
    }

    const int descriptor = SmtpClientEventFd();
    const std::pair<std::ptrdiff_t, std::ptrdiff_t> start = Resources();
};

inline bool IsReadable(int polledDescriptor, int waitMs = LongestWaitMs) {
    pollfd polled = {polledDescriptor, POLLIN, 0};
    return ::poll(&polled, 1, waitMs) == 1 && polled.revents == POLLIN;
}

}  // namespace SMTPClientNS

#endif  // TESTS_HOST_HOST_TEST_H
