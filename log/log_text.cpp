#include "log/log_text.h"

#include "compose/text_conversion.h"

namespace SMTPClientNS {

WideString JoinLogLines(const ClientLog &client) {
    WideString text;
    for (const NarrowString &line : client.logLines) {
        WideString wide;
        BytesToWide(line.c_str(), wide, SystemCodePage);
        text += wide;
    }
    return text;
}

WideString LastLogLine(const ClientLog &client) {
    WideString text;
    if (!client.logLines.empty()) {
        BytesToWide(client.logLines.back().c_str(), text, SystemCodePage);
    }
    return text;
}

}  // namespace SMTPClientNS
