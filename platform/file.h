#ifndef PLATFORM_FILE_H
#define PLATFORM_FILE_H

#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>

#include "platform/text_types.h"
#include "platform/unique_fd.h"

namespace SMTPClientNS {

// Paths are UTF-16; how the system spells them is its affair.

/// Something exists at the path, of whatever kind.
bool PathExists(const WideString &path);

enum class FileKind {
    Missing,
    Regular,
    Special,  ///< A folder, a pipe, a device.
};

struct FileStatus {
    FileKind kind = FileKind::Missing;
    std::uint64_t size = 0;  ///< Of a regular file, in bytes.
};

FileStatus GetFileStatus(const WideString &path);

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

/// All bytes of a regular file, opened without sharing: the open fails while another open of the
/// file, by this library or a program that cooperates, holds an exclusive flock, and keeps such
/// an open from succeeding until the bytes are read.
///
/// None if the file cannot be opened so, is not regular (a pipe does not block the call), has
/// sizeLimit bytes or more, or cannot be read.
std::optional<NarrowString> ReadWholeFile(const WideString &path, std::uint64_t sizeLimit);

/// An open file, locked or not, whose lock goes before the descriptor does: the child of a fork may
/// hold the descriptor for much longer, and would keep the lock with it.
class CLockedFd {
public:
    CLockedFd() = default;
    explicit CLockedFd(CUniqueFd owned) noexcept : descriptor(std::move(owned)) {}
    CLockedFd(CLockedFd &&) = default;
    CLockedFd &operator=(CLockedFd &&) = default;
    CLockedFd(const CLockedFd &) = delete;
    CLockedFd &operator=(const CLockedFd &) = delete;
    ~CLockedFd();

    int Get() const noexcept { return descriptor.Get(); }
    explicit operator bool() const noexcept { return static_cast<bool>(descriptor); }

private:
    CUniqueFd descriptor;
};

/// A regular file that is open for reading; others may write to it meanwhile.
class CInputFile {
public:
    /// Not open if there is no regular file at the path, or it cannot be opened.
    static CInputFile Open(const WideString &path);

    bool IsOpen() const noexcept { return static_cast<bool>(file); }

    /// The next bytes: as many as are asked for, or fewer at the end of the file. None if they
    /// cannot be read.
    std::optional<std::size_t> Read(char *target, std::size_t size) const;

private:
    CUniqueFd file;
};

/// A file that is open for writing under an exclusive flock, taken without waiting.
class CExclusiveFile {
public:
    /// Creates the file, readable and writable for its owner alone, or empties it.
    static CExclusiveFile Replace(const WideString &path);

    /// Opens an existing file at its end.
    static CExclusiveFile Append(const WideString &path);

    bool IsOpen() const noexcept { return static_cast<bool>(file); }

    /// Writes all bytes. False if some were not written: a full disk, the process's limit of a
    /// file's size, a pipe that nobody empties.
    bool Write(std::string_view bytes) const;

private:
    CLockedFd file;
};

}  // namespace SMTPClientNS

#endif  // PLATFORM_FILE_H
