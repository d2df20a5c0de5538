#include "event_loop_host.h"

#include <cstdlib>
#include <iostream>
#include <map>

#include <smtpclient/mail.h>

namespace {

// A client sends its mails one after the other; several clients send at once.
constexpr int SenderCount = 2;
constexpr int MailsPerSender = 3;

void ShowLine(const std::string &line) {
    std::cout << line << '\n' << std::flush;
}

}  // namespace

/// A client and its mails.
class CMailingHost::CSender {
public:
    CSender(int number, const std::string &server, std::int32_t port)
        : name(std::to_string(number)), client(server, port) {
        // For a test server, which need not check the login.
        client.WithoutTls().Login("user", "password");
    }

    void Queue() {
        smtpclient::Message message;  // May end here: the mail is composed by Send.
        message.From("sender@example.org", "Event loop").To("recipient@example.org");
        message.Subject("Mail of client " + name).Text("Sent in the background.\n");
        const int mail = static_cast<int>(states.size()) + 1;
        states[mail] = State::UnderWay;
        lastTask = client.Send(message, [this, mail](const smtpclient::Outcome &outcome) {
            states[mail] = outcome ? State::Sent : State::Failed;
            ShowLine((outcome ? "sent " : "failed ") + NameOf(mail) +
                     (outcome ? "" : ": " + outcome.text));
        });
        ShowLine("queued " + NameOf(mail));
    }

    /// Only a mail whose transfer has not begun can be taken back: the last one, if any.
    void CancelLast() {
        const int mail = states.rbegin()->first;
        if (client.Cancel(lastTask)) {
            states[mail] = State::Cancelled;  // Its callback is gone.
            ShowLine("cancelled " + NameOf(mail));
        }
    }

    std::string Summary() const {
        std::string summary;
        for (const auto &[mail, state] : states) {
            summary += "  " + NameOf(mail) + " " + StateText(state);
        }
        return summary;
    }

    std::size_t Count(State wanted) const {
        std::size_t count = 0;
        for (const auto &[mail, state] : states) {
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

    std::string NameOf(int mail) const { return name + "." + std::to_string(mail); }

    std::string name;
    std::map<int, State> states;
    smtpclient::Client client;
    std::int32_t lastTask = 0;
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
