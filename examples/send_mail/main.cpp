#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <iomanip>
#include <iostream>
#include <memory>

#include "mail.h"

using namespace SMTPClientNS;

namespace {

constexpr int UsageStatus = 2;
constexpr const char *ProgramHead = "send_mail: ";

template <typename T>
struct Releaser {
    void operator()(T *owned) const { owned->Release(); }
};
using Client = std::unique_ptr<ISmtpClient, Releaser<ISmtpClient>>;
using Message = std::unique_ptr<IMimeMessage, Releaser<IMimeMessage>>;

/// How the send ended.
struct Outcome {
    bool isSent = false;
    std::u16string text;
};

/// Keeps what libcurl reports to the standard error stream during a Send from the user.
class CSilentErrorStream {
public:
    CSilentErrorStream() : kept(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0)) {
        const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
        if (kept >= 0 && nowhere >= 0) {
            ::dup2(nowhere, STDERR_FILENO);
        }
        ::close(nowhere);
    }
    ~CSilentErrorStream() {
        if (kept >= 0) {
            ::dup2(kept, STDERR_FILENO);
            ::close(kept);
        }
    }
    CSilentErrorStream(const CSilentErrorStream &) = delete;
    CSilentErrorStream &operator=(const CSilentErrorStream &) = delete;

private:
    int kept;
};

class COutcomeSink final : public ICompletionSink {
public:
    void OnSendComplete(std::int32_t /*taskId*/, std::int32_t code, const char16_t *text) override {
        outcome.isSent = code == ResultSuccess;
        outcome.text = text;
        hasEnded = true;
    }

    Outcome outcome;
    bool hasEnded = false;
};

/// A line that is rewritten in place, and gone with its object. Only at a terminal.
class CProgressLine {
public:
    explicit CProgressLine(std::string what) : text(std::move(what)) {
        if (isTerminal) {
            std::cerr << text << std::flush;
        }
    }
    ~CProgressLine() {
        if (isTerminal) {
            std::cerr << "\r\x1B[K" << std::flush;
        }
    }
    CProgressLine(const CProgressLine &) = delete;
    CProgressLine &operator=(const CProgressLine &) = delete;

    void ShowTime() const {
        const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
        if (isTerminal) {
            std::cerr << '\r' << text << std::fixed << std::setprecision(1) << passed.count()
                      << " s" << std::flush;
        }
    }

private:
    std::string text;
    bool isTerminal = ::isatty(STDERR_FILENO) == 1;
    std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
};

/// A conversion that failed. Shown at once it would be lost with the error stream's other lines.
void NoteWarning(const char16_t *text, const char16_t * /*caption*/, std::uint32_t /*style*/,
                 void *warnings) {
    *static_cast<std::u16string *>(warnings) += std::u16string(text) + u"\n";
}

Outcome SendNow(ISmtpClient &client, bool isVerbose) {
    const CProgressLine progress("Sending ... ");
    std::unique_ptr<CSilentErrorStream> silence;
    if (!isVerbose) {
        silence = std::make_unique<CSilentErrorStream>();
    }
    Outcome outcome;
    outcome.isSent = client.Send() == ResultSuccess;
    silence.reset();
    if (isVerbose) {
        std::cout << UserFromWide(client.GetLogText());
    }
    outcome.text = client.GetLastLogEntry();
    return outcome;
}

Outcome SendInBackground(ISmtpClient &client) {
    constexpr int ProgressIntervalMs = 100;
    COutcomeSink sink;
    client.SetCompletionSink(&sink);
    if (client.SendAsync() < 0) {
        sink.outcome.text = u"Out of memory.";
        return sink.outcome;
    }
    const CProgressLine progress("Sending in the background ... ");
    while (!sink.hasEnded) {
        SmtpClientWaitEvents(ProgressIntervalMs);
        progress.ShowTime();
    }
    return sink.outcome;
}

int Run(const Options &options) {
    const Client client(CreateSmtpClient());
    const Message message(CreateMimeMessage());
    FillMessage(options, *message);
    FillClient(options, *client);
    client->SetMessage(message.get());
    std::u16string warnings;
    SmtpClientSetMessageBox(&NoteWarning, &warnings);
    Outcome outcome =
        options.inBackground ? SendInBackground(*client) : SendNow(*client, options.isVerbose);
    SmtpClientSetMessageBox(nullptr, nullptr);
    if (outcome.text.empty()) {  // So a background send reports its success.
        outcome.text = u"Email sent successfully!";
    }
    if (outcome.text.back() == u'\n') {
        outcome.text.pop_back();
    }
    if (!warnings.empty()) {
        std::cerr << ProgramHead << UserFromWide(warnings);
    }
    (outcome.isSent ? std::cout : std::cerr << ProgramHead) << UserFromWide(outcome.text) << '\n';
    return outcome.isSent ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace

int main(int argc, char **argv) {
    try {
        UseUserLocale();
        const std::optional<Options> options = ParseOptions(argc, argv);
        return options ? Run(*options) : EXIT_SUCCESS;
    } catch (const CUsageError &fault) {
        std::cerr << ProgramHead << fault.what() << "\nTry 'send_mail --help'.\n";
        return UsageStatus;
    }
}
