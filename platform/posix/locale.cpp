#include "platform/locale.h"

#include <algorithm>
#include <cstdlib>

namespace SMTPClientNS {

WideString UserLocaleName() {
    for (const char *variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char *value = std::getenv(variable);
        if (value == nullptr || *value == '\0') {
            continue;
        }
        NarrowString name = value;
        name.resize(std::min(name.size(), name.find_first_of(".@")));
        if (name == "C" || name == "POSIX") {
            return {};
        }
        std::replace(name.begin(), name.end(), '_', '-');
        return {name.begin(), name.end()};
    }
    return {};
}

}  // namespace SMTPClientNS
