#ifndef TESTS_SUPPORT_LOOPBACK_H
#define TESTS_SUPPORT_LOOPBACK_H

#include <cstddef>
#include <streambuf>
#include <thread>

namespace SMTPClientNS {

/// A listening socket, the caller's to close, on a port of the system's choice.
int ListenOnLoopback(int &port);

/// The next connection; -1 once the listener has been ended.
int AcceptConnection(int listener);

/// Ends the socket, and with it the thread that accepts its connections.
void EndListener(int listener, std::thread &acceptor);

void SendText(int connection, const char *text, std::size_t size);
/// 0 at the end.
std::size_t ReceiveText(int connection, char *target, std::size_t size);

void SendAtOnce(int socket);  ///< Each piece in a packet of its own.
void ResetWhenClosed(int socket);
void ShutDownSocket(int socket);
void CloseSocket(int socket);

/// Reads from a connection.
class CConnectionBuffer final : public std::streambuf {
public:
    explicit CConnectionBuffer(int from) : connection(from) {}

protected:
    int_type underflow() override {
        const std::size_t count = ReceiveText(connection, piece, sizeof piece);
        setg(piece, piece, piece + count);
        return count == 0 ? traits_type::eof() : traits_type::to_int_type(piece[0]);
    }

private:
    const int connection;
    char piece[16384];
};

}  // namespace SMTPClientNS

#endif  // TESTS_SUPPORT_LOOPBACK_H
