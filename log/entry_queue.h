#ifndef LOG_ENTRY_QUEUE_H
#define LOG_ENTRY_QUEUE_H

#include <list>
#include <string_view>

#include "log/trace_rows.h"

namespace SMTPClientNS {

/// Log entries on their way to a file, first in, first out. They are only ever written together, so
/// where one ends and the next begins is not kept: they stand one after the other in chunks. The
/// million entries of a large mail so take no memory but that of their bytes, and moving the queue
/// copies nothing.
class CEntryQueue {
public:
    using Chunks = std::list<TraceText>;

    /// Strong guarantee: without memory for it, nothing of the entry is taken.
    void Append(std::string_view entry);

    void Clear() noexcept { chunks.clear(); }

    /// The bytes of all entries, oldest first, cut at no particular places.
    const Chunks &Bytes() const noexcept { return chunks; }

private:
    Chunks chunks;
};

}  // namespace SMTPClientNS

#endif  // LOG_ENTRY_QUEUE_H
