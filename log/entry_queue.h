#ifndef LOG_ENTRY_QUEUE_H
#define LOG_ENTRY_QUEUE_H

#include <list>
#include <string_view>

#include "log/trace_rows.h"

namespace SMTPClientNS {

/// Log entries, first in, first out, on their way to a file. Nothing reads one by itself, so that
/// their borders are not kept: they lie one behind the other in chunks, which costs a large mail's
/// million entries no memory beside their bytes, and which move with the queue uncopied.
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
