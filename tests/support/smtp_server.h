#ifndef TESTS_SUPPORT_SMTP_SERVER_H
#define TESTS_SUPPORT_SMTP_SERVER_H

#include <atomic>
#include <condition_variable>
#include <functional>
#include <istream>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace SMTPClientNS {

struct ReceivedMail {
    std::string data;  ///< With its line ends, dot-stuffing undone.
};

/// A scripted SMTP server on a loopback port of its own, a thread a connection.
///
/// A step is the verb of a command, or "CONNECT", "LOGIN" (each line of a login behind AUTH),
/// "TEXT" (of the mail) or "END" (of it). By default the server accepts everything.
class CSmtpServer {
public:
    /// Takes each mail, on its connection's thread, in place of keeping mails and commands.
    using Keeper = std::function<void(const ReceivedMail &)>;

    /// Actions beside a reply.
    static constexpr const char *HangUp = "hang up";
    static constexpr const char *Reset = "reset";      ///< Closes with RST.
    static constexpr const char *Silence = "silence";  ///< Answers nothing until the server ends.
    static constexpr const char *Hold = "hold";  ///< Answers as usual once OpenGate is called.

    explicit CSmtpServer(Keeper mailKeeper = nullptr);
    ~CSmtpServer();
    CSmtpServer(const CSmtpServer &) = delete;
    CSmtpServer &operator=(const CSmtpServer &) = delete;

    int Port() const { return port; }

    /// At this step from now on: a reply, whose lines end in CR LF, or one of the actions.
    void At(const std::string &step, const std::string &replyOrAction);
    void SendBytesSingly();  ///< On connections made from now on.
    void OpenGate();

    /// Waits until a step has been reached that often, or that many mails have arrived; false after
    /// a minute.
    bool WaitForCommands(const std::string &step, std::size_t count);
    bool WaitForMails(std::size_t count) { return WaitForCommands("END", count); }

    /// Every line that was no mail data, in the order of arrival.
    std::vector<std::string> Commands() { return Copy(commands); }
    std::vector<ReceivedMail> Mails() { return Copy(mails); }

private:
    void AcceptConnections();
    void Serve(int connection);

    std::string ReplyOrActionAt(const std::string &step);

    // Both give the last reply, which is sent by then, or Silence; empty if the connection ends.
    std::string Answer(int connection, const std::string &step);
    std::string ReceiveMail(int connection, std::istream &input);

    template <typename T>
    T Copy(const T &guarded) {
        const std::lock_guard<std::mutex> lock(mutex);
        return guarded;
    }

    const Keeper keeper;
    int port = 0;
    const int listener;
    std::atomic<bool> bytesSingly{false};

    std::mutex mutex;  ///< Guards what follows.
    std::condition_variable changed;
    std::map<std::string, std::string> script;
    std::map<std::string, std::size_t> counts;  ///< By step.
    std::vector<std::string> commands;
    std::vector<ReceivedMail> mails;
    std::set<int> connections;  ///< Each served by a detached thread, which takes it out.
    bool gateOpen = false;
    bool ending = false;

    std::thread acceptor;  ///< Last, for it uses the rest.
};

}  // namespace SMTPClientNS

#endif  // TESTS_SUPPORT_SMTP_SERVER_H
