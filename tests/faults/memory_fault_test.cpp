// Every allocation of a send failing in turn. The program's own malloc takes the place of the C
// library's for the library under test and for libcurl, too.

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cerrno>

#include "tests/support/host_tools.h"
#include "tests/support/smtp_server.h"

extern "C" {
void *__libc_malloc(std::size_t size);
void *__libc_calloc(std::size_t count, std::size_t size);
void *__libc_realloc(void *block, std::size_t size);
}

namespace {

/// How many allocations of this thread are left until one fails; negative: none does.
thread_local long allocationsLeft = -1;

bool Fails() {
    if (allocationsLeft < 0 || allocationsLeft-- > 0) {
        return false;
    }
    errno = ENOMEM;
    return true;
}

}  // namespace

extern "C" void *malloc(std::size_t size) {
    return Fails() ? nullptr : __libc_malloc(size);
}
extern "C" void *calloc(std::size_t count, std::size_t size) {
    return Fails() ? nullptr : __libc_calloc(count, size);
}
extern "C" void *realloc(void *block, std::size_t size) {
    return Fails() ? nullptr : __libc_realloc(block, size);
}

namespace SMTPClientNS {
namespace {

/// Fails the nth allocation of what it runs; tells whether there were that many.
template <typename Action>
bool FailAllocation(long nth, const Action &action) {
    allocationsLeft = nth;
    action();
    const bool failed = allocationsLeft < 0;
    allocationsLeft = -1;
    return failed;
}

constexpr long MoreThanAny = 100000;

TEST(MemoryFaults, EachFailedAllocationOfASendEndsThatSendAlone) {
    const CTemporaryFolder folder;
    CSmtpServer server;
    const Message message = MakeSmallMessage();
    message->SetSubject(u"Grüße an alle");
    message->AddAttachment(folder.Write("a.txt", "attached").c_str());
    const Client client = MakeClientFor(server.Port());
    client->SetMessage(message.get());
    client->SetLogFile(folder.WidePathOf("log").c_str(), false);
    ASSERT_EQ(client->Send(), ResultSuccess);

    std::size_t accepted = 1;
    long nth = 0;
    std::int32_t code = 0;
    while (nth < MoreThanAny && FailAllocation(nth, [&] { code = client->Send(); })) {
        SCOPED_TRACE(nth);
        EXPECT_TRUE(code == ResultSuccess || code < 0);
        accepted += code == ResultSuccess ? 1 : 0;
        ++nth;
    }
    EXPECT_GT(nth, 100);
    EXPECT_EQ(code, ResultSuccess);  // Of the first send that had all it asked for.
    EXPECT_EQ(server.Mails().size(), accepted + 1);
}

TEST(MemoryFaults, EachFailedAllocationOfABackgroundSendIsReported) {
    CSmtpServer server;
    const Message message = MakeSmallMessage();
    const Client client = MakeClientFor(server.Port());
    client->SetMessage(message.get());
    CRecordingSink sink;
    client->SetCompletionSink(&sink);
    ASSERT_EQ(client->Send(), ResultSuccess);  // What libraries make once in a process is made.
    std::size_t queued = 0;
    std::int32_t id = 0;
    long nth = 0;
    while (nth < MoreThanAny && FailAllocation(nth, [&] { id = client->SendAsync(); })) {
        SCOPED_TRACE(nth);
        queued += id > 0 ? 1 : 0;
        EXPECT_EQ(id, id > 0 ? static_cast<std::int32_t>(queued) : -1);
        ++nth;
    }
    EXPECT_TRUE(sink.WaitForReports(queued + 1));
    EXPECT_EQ(sink.reports.back().code, ResultSuccess);
}

}  // namespace
}  // namespace SMTPClientNS
