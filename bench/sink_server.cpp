#include "bench/sink_server.h"

#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "tests/support/loopback.h"

namespace {

constexpr std::size_t BufferSize = std::size_t{1} << 20U;
constexpr std::string_view MailEnd = "\r\n.\r\n";

/// One SMTP conversation.
class CConversation {
public:
    explicit CConversation(int accepted) : socket(accepted), buffer(BufferSize, '\0') {}
    ~CConversation() { ::close(socket); }
    CConversation(const CConversation &) = delete;
    CConversation &operator=(const CConversation &) = delete;

    void Serve() {
        Say("220 sink ESMTP\r\n");
        while (Receive()) {
            if (inMail) {
                SwallowMail();
            } else {
                AnswerCommand();
            }
        }
    }

private:
    bool Receive() {
        const ssize_t count = ::recv(socket, buffer.data(), buffer.size(), 0);
        received = {buffer.data(), count > 0 ? static_cast<std::size_t>(count) : 0};
        return count > 0;
    }

    void Say(std::string_view reply) const {
        if (::send(socket, reply.data(), reply.size(), MSG_NOSIGNAL) < 0) {
            ::shutdown(socket, SHUT_RDWR);
        }
    }

    /// The client sends a command only behind the answer to the last, and short ones: each arrives
    /// whole and alone.
    void AnswerCommand() {
        const std::string_view verb = received.substr(0, 4);
        if (verb == "DATA") {
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
        const std::size_t kept =
            received.size() < MailEnd.size() ? received.size() : MailEnd.size();
        tail += received.substr(received.size() - kept);
        tail.erase(0, tail.size() < MailEnd.size() ? 0 : tail.size() - MailEnd.size());
        if (tail == MailEnd) {
            inMail = false;
            Say("250 ok\r\n");
        }
    }

    int socket;
    std::string buffer;
    std::string_view received;
    std::string tail;  ///< The mail's last bytes, as many as its end has.
    bool inMail = false;
};

}  // namespace

CSinkServer::CSinkServer() {
    const int listener = SMTPClientNS::ListenOnLoopback(port);
    process = ::fork();
    if (process < 0) {
        std::perror("sink server");
        std::exit(EXIT_FAILURE);
    }
    if (process == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);  // No server outlives a benchmark that was stopped.
        for (;;) {
            const int accepted = ::accept(listener, nullptr, nullptr);
            if (accepted >= 0) {
                CConversation(accepted).Serve();
            }
        }
    }
    ::close(listener);
}

CSinkServer::~CSinkServer() {
    ::kill(process, SIGKILL);
    ::waitpid(process, nullptr, 0);
}
