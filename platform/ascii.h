#ifndef PLATFORM_ASCII_H
#define PLATFORM_ASCII_H

#include <algorithm>
#include <string_view>
#include <type_traits>

namespace SMTPClientNS {

/// The small letter for a capital of ASCII, whatever the locale. Anything else stays.
template <typename Unit>
constexpr Unit FoldAscii(Unit unit) {
    return unit >= 'A' && unit <= 'Z' ? static_cast<Unit>(unit + ('a' - 'A')) : unit;
}

/// Whether text is folded, but for capitals of ASCII in the place of small letters.
template <typename Unit>
bool FoldsTo(std::basic_string_view<Unit> text,
             std::common_type_t<std::basic_string_view<Unit>> folded) {
    return std::equal(text.begin(), text.end(), folded.begin(), folded.end(),
                      [](Unit unit, Unit small) { return FoldAscii(unit) == small; });
}

/// Whether every byte or unit is below 128.
template <typename Text>
bool IsAscii(const Text &text) {
    return std::all_of(text.begin(), text.end(), [](auto unit) { return (unit & ~0x7F) == 0; });
}

}  // namespace SMTPClientNS

#endif  // PLATFORM_ASCII_H
