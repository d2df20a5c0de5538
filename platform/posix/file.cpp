#include "platform/file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/code_page.h"

namespace SMTPClientNS {
namespace {

NarrowString SystemPath(const WideString &path) {
    return WideToSystemCodePage(path);
}

/// Without blocking on a pipe that nobody has opened at its other end.
CLockedFd OpenFile(const WideString &path, int flags) {
    constexpr mode_t OwnerAlone = S_IRUSR | S_IWUSR;
    const NarrowString systemPath = SystemPath(path);
    int descriptor = -1;
    do {
        descriptor =
            ::open(systemPath.c_str(), flags | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, OwnerAlone);
    } while (descriptor < 0 && errno == EINTR);
    return CLockedFd(AwayFromStandardStreams(CUniqueFd(descriptor)));
}

/// A file system that knows no locks counts as one that nobody locks.
bool Lock(const CLockedFd &file, int kind) {
    return ::flock(file.Get(), kind | LOCK_NB) == 0 || errno != EWOULDBLOCK;
}

/// A write at the process's limit (RLIMIT_FSIZE) would send it SIGXFSZ; one that reaches the limit
/// is only cut short.
bool IsBelowSizeLimit(const CLockedFd &file) {
    struct rlimit limit = {};
    const off_t position = ::lseek(file.Get(), 0, SEEK_CUR);
    return position < 0 || ::getrlimit(RLIMIT_FSIZE, &limit) != 0 ||
           static_cast<rlim_t>(position) < limit.rlim_cur;
}

bool IsPipe(const CLockedFd &file) {
    struct stat status = {};
    return ::fstat(file.Get(), &status) != 0 || S_ISFIFO(status.st_mode);
}

bool Empty(const CLockedFd &file) {
    struct stat status = {};
    return ::fstat(file.Get(), &status) == 0 &&
           (!S_ISREG(status.st_mode) || ::ftruncate(file.Get(), 0) == 0);
}

}  // namespace

CLockedFd::~CLockedFd() {
    if (descriptor) {
        ::flock(descriptor.Get(), LOCK_UN);
    }
}

bool PathExists(const WideString &path) {
    struct stat status = {};
    return ::stat(SystemPath(path).c_str(), &status) == 0;
}

bool IsSpecialFile(const WideString &path) {
    struct stat status = {};
    return ::stat(SystemPath(path).c_str(), &status) == 0 && !S_ISREG(status.st_mode);
}

std::optional<NarrowString> ReadWholeFile(const WideString &path, std::uint64_t sizeLimit) {
    const CLockedFd file = OpenFile(path, O_RDONLY);
    struct stat status = {};
    // Its size under the lock: who has held it may have been writing.
    if (!file || !Lock(file, LOCK_SH) || ::fstat(file.Get(), &status) != 0 ||
        !S_ISREG(status.st_mode) || static_cast<std::uint64_t>(status.st_size) >= sizeLimit) {
        return std::nullopt;
    }
    NarrowString content(static_cast<std::size_t>(status.st_size), '\0');
    std::size_t filled = 0;
    while (filled < content.size()) {
        const ssize_t count = ::read(file.Get(), content.data() + filled, content.size() - filled);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            return std::nullopt;
        }
        if (count == 0) {  // Cut short since its size was asked.
            break;
        }
        filled += static_cast<std::size_t>(count);
    }
    content.resize(filled);
    return content;
}

CExclusiveFile CExclusiveFile::Replace(const WideString &path) {
    CExclusiveFile result;
    CLockedFd file = OpenFile(path, O_RDWR | O_CREAT);
    // Emptied only under the lock: who holds it may be writing.
    if (file && !IsPipe(file) && Lock(file, LOCK_EX) && Empty(file)) {
        result.file = std::move(file);
    }
    return result;
}

CExclusiveFile CExclusiveFile::Append(const WideString &path) {
    CExclusiveFile result;
    CLockedFd file = OpenFile(path, O_RDWR);
    if (file && Lock(file, LOCK_EX) && ::lseek(file.Get(), 0, SEEK_END) >= 0) {
        result.file = std::move(file);
    }
    return result;
}

bool CExclusiveFile::Write(std::string_view bytes) const {
    while (!bytes.empty()) {
        if (!IsBelowSizeLimit(file)) {
            return false;
        }
        const ssize_t count = ::write(file.Get(), bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

}  // namespace SMTPClientNS
