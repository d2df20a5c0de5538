#include "tests/support/smtp_server.h"

#include <chrono>
#include <utility>

#include <asio.hpp>

namespace SMTPClientNS {

using asio::ip::tcp;

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

struct CSmtpServer::Network {
    asio::io_context context{1};
    tcp::acceptor listener{context, {asio::ip::address_v4::loopback(), 0}};
};

/// Lives as long as something is to come of it: its peer's next line, or the opening of the gate.
class CSmtpServer::CConnection : public std::enable_shared_from_this<CConnection> {
public:
    CConnection(CSmtpServer &owner, tcp::socket accepted)
        : server(owner), socket(std::move(accepted)) {}

    void Answer(const std::string &step) {
        const std::string reply = server.ReplyOrActionAt(step);
        if (reply != Hold) {
            Give(reply, step);
            return;
        }
        server.held.push_back(
            [self = shared_from_this(), step] { self->Give(UsualReply(step), step); });
    }

private:
    void Give(const std::string &reply, const std::string &step) {
        if (reply == Reset) {
            socket.set_option(asio::socket_base::linger(true, 0), ignored);
        }
        if (reply == HangUp || reply == Reset) {
            return;
        }
        if (reply != Silence) {
            asio::write(socket, asio::buffer(reply), ignored);
        }
        const bool goesOn = reply[0] == '3';
        isLogin = goesOn && step != "DATA";
        if (goesOn && step == "DATA") {
            inMail = true;
            Answer("TEXT");
        } else if (step != "QUIT") {
            ReadLine();
        }
    }

    void ReadLine() {
        const auto take = [self = shared_from_this()](const asio::error_code &end, std::size_t) {
            std::string line;
            if (!end && std::getline(self->input, line)) {
                self->inMail ? self->TakeOfMail(line) : self->TakeCommand(line);
            }
        };
        asio::async_read_until(socket, received, '\n', take);
    }

    void TakeCommand(std::string &line) {
        line.erase(line.find_last_not_of('\r') + 1);
        server.Append(server.commands, line);
        Answer(isLogin ? "LOGIN" : line.substr(0, line.find(' ')));
    }

    void TakeOfMail(const std::string &line) {
        if (line != ".\r") {
            mail.append(line, line[0] == '.' ? 1 : 0) += '\n';
            ReadLine();
            return;
        }
        inMail = false;
        server.Append(server.mails, std::exchange(mail, {}));
        Answer("END");
    }

    CSmtpServer &server;
    tcp::socket socket;
    asio::error_code ignored;  // The client may have gone.
    asio::streambuf received;
    std::istream input{&received};
    bool isLogin = false;
    bool inMail = false;
    std::string mail;
};

CSmtpServer::CSmtpServer()
    : network(std::make_unique<Network>()), port(network->listener.local_endpoint().port()) {
    AcceptNext();
    running = std::thread([this] { network->context.run(); });
}

CSmtpServer::~CSmtpServer() {
    network->context.stop();
    running.join();
}

void CSmtpServer::AcceptNext() {
    network->listener.async_accept([this](const asio::error_code &fault, tcp::socket accepted) {
        if (!fault) {
            std::make_shared<CConnection>(*this, std::move(accepted))->Answer("CONNECT");
        }
        AcceptNext();
    });
}

std::string CSmtpServer::ReplyOrActionAt(const std::string &step) {
    const std::lock_guard<std::mutex> lock(mutex);
    ++counts[step];
    changed.notify_all();
    const auto scripted = script.find(step);
    const std::string action = scripted == script.end() ? UsualReply(step) : scripted->second;
    return action == Hold && gateOpen ? UsualReply(step) : action;
}

void CSmtpServer::At(const std::string &step, const std::string &replyOrAction) {
    const std::lock_guard<std::mutex> lock(mutex);
    script[step] = replyOrAction;
}

void CSmtpServer::OpenGate() {
    const std::lock_guard<std::mutex> lock(mutex);
    gateOpen = true;
    asio::post(network->context, [this] {
        for (const auto &goOn : std::exchange(held, {})) {
            goOn();
        }
    });
}

bool CSmtpServer::WaitForCommands(const std::string &step, std::size_t count) {
    std::unique_lock<std::mutex> lock(mutex);
    return changed.wait_for(lock, LongestWait, [&] { return counts[step] >= count; });
}

}  // namespace SMTPClientNS
