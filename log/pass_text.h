#ifndef LOG_PASS_TEXT_H
#define LOG_PASS_TEXT_H

#include <cstddef>
#include <functional>
#include <string_view>
#include <vector>

#include "log/trace_rows.h"
#include "platform/thread_safety.h"

namespace SMTPClientNS {

/// Receives log entries one by one; gives false to be told no more.
using LogEntryReader = std::function<bool(std::string_view entry)>;

/// The last entry of a trace, followed by the result block of each log pass made since.
///
/// The entry of a pass is all that stands here when the pass is made. So the entries are prefixes
/// of this one text, and only their lengths are kept: a host that polls GetLogText would otherwise
/// hold a sum of all of them.
///
/// Any thread: several clients may make passes over the same trace.
class CPassText {
public:
    explicit CPassText(TraceText lastEntry = {}) : text(std::move(lastEntry)) {}
    CPassText(const CPassText &) = delete;
    CPassText &operator=(const CPassText &) = delete;

    /// Gives the number of the new pass, counted from 0. Without memory for it nothing changes.
    std::size_t AddPass(std::string_view resultBlock);

    /// The entries of the passes first to last, oldest first. False if the reader has stopped.
    bool ReadEntries(std::size_t first, std::size_t last, const LogEntryReader &read) const;

private:
    mutable CMutex mutex;
    TraceText text GUARDED_BY(mutex);
    std::vector<std::size_t> entryLengths GUARDED_BY(mutex);
};

}  // namespace SMTPClientNS

#endif  // LOG_PASS_TEXT_H
