#ifndef PLATFORM_CODE_PAGE_H
#define PLATFORM_CODE_PAGE_H

#include <string_view>

#include "platform/text_types.h"

namespace SMTPClientNS {

/// The system code page is the codeset of the user's locale, looked up at first use, without a
/// change to the locale of the process. The "C" and "POSIX" locales count as UTF-8.
///
/// Any thread may call any of these. None fails: what cannot be converted is replaced.

/// UTF-16 to the system code page. A character that the code page lacks, or a lone surrogate,
/// becomes "?", in UTF-8 U+FFFD.
NarrowString WideToSystemCodePage(std::u16string_view text);

/// The system code page to UTF-16. Each byte that cannot be decoded becomes U+FFFD.
WideString SystemCodePageToWide(std::string_view bytes);

/// UTF-8 to UTF-16, with U+FFFD as above.
WideString Utf8ToWide(std::string_view bytes);

}  // namespace SMTPClientNS

#endif  // PLATFORM_CODE_PAGE_H
