#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/time.h>

#include <cerrno>

#include "tests/host/host_test.h"

namespace SMTPClientNS {
namespace {

class Background : public CHostTest {};

TEST_F(Background, NeedsNothingOfTheHostButTheSinkOfTheEnd) {
    CRecordingSink swappedIn;
    server.At("CONNECT", CSmtpServer::Hold);
    client->SendAsync();
    message->SetTextBody(u"changed");
    message.reset();
    client->SetCompletionSink(&swappedIn);
    client->SetPort(1);
    client.reset();
    server.OpenGate();
    ASSERT_TRUE(swappedIn.WaitForReports(1));
    EXPECT_EQ(swappedIn.told, "1=1 \n");
    EXPECT_EQ(sink.told, "");
    EXPECT_NE(server.Mails().at(0).find("\r\n\r\nhello\r\n"), std::string::npos);
}

TEST_F(Background, KeepsNoConnectionForAReportThatNobodyFetches) {
    constexpr int Sends = 200;
    client->SendAsync();
    ASSERT_TRUE(server.WaitForMails(1));
    const auto withWorker = Resources();
    for (int number = 1; number < Sends; ++number) {
        client->SendAsync();
    }
    EXPECT_TRUE(server.WaitForMails(Sends));
    EXPECT_TRUE(ReturnTo(withWorker));
    EXPECT_TRUE(IsReadable(descriptor));
    EXPECT_TRUE(sink.WaitForReports(Sends));
    EXPECT_FALSE(IsReadable(descriptor, 0));
    EXPECT_EQ(::fcntl(descriptor, F_GETFD), FD_CLOEXEC);
}

TEST_F(Background, WorkerTakesNoSignal) {
    HoldOneSend();
    std::string masks;
    for (const auto &task : std::filesystem::directory_iterator("/proc/self/task")) {
        const std::string status = ReadFile(task.path() / "status");
        if (status.find("Name:\tsmtpclient\n") == 0) {
            masks += status.substr(status.find("SigBlk:"), 25);
        }
    }
    // All but SIGKILL, SIGSTOP and the C library's own two, which nobody can block.
    EXPECT_EQ(masks, "SigBlk:\tfffffffe7ffbfeff\n");
    server.OpenGate();
    EXPECT_TRUE(sink.WaitForReports(1));
}

TEST_F(Background, GoesOnOnceDescriptorsAreThereAgain) {
    if (TESTS_SANITIZED) {  // A sanitizer looks at memory through a pipe.
        GTEST_SKIP() << "under a sanitizer";
    }
    std::thread([&] {  // Has no descriptor yet.
        rlimit usual = {};
        ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &usual), 0);
        const rlimit none = {0, usual.rlim_max};
        ASSERT_EQ(client->Send(), ResultSuccess);
        ::setrlimit(RLIMIT_NOFILE, &none);
        EXPECT_LT(client->Send(), 0);
        client->SetMessage(nullptr);
        EXPECT_EQ(SmtpClientEventFd(), -1);
        EXPECT_EQ(errno, EMFILE);
        client->SendAsync();
        EXPECT_TRUE(sink.WaitForReports(1));
        client->SendAsync();
        ::setrlimit(RLIMIT_NOFILE, &usual);
        client->SetMessage(message.get());
        EXPECT_EQ(client->Send(), ResultSuccess);
        HoldOneSend();
        EXPECT_TRUE(server.WaitForCommands("MAIL", 3));  // The one before it has ended.
        EXPECT_TRUE(IsReadable(SmtpClientEventFd()));
        EXPECT_EQ(SmtpClientDispatchEvents(), 1);
        server.OpenGate();
        EXPECT_TRUE(sink.WaitForReports(3));
    })
        .join();
}

volatile sig_atomic_t alarms = 0;

TEST(BackgroundWait, OutlivesSignalsAndKeepsItsTime) {
    EXPECT_EQ(SmtpClientDispatchEvents(), 0);
    EXPECT_EQ(SmtpClientWaitEvents(0), 0);
    struct sigaction action = {};
    action.sa_handler = [](int) { alarms = alarms + 1; };
    ASSERT_EQ(::sigaction(SIGALRM, &action, nullptr), 0);
    const itimerval everyTenMs = {{0, 10000}, {0, 10000}};
    ASSERT_EQ(::setitimer(ITIMER_REAL, &everyTenMs, nullptr), 0);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(SmtpClientWaitEvents(300), 0);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(300));
    ::signal(SIGALRM, SIG_IGN);
    EXPECT_GT(alarms, 0);
}

TEST_F(Background, ThreadThatEndedIsToldNothing) {
    server.At("MAIL", CSmtpServer::Hold);
    std::thread([&] {
        client->SendAsync();
        client->SendAsync();
        client.reset();
    }).join();
    server.OpenGate();
    EXPECT_TRUE(server.WaitForMails(2));
    EXPECT_EQ(SmtpClientDispatchEvents(), 0);
    EXPECT_EQ(sink.told, "");
}

}  // namespace
}  // namespace SMTPClientNS
