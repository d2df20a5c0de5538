#include "platform/local_time.h"

namespace SMTPClientNS {

LocalTime GetLocalTime() {
    SYSTEMTIME now = {};
    ::GetLocalTime(&now);
    return {now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond};
}

}  // namespace SMTPClientNS
