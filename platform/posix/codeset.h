#ifndef PLATFORM_POSIX_CODESET_H
#define PLATFORM_POSIX_CODESET_H

#include "platform/text_types.h"

namespace SMTPClientNS {

/// The codeset of the user's texts, as the system spells it. From LC_ALL, LC_CTYPE or LANG, without
/// a change to the locale of the process; empty for "C" and "POSIX", and if none is set or named.
NarrowString UserCodeset();

}  // namespace SMTPClientNS

#endif  // PLATFORM_POSIX_CODESET_H
