#ifndef PLATFORM_LOCALE_H
#define PLATFORM_LOCALE_H

#include "platform/text_types.h"

namespace SMTPClientNS {

/// The language of the user's messages, as language and region: "ja-JP". From LC_ALL, LC_MESSAGES
/// or LANG, the first that is set; empty for "C" and "POSIX", and if none is set.
WideString UserLocaleName();

}  // namespace SMTPClientNS

#endif  // PLATFORM_LOCALE_H
