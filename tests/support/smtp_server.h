#ifndef TESTS_SUPPORT_SMTP_SERVER_H
#define TESTS_SUPPORT_SMTP_SERVER_H

#include <atomic>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace SMTPClientNS {

/// A scripted SMTP server on a loopback port of its own, with one thread for all connections.
///
/// A step is the verb of a command, or "CONNECT", "LOGIN" (each line of a login behind AUTH),
/// "TEXT" (of the mail) or "END" (of it). By default the server accepts everything.
class CSmtpServer {
public:
    /// Actions beside a reply.
    static constexpr const char *HangUp = "hang up";
    static constexpr const char *Reset = "reset";      ///< Closes with RST.
    static constexpr const char *Silence = "silence";  ///< Answers nothing until the server ends.
    static constexpr const char *Hold = "hold";  ///< Answers as usual once OpenGate is called.

    CSmtpServer();
    ~CSmtpServer();
    CSmtpServer(const CSmtpServer &) = delete;
    CSmtpServer &operator=(const CSmtpServer &) = delete;

    int Port() const { return port; }

    /// At this step from now on: a reply, whose lines end in CR LF, or one of the actions.
    void At(const std::string &step, const std::string &replyOrAction);
    void OpenGate();

    /// Waits until a step has been reached that often, or that many mails have arrived; false after
    /// a minute.
    bool WaitForCommands(const std::string &step, std::size_t count);
    bool WaitForMails(std::size_t count) { return WaitForCommands("END", count); }

    /// Every line that was no mail data, in the order of arrival.
    std::vector<std::string> Commands() { return Copy(commands); }
    /// With their line ends, dot-stuffing undone.
    std::vector<std::string> Mails() { return Copy(mails); }

private:
    class CConnection;
    struct Network;

    void AcceptNext();
    std::string ReplyOrActionAt(const std::string &step);

    template <typename T>
    void Append(std::vector<T> &guarded, T arrived) {
        const std::lock_guard<std::mutex> lock(mutex);
        guarded.push_back(std::move(arrived));
    }

    template <typename T>
    T Copy(const T &guarded) {
        const std::lock_guard<std::mutex> lock(mutex);
        return guarded;
    }

    const std::unique_ptr<Network> network;
    const int port;
    std::vector<std::function<void()>> held;  ///< The server's thread's: what waits at the gate.

    std::mutex mutex;  ///< Guards what follows.
    std::condition_variable changed;
    std::map<std::string, std::string> script;
    std::map<std::string, std::size_t> counts;  ///< By step.
    std::vector<std::string> commands;
    std::vector<std::string> mails;
    bool gateOpen = false;

    std::thread running;
};

}  // namespace SMTPClientNS

#endif  // TESTS_SUPPORT_SMTP_SERVER_H
