#include "worker.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <fstream>

namespace {

using namespace SMTPClientNS;

constexpr int Batch = 10;          // Mails that a thread claims at once.
constexpr int LongestPause = 30;   // Seconds between looks at the table without a notification.
constexpr int MostDoublings = 10;  // Of the minute until the next attempt.

/// The server's own words stand in brackets at the end: "... (452 4.2.2 mailbox full)".
bool IsPermanent(const smtpclient::Outcome &outcome) {
    const std::size_t words = outcome.text.rfind(" (");
    const bool isRefused = words != std::string::npos && outcome.text[words + 2] == '5';
    // A refused login is about the worker, not about the mail.
    return (isRefused && outcome.code != ResultLoginDenied) ||
           outcome.code == ResultFileUnreadable || outcome.code == ResultNoSender ||
           outcome.code == ResultNoRecipients;
}

smtpclient::Message Compose(const COutbox::Mail &mail) {
    smtpclient::Message message;
    message.From(mail["sender"].get<std::string>());
    message.Subject(mail["subject"].get<std::string>());
    message.Text(mail["text_body"].get<std::string>());
    message.Html(mail["html_body"].get<std::string>());
    for (const std::string recipient : mail["recipients"]) {
        message.To(recipient);
    }
    for (const std::string path : mail["attachments"]) {
        message.Attach(path);
    }
    return message;
}

}  // namespace

CWorker::CWorker(CCrew &sharedCrew)
    : crew(sharedCrew),
      outbox(crew.options.database,
             std::to_string(::getpid()) + "." + std::to_string(std::random_device()()),
             [this] { return crew.WaitForStop(); }),
      client(crew.options.host, crew.options.port) {
    std::string password;
    std::ifstream file(crew.options.passwordFile);
    std::getline(file, password);
    client.Login(crew.options.user, password);
    if (crew.options.noTls) {
        client.WithoutTls();
    }
}

void CWorker::Run() {
    while (!crew.WaitForStop()) {
        // No send starts in the second half of a lease: it might outlast it.
        const auto latestStart = CCrew::Clock::now() + std::chrono::seconds(crew.options.lease) / 2;
        const nlohmann::json mails = outbox.Claim(Batch, crew.options.lease);
        for (const COutbox::Mail &mail : mails) {
            crew.WaitForTurn(latestStart) ? Handle(mail) : outbox.GiveBack(mail);
        }
        if (mails.empty()) {
            // A mail that was put off comes again by the clock, without a notification.
            outbox.WaitForMail(std::clamp(crew.options.minute / 1000, 1, LongestPause),
                               crew.StopFd());
        }
    }
}

void CWorker::Handle(const COutbox::Mail &mail) {
    try {
        const smtpclient::Outcome outcome = client.Send(Compose(mail));
        Record(mail, outcome, IsPermanent(outcome));
    } catch (const std::invalid_argument &refusal) {
        Record(mail, {ResultCode(), refusal.what()}, true);
    }
}

void CWorker::Record(const COutbox::Mail &mail, const smtpclient::Outcome &outcome,
                     bool isPermanent) {
    const int attempts = mail["attempts"];
    const bool isLast = isPermanent || attempts >= crew.options.attempts;
    const char *state = outcome ? "sent" : isLast ? "failed" : "queued";
    // Give or take a quarter, so that what failed at once does not come again at once.
    const double jitter = std::uniform_real_distribution<double>(0.75, 1.25)(random);
    const double pause =
        std::ldexp(crew.options.minute / 1000.0, std::min(attempts, MostDoublings));
    outbox.Record(mail, state, jitter * pause, outcome.code, outcome.text);
    crew.Report({{"mail", mail["id"]},
                 {"state", state},
                 {"attempt", attempts},
                 {"code", int{outcome.code}},
                 {"text", outcome.text}});
}
