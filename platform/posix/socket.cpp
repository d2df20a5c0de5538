#include "platform/socket.h"

#include <sys/socket.h>

#include <utility>

#include "platform/posix/unique_fd.h"

namespace SMTPClientNS {

std::intptr_t OpenSocket(int family, int type, int protocol) noexcept {
    CUniqueFd opened(::socket(family, type | SOCK_CLOEXEC, protocol));
    return AwayFromStandardStreams(std::move(opened)).Release();
}

struct CFarewell::Watch {};  // Nothing to watch: the end is there at once.

CFarewell::CFarewell(std::intptr_t socket) noexcept {
    ::shutdown(static_cast<int>(socket), SHUT_RD);
}

CFarewell::~CFarewell() = default;

}  // namespace SMTPClientNS
