#pragma once

#include <memory>
#include <utility>

namespace dowsel {

// Lets an object hand its executor tasks that hold it weakly: a wrapped task that runs after
// the object is gone does nothing. The object must be destroyed on that same executor (or
// once it has stopped), so no task runs while the destructor does.
class Lifetime {
public:
    template <class F> auto guard(F task) const
    {
        return [alive = std::weak_ptr<const bool>(m_alive), task = std::move(task)]() mutable {
            if (alive.lock())
                task();
        };
    }

private:
    std::shared_ptr<const bool> m_alive = std::make_shared<const bool>(true);
};

} // namespace dowsel
