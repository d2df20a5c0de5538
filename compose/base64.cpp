#include "compose/base64.h"

#include <array>
#include <cstdint>
#include <cstring>

namespace SMTPClientNS {
namespace {

constexpr std::string_view Alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr char Fill = '=';

constexpr std::size_t PairCount = std::size_t{1} << 12U;
using Pair = std::array<char, 2>;

/// Two characters for each 12 bits: half as many look-ups as one by one, and attachments of any
/// size pass here.
constexpr std::array<Pair, PairCount> MakePairs() {
    std::array<Pair, PairCount> pairs = {};
    for (std::size_t bits = 0; bits < PairCount; ++bits) {
        pairs[bits] = {Alphabet[bits >> 6U], Alphabet[bits & 0x3FU]};
    }
    return pairs;
}
constexpr std::array<Pair, PairCount> Pairs = MakePairs();

std::uint32_t ByteAt(std::string_view bytes, std::size_t at) {
    return static_cast<unsigned char>(bytes[at]);
}

/// One or two bytes, filled up with zero bits.
char *EncodeRest(std::string_view rest, char *target) {
    const std::uint32_t second = rest.size() > 1 ? ByteAt(rest, 1) : 0;
    const std::uint32_t bits = ByteAt(rest, 0) << 16U | second << 8U;
    std::memcpy(target, Pairs[bits >> 12U].data(), 2);
    target[2] = rest.size() > 1 ? Alphabet[bits >> 6U & 0x3FU] : Fill;
    target[3] = Fill;
    return target + 4;
}

}  // namespace

char *EncodeBase64(std::string_view bytes, char *target) noexcept {
    std::size_t at = 0;
    for (; at + 3 <= bytes.size(); at += 3) {
        const std::uint32_t bits =
            ByteAt(bytes, at) << 16U | ByteAt(bytes, at + 1) << 8U | ByteAt(bytes, at + 2);
        std::memcpy(target, Pairs[bits >> 12U].data(), 2);
        std::memcpy(target + 2, Pairs[bits & 0xFFFU].data(), 2);
        target += 4;
    }
    return at < bytes.size() ? EncodeRest(bytes.substr(at), target) : target;
}

NarrowString Base64Encode(std::string_view bytes) {
    NarrowString text(Base64Length(bytes.size()), Fill);
    EncodeBase64(bytes, text.data());
    return text;
}

}  // namespace SMTPClientNS
