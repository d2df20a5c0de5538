#ifndef PLATFORM_TEXT_TYPES_H
#define PLATFORM_TEXT_TYPES_H

#include <string>

namespace SMTPClientNS {

/// UTF-16: all text inside the library.
using WideString = std::u16string;

/// Bytes on their way out: text in the system code page or in a named charset.
using NarrowString = std::string;

}  // namespace SMTPClientNS

#endif  // PLATFORM_TEXT_TYPES_H
