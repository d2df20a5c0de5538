#include "log/entry_queue.h"

#include <gtest/gtest.h>

#include <string>

namespace SMTPClientNS {
namespace {

TEST(EntryQueue, KeepsManyEntriesInFewChunks) {
    CEntryQueue queue;
    std::string expected;
    for (int number = 0; number < 100000; ++number) {
        std::string entry = std::to_string(number) + "\n";
        entry.resize(number % 20000 == 7 ? 3U << 20U : entry.size(), '.');
        queue.Append(entry);
        expected += entry;
    }
    EXPECT_LE(queue.Bytes().size(), 40U);
    std::string joined;
    for (const TraceText &chunk : queue.Bytes()) {
        joined += chunk;
    }
    EXPECT_TRUE(joined == expected);  // Too long to be shown.
}

}  // namespace
}  // namespace SMTPClientNS
