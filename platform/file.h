#ifndef PLATFORM_FILE_H
#define PLATFORM_FILE_H

#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>

#include "platform/text_types.h"

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

/// All bytes of a regular file, opened without sharing: the open fails while another open of the
/// file, by this library or a program that cooperates, holds an exclusive flock, and keeps such
/// an open from succeeding until the bytes are read.
///
/// None if the file cannot be opened so, is not regular (a pipe does not block the call), has
/// sizeLimit bytes or more, or cannot be read.
std::optional<NarrowString> ReadWholeFile(const WideString &path, std::uint64_t sizeLimit);

/// Owns an open file of the system's, locked or not. The lock goes before the file does.
class CFileHandle {
public:
    static constexpr std::intptr_t None = -1;

    CFileHandle() = default;
    explicit CFileHandle(std::intptr_t owned) noexcept : handle(owned) {}
    CFileHandle(CFileHandle &&other) noexcept : handle(std::exchange(other.handle, None)) {}
    CFileHandle &operator=(CFileHandle &&other) noexcept {
        std::swap(handle, other.handle);
        return *this;
    }
    CFileHandle(const CFileHandle &) = delete;
    CFileHandle &operator=(const CFileHandle &) = delete;
    ~CFileHandle() {
        if (*this) {
            Close();
        }
    }

    std::intptr_t Get() const noexcept { return handle; }
    explicit operator bool() const noexcept { return handle != None; }

private:
    void Close() const noexcept;

    std::intptr_t handle = None;
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
    CFileHandle file;
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
    CFileHandle file;
};

}  // namespace SMTPClientNS

#endif  // PLATFORM_FILE_H
