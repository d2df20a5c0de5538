#ifndef PLATFORM_SOCKET_H
#define PLATFORM_SOCKET_H

#include <cstdint>
#include <memory>

namespace SMTPClientNS {

/// A socket of the given family, type and protocol, the caller's to close, that no program inherits
/// which the process executes, and that is no standard stream. -1 if the system gives none.
std::intptr_t OpenSocket(int family, int type, int protocol) noexcept;

/// While it lives, a farewell may still be written to the socket, but whoever waits for the answer
/// of a peer that may have gone silent soon finds the end of the stream instead.
class CFarewell {
public:
    explicit CFarewell(std::intptr_t socket) noexcept;
    ~CFarewell();
    CFarewell(const CFarewell &) = delete;
    CFarewell &operator=(const CFarewell &) = delete;

private:
    struct Watch;
    std::unique_ptr<Watch> watch;
};

}  // namespace SMTPClientNS

#endif  // PLATFORM_SOCKET_H
