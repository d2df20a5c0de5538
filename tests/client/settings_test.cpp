#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "tests/support/host_tools.h"
#include "tests/support/smtp_server.h"

namespace SMTPClientNS {
namespace {

TEST(Settings, IgnoreNull) {
    const Client client = MakeClientFor(25);
    client->SetHost(nullptr);
    client->SetUserName(nullptr);
    client->SetPassword(nullptr);
    client->SetPassword(client->GetPassword() + 1);  // Its own text.
    EXPECT_EQ(client->GetHost() + std::u16string(client->GetUserName()) + client->GetPassword(),
              u"127.0.0.1userass");
}

template <typename Unit>
bool HeapHolds(std::basic_string_view<Unit> text) {
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
    CSmtpServer server;
    const Message message = MakeSmallMessage();
    const Client client = MakeClientFor(server.Port());
    client->SetMessage(message.get());
    for (const bool isTraced : {true, false}) {
        EXPECT_EQ(client->Send() == ResultSuccess, isTraced);
        EXPECT_EQ(HeapHolds<char>("C: AHVzZXIAcGFzcw=="), isTraced);
        client->SetPort(1);
    }
}

TEST(Settings, SetProxyTakesAllOrNothing) {
    const std::u16string most(255, u'x');
    const std::u16string tooMuch(256, u'x');
    struct Case {
        std::u16string host;
        std::int32_t port, type;
        std::u16string userName, password;
        std::string expected;  ///< What SetProxy returns, then every field.
    };
    const Case cases[] = {
        {u"", 1, 0, u"u", u"p", "0,,-1,2,,,-,"},
        {u"b", 2, -9, u"u", u"p", "1,b,2,-9,u,p,-,"},
        {u"d", 4, 3, u"", u"q", "1,d,4,3,u,p,-,"},
        {u"d", 4, 3, u"v", u"", "1,d,4,3,u,p,-,"},
        {tooMuch, 1, 0, u"", u"", "0,d,4,3,u,p,-,"},
        {u"f", 1, 0, tooMuch, u"q", "0,d,4,3,u,p,-,"},
        {u"g", 1, 0, u"v", tooMuch, "0,d,4,3,u,p,-,"},
        {most, 1, 0, most, u"q", "1," + Narrow(most) + ",1,0," + Narrow(most) + ",q,-,"},
    };
    const Client client = MakeClient();
    for (const auto &[host, port, type, userName, password, expected] : cases) {
        const std::int32_t taken =
            client->SetProxy(host.c_str(), port, type, userName.c_str(), password.c_str());
        EXPECT_EQ(client->IsProxyEnabled(), taken == 1);
        std::string fields = std::to_string(taken) + ",";
        for (const std::int32_t index : {0, 1, 2, 3, 4, 5}) {
            std::array<char16_t, ProxyValueCapacity> buffer = {u'-'};
            client->GetProxyValue(buffer.data(), index);
            fields += Narrow(buffer.data()) + ",";
        }
        EXPECT_EQ(fields, expected);
    }
}

}  // namespace
}  // namespace SMTPClientNS
