#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <unistd.h>

#include "tests/support/host_tools.h"
#include "tests/support/smtp_server.h"

namespace SMTPClientNS {
namespace {

TEST(LogFileFaults, NeverTouchTheResult) {
    const CTemporaryFolder folder;
    folder.Write("locked", "held by another\n");
    const int holder = ::open(folder.PathOf("locked").c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(::flock(holder, LOCK_EX), 0);
    ASSERT_EQ(::mkfifo(folder.PathOf("pipe").c_str(), 0600), 0);
    CSmtpServer server;
    const Message message = MakeSmallMessage();
    for (const std::string &path :
         {std::string("/dev/full"), folder.PathOf("no/such/folder/log"), folder.PathOf("locked"),
          folder.PathOf("pipe"), folder.PathOf("."), std::string("/proc/version")}) {
        for (const bool append : {true, false}) {
            SCOPED_TRACE(path);
            const Client client = MakeClientFor(server.Port());
            client->SetMessage(message.get());
            client->SetLogFile(Wide(path).c_str(), append);
            EXPECT_EQ(client->Send(), ResultSuccess);
            EXPECT_EQ(client->GetLastResult(), 0);
        }
    }
    EXPECT_EQ(folder.Read("locked"), "held by another\n");
    ::close(holder);
}

/// A background send whose attachment changes while it waits behind another.
TEST(AttachmentFaults, AFileThatChangesBeforeItsTurn) {
    struct Case {
        const char *name;
        void (*change)(const std::string &path);
        std::int32_t code;
    };
    const Case cases[] = {
        {"removed", [](const std::string &path) { ::unlink(path.c_str()); }, ResultFileUnreadable},
        {"turned into a folder",
         [](const std::string &path) {
             ::unlink(path.c_str());
             std::filesystem::create_directory(path);
         },
         ResultFileUnreadable},
        {"turned into a pipe",
         [](const std::string &path) {
             ::unlink(path.c_str());
             ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
         },
         ResultFileUnreadable},
        {"grown",
         [](const std::string &path) { std::ofstream(path, std::ios::app) << "more and more"; },
         ResultSuccess},
        {"shrunk", [](const std::string &path) { ASSERT_EQ(::truncate(path.c_str(), 3), 0); },
         ResultSuccess},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        const CTemporaryFolder folder;
        CSmtpServer server;
        server.At("EHLO", CSmtpServer::Hold);
        const Client client = MakeClientFor(server.Port());
        CRecordingSink sink;
        client->SetCompletionSink(&sink);
        const Message message = MakeSmallMessage();
        client->SetMessage(message.get());
        client->SendAsync();
        message->AddAttachment(folder.Write("attached", std::string(1000, 'x')).c_str());
        client->SendAsync();
        c.change(folder.PathOf("attached"));
        server.OpenGate();
        ASSERT_TRUE(sink.WaitForReports(2));
        EXPECT_EQ(sink.reports[1].code, c.code);
    }
}

TEST(DescriptorFaults, ASendWithoutDescriptorsFailsAndTheNextSucceeds) {
    if (NeedsDescriptors) {
        GTEST_SKIP() << "under a sanitizer";
    }
    CSmtpServer server;
    const Client client = MakeClientFor(server.Port());
    const Message message = MakeSmallMessage();
    client->SetMessage(message.get());
    ASSERT_EQ(client->Send(), ResultSuccess);
    rlimit before = {};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit none = {0, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    const std::int32_t code = client->Send();
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_LT(code, 0);
    EXPECT_EQ(client->Send(), ResultSuccess);
}

}  // namespace
}  // namespace SMTPClientNS
