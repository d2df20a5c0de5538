#include "platform/file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/code_page.h"
#include "platform/posix/unique_fd.h"

namespace SMTPClientNS {
namespace {

NarrowString SystemPath(const WideString &path) {
    return WideToSystemCodePage(path);
}

/// Without blocking on a pipe that nobody has opened at its other end.
CUniqueFd OpenDescriptor(const WideString &path, int flags) {
    constexpr mode_t OwnerAlone = S_IRUSR | S_IWUSR;
    const NarrowString systemPath = SystemPath(path);
    int descriptor = -1;
    do {
        descriptor =
            ::open(systemPath.c_str(), flags | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, OwnerAlone);
    } while (descriptor < 0 && errno == EINTR);
    return AwayFromStandardStreams(CUniqueFd(descriptor));
}

CFileHandle OpenFile(const WideString &path, int flags) {
    return CFileHandle(OpenDescriptor(path, flags).Release());
}

int Descriptor(const CFileHandle &file) {
    return static_cast<int>(file.Get());
}

/// Fewer bytes than asked for are all that there are; none if they cannot be read.
std::optional<std::size_t> ReadUpTo(int descriptor, char *target, std::size_t size) {
    std::size_t filled = 0;
    while (filled < size) {
        const ssize_t count = ::read(descriptor, target + filled, size - filled);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            return std::nullopt;
        }
        if (count == 0) {
            break;
        }
        filled += static_cast<std::size_t>(count);
    }
    return filled;
}

/// A file system that knows no locks counts as one that nobody locks.
bool Lock(const CFileHandle &file, int kind) {
    return ::flock(Descriptor(file), kind | LOCK_NB) == 0 || errno != EWOULDBLOCK;
}

/// A write at the process's limit (RLIMIT_FSIZE) would send it SIGXFSZ; one that reaches the limit
/// is only cut short.
bool IsBelowSizeLimit(const CFileHandle &file) {
    struct rlimit limit = {};
    const off_t position = ::lseek(Descriptor(file), 0, SEEK_CUR);
    return position < 0 || ::getrlimit(RLIMIT_FSIZE, &limit) != 0 ||
           static_cast<rlim_t>(position) < limit.rlim_cur;
}

bool IsPipe(const CFileHandle &file) {
    struct stat status = {};
    return ::fstat(Descriptor(file), &status) != 0 || S_ISFIFO(status.st_mode);
}

bool Empty(const CFileHandle &file) {
    struct stat status = {};
    return ::fstat(Descriptor(file), &status) == 0 &&
           (!S_ISREG(status.st_mode) || ::ftruncate(Descriptor(file), 0) == 0);
}

}  // namespace

/// The child of a fork may hold the descriptor for much longer, and would keep the lock with it.
void CFileHandle::Close() const noexcept {
    ::flock(Descriptor(*this), LOCK_UN);
    CloseDescriptor(Descriptor(*this));
}

bool PathExists(const WideString &path) {
    struct stat status = {};
    return ::stat(SystemPath(path).c_str(), &status) == 0;
}

FileStatus GetFileStatus(const WideString &path) {
    struct stat status = {};
    if (::stat(SystemPath(path).c_str(), &status) != 0) {
        return {};
    }
    if (!S_ISREG(status.st_mode)) {
        return {FileKind::Special, 0};
    }
    return {FileKind::Regular, static_cast<std::uint64_t>(status.st_size)};
}

std::optional<NarrowString> ReadWholeFile(const WideString &path, std::uint64_t sizeLimit) {
    const CFileHandle file = OpenFile(path, O_RDONLY);
    struct stat status = {};
    // The size is asked under the lock: before, another program may still have been writing.
    if (!file || !Lock(file, LOCK_SH) || ::fstat(Descriptor(file), &status) != 0 ||
        !S_ISREG(status.st_mode) || static_cast<std::uint64_t>(status.st_size) >= sizeLimit) {
        return std::nullopt;
    }
    NarrowString content(static_cast<std::size_t>(status.st_size), '\0');
    const std::optional<std::size_t> filled =
        ReadUpTo(Descriptor(file), content.data(), content.size());
    if (!filled) {
        return std::nullopt;
    }
    content.resize(*filled);  // It may have been cut short since its size was asked.
    return content;
}

CInputFile CInputFile::Open(const WideString &path) {
    CInputFile result;
    CFileHandle file = OpenFile(path, O_RDONLY);
    struct stat status = {};
    if (file && ::fstat(Descriptor(file), &status) == 0 && S_ISREG(status.st_mode)) {
        result.file = std::move(file);
    }
    return result;
}

std::optional<std::size_t> CInputFile::Read(char *target, std::size_t size) const {
    return ReadUpTo(Descriptor(file), target, size);
}

CExclusiveFile CExclusiveFile::Replace(const WideString &path) {
    CExclusiveFile result;
    CFileHandle file = OpenFile(path, O_RDWR | O_CREAT);
    // Emptied only under the lock: whoever holds it may be writing.
    if (file && !IsPipe(file) && Lock(file, LOCK_EX) && Empty(file)) {
        result.file = std::move(file);
    }
    return result;
}

CExclusiveFile CExclusiveFile::Append(const WideString &path) {
    CExclusiveFile result;
    CFileHandle file = OpenFile(path, O_RDWR);
    if (file && Lock(file, LOCK_EX) && ::lseek(Descriptor(file), 0, SEEK_END) >= 0) {
        result.file = std::move(file);
    }
    return result;
}

bool CExclusiveFile::Write(std::string_view bytes) const {
    while (!bytes.empty()) {
        if (!IsBelowSizeLimit(file)) {
            return false;
        }
        const ssize_t count = ::write(Descriptor(file), bytes.data(), bytes.size());
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
