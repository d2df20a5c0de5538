#ifndef PLATFORM_ASCII_H
#define PLATFORM_ASCII_H

#include <algorithm>
#include <string_view>

namespace SMTPClientNS {

/// The small letter for a capital of ASCII, whatever the locale. Anything else stays.
template <typename Unit>
constexpr Unit FoldAscii(Unit unit) {
    return unit >= 'A' && unit <= 'Z' ? static_cast<Unit>(unit + ('a' - 'A')) : unit;
}

/// Whether text is folded, but for capitals of ASCII in the place of small letters.
template <typename Text>
bool FoldsTo(const Text &text, std::string_view folded) {
    return std::equal(text.begin(), text.end(), folded.begin(), folded.end(),
                      [](auto unit, char letter) { return FoldAscii(unit) == letter; });
}

/// Whether every byte or unit is below 128.
template <typename Text>
bool IsAscii(const Text &text) {
    return std::all_of(text.begin(), text.end(), [](auto unit) { return (unit & ~0x7F) == 0; });
}

}  // namespace SMTPClientNS

#endif  // PLATFORM_ASCII_H
