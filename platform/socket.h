#ifndef PLATFORM_SOCKET_H
#define PLATFORM_SOCKET_H

namespace SMTPClientNS {

/// A socket of the given family, type and protocol, the caller's to close, that no program inherits
/// which the process executes, and that is no standard stream. -1 if the system gives none.
int OpenSocket(int family, int type, int protocol) noexcept;

/// From now on whoever reads from the socket finds its end at once, instead of waiting for a peer
/// that may have gone silent. Writing still works.
void StopReceiving(int socket) noexcept;

}  // namespace SMTPClientNS

#endif  // PLATFORM_SOCKET_H
