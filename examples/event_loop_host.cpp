#include "event_loop_host.h"

#include <cstdlib>
#include <iostream>
#include <map>

using SMTPClientNS::ICompletionSink;
using SMTPClientNS::IMimeMessage;
using SMTPClientNS::ISmtpClient;

namespace {

// A client sends its mails one after the other; several clients send at once.
constexpr int SenderCount = 2;
constexpr int MailsPerSender = 3;

template <typename T>
struct Releaser {
    void operator()(T *owned) const { owned->Release(); }
};
using Client = std::unique_ptr<ISmtpClient, Releaser<ISmtpClient>>;
using Message = std::unique_ptr<IMimeMessage, Releaser<IMimeMessage>>;

std::u16string Wide(const std::string &ascii) {
    return {ascii.begin(), ascii.end()};
}

void ShowLine(const std::string &line) {
    std::cout << line << '\n' << std::flush;
}

}  // namespace

/// A client and its mails, and the sink that hears of them.
class CMailingHost::CSender final : public ICompletionSink {
public:
    CSender(int number, const std::string &server, std::int32_t port)
        : name(std::to_string(number)), client(CreateSmtpClient()) {
        client->SetHost(Wide(server).c_str());
        client->SetPort(port);
        // For a test server: no TLS, and a login that it need not check.
        client->SetUseTls(false);
        client->SetUserName(u"user");
        client->SetPassword(u"password");
        client->SetCompletionSink(this);
    }

    void Queue() {
        const Message message(CreateMimeMessage());
        message->SetSender(u"sender@example.org", u"Event loop");
        message->AddRecipient(u"recipient@example.org", nullptr);
        message->SetSubject(Wide("Mail of client " + name).c_str());
        message->SetTextBody(u"Sent in the background.\r\n");
        client->SetMessage(message.get());
        const std::int32_t taskId = client->SendAsync();
        states[taskId] = taskId > 0 ? State::UnderWay : State::Failed;
        ShowLine("queued " + NameOf(taskId));
        client->SetMessage(nullptr);  // It ends here: the mail has been composed.
    }

    /// Only a mail whose transfer has not begun can be taken back: the last one, if any.
    void CancelLast() {
        const std::int32_t taskId = states.rbegin()->first;
        if (client->CancelAsync(taskId) == 1) {
            states[taskId] = State::Cancelled;  // The sink does not hear of it.
            ShowLine("cancelled " + NameOf(taskId));
        }
    }

    void OnSendComplete(std::int32_t taskId, std::int32_t code,
                        const char16_t * /*text*/) override {
        const bool sent = code == SMTPClientNS::ResultSuccess;
        states[taskId] = sent ? State::Sent : State::Failed;
        ShowLine((sent ? "sent " : "failed ") + NameOf(taskId) +
                 (sent ? "" : ", code " + std::to_string(code)));
    }

    std::string Summary() const {
        std::string summary;
        for (const auto &[taskId, state] : states) {
            summary += "  " + NameOf(taskId) + " " + StateText(state);
        }
        return summary;
    }

    std::size_t Count(State wanted) const {
        std::size_t count = 0;
        for (const auto &[taskId, state] : states) {
            count += state == wanted ? 1 : 0;
        }
        return count;
    }

private:
    static const char *StateText(State state) {
        switch (state) {
            case State::UnderWay:
                return "under way";
            case State::Sent:
                return "sent";
            case State::Failed:
                return "failed";
            case State::Cancelled:
                return "cancelled";
        }
        return "";
    }

    std::string NameOf(std::int32_t taskId) const { return name + "." + std::to_string(taskId); }

    std::string name;
    std::map<std::int32_t, State> states;
    Client client;
};

CMailingHost::CMailingHost(const std::string &server, std::int32_t port) {
    for (int number = 1; number <= SenderCount; ++number) {
        senders.push_back(std::make_unique<CSender>(number, server, port));
    }
}

CMailingHost::~CMailingHost() = default;

void CMailingHost::Start() {
    for (const auto &sender : senders) {
        for (int mail = 0; mail < MailsPerSender; ++mail) {
            sender->Queue();
        }
    }
    senders.back()->CancelLast();
}

void CMailingHost::Tick() {
    std::string line = "tick " + std::to_string(++ticks) + ":";
    for (const auto &sender : senders) {
        line += sender->Summary();
    }
    ShowLine(line);
}

bool CMailingHost::IsDone() const {
    return Count(State::UnderWay) == 0;
}

bool CMailingHost::Report() const {
    ShowLine(std::to_string(Count(State::Sent)) + " sent, " +
             std::to_string(Count(State::Cancelled)) + " cancelled, " +
             std::to_string(Count(State::Failed)) + " failed, " + std::to_string(ticks) + " ticks");
    return Count(State::Cancelled) == 1 && Count(State::Failed) == 0;
}

std::size_t CMailingHost::Count(State state) const {
    std::size_t count = 0;
    for (const auto &sender : senders) {
        count += sender->Count(state);
    }
    return count;
}

int main(int argc, char **argv) {
    if (argc != 3) {
        std::cerr << "Usage: " << argv[0] << " SERVER PORT\n"
                  << "Sends mails in the background to a test server without TLS.\n";
        return EXIT_FAILURE;
    }
    CMailingHost host(argv[1], std::atoi(argv[2]));
    if (!RunEventLoop(host)) {
        std::cerr << argv[0] << ": no event loop\n";
        return EXIT_FAILURE;
    }
    return host.Report() ? EXIT_SUCCESS : EXIT_FAILURE;
}
