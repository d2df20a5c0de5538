// The library's descriptor beside others in poll's set.

#include <poll.h>

#include <cerrno>

#include "event_loop_host.h"

bool RunEventLoop(CMailingHost &host) {
    using Clock = std::chrono::steady_clock;
    pollfd watched[] = {{SmtpClientEventFd(), POLLIN, 0}};  // And the host's own.
    host.Start();
    auto nextTick = Clock::now() + CMailingHost::TickInterval;
    while (!host.IsDone()) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(nextTick - Clock::now());
        if (left.count() <= 0) {
            nextTick += CMailingHost::TickInterval;
            host.Tick();
            continue;
        }
        const int count = ::poll(watched, std::size(watched), static_cast<int>(left.count()));
        if (count < 0 && errno != EINTR) {
            return false;
        }
        if (count > 0 && watched[0].revents != 0) {
            SmtpClientDispatchEvents();
        }
    }
    return true;
}
