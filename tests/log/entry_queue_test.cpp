#include "log/entry_queue.h"

#include <gtest/gtest.h>

#include <string>

namespace SMTPClientNS {
namespace {

TEST(EntryQueue, KeepsManyEntriesInFewChunksAndMovesThemUncopied) {
    CEntryQueue queue;
    std::string expected;
    for (int number = 0; number < 100000; ++number) {
        std::string entry = std::to_string(number) + "\n";
        entry.resize(number % 20000 == 7 ? 3U << 20U : entry.size(), '.');
        queue.Append(entry);
        expected += entry;
    }
    EXPECT_LE(queue.Bytes().size(), 40U);
    CEntryQueue target;
    target.Append("first ");
    const char *const bytes = queue.Bytes().front().data();
    target.Append(std::move(queue));
    EXPECT_EQ(std::next(target.Bytes().begin())->data(), bytes);
    target.Append("last");
    std::string joined;
    for (const TraceText &chunk : target.Bytes()) {
        joined += chunk;
    }
    EXPECT_TRUE(joined == "first " + expected + "last");  // Too long to be shown.
}

}  // namespace
}  // namespace SMTPClientNS
