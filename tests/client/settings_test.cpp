#include <gtest/gtest.h>

#include <algorithm>
#include <string_view>

#include "tests/support/host_tools.h"

namespace SMTPClientNS {

template <typename Unit>
static bool HeapHolds(std::basic_string_view<Unit> text) {
    std::ifstream maps("/proc/self/maps");
    std::string line;
    while (line.find("[heap]") == std::string::npos && std::getline(maps, line)) {
    }
    char *next = nullptr;
    const auto *const begin = reinterpret_cast<const Unit *>(std::strtoul(line.c_str(), &next, 16));
    const auto *const end = reinterpret_cast<const Unit *>(std::strtoul(next + 1, nullptr, 16));
    return std::search(begin, end, text.begin(), text.end()) != end;
}

TEST(Settings, LeaveNoSecretInMemory) {
    if (TESTS_SANITIZED) {
        GTEST_SKIP() << "the heap is elsewhere";
    }
    constexpr const char16_t *secret = u"correct horse battery staple";
    void (*const setters[])(ISmtpClient & client, const char16_t *text) = {
        [](ISmtpClient &client, const char16_t *text) { client.SetPassword(text); },
        [](ISmtpClient &client, const char16_t *text) { client.SetBearerToken(text); },
        [](ISmtpClient &client, const char16_t *text) { client.SetProxy(u"p", 1, 2, u"u", text); },
    };
    for (const auto set : setters) {
        Client client = MakeClient();
        set(*client, secret);
        EXPECT_TRUE(HeapHolds<char16_t>(secret));
        set(*client, u"short");
        EXPECT_FALSE(HeapHolds<char16_t>(secret));
        set(*client, secret);
        client.reset();
        EXPECT_FALSE(HeapHolds<char16_t>(secret));
    }
    const CSender sender;
    for (const bool isTraced : {true, false}) {
        EXPECT_EQ(sender.client->Send() == ResultSuccess, isTraced);
        EXPECT_EQ(HeapHolds<char>("C: AHVzZXIAcGFzcw=="), isTraced);
        sender.client->SetPort(1);
    }
}

}  // namespace SMTPClientNS
