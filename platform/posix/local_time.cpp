#include "platform/local_time.h"

#include <ctime>

namespace SMTPClientNS {

LocalTime GetLocalTime() {
    const time_t now = ::time(nullptr);
    struct tm parts = {};
    ::localtime_r(&now, &parts);
    return {parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday,
            parts.tm_hour,        parts.tm_min,     parts.tm_sec};
}

}  // namespace SMTPClientNS
