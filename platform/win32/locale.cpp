#include "platform/locale.h"

namespace SMTPClientNS {

WideString UserLocaleName() {
    wchar_t name[LOCALE_NAME_MAX_LENGTH] = {};
    ::GetUserDefaultLocaleName(name, LOCALE_NAME_MAX_LENGTH);
    return reinterpret_cast<const char16_t *>(name);
}

}  // namespace SMTPClientNS
