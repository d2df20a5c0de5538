#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <thread>

#include "client/smtp_client.h"
#include "fuzz/fuzz_input.h"
#include "message/mime_message.h"
#include "platform/unique_fd.h"

namespace SMTPClientNS {
namespace {

/// Answers a connection with the fuzzer's bytes, all at once, and ends what it says.
class CFuzzServer {
public:
    CFuzzServer() : listener(::socket(AF_INET, SOCK_STREAM, 0)) {
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        auto *const generic = reinterpret_cast<sockaddr *>(&address);
        Require(::bind(listener.Get(), generic, size) == 0 && ::listen(listener.Get(), 16) == 0 &&
                ::getsockname(listener.Get(), generic, &size) == 0);
        port = ntohs(address.sin_port);
    }

    int Port() const { return port; }

    void AnswerOnce(std::string_view answers) const {
        const CUniqueFd connection(::accept(listener.Get(), nullptr, nullptr));
        ::send(connection.Get(), answers.data(), answers.size(), MSG_NOSIGNAL);
        ::shutdown(connection.Get(), SHUT_WR);
        std::array<char, 4096> received;
        while (::recv(connection.Get(), received.data(), received.size(), 0) > 0) {
        }
    }

private:
    CUniqueFd listener;
    int port = 0;
};

}  // namespace
}  // namespace SMTPClientNS

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using namespace SMTPClientNS;
    static CFuzzServer server;
    CFuzzInput input(data, size);
    const bool useTls = (input.Byte() & 1U) != 0;
    CMimeMessage message;
    message.SetSender(u"a@b", nullptr);
    message.AddRecipient(u"c@d", nullptr);
    message.SetTextBody(u"hello\r\n");
    ISmtpClient *const client = CreateSmtpClient();
    FillIn(*client, server.Port());
    client->SetUseTls(useTls);
    client->SetMessage(&message);
    std::thread answering([&input] { server.AnswerOnce(input.Rest()); });
    const std::int32_t code = client->Send();
    Require(code == 1 || (code <= -1 && code >= -18));
    Require(*client->GetLogText() != 0 && *client->GetLastLogEntry() != 0);
    client->Release();
    answering.join();  // Once the connection is closed.
    return 0;
}
