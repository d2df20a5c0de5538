#include "platform/file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/completion_queue.h"
#include "tests/support/host_tools.h"

namespace SMTPClientNS {

TEST(File, IsItsOwnersAloneAndShutsOthersOut) {
    const CTemporaryFolder folder;
    const WideString path = folder.WidePathOf("log");
    EXPECT_FALSE(CExclusiveFile::Append(path).IsOpen()) << "creates nothing";
    ::umask(0);
    {
        const int next = CUniqueFd(::dup(0)).Get();  // Free again, and the lowest that is.
        const CExclusiveFile file = CExclusiveFile::Replace(path);
        EXPECT_TRUE(file.Write("ab"));
        EXPECT_EQ(::fcntl(next, F_GETFD), FD_CLOEXEC);
        struct stat status = {};
        EXPECT_EQ(::fstat(next, &status), 0);
        EXPECT_EQ(status.st_mode, S_IFREG | 0600U);
        EXPECT_FALSE(CExclusiveFile::Replace(path).IsOpen() || ReadWholeFile(path, 100) ||
                     CExclusiveFile::Append(path).IsOpen());
        EXPECT_EQ(folder.Read("log"), "ab") << "emptied without the lock";
    }
    EXPECT_TRUE(CExclusiveFile::Append(path).Write("c"));
    EXPECT_EQ(ReadWholeFile(path, 4), "abc");
    EXPECT_FALSE(ReadWholeFile(path, 3));
    EXPECT_TRUE(CExclusiveFile::Replace(path).Write("d"));
    EXPECT_EQ(folder.Read("log"), "d");
}

}  // namespace SMTPClientNS
