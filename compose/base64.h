#ifndef COMPOSE_BASE64_H
#define COMPOSE_BASE64_H

#include <string_view>

#include "platform/text_types.h"

namespace SMTPClientNS {

/// Base64 (RFC 4648, section 4) in one unbroken run, without line ends. "Man" gives "TWFu", "M"
/// gives "TQ==".
NarrowString Base64Encode(std::string_view bytes);

}  // namespace SMTPClientNS

#endif  // COMPOSE_BASE64_H
