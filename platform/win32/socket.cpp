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
    explicit Watch(SOCKET ownSocket) noexcept : socket(ownSocket) {
        if (::CreateTimerQueueTimer(&timer, nullptr, &Watch::End, this, LongestAnswer, 0,
                                    WT_EXECUTEONLYONCE) == 0) {
            ::shutdown(socket, SD_BOTH);
        }
    }
    ~Watch() {
        if (timer != nullptr) {
            // Waits for End, if it is running.
            ::DeleteTimerQueueTimer(nullptr, timer, INVALID_HANDLE_VALUE);
        }
        ::closesocket(socket);
    }
    Watch(const Watch &) = delete;
    Watch &operator=(const Watch &) = delete;

private:
    static void CALLBACK End(void *watch, BOOLEAN /*hasTimedOut*/) {
        ::shutdown(static_cast<Watch *>(watch)->socket, SD_BOTH);
    }

    const SOCKET socket;
    HANDLE timer = nullptr;
};

CFarewell::CFarewell(std::intptr_t socket) noexcept {
    WSAPROTOCOL_INFOW information = {};
    if (::WSADuplicateSocketW(static_cast<SOCKET>(socket), ::GetCurrentProcessId(), &information) !=
        0) {
        return;
    }
    const SOCKET own = ::WSASocketW(FROM_PROTOCOL_INFO, FROM_PROTOCOL_INFO, FROM_PROTOCOL_INFO,
                                    &information, 0, WSA_FLAG_NO_HANDLE_INHERIT);
    watch.reset(new (std::nothrow) Watch(own));
    if (watch == nullptr) {
        ::shutdown(static_cast<SOCKET>(socket), SD_BOTH);
        ::closesocket(own);
    }
}

CFarewell::~CFarewell() = default;

}  // namespace SMTPClientNS
