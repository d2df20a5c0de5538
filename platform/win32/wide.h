#ifndef PLATFORM_WIN32_WIDE_H
#define PLATFORM_WIN32_WIDE_H

#include "platform/text_types.h"

namespace SMTPClientNS {

static_assert(sizeof(wchar_t) == sizeof(char16_t));

/// Our text as the system's calls take it.
inline const wchar_t *SystemWide(const char16_t *text) noexcept {
    return reinterpret_cast<const wchar_t *>(text);
}

}  // namespace SMTPClientNS

#endif  // PLATFORM_WIN32_WIDE_H
