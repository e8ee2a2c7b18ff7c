#pragma once

#include "platform/Executor.h"

#include <memory>

namespace dowsel {

// Owns a piece of mutable state and lets only its executor touch it. Every call runs to
// completion before the next starts, in the order the calls arrive.
template <class State>
class Actor {
public:
    Actor(Executor &executor, std::unique_ptr<State> state)
        : m_executor(executor), m_state(std::move(state))
    {
    }

    // Result through a future: for callers on other workers, which may wait for it.
    template <class F>
    auto call(F work)
    {
        return postWithResult(m_executor, [this, work = std::move(work)]() mutable { return work(*m_state); });
    }

    // Result delivered to `done` on `replyOn` (usually the main thread).
    template <class F, class Done>
    void call(F work, Executor &replyOn, Done done)
    {
        postThen(
            m_executor, [this, work = std::move(work)]() mutable { return work(*m_state); }, replyOn,
            std::move(done));
    }

    template <class F>
    void send(F work)
    {
        m_executor.post([this, work = std::move(work)]() mutable { work(*m_state); });
    }

    Executor &executor() { return m_executor; }
    // Direct access, for code already running on the actor's executor and for set-up.
    State &unsafeState() { return *m_state; }

private:
    Executor &m_executor;
    std::unique_ptr<State> m_state;
};

} // namespace dowsel
