#ifndef PLATFORM_SOCKET_H
#define PLATFORM_SOCKET_H

namespace SMTPClientNS {

/// From now on whoever reads from the socket finds its end at once, instead of waiting for a peer
/// that may have gone silent. Writing still works.
void StopReceiving(int socket);

}  // namespace SMTPClientNS

#endif  // PLATFORM_SOCKET_H
