#include "platform/file.h"

#include <algorithm>

#include "platform/win32/wide.h"

namespace SMTPClientNS {
namespace {

constexpr DWORD Unshared = 0;  // Neither we nor another program may have the file open besides.
constexpr DWORD Shared = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
constexpr std::size_t LargestPiece = 1U << 30U;  // The calls count in 32 bits.

CFileHandle OpenFile(const WideString &path, DWORD access, DWORD sharing, DWORD how) {
    return CFileHandle(reinterpret_cast<std::intptr_t>(
        ::CreateFileW(SystemWide(path.c_str()), access, sharing, nullptr, how, 0, nullptr)));
}

HANDLE Handle(const CFileHandle &file) {
    return reinterpret_cast<HANDLE>(file.Get());
}

std::optional<std::uint64_t> SizeOf(const CFileHandle &file) {
    LARGE_INTEGER size = {};
    if (::GetFileType(Handle(file)) != FILE_TYPE_DISK ||
        ::GetFileSizeEx(Handle(file), &size) == 0) {
        return std::nullopt;
    }
    return static_cast<std::uint64_t>(size.QuadPart);
}

/// Fewer bytes than asked for are all that there are; none if they cannot be read.
std::optional<std::size_t> ReadUpTo(const CFileHandle &file, char *target, std::size_t size) {
    std::size_t filled = 0;
    while (filled < size) {
        const auto wanted = static_cast<DWORD>(std::min(size - filled, LargestPiece));
        DWORD count = 0;
        if (::ReadFile(Handle(file), target + filled, wanted, &count, nullptr) == 0) {
            return std::nullopt;
        }
        if (count == 0) {
            break;
        }
        filled += count;
    }
    return filled;
}

}  // namespace

void CFileHandle::Close() const noexcept {
    ::CloseHandle(Handle(*this));
}

bool PathExists(const WideString &path) {
    return ::GetFileAttributesW(SystemWide(path.c_str())) != INVALID_FILE_ATTRIBUTES;
}

FileStatus GetFileStatus(const WideString &path) {
    if (!PathExists(path)) {
        return {};
    }
    // Asks for no data, so that it succeeds on files that others hold unshared. A folder cannot be
    // opened this way.
    const CFileHandle file = OpenFile(path, FILE_READ_ATTRIBUTES, Shared, OPEN_EXISTING);
    const std::optional<std::uint64_t> size = file ? SizeOf(file) : std::nullopt;
    return size ? FileStatus{FileKind::Regular, *size} : FileStatus{FileKind::Special, 0};
}

std::optional<NarrowString> ReadWholeFile(const WideString &path, std::uint64_t sizeLimit) {
    const CFileHandle file = OpenFile(path, GENERIC_READ, Unshared, OPEN_EXISTING);
    const std::optional<std::uint64_t> size = file ? SizeOf(file) : std::nullopt;
    if (!size || *size >= sizeLimit) {
        return std::nullopt;
    }
    NarrowString content(static_cast<std::size_t>(*size), '\0');
    if (!ReadUpTo(file, content.data(), content.size())) {
        return std::nullopt;
    }
    return content;
}

CInputFile CInputFile::Open(const WideString &path) {
    CInputFile result;
    CFileHandle file = OpenFile(path, GENERIC_READ, Shared, OPEN_EXISTING);
    if (file && SizeOf(file)) {
        result.file = std::move(file);
    }
    return result;
}

std::optional<std::size_t> CInputFile::Read(char *target, std::size_t size) const {
    return ReadUpTo(file, target, size);
}

CExclusiveFile CExclusiveFile::Replace(const WideString &path) {
    CExclusiveFile result;
    result.file = OpenFile(path, GENERIC_READ | GENERIC_WRITE, Unshared, CREATE_ALWAYS);
    return result;
}

CExclusiveFile CExclusiveFile::Append(const WideString &path) {
    CExclusiveFile result;
    CFileHandle file = OpenFile(path, GENERIC_READ | GENERIC_WRITE, Unshared, OPEN_EXISTING);
    LONG high = 0;
    if (file && (::SetFilePointer(Handle(file), 0, &high, FILE_END) != INVALID_SET_FILE_POINTER ||
                 ::GetLastError() == NO_ERROR)) {
        result.file = std::move(file);
    }
    return result;
}

bool CExclusiveFile::Write(std::string_view bytes) const {
    while (!bytes.empty()) {
        const auto wanted = static_cast<DWORD>(std::min(bytes.size(), LargestPiece));
        DWORD count = 0;
        if (::WriteFile(Handle(file), bytes.data(), wanted, &count, nullptr) == 0 || count == 0) {
            return false;
        }
        bytes.remove_prefix(count);
    }
    return true;
}

}  // namespace SMTPClientNS
