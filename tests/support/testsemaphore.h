#pragma once

#include <chrono>
#include <semaphore>

/// Where threads of a test meet. Made of the standard library's semaphore, whose ordering the
/// thread sanitizer sees, which it does not inside the distribution's Qt.
class TestSemaphore {
public:
    void Release() { m_semaphore.release(); }
    void Acquire() { m_semaphore.acquire(); }
    /// @return whether count permits came, each within the limit; only a failure waits that long
    [[nodiscard]] bool Acquire(unsigned count, std::chrono::milliseconds limit)
    {
        for (unsigned i = 0; i < count; ++i) {
            if (!m_semaphore.try_acquire_for(limit))
                return false;
        }
        return true;
    }
    /// Takes every permit that is there.
    void Drain()
    {
        while (m_semaphore.try_acquire()) { }
    }

private:
    std::counting_semaphore<> m_semaphore{0};
};
