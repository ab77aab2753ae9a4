#pragma once

#include <chrono>
#include <semaphore>

/// Where threads of a test meet. It uses the standard library's semaphore, because the thread
/// sanitizer cannot see what the distribution's Qt orders.
class TestSemaphore {
public:
    void Release() { m_semaphore.release(); }
    void Acquire() { m_semaphore.acquire(); }
    /// @return whether count permits came, each within the limit; only a failing test waits so long
    [[nodiscard]] bool Acquire(unsigned count, std::chrono::milliseconds limit)
    {
        for (unsigned i = 0; i < count; ++i) {
            if (!m_semaphore.try_acquire_for(limit))
                return false;
        }
        return true;
    }

private:
    std::counting_semaphore<> m_semaphore{0};
};
