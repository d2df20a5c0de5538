#include "platform/socket.h"

#include <sys/socket.h>

namespace SMTPClientNS {

void StopReceiving(int socket) {
    ::shutdown(socket, SHUT_RD);
}

}  // namespace SMTPClientNS
