// An SMTP server on a loopback port of its own that takes every mail and throws it away as fast as
// it can. Prints its port and runs until its standard input ends.
//
// Usage: sink_server CERTIFICATE      (PEM, with key; offered by STARTTLS)

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/ssl.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <thread>

#include <asio.hpp>

namespace {

constexpr std::size_t BufferSize = std::size_t{1} << 20U;
constexpr std::string_view LoginCommand = "AUTH ";
constexpr std::string_view MailEnd = "\r\n.\r\n";

/// One SMTP conversation.
class CConversation {
public:
    CConversation(int accepted, SSL_CTX *offered) : socket(accepted), context(offered) {
        const int atOnce = 1;  // No reply waits for the acknowledgement of the one before.
        ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &atOnce, sizeof atOnce);
    }
    ~CConversation() {
        SSL_free(tls);
        ::close(socket);
    }
    CConversation(const CConversation &) = delete;
    CConversation &operator=(const CConversation &) = delete;

    void Serve() {
        Say("220 sink ESMTP\r\n");
        while (Receive()) {
            if (inMail) {
                SwallowMail();
            } else {
                AnswerCommands();
            }
        }
    }

private:
    bool Receive() {
        // A peer that sends the end of a mail by itself is not held up by Nagle's algorithm.
        const int atOnce = 1;
        ::setsockopt(socket, IPPROTO_TCP, TCP_QUICKACK, &atOnce, sizeof atOnce);
        const auto count = tls != nullptr
                               ? SSL_read(tls, buffer.data(), static_cast<int>(buffer.size()))
                               : ::recv(socket, buffer.data(), buffer.size(), 0);
        received = {buffer.data(), count > 0 ? static_cast<std::size_t>(count) : 0};
        return count > 0;
    }

    void Say(std::string_view reply) {
        const auto count = tls != nullptr
                               ? SSL_write(tls, reply.data(), static_cast<int>(reply.size()))
                               : ::send(socket, reply.data(), reply.size(), MSG_NOSIGNAL);
        if (count < 0) {
            ::shutdown(socket, SHUT_RDWR);
        }
    }

    void AnswerCommands() {
        while (!received.empty()) {
            const std::size_t end = received.find('\n');
            AnswerCommand(std::string(received.substr(0, 4)));
            received.remove_prefix(end == std::string_view::npos ? received.size() : end + 1);
        }
    }

    void AnswerCommand(std::string verb) {
        std::transform(verb.begin(), verb.end(), verb.begin(), ::toupper);
        if (isLoggingIn) {
            isLoggingIn = false;
            Say("235 in\r\n");
        } else if (verb == "EHLO") {
            Say(tls != nullptr ? "250-sink\r\n250 AUTH PLAIN\r\n"
                               : "250-sink\r\n250-STARTTLS\r\n250 AUTH PLAIN\r\n");
        } else if (verb == "STAR") {
            Say("220 go\r\n");
            tls = SSL_new(context);
            SSL_set_fd(tls, socket);
            SSL_accept(tls);
        } else if (verb == "AUTH") {
            isLoggingIn = received.find(' ', LoginCommand.size()) == std::string_view::npos;
            Say(isLoggingIn ? "334 \r\n" : "235 in\r\n");
        } else if (verb == "DATA") {
            inMail = true;
            tail.clear();
            Say("354 go\r\n");
        } else if (verb == "QUIT") {
            Say("221 bye\r\n");
            ::shutdown(socket, SHUT_WR);
        } else {
            Say("250 ok\r\n");
        }
    }

    /// The client waits for the answer: nothing follows the end of the mail.
    void SwallowMail() {
        tail += received.substr(received.size() - std::min(received.size(), MailEnd.size()));
        tail.erase(0, tail.size() - std::min(tail.size(), MailEnd.size()));
        if (tail == MailEnd) {
            inMail = false;
            Say("250 ok\r\n");
        }
    }

    int socket;
    SSL_CTX *context;
    SSL *tls = nullptr;
    std::string buffer = std::string(BufferSize, '\0');
    std::string_view received;
    std::string tail;  ///< The mail's last bytes, as many as its end has.
    bool isLoggingIn = false;
    bool inMail = false;
};

}  // namespace

int main(int argc, char **argv) {
    SSL_CTX *const context = SSL_CTX_new(TLS_server_method());
    if (argc != 2 || SSL_CTX_use_certificate_chain_file(context, argv[1]) != 1 ||
        SSL_CTX_use_PrivateKey_file(context, argv[1], SSL_FILETYPE_PEM) != 1) {
        std::fputs("Usage: sink_server CERTIFICATE\n", stderr);
        return EXIT_FAILURE;
    }
    ::signal(SIGPIPE, SIG_IGN);  // OpenSSL writes to connections that a client has closed.
    asio::io_context network;
    asio::ip::tcp::acceptor listener(network, {asio::ip::address_v4::loopback(), 0});
    std::printf("%d\n", listener.local_endpoint().port());
    std::fflush(stdout);
    std::thread([&listener, context] {
        for (int accepted = -1;
             (accepted = ::accept(listener.native_handle(), nullptr, nullptr)) >= 0;) {
            std::thread([=] { CConversation(accepted, context).Serve(); }).detach();
        }
    }).detach();
    while (std::getchar() != EOF) {
    }
    std::_Exit(EXIT_SUCCESS);
}
