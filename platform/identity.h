#ifndef PLATFORM_IDENTITY_H
#define PLATFORM_IDENTITY_H

#include <array>
#include <cstdint>
#include <optional>

#include "platform/text_types.h"

namespace SMTPClientNS {

/// A universally unique identifier (RFC 4122) in the fields of its text form.
struct Guid {
    std::uint32_t data1;
    std::uint16_t data2;
    std::uint16_t data3;
    std::array<std::uint8_t, 8> data4;
};

/// A fresh random (version 4) identifier; none if the system gives no random bytes.
std::optional<Guid> MakeGuid();

/// The host name up to its first dot; empty if the system gives none.
NarrowString ComputerName();

}  // namespace SMTPClientNS

#endif  // PLATFORM_IDENTITY_H
