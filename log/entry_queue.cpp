#include "log/entry_queue.h"

#include <algorithm>
#include <iterator>

namespace SMTPClientNS {
namespace {

constexpr std::size_t FirstChunkSize = std::size_t{4} << 10U;
constexpr std::size_t LargestChunkSize = std::size_t{1} << 20U;

}  // namespace

void CEntryQueue::Append(std::string_view entry) {
    const std::size_t room = chunks.empty() ? 0 : chunks.back().capacity() - chunks.back().size();
    const std::string_view head = entry.substr(0, std::min(room, entry.size()));
    const std::string_view tail = entry.substr(head.size());
    if (!tail.empty()) {
        const std::size_t next = chunks.empty() ? FirstChunkSize : chunks.back().capacity() * 2;
        TraceText chunk;
        chunk.reserve(std::max(std::min(next, LargestChunkSize), tail.size()));
        chunk += tail;
        chunks.push_back(std::move(chunk));
        if (!head.empty()) {
            *std::prev(chunks.end(), 2) += head;
        }
    } else if (!head.empty()) {
        chunks.back() += head;
    }
}

}  // namespace SMTPClientNS
