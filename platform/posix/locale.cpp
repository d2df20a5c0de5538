#include "platform/locale.h"

#include <langinfo.h>

#include <algorithm>
#include <clocale>
#include <cstdlib>

#include "platform/posix/codeset.h"

namespace SMTPClientNS {
namespace {

/// What the environment calls the user's locale for a category; empty for the one that every
/// system has, and if it names none.
NarrowString NamedLocale(const char *category) {
    for (const char *variable : {"LC_ALL", category, "LANG"}) {
        const char *value = std::getenv(variable);
        if (value != nullptr && *value != '\0') {
            return value;
        }
    }
    return {};
}

bool IsUnnamed(const NarrowString &locale) {
    return locale.empty() || locale == "C" || locale == "POSIX";
}

/// "ISO-8859-15" of "de_DE.ISO-8859-15@euro".
NarrowString CodesetOfName(const NarrowString &locale) {
    const std::size_t dot = locale.find('.');
    if (dot == NarrowString::npos) {
        return {};
    }
    return locale.substr(dot + 1, locale.find('@', dot) - dot - 1);
}

}  // namespace

/// From LC_ALL, LC_MESSAGES or LANG, the first that is set; empty for "C" and "POSIX".
WideString UserLocaleName() {
    NarrowString name = NamedLocale("LC_MESSAGES");
    name.resize(std::min(name.size(), name.find_first_of(".@")));
    if (IsUnnamed(name)) {
        return {};
    }
    std::replace(name.begin(), name.end(), '_', '-');
    return {name.begin(), name.end()};
}

NarrowString UserCodeset() {
    const NarrowString name = NamedLocale("LC_CTYPE");
    if (IsUnnamed(name)) {
        return {};
    }
    const locale_t installed = ::newlocale(LC_CTYPE_MASK, "", nullptr);
    if (installed == nullptr) {
        return CodesetOfName(name);
    }
    NarrowString codeset = ::nl_langinfo_l(CODESET, installed);
    ::freelocale(installed);
    return codeset;
}

}  // namespace SMTPClientNS
