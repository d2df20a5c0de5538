// Every allocation of a send failing in turn. The program's own malloc takes the place of the C
// library's for the library under test and for libcurl, too.

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cerrno>

#include "tests/support/host_tools.h"

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

/// Runs it with the first, the second, ... allocation failing until it asks for no more; gives the
/// number of runs that had one fail. check follows each run.
template <typename Action, typename Check>
long FailEachAllocation(const Action &action, const Check &check) {
    constexpr long MoreThanAny = 100000;
    long nth = 0;
    for (bool failed = true; failed && nth < MoreThanAny; nth += failed ? 1 : 0) {
        SCOPED_TRACE(nth);
        allocationsLeft = nth;
        action();
        failed = allocationsLeft < 0;
        allocationsLeft = -1;
        check();
    }
    return nth;
}

TEST(MemoryFaults, EachFailedAllocationEndsOneSendAlone) {
    const CTemporaryFolder folder;
    CSender sender;
    ISmtpClient *const client = sender.client.get();
    sender.message->SetSubject(u"Grüße an alle");
    sender.message->AddAttachment(folder.Write("a.txt", "attached").c_str());
    client->SetLogFile(folder.WidePathOf("log").c_str(), false);
    ASSERT_EQ(client->Send(), ResultSuccess);  // What libraries make once in a process is made.
    std::size_t accepted = 1;
    sender.sink.act = [&accepted](std::int32_t, std::int32_t code) {
        accepted += code == ResultSuccess ? 1 : 0;
    };

    std::size_t queued = 0;
    std::int32_t code = 0;
    std::int32_t id = 0;
    const auto send = [&] {
        code = client->Send();
        id = client->SendAsync();
    };
    const auto check = [&] {
        EXPECT_TRUE(code == ResultSuccess || code < 0);
        accepted += code == ResultSuccess ? 1 : 0;
        EXPECT_EQ(client->GetLastResult() == 0, code == ResultSuccess);  // Not the other's.
        queued += id > 0 ? 1 : 0;
        EXPECT_EQ(id, id > 0 ? static_cast<std::int32_t>(queued) : -1);
    };
    EXPECT_GT(FailEachAllocation(send, check), 100);
    EXPECT_EQ(code, ResultSuccess);  // Of the first send that had all it asked for.
    EXPECT_TRUE(sender.sink.WaitForReports(queued));
    EXPECT_EQ(sender.sink.lastCode, ResultSuccess);
    EXPECT_EQ(sender.server.Mails().size(), accepted);
}

// Or one proxy would get the other's password.
TEST(MemoryFaults, AProxyChangesWhollyOrNotAtAll) {
    const Client client = MakeClient();
    std::u16string letters(100, u'a');
    const auto set = [&] {
        const char16_t *const text = letters.c_str();
        try {
            client->SetProxy(text, letters[0], letters[0], text, text);
        } catch (const std::bad_alloc &) {
        }
    };
    set();
    letters.assign(200, u'b');
    const auto check = [&] {
        std::string fields;
        for (const std::int32_t index : {ProxyHost, ProxyPort, ProxyUserName, ProxyPassword}) {
            char16_t value[ProxyValueCapacity] = {};
            client->GetProxyValue(value, index);
            fields += Narrow(value).substr(0, 2) + " ";
        }
        EXPECT_TRUE(fields == "aa 97 aa aa " || fields == "bb 98 bb bb ") << fields;
    };
    EXPECT_GT(FailEachAllocation(set, check), 0);
}

}  // namespace
}  // namespace SMTPClientNS
