#include <fcntl.h>
#include <netinet/in.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

#include "tests/host/host_test.h"

#include <asio.hpp>

namespace SMTPClientNS {
namespace {

using asio::ip::tcp;

class Process : public CHostTest {};

std::chrono::steady_clock::time_point exitBegan;

// Registered first, so it runs last. The child of a fork ends here if other handlers did not wait.
const int registered = std::atexit([] {
    if (exitBegan != decltype(exitBegan)()) {
        ::_exit(std::chrono::steady_clock::now() - exitBegan < std::chrono::seconds(2) ? 0 : 2);
    }
});

TEST_F(Process, ChildOfAForkStandsAlone) {
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "this sanitizer lets the child of a process with threads start none";
#endif
    ASSERT_EQ(registered, 0);
    CSmtpServer childServer;
    client->SetMessage(nullptr);
    client->SendAsync();
    ASSERT_TRUE(IsReadable(descriptor));
    client->SetMessage(message.get());
    HoldOneSend();
    const pid_t child = ::fork();
    if (child == 0) {
        const bool startsEmpty = SmtpClientDispatchEvents() == 0;
        client = MakeClientFor(childServer.Port());  // Lets the parent's go, too.
        client->SetMessage(message.get());
        client->SetCompletionSink(&sink);
        client->SendAsync();
        if (!startsEmpty || client->Send() != ResultSuccess || !sink.WaitForReports(1)) {
            ::_exit(1);
        }
        exitBegan = std::chrono::steady_clock::now();
        std::exit(0);
    }
    int status = -1;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(childServer.Mails().size(), 2U);
    server.OpenGate();
    ASSERT_TRUE(sink.WaitForReports(2));
    EXPECT_EQ(sink.told, "1=-1 A general error occurred\n2=1 \n");
}

/// No connection is a standard stream, or stays open in a program that is executed.
bool ConnectionsAreKeptApart() {
    constexpr int MoreThanAreOpen = 100;
    bool holds = true;
    for (int number = 0; number < MoreThanAreOpen; ++number) {
        sockaddr peer = {};
        socklen_t size = sizeof peer;
        if (::getpeername(number, &peer, &size) == 0 && peer.sa_family == AF_INET) {
            holds &= number > STDERR_FILENO && ::fcntl(number, F_GETFD) == FD_CLOEXEC;
        }
    }
    return holds;
}

TEST_F(Process, KeepsConnectionsFromStandardStreamsAndFromPrograms) {
    const pid_t child = ::fork();
    if (child == 0) {
        bool holds = client->Send() == ResultSuccess && ConnectionsAreKeptApart();
        for (const int stream : {0, 1, 2}) {
            ::close(stream);
        }
        holds &= client->Send() == ResultSuccess && ConnectionsAreKeptApart();
        ::_exit(holds ? 0 : 1);
    }
    int status = -1;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

/// Has body run on a thread that is cancelled in the middle: behind MAIL, if it sends.
bool EndsAsCancelled(void *(*body)(void *), ISmtpClient *client, CSmtpServer &server) {
    pthread_t thread = {};
    void *result = nullptr;
    EXPECT_EQ(::pthread_create(&thread, nullptr, body, client), 0);
    EXPECT_TRUE(client == nullptr || server.WaitForCommands("MAIL", 1));
    ::pthread_cancel(thread);
    server.OpenGate();
    ::pthread_join(thread, &result);
    return result == PTHREAD_CANCELED;
}

TEST_F(Process, CancellationOfAThreadEndsAWaitButNoSend) {
    const auto send = [](void *sending) -> void * {
        static_cast<ISmtpClient *>(sending)->Send();
        ::pthread_testcancel();
        return nullptr;
    };
    const auto wait = [](void *) -> void * {
        SmtpClientWaitEvents(-1);
        return nullptr;
    };
    server.At("MAIL", CSmtpServer::Hold);
    EXPECT_TRUE(EndsAsCancelled(send, client.get(), server));
    EXPECT_EQ(client->GetLastResult(), 0);
    EXPECT_TRUE(EndsAsCancelled(wait, nullptr, server));
}

/// Goes with the process, behind the library's own exit handler.
struct StaticHost {
    Message message;
    Client client;

    ~StaticHost() {
        if (client != nullptr) {
            client->SendAsync();
            if (client->Send() != ResultGeneralError) {
                ::_exit(1);
            }
        }
    }
} staticHost;

/// Accepts, gives the replies and falls silent, having heard one more thing.
void TalkAndFallSilent(tcp::acceptor &listener, const std::vector<std::string> &replies) {
    static auto &peers = *new std::vector<tcp::socket>;  // They outlive the process's end.
    tcp::socket &peer = peers.emplace_back(listener.accept());
    char heard[4096];
    for (const std::string &reply : replies) {
        asio::write(peer, asio::buffer(reply));
        peer.read_some(asio::buffer(heard));
    }
}

/// Calls end with a background send and a Send under way, each with a server of those replies.
void EndUnderTransfers(const std::vector<std::string> &replies, void (*end)()) {
    ::alarm(60);
    static auto &context = *new asio::io_context;
    tcp::acceptor listener(context, {asio::ip::address_v4::loopback(), 0});
    const int port = listener.local_endpoint().port();
    staticHost.message = MakeSmallMessage();
    staticHost.client = MakeClientFor(port);
    static ISmtpClient *const direct = MakeClientFor(port).release();
    for (ISmtpClient *client : {staticHost.client.get(), direct}) {
        client->SetUseTls(true);
        client->SetMessage(staticHost.message.get());
    }
    staticHost.client->SendAsync();
    std::thread([] {
        direct->Send();
        ::pause();  // OpenSSL's own end of a thread would race with its end of the process.
    }).detach();
    TalkAndFallSilent(listener, replies);
    TalkAndFallSilent(listener, replies);
    end();
}

TEST(ProcessEndDeathTest, NeitherHangsNorCrashesUnderTransfers) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";  // In a process made afresh.
    const std::vector<std::string> conversations[] = {
        {"220 x\r\n"},                                             // No answer to EHLO.
        {"220 x\r\n", "250-x\r\n250 STARTTLS\r\n", "220 go\r\n"},  // None to the TLS handshake.
    };
    const auto exitHere = [] { std::exit(7); };
    const auto exitElsewhere = [] {
        std::thread([] { std::exit(7); }).detach();
        SmtpClientWaitEvents(-1);
        ::_exit(1);  // The stopped send has been reported.
    };
    for (const std::vector<std::string> &replies : conversations) {
        EXPECT_EXIT(EndUnderTransfers(replies, exitHere), testing::ExitedWithCode(7), "");
        EXPECT_EXIT(EndUnderTransfers(replies, exitElsewhere), testing::ExitedWithCode(7), "");
    }
}

}  // namespace
}  // namespace SMTPClientNS
