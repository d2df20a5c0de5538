#include "platform/posix/unique_fd.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "platform/cancellation.h"

namespace SMTPClientNS {

void CloseDescriptor(int descriptor) noexcept {
    const CUncancellable untilClosed;
    const int reported = errno;
    ::close(descriptor);  // Not repeated after EINTR: the number is free by then.
    errno = reported;
}

CUniqueFd AwayFromStandardStreams(CUniqueFd opened) noexcept {
    if (!opened || opened.Get() > STDERR_FILENO) {
        return opened;
    }
    return CUniqueFd(::fcntl(opened.Get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

}  // namespace SMTPClientNS
