#ifndef LOG_LOG_FILE_H
#define LOG_LOG_FILE_H

#include "log/log_stores.h"
#include "platform/text_types.h"

namespace SMTPClientNS {

/// Writes all of the client's fileLines, which stay, to a file: at its end if append is set and it
/// exists, else in place of what it holds. The file is locked for as long as it is open.
///
/// A file that cannot be opened, locked or written loses them without a report.
void WriteFileLines(const ClientLog &client, const WideString &path, bool append);

}  // namespace SMTPClientNS

#endif  // LOG_LOG_FILE_H
