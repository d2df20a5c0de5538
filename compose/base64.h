#ifndef COMPOSE_BASE64_H
#define COMPOSE_BASE64_H

#include <cstddef>
#include <string_view>

#include "platform/text_types.h"

namespace SMTPClientNS {

/// Characters that Base64 makes of so many bytes, the fill included.
constexpr std::size_t Base64Length(std::size_t bytes) {
    return (bytes + 2) / 3 * 4;
}

/// Writes Base64 (RFC 4648, section 4) in one unbroken run, without line ends: Base64Length
/// characters. "Man" gives "TWFu", "M" gives "TQ==". Gives the place behind the last.
char *EncodeBase64(std::string_view bytes, char *target) noexcept;

/// The same as a text.
NarrowString Base64Encode(std::string_view bytes);

}  // namespace SMTPClientNS

#endif  // COMPOSE_BASE64_H
