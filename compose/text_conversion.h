#ifndef COMPOSE_TEXT_CONVERSION_H
#define COMPOSE_TEXT_CONVERSION_H

#include <cstdint>
#include <string_view>

#include "platform/text_types.h"

namespace SMTPClientNS {

constexpr std::uint32_t SystemCodePage = 0;
constexpr std::uint32_t Utf8CodePage = 65001;

/// UTF-16 to the system code page, whose default character stands for what it lacks. Null leaves
/// target as it was, the empty text empties it.
void WideToAnsi(const char16_t *text, NarrowString &target);

/// The same as a value; empty for null.
NarrowString WideToAnsi(const char16_t *text);

/// Bytes up to the first 0 to UTF-16, from the system code page or from UTF-8. Null and empty input
/// leave target as it was.
void BytesToWide(const char *bytes, WideString &target, std::uint32_t codePage);

/// The index of the first unit above 127, -1 if there is none.
std::int32_t FindNonAscii(std::u16string_view text);

/// Null counts as the empty text.
inline bool IsEmpty(const char16_t *text) {
    return text == nullptr || *text == u'\0';
}

}  // namespace SMTPClientNS

#endif  // COMPOSE_TEXT_CONVERSION_H
