#ifndef EXAMPLES_TASK_H
#define EXAMPLES_TASK_H

#include <coroutine>
#include <exception>

/// A coroutine that starts at once. Nobody owns it: whoever made it calls handle.destroy().
struct CTask {
    struct promise_type {
        CTask get_return_object() {
            return {std::coroutine_handle<promise_type>::from_promise(*this)};
        }
        std::suspend_never initial_suspend() noexcept { return {}; }
        std::suspend_always final_suspend() noexcept { return {}; }
        void return_void() {}
        void unhandled_exception() { std::terminate(); }
    };

    std::coroutine_handle<> handle;
};

#endif  // EXAMPLES_TASK_H
