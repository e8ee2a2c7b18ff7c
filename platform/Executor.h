#pragma once

#include <functional>
#include <future>
#include <memory>
#include <type_traits>
#include <utility>

namespace dowsel {

// A place where work runs: a worker's serial queue or the main thread.
class Executor {
public:
    virtual ~Executor() = default;
    virtual void post(std::function<void()> task) = 0;
};

// Runs `work` on `executor` and hands back its result through a future. For callers on a
// worker that may block; the main thread uses `postThen` instead.
template <class F>
auto postWithResult(Executor &executor, F work) -> std::future<std::invoke_result_t<F>>
{
    using R = std::invoke_result_t<F>;
    auto promise = std::make_shared<std::promise<R>>();
    auto future = promise->get_future();
    executor.post([promise, work = std::move(work)]() mutable {
        if constexpr (std::is_void_v<R>) {
            work();
            promise->set_value();
        } else {
            promise->set_value(work());
        }
    });
    return future;
}

// Runs `work` on `executor`, then `done(result)` on `replyOn`.
template <class F, class Done>
void postThen(Executor &executor, F work, Executor &replyOn, Done done)
{
    executor.post([work = std::move(work), done = std::move(done), &replyOn]() mutable {
        if constexpr (std::is_void_v<std::invoke_result_t<F>>) {
            work();
            replyOn.post(std::move(done));
        } else {
            replyOn.post([done = std::move(done), result = work()]() mutable { done(std::move(result)); });
        }
    });
}

} // namespace dowsel
