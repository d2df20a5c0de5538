#ifndef PLATFORM_LOCALE_H
#define PLATFORM_LOCALE_H

#include "platform/text_types.h"

namespace SMTPClientNS {

/// The language of the user's messages, as language and region: "ja-JP". Empty if the system names
/// none.
WideString UserLocaleName();

}  // namespace SMTPClientNS

#endif  // PLATFORM_LOCALE_H
