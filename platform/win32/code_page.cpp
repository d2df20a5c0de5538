#include "platform/code_page.h"

#include "platform/ascii.h"
#include "platform/process.h"
#include "platform/utf8.h"
#include "platform/win32/wide.h"

namespace SMTPClientNS {
namespace {

/// The calls count in int: longer text goes piece by piece.
constexpr std::size_t LargestPiece = 1U << 20U;

bool IsHighSurrogate(char16_t unit) {
    return (unit & 0xFC00U) == 0xD800;
}

}  // namespace

NarrowString WideToSystemCodePage(std::u16string_view text) {
    NarrowString bytes;
    bytes.reserve(text.size() * LongestUtf8PerUnit);  // Growing would leave copies of secrets.
    while (!text.empty()) {
        std::u16string_view piece = text.substr(0, LargestPiece);
        if (piece.size() < text.size() && IsHighSurrogate(piece.back())) {
            piece.remove_suffix(1);  // Its other half is in the next one.
        }
        text.remove_prefix(piece.size());
        const wchar_t *const wide = reinterpret_cast<const wchar_t *>(piece.data());
        const int units = static_cast<int>(piece.size());
        const int size =
            ::WideCharToMultiByte(CP_ACP, 0, wide, units, nullptr, 0, nullptr, nullptr);
        const std::size_t before = bytes.size();
        bytes.resize(before + static_cast<std::size_t>(size));
        ::WideCharToMultiByte(CP_ACP, 0, wide, units, bytes.data() + before, size, nullptr,
                              nullptr);
    }
    return bytes;
}

WideString SystemCodePageToWide(std::string_view bytes) {
    if (::GetACP() == CP_UTF8) {
        return DecodeUtf8(bytes);
    }
    WideString text(bytes.size(), u'\0');  // No text has more units than bytes.
    std::size_t size = 0;
    while (!bytes.empty()) {
        std::size_t length = 0;  // Of the piece, which ends with a whole character.
        while (length < bytes.size() && length < LargestPiece) {
            const bool isLead = ::IsDBCSLeadByte(static_cast<BYTE>(bytes[length])) != 0;
            length += isLead && length + 1 < bytes.size() ? 2U : 1U;
        }
        const int units = ::MultiByteToWideChar(CP_ACP, 0, bytes.data(), static_cast<int>(length),
                                                reinterpret_cast<wchar_t *>(text.data() + size),
                                                static_cast<int>(length));
        size += static_cast<std::size_t>(units);
        bytes.remove_prefix(length);
    }
    text.resize(size);
    return text;
}

WideString Utf8ToWide(std::string_view bytes) {
    return DecodeUtf8(bytes);
}

}  // namespace SMTPClientNS
