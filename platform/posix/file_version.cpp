#include "platform/file_version.h"

#include <sys/stat.h>

#include <ctime>

namespace SMTPClientNS {
namespace {

constexpr std::int64_t NanosecondsPerSecond = 1'000'000'000;

std::int64_t Nanoseconds(const struct timespec &time) {
    return time.tv_sec * NanosecondsPerSecond + time.tv_nsec;
}

}  // namespace

std::optional<FileVersion> GetFileVersion(const char *systemPath) noexcept {
    // Times of files are as coarse as 2 s on some file systems.
    constexpr std::int64_t LongestTick = 3 * NanosecondsPerSecond;
    struct stat status = {};
    struct timespec now = {};
    if (::stat(systemPath, &status) != 0 || !S_ISREG(status.st_mode) ||
        ::clock_gettime(CLOCK_REALTIME, &now) != 0) {
        return std::nullopt;
    }
    FileVersion version;
    version.device = status.st_dev;
    version.number = status.st_ino;
    version.size = status.st_size;
    version.modified = Nanoseconds(status.st_mtim);
    version.changed = Nanoseconds(status.st_ctim);
    version.isSettled = Nanoseconds(now) - version.changed > LongestTick;
    return version;
}

}  // namespace SMTPClientNS
