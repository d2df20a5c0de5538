#include "platform/socket.h"

#include <sys/socket.h>

#include <utility>

#include "platform/unique_fd.h"

namespace SMTPClientNS {

int OpenSocket(int family, int type, int protocol) noexcept {
    CUniqueFd opened(::socket(family, type | SOCK_CLOEXEC, protocol));
    return AwayFromStandardStreams(std::move(opened)).Release();
}

void StopReceiving(int socket) noexcept {
    ::shutdown(socket, SHUT_RD);
}

}  // namespace SMTPClientNS
