#include "tests/support/smtp_server.h"

#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <optional>
#include <utility>

#include "tests/support/loopback.h"

namespace SMTPClientNS {
namespace {

constexpr std::chrono::minutes LongestWait(1);
constexpr const char *Greeting = "220 test.example ESMTP\r\n";
constexpr const char *Features = "250-test.example\r\n250-SIZE\r\n250 AUTH PLAIN XOAUTH2\r\n";

std::string ArgumentOf(const std::string &command) {
    const std::size_t colon = command.find(':');
    return colon == std::string::npos ? "" : command.substr(colon + 1);
}

}  // namespace

class CSmtpServer::CConnection {
public:
    CConnection(CSmtpServer &owner, int accepted) : server(owner), socket(accepted) {}

    void Serve() {
        bool goesOn = Answer("CONNECT", Greeting);
        while (goesOn) {
            const std::optional<std::string> command = ReadLine();
            goesOn = command && Handle(*command);
        }
    }

private:
    bool Handle(const std::string &command) {
        const std::string verb = inLogin ? "LOGIN" : command.substr(0, command.find(' '));
        {
            const std::lock_guard<std::mutex> lock(server.mutex);
            if (!server.keeper) {
                server.commands.push_back(command);
            }
            ++server.counts[verb];
            server.changed.notify_all();
        }
        if (verb == "EHLO") {
            return Answer(verb, Features);
        }
        if (verb == "AUTH" || verb == "LOGIN") {
            inLogin = !inLogin;
            return Answer(verb, inLogin ? "334 \r\n" : "235 in\r\n");
        }
        if (verb == "MAIL") {
            mail = {ArgumentOf(command), {}, ""};
        } else if (verb == "RCPT") {
            mail.recipients.push_back(ArgumentOf(command));
        } else if (verb == "DATA") {
            return Answer(verb, "354 go\r\n") && ReadMail();
        } else if (verb == "QUIT") {
            return Answer(verb, "221 bye\r\n") && server.ActionAt(verb, "") == Silence;
        }
        return Answer(verb, "250 ok\r\n");
    }

    bool ReadMail() {
        if (lastReply.front() != '3') {
            return true;
        }
        if (const std::string action = server.ActionAt("TEXT", "");
            !action.empty() && !Answer("TEXT", "")) {
            return false;
        }
        for (std::optional<std::string> line = ReadLine(); line; line = ReadLine()) {
            if (*line == ".") {
                const std::lock_guard<std::mutex> lock(server.mutex);
                if (server.keeper) {
                    server.keeper(mail);
                } else {
                    server.mails.push_back(std::exchange(mail, {}));
                }
                ++server.counts["END"];
                server.changed.notify_all();
                break;
            }
            const bool isStuffed = !line->empty() && line->front() == '.';
            mail.data.append(*line, isStuffed ? 1 : 0, std::string::npos);
            mail.data += "\r\n";
        }
        return Answer("END", "250 queued as 1\r\n");
    }

    bool Answer(const std::string &step, const std::string &usualReply) {
        std::string action = server.ActionAt(step, usualReply);
        if (action == Hold) {
            if (!server.PassGate()) {
                return false;
            }
            action = usualReply;
        }
        if (action == Reset) {
            const linger atOnce = {1, 0};
            ::setsockopt(socket, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
        }
        if (action == HangUp || action == Reset) {
            return false;
        }
        if (action == Silence) {
            return true;
        }
        inLogin = inLogin && action.front() == '3';
        lastReply = action;
        return SendAll(action);
    }

    bool SendAll(const std::string &text) const {
        const std::size_t piece = server.bytesSingly ? 1 : text.size();
        for (std::size_t at = 0; at < text.size(); at += piece) {
            if (::send(socket, text.data() + at, piece, MSG_NOSIGNAL) < 0) {
                return false;
            }
        }
        return true;
    }

    std::optional<std::string> ReadLine() {
        std::string line;
        for (;;) {
            const std::size_t end = buffer.find('\n', start);
            line.append(buffer, start, end - start);
            if (end != std::string::npos) {
                start = end + 1;
                if (!line.empty() && line.back() == '\r') {
                    line.pop_back();
                }
                return line;
            }
            buffer.resize(65536);
            const ssize_t count = ::recv(socket, buffer.data(), buffer.size(), 0);
            if (count <= 0) {
                return std::nullopt;
            }
            buffer.resize(static_cast<std::size_t>(count));
            start = 0;
        }
    }

    CSmtpServer &server;
    int socket;
    std::string buffer;
    std::size_t start = 0;
    std::string lastReply;
    ReceivedMail mail;
    bool inLogin = false;
};

CSmtpServer::CSmtpServer() : listener(ListenOnLoopback(port)), acceptor([this] { AcceptLoop(); }) {}

CSmtpServer::~CSmtpServer() {
    {
        const std::lock_guard<std::mutex> lock(mutex);
        ending = true;
        changed.notify_all();
        ::shutdown(listener, SHUT_RDWR);
        for (const int connection : connections) {
            ::shutdown(connection, SHUT_RDWR);
        }
    }
    acceptor.join();
    std::unique_lock<std::mutex> lock(mutex);
    changed.wait(lock, [this] { return connections.empty(); });
    ::close(listener);
}

void CSmtpServer::AcceptLoop() {
    for (;;) {
        const int accepted = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
        const std::lock_guard<std::mutex> lock(mutex);
        if (accepted < 0 || ending) {
            ::close(accepted);
            return;
        }
        const int atOnce = 1;
        ::setsockopt(accepted, IPPROTO_TCP, TCP_NODELAY, &atOnce, sizeof atOnce);
        connections.push_back(accepted);
        std::thread([this, accepted] {
            CConnection(*this, accepted).Serve();
            const std::lock_guard<std::mutex> closing(mutex);
            connections.remove(accepted);
            ::close(accepted);
            changed.notify_all();
        }).detach();
    }
}

void CSmtpServer::At(const std::string &step, const std::string &replyOrAction) {
    const std::lock_guard<std::mutex> lock(mutex);
    script[step] = replyOrAction;
}

void CSmtpServer::SendBytesSingly() {
    bytesSingly = true;
}

void CSmtpServer::SetKeeper(std::function<void(const ReceivedMail &)> newKeeper) {
    const std::lock_guard<std::mutex> lock(mutex);
    keeper = std::move(newKeeper);
}

void CSmtpServer::OpenGate() {
    const std::lock_guard<std::mutex> lock(mutex);
    gateOpen = true;
    changed.notify_all();
}

bool CSmtpServer::PassGate() {
    std::unique_lock<std::mutex> lock(mutex);
    changed.wait(lock, [this] { return gateOpen || ending; });
    return gateOpen;
}

std::string CSmtpServer::ActionAt(const std::string &step, const std::string &usualReply) {
    const std::lock_guard<std::mutex> lock(mutex);
    const auto scripted = script.find(step);
    return scripted != script.end() ? scripted->second : usualReply;
}

bool CSmtpServer::WaitForCommands(const std::string &verb, std::size_t count) {
    std::unique_lock<std::mutex> lock(mutex);
    return changed.wait_for(lock, LongestWait, [&] { return counts[verb] >= count; });
}

bool CSmtpServer::WaitForMails(std::size_t count) {
    return WaitForCommands("END", count);
}

std::vector<std::string> CSmtpServer::Commands() {
    const std::lock_guard<std::mutex> lock(mutex);
    return commands;
}

std::vector<ReceivedMail> CSmtpServer::Mails() {
    const std::lock_guard<std::mutex> lock(mutex);
    return mails;
}

}  // namespace SMTPClientNS
