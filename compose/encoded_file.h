#ifndef COMPOSE_ENCODED_FILE_H
#define COMPOSE_ENCODED_FILE_H

#include <cstdint>
#include <memory>
#include <optional>

#include "platform/file.h"
#include "platform/text_types.h"

namespace SMTPClientNS {

/// A file as it stands in a mail: Base64 in lines of 76 characters (RFC 2045, section 6.8), CR LF
/// between them and none after the last.
///
/// The file is open, and memory taken for it, from the first Read to the last.
class CEncodedFile {
public:
    /// size  what the file holds now, in bytes. A file that turns out to hold less, or more, cannot
    ///       be read.
    CEncodedFile(WideString filePath, std::uint64_t fileSize);
    ~CEncodedFile();
    CEncodedFile(CEncodedFile &&) = default;
    CEncodedFile &operator=(CEncodedFile &&) = delete;
    CEncodedFile(const CEncodedFile &) = delete;
    CEncodedFile &operator=(const CEncodedFile &) = delete;

    /// Bytes that Read gives in all for a file of this size.
    static std::uint64_t EncodedSize(std::uint64_t fileSize) noexcept;

    /// The next bytes, as many as there is room for; 0 at the end. None if the file cannot be read,
    /// or not to exactly its size: then the last bytes have not been given.
    std::optional<std::size_t> Read(char *target, std::size_t capacity);

    /// The next Read begins at the start.
    void Rewind() noexcept;

private:
    struct Reading;

    bool Open();

    WideString path;
    std::uint64_t size;
    std::unique_ptr<Reading> reading;  ///< Null while the file is closed.
    bool isAtEnd = false;
};

}  // namespace SMTPClientNS

#endif  // COMPOSE_ENCODED_FILE_H
