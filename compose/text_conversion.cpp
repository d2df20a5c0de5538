#include "compose/text_conversion.h"

#include <algorithm>

#include "platform/code_page.h"

namespace SMTPClientNS {

void WideToAnsi(const char16_t *text, NarrowString &target) {
    if (text != nullptr) {
        target = WideToSystemCodePage(text);
    }
}

NarrowString WideToAnsi(const char16_t *text) {
    NarrowString narrow;
    WideToAnsi(text, narrow);
    return narrow;
}

void BytesToWide(const char *bytes, WideString &target, std::uint32_t codePage) {
    if (bytes == nullptr || *bytes == '\0') {
        return;
    }
    target = codePage == Utf8CodePage ? Utf8ToWide(bytes) : SystemCodePageToWide(bytes);
}

std::int32_t FindNonAscii(std::u16string_view text) {
    const auto *const found =
        std::find_if(text.begin(), text.end(), [](char16_t unit) { return unit > 127; });
    return found == text.end() ? -1 : static_cast<std::int32_t>(found - text.begin());
}

}  // namespace SMTPClientNS
