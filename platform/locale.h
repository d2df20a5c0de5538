#ifndef PLATFORM_LOCALE_H
#define PLATFORM_LOCALE_H

#include "platform/text_types.h"

namespace SMTPClientNS {

/// The language of the user's messages, as language and region: "ja-JP". From LC_ALL, LC_MESSAGES
/// or LANG, the first that is set; empty for "C" and "POSIX", and if none is set.
WideString UserLocaleName();

/// The codeset of the user's texts, as the system spells it. From LC_ALL, LC_CTYPE or LANG, without
/// a change to the locale of the process; empty for "C" and "POSIX", and if none is set or named.
NarrowString UserCodeset();

}  // namespace SMTPClientNS

#endif  // PLATFORM_LOCALE_H
