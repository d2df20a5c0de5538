#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "tests/support/loopback.h"

namespace SMTPClientNS {

int ListenOnLoopback(int &port) {
    const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto *const generic = reinterpret_cast<sockaddr *>(&address);
    if (::bind(listener, generic, size) != 0 || ::listen(listener, SOMAXCONN) != 0 ||
        ::getsockname(listener, generic, &size) != 0) {
        std::perror("listening on loopback");
        std::abort();
    }
    port = ntohs(address.sin_port);
    return listener;
}

int AcceptConnection(int listener) {
    return ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
}

void EndListener(int listener, std::thread &acceptor) {
    ::shutdown(listener, SHUT_RDWR);
    acceptor.join();
    ::close(listener);
}

void SendText(int connection, const char *text, std::size_t size) {
    ::send(connection, text, size, MSG_NOSIGNAL);
}

std::size_t ReceiveText(int connection, char *target, std::size_t size) {
    const ssize_t count = ::recv(connection, target, size, 0);
    return count < 0 ? 0 : static_cast<std::size_t>(count);
}

void SendAtOnce(int socket) {
    const int atOnce = 1;
    ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &atOnce, sizeof atOnce);
}

void ResetWhenClosed(int socket) {
    const linger atOnce = {1, 0};
    ::setsockopt(socket, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
}

void ShutDownSocket(int socket) {
    ::shutdown(socket, SHUT_RDWR);
}

void CloseSocket(int socket) {
    ::close(socket);
}

}  // namespace SMTPClientNS
