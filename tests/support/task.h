#ifndef TESTS_SUPPORT_TASK_H
#define TESTS_SUPPORT_TASK_H

#include <coroutine>
#include <exception>
#include <utility>

/// Owns a coroutine that starts at once.
class CTask {
public:
    struct promise_type {
        CTask get_return_object() {
            return CTask(std::coroutine_handle<promise_type>::from_promise(*this));
        }
        std::suspend_never initial_suspend() noexcept { return {}; }
        std::suspend_always final_suspend() noexcept { return {}; }
        void return_void() {}
        void unhandled_exception() { std::terminate(); }
    };

    explicit CTask(std::coroutine_handle<> owned) : handle(owned) {}
    ~CTask() {
        if (handle) {
            handle.destroy();
        }
    }
    CTask(CTask &&other) noexcept : handle(std::exchange(other.handle, nullptr)) {}
    CTask &operator=(CTask &&) = delete;
    CTask(const CTask &) = delete;
    CTask &operator=(const CTask &) = delete;

    bool IsDone() const { return handle.done(); }

private:
    std::coroutine_handle<> handle;
};

#endif  // TESTS_SUPPORT_TASK_H
