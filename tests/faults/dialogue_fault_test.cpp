#include <gtest/gtest.h>

#include <chrono>

#include "tests/support/host_tools.h"

namespace SMTPClientNS {

constexpr int Untried = -1;  // The interface has no time-out there: libcurl's own is two minutes.

/// 56, 55 if sending notices it first, 7 if the reset outruns the end of the connecting, or 97 at a
/// proxy.
constexpr int Broken = -2;

/// What goes wrong, and the column of results in the table of steps.
struct Fault {
    const char *name;
    const char *action;
};

const Fault Faults[] = {
    {"4xx", "451 4.3.0 try again\r\n"},       {"5xx", "554 5.0.0 never\r\n"},
    {"hang-up", CSmtpServer::HangUp},         {"reset", CSmtpServer::Reset},
    {"nonsense", "\x01\xFF?\r\n999\r\n\r\n"}, {"silence", CSmtpServer::Silence},
};

constexpr int NoProxy = -1;

struct StepRow {
    const char *step;
    bool useTls;
    int results[std::size(Faults)];  ///< libcurl's: GetLastResult.
    int proxyType = NoProxy;  ///< With a proxy the server is that: it greets where one waits.
};

const StepRow Steps[] = {
    {"CONNECT", false, {8, 8, 56, Broken, 8, 28}},
    {"EHLO", false, {0, 0, 56, 56, 0, 28}},  // Refused, HELO takes its place, without a login.
    {"EHLO", true, {9, 9, 56, 56, 9, 28}},
    {"STARTTLS", true, {64, 64, 56, 56, 8, 28}},
    {"AUTH", false, {67, 67, 56, 56, 67, 28}},
    {"LOGIN", false, {67, 67, 56, 56, 67, 28}},
    {"MAIL", false, {55, 55, 56, 56, 55, Untried}},
    {"RCPT", false, {55, 55, 56, 56, 55, Untried}},
    {"DATA", false, {55, 55, 56, 56, 55, Untried}},
    {"TEXT", false, {8, 8, Broken, Broken, 8, Untried}},
    {"END", false, {8, 8, 56, 56, 8, Untried}},
    {"QUIT", false, {0, 0, 0, 0, 0, 0}},  // The mail is the server's by then.
    {"CONNECT", false, {97, 97, 97, Broken, 97, 28}, ProxySocks4},
    {"CONNECT", false, {97, 97, 97, Broken, 97, 28}, ProxySocks4a},
    {"CONNECT", false, {97, 97, 97, Broken, 97, 28}, ProxySocks5},
    {"CONNECT", false, {97, 97, 97, Broken, 97, 28}, ProxySocks5Hostname},
};

TEST(DialogueFaults, EndInTheirResultAndLeaveTheClientFitForTheNextSend) {
    for (const StepRow &row : Steps) {
        const Message message = MakeSmallMessage();
        if (row.step == std::string("TEXT")) {  // So long that the server goes in the middle of it.
            message->SetTextBody(std::u16string(8U << 20U, u'x').c_str());
        }
        for (std::size_t i = 0; i < std::size(Faults); ++i) {
            if (row.results[i] == Untried) {
                continue;
            }
            SCOPED_TRACE(std::string(row.step) + (row.useTls ? " with TLS, " : ", ") +
                         Faults[i].name);
            CSender sender;
            ISmtpClient *const client = sender.client.get();
            if (row.useTls) {
                sender.server.At("EHLO", "250-test\r\n250 STARTTLS\r\n");
            }
            sender.server.At(row.step, Faults[i].action);
            client->SetUseTls(row.useTls);
            if (row.proxyType != NoProxy) {
                client->SetProxy(u"127.0.0.1", sender.server.Port(), row.proxyType, nullptr,
                                 nullptr);
            }
            client->SetConnectTimeout(1);
            client->SetMessage(message.get());
            const auto start = std::chrono::steady_clock::now();
            const std::int32_t code = client->Send();
            if (row.results[i] == Broken) {
                EXPECT_TRUE(code == ResultReceiveFailed || code == ResultSendFailed ||
                            code == ResultConnectFailed || row.proxyType != NoProxy)
                    << code;
            } else {
                EXPECT_EQ(client->GetLastResult(), row.results[i]);
                EXPECT_EQ(code == ResultSuccess, row.results[i] == 0);
            }

            CSmtpServer sound;
            client->SetPort(sound.Port());
            client->SetProxyEnabled(false);
            client->SetUseTls(false);
            EXPECT_EQ(client->Send(), ResultSuccess);
            // libcurl itself would wait twice as long for an answer to QUIT.
            EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(60));
        }
    }
}

}  // namespace SMTPClientNS
