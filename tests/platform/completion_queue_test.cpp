#include "platform/completion_queue.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>

#include <functional>
#include <string>
#include <thread>

namespace SMTPClientNS {
namespace {

struct Callback final : IQueuedWork {
    void Run() override { callback(); }
    std::function<void()> callback;
};

void PostTo(CCompletionQueue &queue, std::function<void()> callback) {
    auto work = std::make_unique<Callback>();
    work->callback = std::move(callback);
    queue.Post(CCompletionQueue::MakeEntry(std::move(work)));
}

bool IsReadable(int descriptor) {
    pollfd state = {descriptor, POLLIN, 0};
    return ::poll(&state, 1, 0) == 1 && state.revents == POLLIN;
}

TEST(CompletionQueue, IsReadableExactlyWhileWorkWaits) {
    const std::shared_ptr<CCompletionQueue> queue = CCompletionQueue::ForThisThread();
    std::string ran;
    const auto post = [&](char letter) { PostTo(*queue, [&, letter] { ran += letter; }); };
    post('a');
    const int descriptor = queue->Descriptor();
    EXPECT_EQ(::fcntl(descriptor, F_GETFD), FD_CLOEXEC);
    EXPECT_TRUE(IsReadable(descriptor)) << "posted before the descriptor was there";
    std::thread(post, 'b').join();
    PostTo(*queue, [&] {
        EXPECT_FALSE(IsReadable(descriptor)) << "the last was taken out";
        post('c');
    });
    EXPECT_EQ(queue->Dispatch(), 3);
    EXPECT_EQ(ran, "ab") << "what is posted meanwhile waits for the next call";
    PostTo(*queue, [&] { EXPECT_EQ(queue->Dispatch(), 1); });
    post('d');
    EXPECT_TRUE(IsReadable(descriptor));
    EXPECT_EQ(queue->Dispatch(), 2) << "the inner call ran one";
    EXPECT_EQ(ran, "abcd");
    EXPECT_FALSE(IsReadable(queue->Descriptor()));
}

}  // namespace
}  // namespace SMTPClientNS
