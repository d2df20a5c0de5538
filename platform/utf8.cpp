#include "platform/utf8.h"

#include <utility>

#include "platform/ascii.h"

namespace SMTPClientNS {
namespace {

constexpr char32_t Replacement = 0xFFFD;
constexpr std::size_t BlockSize = 32;  // Units that are looked at together.

bool IsHighSurrogate(char32_t unit) {
    return (unit & 0xFC00U) == 0xD800;
}

bool IsLowSurrogate(char32_t unit) {
    return (unit & 0xFC00U) == 0xDC00;
}

/// Copies units for as long as whole blocks of them are ASCII. The plain loops become vector code.
const char16_t *CopyAsciiBlocks(const char16_t *in, const char16_t *end, char *&out) {
    while (static_cast<std::size_t>(end - in) >= BlockSize) {
        unsigned int seen = 0;
        for (std::size_t i = 0; i < BlockSize; ++i) {
            seen |= in[i];
        }
        if (seen >= 0x80) {
            break;
        }
        for (std::size_t i = 0; i < BlockSize; ++i) {
            out[i] = static_cast<char>(in[i]);
        }
        in += BlockSize;
        out += BlockSize;
    }
    return in;
}

char Continuation(char32_t bits) {
    return static_cast<char>(0x80U | (bits & 0x3FU));
}

/// A character of two bytes.
char *PutTwo(char32_t unit, char *out) {
    out[0] = static_cast<char>(0xC0U | unit >> 6U);
    out[1] = Continuation(unit);
    return out + 2;
}

/// A character of three bytes.
char *PutThree(char32_t unit, char *out) {
    out[0] = static_cast<char>(0xE0U | unit >> 12U);
    out[1] = Continuation(unit >> 6U);
    out[2] = Continuation(unit);
    return out + 3;
}

char *PutPair(char32_t high, char32_t low, char *out) {
    const char32_t character = 0x10000U + ((high & 0x3FFU) << 10U) + (low & 0x3FFU);
    out[0] = static_cast<char>(0xF0U | character >> 18U);
    out[1] = Continuation(character >> 12U);
    out[2] = Continuation(character >> 6U);
    out[3] = Continuation(character);
    return out + 4;
}

/// The smallest character for a count of continuation bytes: a smaller one is overlong.
constexpr char32_t SmallestFor[] = {0, 0x80, 0x800, 0x10000};

/// The continuation bytes that a first byte asks for; 0 if it is no first byte of several.
std::size_t ContinuationsBehind(unsigned char first) {
    if (first < 0xC0 || first > 0xF7) {
        return 0;
    }
    return first < 0xE0 ? 1 : first < 0xF0 ? 2 : 3;
}

/// The non-ASCII character that bytes begin with, and the count of its bytes; U+FFFD and 1 if
/// there is none.
std::pair<char32_t, std::size_t> FirstCharacter(std::string_view bytes) {
    constexpr std::pair<char32_t, std::size_t> Undecodable = {Replacement, 1};
    const auto first = static_cast<unsigned char>(bytes.front());
    const std::size_t count = ContinuationsBehind(first);
    if (count == 0 || bytes.size() <= count) {
        return Undecodable;
    }
    char32_t character = first & (0x3FU >> count);
    for (std::size_t i = 1; i <= count; ++i) {
        const auto next = static_cast<unsigned char>(bytes[i]);
        if ((next & 0xC0U) != 0x80) {
            return Undecodable;
        }
        character = character << 6U | (next & 0x3FU);
    }
    const bool isSurrogate = character >= 0xD800 && character <= 0xDFFF;
    if (character < SmallestFor[count] || character > 0x10FFFF || isSurrogate) {
        return Undecodable;
    }
    return {character, count + 1};
}

}  // namespace

Utf8Encoding EncodeUtf8(std::u16string_view text, char *output, LoneSurrogate onLone) {
    const char16_t *in = text.data();
    const char16_t *const end = in + text.size();
    char *out = output;
    while (in != end) {
        const char32_t unit = *in;
        if (unit < 0x80) {
            in = CopyAsciiBlocks(in, end, out);
            while (in != end && *in < 0x80) {
                *out++ = static_cast<char>(*in++);
            }
            continue;
        }
        ++in;
        if (unit < 0x800) {
            out = PutTwo(unit, out);
        } else if (!IsHighSurrogate(unit) && !IsLowSurrogate(unit)) {
            out = PutThree(unit, out);
        } else if (IsHighSurrogate(unit) && in != end && IsLowSurrogate(*in)) {
            out = PutPair(unit, *in++, out);
        } else if (onLone == LoneSurrogate::Replace) {
            out = PutThree(Replacement, out);
        } else if (onLone == LoneSurrogate::Stop) {
            return {static_cast<std::size_t>(out - output), false};
        }
    }
    return {static_cast<std::size_t>(out - output), true};
}

WideString DecodeUtf8(std::string_view bytes) {
    WideString text(bytes.size(), u'\0');  // No text has more units than bytes.
    std::size_t size = 0;
    while (!bytes.empty()) {
        const auto first = static_cast<unsigned char>(bytes.front());
        if (first < 0x80) {
            text[size++] = first;
            bytes.remove_prefix(1);
            continue;
        }
        const auto [character, length] = FirstCharacter(bytes);
        bytes.remove_prefix(length);
        if (character < 0x10000) {
            text[size++] = static_cast<char16_t>(character);
        } else {
            text[size++] = static_cast<char16_t>(0xD800U + ((character - 0x10000U) >> 10U));
            text[size++] = static_cast<char16_t>(0xDC00U + (character & 0x3FFU));
        }
    }
    text.resize(size);
    return text;
}

bool IsUtf8Name(std::string_view charset) {
    return FoldsTo(charset, "utf-8") || FoldsTo(charset, "utf8");
}

}  // namespace SMTPClientNS
