#include "platform/identity.h"

#include <sys/random.h>
#include <unistd.h>

#include <cerrno>

namespace SMTPClientNS {
namespace {

bool FillWithRandomBytes(std::array<unsigned char, 16> &bytes) {
    ssize_t count = -1;
    do {
        // Up to 256 bytes come whole or not at all.
        count = ::getrandom(bytes.data(), bytes.size(), 0);
    } while (count < 0 && errno == EINTR);
    return count == static_cast<ssize_t>(bytes.size());
}

}  // namespace

std::optional<Guid> MakeGuid() {
    std::array<unsigned char, 16> bytes = {};
    if (!FillWithRandomBytes(bytes)) {
        return std::nullopt;
    }
    const auto number = [&bytes](std::size_t at) {
        return static_cast<std::uint16_t>(bytes[at] << 8U | bytes[at + 1]);
    };
    Guid guid = {};
    guid.data1 = static_cast<std::uint32_t>(number(0)) << 16U | number(2);
    guid.data2 = number(4);
    guid.data3 = static_cast<std::uint16_t>((number(6) & 0x0FFFU) | 0x4000U);  // Version 4
    for (std::size_t i = 0; i < guid.data4.size(); ++i) {
        guid.data4[i] = bytes[8 + i];
    }
    guid.data4[0] = static_cast<std::uint8_t>((guid.data4[0] & 0x3FU) | 0x80U);  // RFC 4122
    return guid;
}

NarrowString ComputerName() {
    std::array<char, 256> name = {};
    if (::gethostname(name.data(), name.size() - 1) != 0) {
        return {};
    }
    const NarrowString full = name.data();
    return full.substr(0, full.find('.'));
}

}  // namespace SMTPClientNS
