#include <sys/socket.h>

#include <array>
#include <thread>

#include "fuzz/fuzz_input.h"
#include "platform/posix/unique_fd.h"
#include "tests/support/host_tools.h"

#include <asio.hpp>

namespace SMTPClientNS {
namespace {

/// Answers a connection with the fuzzer's bytes, all at once, and ends what it says.
void AnswerOnce(int listener, std::string_view answers) {
    const CUniqueFd connection(::accept(listener, nullptr, nullptr));
    ::send(connection.Get(), answers.data(), answers.size(), MSG_NOSIGNAL);
    ::shutdown(connection.Get(), SHUT_WR);
    std::array<char, 4096> received;
    while (::recv(connection.Get(), received.data(), received.size(), 0) > 0) {
    }
}

}  // namespace
}  // namespace SMTPClientNS

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using namespace SMTPClientNS;
    static asio::io_context context;
    static asio::ip::tcp::acceptor listener(context, {asio::ip::address_v4::loopback(), 0});
    CFuzzInput input(data, size);
    const bool useTls = (input.Byte() & 1U) != 0;
    const Message message = MakeSmallMessage();
    Client client = MakeClientFor(listener.local_endpoint().port());
    client->SetUseTls(useTls);
    client->SetMessage(message.get());
    std::thread answering([&input] { AnswerOnce(listener.native_handle(), input.Rest()); });
    const std::int32_t code = client->Send();
    Require(code == 1 || (code <= -1 && code >= -18));
    Require(*client->GetLogText() != 0 && *client->GetLastLogEntry() != 0);
    client.reset();
    answering.join();  // Once the connection is closed.
    return 0;
}
