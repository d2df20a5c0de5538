#include "compose/encoded_file.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>
#include <utility>

#include "compose/base64.h"

namespace SMTPClientNS {
namespace {

constexpr std::size_t LineBytes = 57;  // That become a line of 76 characters.
constexpr std::string_view LineEnd = "\r\n";
constexpr std::size_t LineLength = Base64Length(LineBytes);
constexpr std::size_t LinesPerPiece = 1024;
constexpr std::size_t PieceSize = LinesPerPiece * LineBytes;

}  // namespace

struct CEncodedFile::Reading {
    Reading(CInputFile opened, std::uint64_t size) : file(std::move(opened)), bytesLeft(size) {}

    /// False if the file does not hold what is left of it, or holds more.
    bool ReadPiece() {
        const std::size_t wanted = std::min<std::uint64_t>(bytesLeft, PieceSize);
        const bool isLast = wanted == bytesLeft;
        const std::optional<std::size_t> count = file.Read(bytes.data(), wanted + (isLast ? 1 : 0));
        bytesLeft -= wanted;
        if (count == wanted) {
            EncodeLines({bytes.data(), wanted});
        }
        return count == wanted;
    }

    void EncodeLines(std::string_view rest) {
        char *end = text.data();
        while (!rest.empty()) {
            const std::string_view line = rest.substr(0, LineBytes);
            rest.remove_prefix(line.size());
            end = EncodeBase64(line, end);
            if (!rest.empty() || bytesLeft > 0) {
                end = std::copy(LineEnd.begin(), LineEnd.end(), end);
            }
        }
        encoded = {text.data(), static_cast<std::size_t>(end - text.data())};
    }

    const CInputFile file;
    std::uint64_t bytesLeft;
    std::string_view encoded;  ///< Of text, what has not been given yet.
    std::array<char, PieceSize + 1> bytes;
    std::array<char, LinesPerPiece *(LineLength + LineEnd.size())> text;
};

CEncodedFile::CEncodedFile(WideString filePath, std::uint64_t fileSize)
    : path(std::move(filePath)), size(fileSize) {}

CEncodedFile::~CEncodedFile() = default;

std::uint64_t CEncodedFile::EncodedSize(std::uint64_t fileSize) noexcept {
    const std::uint64_t length = Base64Length(fileSize);
    return length == 0 ? 0 : length + (length - 1) / LineLength * LineEnd.size();
}

std::optional<std::size_t> CEncodedFile::Read(char *target, std::size_t capacity) {
    std::size_t given = 0;
    while (given < capacity && !isAtEnd) {
        if (reading == nullptr && !Open()) {
            return std::nullopt;
        }
        if (reading->encoded.empty() && !reading->ReadPiece()) {
            reading.reset();
            return std::nullopt;
        }
        const std::size_t count = reading->encoded.copy(target + given, capacity - given);
        reading->encoded.remove_prefix(count);
        given += count;
        if (reading->encoded.empty() && reading->bytesLeft == 0) {
            Rewind();
            isAtEnd = true;
        }
    }
    return given;
}

void CEncodedFile::Rewind() noexcept {
    reading.reset();
    isAtEnd = false;
}

bool CEncodedFile::Open() {
    CInputFile file = CInputFile::Open(path);
    if (!file.IsOpen()) {
        return false;
    }
    reading = std::make_unique<Reading>(std::move(file), size);
    return true;
}

}  // namespace SMTPClientNS
