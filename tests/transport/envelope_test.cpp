#include "transport/envelope.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include "tests/support/host_tools.h"

static int entriesWalked = 0;

/// Stands in front of libcurl's own, which walks from the given entry to the end of the list.
extern "C" curl_slist *curl_slist_append(curl_slist *list, const char *text) {
    static const auto libcurlsOwn =
        reinterpret_cast<decltype(&curl_slist_append)>(::dlsym(RTLD_NEXT, "curl_slist_append"));
    for (const curl_slist *entry = list; entry != nullptr; entry = entry->next) {
        ++entriesWalked;
    }
    return libcurlsOwn(list, text);
}

namespace SMTPClientNS {
namespace {

TEST(Envelope, TakesManyRecipientsOneStepEach) {
    constexpr int Count = 100000;
    const Client client = MakeClient();
    const Message message = MakeMessage();
    const CurlEasy handle = MakeEasyHandle();
    CurlList list;
    client->SetMessage(message.get());
    for (int index = 0; index < Count; ++index) {
        message->AddRecipient(u"a@x", nullptr);
    }
    EXPECT_EQ(ApplyEnvelopeRecipients(handle.get(), list, client.get()), CURLE_OK);
    EXPECT_LE(entriesWalked, Count);
}

}  // namespace
}  // namespace SMTPClientNS
