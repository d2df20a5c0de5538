#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <sstream>
#include <string>

#include "tests/support/smtp_server.h"

namespace SMTPClientNS {

/// The program's next line that starts so; empty if none comes.
static std::string ReadUntil(std::FILE *output, const std::string &start) {
    std::array<char, 256> line = {};
    while (std::fgets(line.data(), line.size(), output) != nullptr) {
        if (std::string(line.data()).rfind(start, 0) == 0) {
            return line.data();
        }
    }
    return "";
}

TEST(EventLoops, TickWhileTheServerKeepsThemWaiting) {
    std::istringstream programs(EVENT_LOOP_PROGRAMS);
    for (std::string program; programs >> program;) {
        SCOPED_TRACE(program);
        CSmtpServer server;
        server.At("DATA", CSmtpServer::Hold);
        const std::string command = program + " 127.0.0.1 " + std::to_string(server.Port());
        std::FILE *const output = ::popen(command.c_str(), "r");
        ASSERT_NE(output, nullptr);
        EXPECT_EQ(ReadUntil(output, "cancelled"), "cancelled 2.3\n");
        EXPECT_TRUE(server.WaitForCommands("DATA", 2));  // Both clients send at once.
        EXPECT_EQ(ReadUntil(output, "tick 3:"),
                  "tick 3:  1.1 under way  1.2 under way  1.3 under way"
                  "  2.1 under way  2.2 under way  2.3 cancelled\n");
        server.OpenGate();
        EXPECT_NE(ReadUntil(output, "5 sent, 1 cancelled, 0 failed, "), "");
        EXPECT_EQ(::pclose(output), 0);
        EXPECT_EQ(server.Mails().size(), 5U);
    }
}

}  // namespace SMTPClientNS
