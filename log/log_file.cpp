#include "log/log_file.h"

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

}  // namespace SMTPClientNS
