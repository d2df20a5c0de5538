// The library's descriptor in the context of asio, Boost's or the one that stands alone.

#include "event_loop_host.h"

#include <asio.hpp>

namespace {

class CLoop {
public:
    explicit CLoop(CMailingHost &mailingHost)
        : host(mailingHost), timer(context), mailEvents(context, SmtpClientEventFd()) {}
    ~CLoop() { mailEvents.release(); }  // The descriptor is the library's: asio would close it.
    CLoop(const CLoop &) = delete;
    CLoop &operator=(const CLoop &) = delete;

    void Run() {
        WaitForTimer();
        WaitForMailEvents();
        host.Start();
        context.run();
    }

private:
    void WaitForTimer() {
        timer.expires_after(CMailingHost::TickInterval);
        timer.async_wait([this](const asio::error_code & /*error*/) {
            host.Tick();
            WaitForTimer();
        });
    }

    void WaitForMailEvents() {
        mailEvents.async_wait(asio::posix::stream_descriptor::wait_read,
                              [this](const asio::error_code & /*error*/) {
                                  SmtpClientDispatchEvents();
                                  if (host.IsDone()) {
                                      context.stop();
                                  } else {
                                      WaitForMailEvents();
                                  }
                              });
    }

    CMailingHost &host;
    asio::io_context context;
    asio::steady_timer timer;
    asio::posix::stream_descriptor mailEvents;
};

}  // namespace

bool RunEventLoop(CMailingHost &host) {
    CLoop(host).Run();
    return true;
}
