#include "log/log_file.h"

#include "compose/text_conversion.h"
#include "platform/file.h"

namespace SMTPClientNS {

void WriteFileLines(const ClientLog &client, const WideString &path, bool append) {
    const CExclusiveFile file =
        append && PathExists(path) ? CExclusiveFile::Append(path) : CExclusiveFile::Replace(path);
    if (!file.IsOpen()) {
        return;
    }
    ReadFileLines(client, [&file](std::string_view entry) { return file.Write(entry); });
}

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
