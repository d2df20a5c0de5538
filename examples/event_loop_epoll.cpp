// The library's descriptor beside others in an epoll set. poll, select and every loop that is built
// on descriptors take it the same way.

#include <sys/epoll.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "event_loop_host.h"

namespace {

/// Owns a descriptor of the host's. That of the library is not ours to close.
class CDescriptor {
public:
    explicit CDescriptor(int owned) : descriptor(owned) {}
    ~CDescriptor() {
        if (descriptor >= 0) {
            ::close(descriptor);
        }
    }
    CDescriptor(const CDescriptor &) = delete;
    CDescriptor &operator=(const CDescriptor &) = delete;

    int Get() const { return descriptor; }

private:
    int descriptor;
};

bool Watch(const CDescriptor &epoll, int descriptor) {
    epoll_event event = {};
    event.events = EPOLLIN;  // By level: readable for as long as something waits.
    event.data.fd = descriptor;
    return ::epoll_ctl(epoll.Get(), EPOLL_CTL_ADD, descriptor, &event) == 0;
}

bool StartTimer(const CDescriptor &timer, std::chrono::nanoseconds interval) {
    itimerspec times = {};
    times.it_interval.tv_nsec = interval.count();
    times.it_value = times.it_interval;
    return ::timerfd_settime(timer.Get(), 0, &times, nullptr) == 0;
}

void Handle(CMailingHost &host, const epoll_event &event, const CDescriptor &timer) {
    if (event.data.fd != timer.Get()) {
        SmtpClientDispatchEvents();
        return;
    }
    std::uint64_t expirations = 0;
    if (::read(timer.Get(), &expirations, sizeof expirations) > 0) {
        host.Tick();
    }
}

}  // namespace

bool RunEventLoop(CMailingHost &host) {
    const CDescriptor epoll(::epoll_create1(EPOLL_CLOEXEC));
    const CDescriptor timer(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK));
    // Of this thread, on which the sends are therefore started.
    const int mailEvents = SmtpClientEventFd();
    if (!Watch(epoll, timer.Get()) || !Watch(epoll, mailEvents) ||
        !StartTimer(timer, CMailingHost::TickInterval)) {
        return false;
    }
    host.Start();
    while (!host.IsDone()) {
        std::array<epoll_event, 8> events = {};
        const int count = ::epoll_wait(epoll.Get(), events.data(), events.size(), -1);
        if (count < 0 && errno != EINTR) {
            return false;
        }
        for (int index = 0; index < count; ++index) {
            Handle(host, events[static_cast<std::size_t>(index)], timer);
        }
    }
    return true;
}
