#ifndef EXAMPLES_EVENT_LOOP_HOST_H
#define EXAMPLES_EVENT_LOOP_HOST_H

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <smtpclient/host_platform.h>

/// A host that sends several mails at once in the background, takes one back, and shows how they
/// fare; all but its event loop. Everything runs on the loop's thread.
class CMailingHost {
public:
    static constexpr std::chrono::milliseconds TickInterval{50};

    CMailingHost(const std::string &server, std::int32_t port);
    ~CMailingHost();
    CMailingHost(const CMailingHost &) = delete;
    CMailingHost &operator=(const CMailingHost &) = delete;

    /// Queues all mails and takes the last one back.
    void Start();

    /// The loop's timer: shows every mail's state. That it comes at its times during the transfers
    /// is what background sending is for.
    void Tick();

    /// No mail is under way any more; the loop may end.
    bool IsDone() const;

    /// Shows what became of the mails. True if all were sent but the one taken back.
    bool Report() const;

private:
    enum class State { UnderWay, Sent, Failed, Cancelled };

    class CSender;

    std::size_t Count(State state) const;

    std::vector<std::unique_ptr<CSender>> senders;
    int ticks = 0;
};

/// The event loop: each program of this example has its own. Calls host.Start, then Tick at its
/// interval, dispatches the library's events, and returns when the host is done. False if the
/// system did not give it what it needs.
bool RunEventLoop(CMailingHost &host);

#endif  // EXAMPLES_EVENT_LOOP_HOST_H
