#ifndef PLATFORM_UTF8_H
#define PLATFORM_UTF8_H

#include <cstddef>
#include <string_view>

#include "platform/text_types.h"

namespace SMTPClientNS {

/// No UTF-16 unit takes more bytes than this in UTF-8.
constexpr std::size_t LongestUtf8PerUnit = 3;

/// What to do with a surrogate that is not half of a pair.
enum class LoneSurrogate { Stop, Drop, Replace };

struct Utf8Encoding {
    std::size_t written;  ///< Bytes.
    bool isWhole;         ///< False if a lone surrogate ended it.
};

/// UTF-16 to UTF-8, without a 0 behind it. Output has room for LongestUtf8PerUnit bytes a unit.
Utf8Encoding EncodeUtf8(std::u16string_view text, char *output, LoneSurrogate onLone);

/// UTF-8 to UTF-16. Each byte that is no part of a well-formed character becomes U+FFFD.
WideString DecodeUtf8(std::string_view bytes);

/// However iconv takes it: "UTF-8", "utf8".
bool IsUtf8Name(std::string_view charset);

}  // namespace SMTPClientNS

#endif  // PLATFORM_UTF8_H
