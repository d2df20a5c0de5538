#include "platform/socket.h"

#include <chrono>
#include <new>

namespace SMTPClientNS {
namespace {

/// Long enough for a server on the other side of the earth.
constexpr DWORD LongestAnswer = 2000;  // Milliseconds

}  // namespace

std::intptr_t OpenSocket(int family, int type, int protocol) noexcept {
    return static_cast<std::intptr_t>(::WSASocketW(
        family, type, protocol, nullptr, 0, WSA_FLAG_OVERLAPPED | WSA_FLAG_NO_HANDLE_INHERIT));
}

/// Closing one direction does not end a wait on this system, and closing both at once loses the
/// farewell. So both are closed a while later, at a handle of our own: the number of the socket
/// itself may be another's by then.
struct CFarewell::Watch {
    SOCKET socket;
    HANDLE timer;

    static void CALLBACK End(void *watch, BOOLEAN /*hasTimedOut*/) {
        ::shutdown(static_cast<Watch *>(watch)->socket, SD_BOTH);
    }
};

CFarewell::CFarewell(std::intptr_t socket) noexcept {
    WSAPROTOCOL_INFOW information = {};
    if (::WSADuplicateSocketW(static_cast<SOCKET>(socket), ::GetCurrentProcessId(), &information) !=
        0) {
        return;
    }
    const SOCKET own = ::WSASocketW(FROM_PROTOCOL_INFO, FROM_PROTOCOL_INFO, FROM_PROTOCOL_INFO,
                                    &information, 0, WSA_FLAG_NO_HANDLE_INHERIT);
    watch = new (std::nothrow) Watch{own, nullptr};
    if (watch == nullptr || ::CreateTimerQueueTimer(&watch->timer, nullptr, &Watch::End, watch,
                                                    LongestAnswer, 0, WT_EXECUTEONLYONCE) == 0) {
        ::shutdown(own, SD_BOTH);
    }
}

CFarewell::~CFarewell() {
    if (watch != nullptr) {
        if (watch->timer != nullptr) {
            // Waits for End, if it is running.
            ::DeleteTimerQueueTimer(nullptr, watch->timer, INVALID_HANDLE_VALUE);
        }
        ::closesocket(watch->socket);
        delete watch;
    }
}

}  // namespace SMTPClientNS
