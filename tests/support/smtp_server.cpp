#include "tests/support/smtp_server.h"

#include <chrono>
#include <utility>

#include "tests/support/loopback.h"

namespace SMTPClientNS {
namespace {

constexpr std::chrono::minutes LongestWait(1);

std::string UsualReply(const std::string &step) {
    static const std::map<std::string, std::string> replies = {
        {"CONNECT", "220 test.example ESMTP\r\n"},
        {"EHLO", "250-test.example\r\n250-SIZE\r\n250 AUTH PLAIN XOAUTH2\r\n"},
        {"AUTH", "334 \r\n"},
        {"LOGIN", "235 in\r\n"},
        {"DATA", "354 go\r\n"},
        {"TEXT", CSmtpServer::Silence},
        {"END", "250 queued as 1\r\n"},
        {"QUIT", "221 bye\r\n"},
    };
    const auto reply = replies.find(step);
    return reply == replies.end() ? "250 ok\r\n" : reply->second;
}

}  // namespace

CSmtpServer::CSmtpServer(Keeper mailKeeper)
    : keeper(std::move(mailKeeper)),
      listener(ListenOnLoopback(port)),
      acceptor([this] { AcceptConnections(); }) {}

CSmtpServer::~CSmtpServer() {
    EndListener(listener, acceptor);
    std::unique_lock<std::mutex> lock(mutex);
    ending = true;
    changed.notify_all();
    for (const int connection : connections) {
        ShutDownSocket(connection);
    }
    changed.wait(lock, [this] { return connections.empty(); });
}

void CSmtpServer::AcceptConnections() {
    int accepted = -1;
    while ((accepted = AcceptConnection(listener)) >= 0) {
        const std::lock_guard<std::mutex> lock(mutex);
        connections.insert(accepted);
        std::thread(&CSmtpServer::Serve, this, accepted).detach();
    }
}

void CSmtpServer::Serve(int connection) {
    CConnectionBuffer buffer(connection);
    std::istream input(&buffer);
    std::string reply = Answer(connection, "CONNECT");
    for (std::string line; !reply.empty() && std::getline(input, line);) {
        line.erase(line.find_last_not_of('\r') + 1);
        if (!keeper) {
            const std::lock_guard<std::mutex> lock(mutex);
            commands.push_back(line);
        }
        const bool isLogin = reply[0] == '3';
        const std::string step = isLogin ? "LOGIN" : line.substr(0, line.find(' '));
        reply = Answer(connection, step);
        if (step == "DATA" && reply[0] == '3') {
            reply = ReceiveMail(connection, input);
        }
    }
    const std::lock_guard<std::mutex> lock(mutex);
    connections.erase(connection);
    CloseSocket(connection);
    changed.notify_all();
}

std::string CSmtpServer::ReceiveMail(int connection, std::istream &input) {
    const std::string reply = Answer(connection, "TEXT");
    ReceivedMail mail;
    std::string line;
    while (!reply.empty() && std::getline(input, line) && line != ".\r") {
        mail.data.append(line, line[0] == '.' ? 1 : 0) += '\n';
    }
    if (reply.empty() || !input) {
        return "";
    }
    if (keeper) {
        keeper(mail);
    } else {
        const std::lock_guard<std::mutex> lock(mutex);
        mails.push_back(std::move(mail));
    }
    return Answer(connection, "END");
}

std::string CSmtpServer::Answer(int connection, const std::string &step) {
    const std::string reply = ReplyOrActionAt(step);
    if (reply == Reset) {
        ResetWhenClosed(connection);
    }
    if (reply == HangUp || reply == Reset) {
        return "";
    }
    if (reply == Silence) {
        return reply;
    }
    const std::size_t piece = bytesSingly ? 1 : reply.size();
    for (std::size_t at = 0; at < reply.size(); at += piece) {
        SendText(connection, reply.data() + at, piece);
    }
    return step == "QUIT" ? "" : reply;
}

std::string CSmtpServer::ReplyOrActionAt(const std::string &step) {
    std::unique_lock<std::mutex> lock(mutex);
    ++counts[step];
    changed.notify_all();
    const auto scripted = script.find(step);
    const std::string action = scripted == script.end() ? UsualReply(step) : scripted->second;
    if (action != Hold) {
        return action;
    }
    changed.wait(lock, [this] { return gateOpen || ending; });
    return gateOpen ? UsualReply(step) : HangUp;
}

void CSmtpServer::At(const std::string &step, const std::string &replyOrAction) {
    const std::lock_guard<std::mutex> lock(mutex);
    script[step] = replyOrAction;
}

void CSmtpServer::SendBytesSingly() {
    SendAtOnce(listener);  // And each connection that it accepts.
    bytesSingly = true;
}

void CSmtpServer::OpenGate() {
    const std::lock_guard<std::mutex> lock(mutex);
    gateOpen = true;
    changed.notify_all();
}

bool CSmtpServer::WaitForCommands(const std::string &step, std::size_t count) {
    std::unique_lock<std::mutex> lock(mutex);
    return changed.wait_for(lock, LongestWait, [&] { return counts[step] >= count; });
}

}  // namespace SMTPClientNS
