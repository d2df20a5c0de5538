#include "log/pass_text.h"

namespace SMTPClientNS {

std::size_t CPassText::AddPass(std::string_view resultBlock) {
    const CLock lock(mutex);
    entryLengths.push_back(text.size() + resultBlock.size());
    try {
        text += resultBlock;
    } catch (...) {
        entryLengths.pop_back();
        throw;
    }
    return entryLengths.size() - 1;
}

bool CPassText::ReadEntries(std::size_t first, std::size_t last, const LogEntryReader &read) const {
    TraceText longest;
    std::vector<std::size_t> lengths;
    {
        const CLock lock(mutex);
        longest = text.substr(0, entryLengths[last]);
        lengths = entryLengths;
    }
    // Read without the lock: it may be written to a slow disk.
    for (std::size_t pass = first; pass <= last; ++pass) {
        if (!read(std::string_view(longest).substr(0, lengths[pass]))) {
            return false;
        }
    }
    return true;
}

}  // namespace SMTPClientNS
