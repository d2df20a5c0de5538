#include <winsock2.h>

#include <cstdio>
#include <cstdlib>

#include "tests/support/loopback.h"

namespace SMTPClientNS {
namespace {

SOCKET Socket(int number) {
    return static_cast<SOCKET>(number);
}

}  // namespace

int ListenOnLoopback(int &port) {
    WSADATA data = {};
    ::WSAStartup(MAKEWORD(2, 2), &data);
    const SOCKET listener = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    int size = sizeof address;
    auto *const generic = reinterpret_cast<sockaddr *>(&address);
    if (::bind(listener, generic, size) != 0 || ::listen(listener, SOMAXCONN) != 0 ||
        ::getsockname(listener, generic, &size) != 0) {
        std::perror("listening on loopback");
        std::abort();
    }
    port = ntohs(address.sin_port);
    return static_cast<int>(listener);
}

int AcceptConnection(int listener) {
    return static_cast<int>(::accept(Socket(listener), nullptr, nullptr));
}

void EndListener(int listener, std::thread &acceptor) {
    ::closesocket(Socket(listener));
    acceptor.join();
}

void SendText(int connection, const char *text, std::size_t size) {
    ::send(Socket(connection), text, static_cast<int>(size), 0);
}

// A thread that is blocked in recv may sleep through a shutdown of the socket by another.
std::size_t ReceiveText(int connection, char *target, std::size_t size) {
    const SOCKET socket = Socket(connection);
    u_long isNonBlocking = 1;
    ::ioctlsocket(socket, static_cast<long>(FIONBIO), &isNonBlocking);
    int count = -1;
    while ((count = ::recv(socket, target, static_cast<int>(size), 0)) < 0 &&
           ::WSAGetLastError() == WSAEWOULDBLOCK) {
        fd_set readable = {1, {socket}};
        timeval pause = {0, 20000};
        ::select(0, &readable, nullptr, nullptr, &pause);
    }
    isNonBlocking = 0;
    ::ioctlsocket(socket, static_cast<long>(FIONBIO), &isNonBlocking);
    return count < 0 ? 0 : static_cast<std::size_t>(count);
}

void SendAtOnce(int socket) {
    const BOOL atOnce = TRUE;
    ::setsockopt(Socket(socket), IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char *>(&atOnce),
                 sizeof atOnce);
}

void ResetWhenClosed(int socket) {
    const linger atOnce = {1, 0};
    ::setsockopt(Socket(socket), SOL_SOCKET, SO_LINGER, reinterpret_cast<const char *>(&atOnce),
                 sizeof atOnce);
}

void ShutDownSocket(int socket) {
    ::shutdown(Socket(socket), SD_BOTH);
}

void CloseSocket(int socket) {
    ::closesocket(Socket(socket));
}

}  // namespace SMTPClientNS
