#ifndef TESTS_SUPPORT_SMTP_SERVER_H
#define TESTS_SUPPORT_SMTP_SERVER_H

#include <atomic>
#include <condition_variable>
#include <functional>
#include <list>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace SMTPClientNS {

/// What a server received between MAIL FROM and the end of the data.
struct ReceivedMail {
    std::string sender;  ///< The command's argument: "<a@example.org> SIZE=100".
    std::vector<std::string> recipients;
    std::string data;  ///< With its line ends, dot-stuffing undone.
};

/// A scripted SMTP server on a loopback port of its own, a thread a connection.
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
    void SendBytesSingly();
    void OpenGate();

    /// Has each mail handed over, on the connection's thread, in place of keeping mails and
    /// commands.
    void SetKeeper(std::function<void(const ReceivedMail &)> newKeeper);

    /// Waits until that many commands of this verb, or mails, have arrived; false after a minute.
    bool WaitForCommands(const std::string &verb, std::size_t count);
    bool WaitForMails(std::size_t count);

    /// Every line that was no mail data, in the order of arrival.
    std::vector<std::string> Commands();
    std::vector<ReceivedMail> Mails();

private:
    class CConnection;

    void AcceptLoop();
    /// What to do at a step: the scripted reply or action, else the usual reply.
    std::string ActionAt(const std::string &step, const std::string &usualReply);
    bool PassGate();

    int port = 0;
    int listener;
    std::mutex mutex;
    std::condition_variable changed;
    std::map<std::string, std::string> script;
    std::map<std::string, std::size_t> counts;
    std::vector<std::string> commands;
    std::vector<ReceivedMail> mails;
    std::function<void(const ReceivedMail &)> keeper;
    std::list<int> connections;  ///< Each served by a thread of its own.
    std::atomic<bool> bytesSingly{false};
    bool gateOpen = false;
    bool ending = false;
    std::thread acceptor;
};

}  // namespace SMTPClientNS

#endif  // TESTS_SUPPORT_SMTP_SERVER_H
