#include "secret.h"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>

#include "user_text.h"

namespace {

constexpr std::array<int, 4> EndingSignals = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};

volatile std::sig_atomic_t arrivedSignal = 0;

extern "C" void NoteSignal(int number) {
    arrivedSignal = number;
}

/// A terminal that does not show what is typed, also not to somebody who ends the program instead
/// of answering: the echo comes back first, then the signal takes its course.
class CSilentTerminal {
public:
    explicit CSilentTerminal(int opened) : terminal(opened) {
        struct sigaction note = {};
        note.sa_handler = NoteSignal;  // Without SA_RESTART: the read has to return.
        for (std::size_t i = 0; i < EndingSignals.size(); ++i) {
            ::sigaction(EndingSignals[i], &note, &formerActions[i]);
        }
        ::tcgetattr(terminal, &formerMode);
        termios silent = formerMode;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        ::tcsetattr(terminal, TCSAFLUSH, &silent);
    }

    ~CSilentTerminal() {
        ::tcsetattr(terminal, TCSAFLUSH, &formerMode);
        for (std::size_t i = 0; i < EndingSignals.size(); ++i) {
            ::sigaction(EndingSignals[i], &formerActions[i], nullptr);
        }
        if (arrivedSignal != 0) {
            std::raise(arrivedSignal);
        }
    }

    CSilentTerminal(const CSilentTerminal &) = delete;
    CSilentTerminal &operator=(const CSilentTerminal &) = delete;

private:
    int terminal;
    termios formerMode = {};
    std::array<struct sigaction, EndingSignals.size()> formerActions = {};
};

/// A descriptor to read from, closed with it.
class CInput {
public:
    CInput(const std::string &path, int flags) : CInput(::open(path.c_str(), flags | O_CLOEXEC)) {
        if (descriptor < 0) {
            throw CUsageError("cannot read " + path + ": " + std::strerror(errno));
        }
    }
    explicit CInput(int opened) : descriptor(opened) {}
    ~CInput() { ::close(descriptor); }
    CInput(const CInput &) = delete;
    CInput &operator=(const CInput &) = delete;

    int Get() const { return descriptor; }

    /// Up to the end, or up to a line end at a terminal, which gives its input by the line.
    std::string Read(bool oneLine) const {
        std::string text;
        std::array<char, 4096> piece;
        for (;;) {
            const ssize_t count = ::read(descriptor, piece.data(), piece.size());
            if (count < 0 && errno == EINTR && arrivedSignal == 0) {
                continue;
            }
            if (count < 0) {
                throw CUsageError(std::string("cannot read a secret: ") + std::strerror(errno));
            }
            text.append(piece.data(), static_cast<std::size_t>(count));
            if (count == 0 || (oneLine && text.back() == '\n')) {
                return text;
            }
        }
    }

private:
    int descriptor;
};

std::string Ask(const std::string &what) {
    const CInput terminal("/dev/tty", O_RDWR);
    const std::string question = what + ": ";
    std::string answer;
    {
        // First, for it drops what was typed before: an answer to the question must not be lost.
        const CSilentTerminal silent(terminal.Get());
        // What cannot be shown can still be answered.
        static_cast<void>(!::write(terminal.Get(), question.data(), question.size()));
        answer = terminal.Read(true);
    }
    static_cast<void>(!::write(terminal.Get(), "\n", 1));
    return answer;
}

std::string Fetch(const SecretSource &source, const std::string &what) {
    switch (source.kind) {
        case SecretSource::Kind::File:
            return CInput(source.path, O_RDONLY).Read(false);
        case SecretSource::Kind::Descriptor:
            return CInput(source.descriptor).Read(false);
        case SecretSource::Kind::Prompt:
            return Ask(what);
        case SecretSource::Kind::None:
            break;
    }
    return {};
}

}  // namespace

std::u16string ReadSecret(const SecretSource &source, const std::string &what) {
    std::string secret = Fetch(source, what);
    const std::size_t last = secret.find_last_not_of("\r\n");
    secret.resize(last == std::string::npos ? 0 : last + 1);
    if (secret.empty() ||
        secret.find_first_of(std::string_view("\r\n\0", 3)) != std::string::npos) {
        throw CUsageError(what + ": exactly one line is needed");
    }
    try {
        return WideFromUser(secret);
    } catch (const CUsageError &) {  // Its message would show the secret.
        throw CUsageError(what + ": not a text in the encoding of the locale");
    }
}
