#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/fsuid.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/host_tools.h"

namespace SMTPClientNS {

TEST(LogFileFaults, NeverTouchTheResult) {
    const CTemporaryFolder folder;
    ::umask(0);
    folder.Write("locked", "held by another\n");
    const int holder = ::open(folder.PathOf("locked").c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(::flock(holder, LOCK_EX), 0);
    ASSERT_EQ(::mkfifo(folder.PathOf("pipe").c_str(), 0600), 0);
    const rlimit limit = {rlim_t{1} << 34U, RLIM_INFINITY};
    ::setrlimit(RLIMIT_FSIZE, &limit);  // Whoever writes past it is killed.
    folder.Write("longest", "");
    std::filesystem::resize_file(folder.PathOf("longest"), limit.rlim_cur);  // Sparse
    const CSender sender;
    for (const std::string &path :
         {std::string("/dev/full"), folder.PathOf("no/such/folder/log"), folder.PathOf("locked"),
          folder.PathOf("pipe"), folder.PathOf("longest"), folder.PathOf("."),
          std::string("/proc/version")}) {
        for (const bool append : {true, false}) {
            SCOPED_TRACE(path);
            sender.client->SetLogFile(Wide(path).c_str(), append);
            EXPECT_EQ(sender.client->Send(), ResultSuccess);
            EXPECT_EQ(sender.client->GetLastResult(), 0);
        }
    }
    EXPECT_EQ(folder.Read("locked"), "held by another\n");
    sender.client->SetLogFile(folder.WidePathOf("log").c_str(), true);
    sender.client->Send();
    struct stat status = {};
    EXPECT_EQ(::stat(folder.PathOf("log").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode, S_IFREG | 0600U);
    ::close(holder);
}

/// A background send whose attachment changes, while it waits for another that is held at EHLO, or
/// while it is held itself at DATA.
TEST(AttachmentFaults, AFileThatChanges) {
    struct Case {
        const char *heldAt;
        const char *change;
        std::int32_t code;
        const char *sent = "";  ///< At the end of the file's content, in Base64.
    };
    const Case cases[] = {
        {"EHLO", "rm attached", ResultFileUnreadable},
        {"EHLO", "chmod 0 attached", ResultFileUnreadable},
        {"EHLO", "rm attached && mkdir attached", ResultFileUnreadable},
        {"EHLO", "rm attached && mkfifo attached", ResultFileUnreadable},
        {"EHLO", "seq 999 >>attached", ResultSuccess, "Cjk5OQo=\r\n--"},
        {"EHLO", "truncate -s 3 attached", ResultSuccess, "MTIz\r\n--"},
        {"DATA", "rm attached", ResultFileUnreadable},
        {"DATA", "truncate -s 3 attached", ResultFileUnreadable},
        {"DATA", "echo 6 >>attached", ResultFileUnreadable},
    };
    const auto user =
        static_cast<uid_t>(::setfsuid(65534));  // Root, and its threads, would read everything.
    for (const Case &c : cases) {
        SCOPED_TRACE(std::string(c.heldAt) + ": " + c.change);
        const bool waits = c.heldAt == std::string("EHLO");
        const CTemporaryFolder folder;
        CSender sender;
        auto &[server, sink, message, client] = sender;
        server.At(c.heldAt, CSmtpServer::Hold);
        if (waits) {
            client->SendAsync();
        }
        message->AddAttachment(folder.Write("attached", "12345").c_str());
        client->SendAsync();
        ASSERT_TRUE(server.WaitForCommands(c.heldAt, 1));
        ASSERT_EQ(std::system(("cd " + folder.PathOf("") + " && " + c.change).c_str()), 0);
        server.OpenGate();
        ASSERT_TRUE(sink.WaitForReports(waits ? 2 : 1));
        EXPECT_EQ(sink.lastCode, c.code);
        const std::vector<std::string> mails = server.Mails();
        EXPECT_EQ(mails.size(), sink.reports - (c.code == ResultSuccess ? 0 : 1));
        if (c.code == ResultSuccess) {
            EXPECT_NE(mails.back().find(c.sent), std::string::npos);
        }
    }
    ::setfsuid(user);
}

}  // namespace SMTPClientNS
