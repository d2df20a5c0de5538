#ifndef PLATFORM_FILE_VERSION_H
#define PLATFORM_FILE_VERSION_H

#include <cstdint>
#include <optional>

namespace SMTPClientNS {

/// Tells a file from whatever stood at its path before: another file, or other bytes in it.
struct FileVersion {
    std::uint64_t device = 0;
    std::uint64_t number = 0;
    std::int64_t size = 0;
    std::int64_t modified = 0;  ///< Nanoseconds since 1970.
    std::int64_t changed = 0;   ///< As well; nobody can set it.
    bool isSettled = false;     ///< Changed long enough ago that a new change gives a new version.

    bool operator==(const FileVersion &other) const noexcept {
        return device == other.device && number == other.number && size == other.size &&
               modified == other.modified && changed == other.changed;
    }
};

/// The version of the regular file that a path leads to; none if there is no such file. The path is
/// spelt as the C library's functions take it.
std::optional<FileVersion> GetFileVersion(const char *systemPath) noexcept;

}  // namespace SMTPClientNS

#endif  // PLATFORM_FILE_VERSION_H
