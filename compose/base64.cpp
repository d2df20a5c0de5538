#include "compose/base64.h"

#include <cstdint>

namespace SMTPClientNS {
namespace {

constexpr std::string_view Alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

}  // namespace

NarrowString Base64Encode(std::string_view bytes) {
    NarrowString text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
        const std::string_view group = bytes.substr(at, 3);
        std::uint32_t bits = 0;
        for (std::size_t i = 0; i < 3; ++i) {
            bits = bits << 8U | (i < group.size() ? static_cast<unsigned char>(group[i]) : 0U);
        }
        for (std::size_t i = 0; i < 4; ++i) {
            text += i <= group.size() ? Alphabet[bits >> (18U - 6U * i) & 0x3FU] : '=';
        }
    }
    return text;
}

}  // namespace SMTPClientNS
