#pragma once

#include "syssleep.h"

#include <atomic>

/// Lets any number of posters through, and lets the ending worker wait until none is inside.
///
/// The worker destroys the ring's mutex and event when it ends. A poster that had just read those
/// handles would use closed handles; posters therefore pass through here.
class PostGate {
public:
    /// Waits while the gate is closed, which takes the ending worker a few milliseconds at most.
    void Enter()
    {
        for (;;) {
            unsigned state = m_state.load(std::memory_order_relaxed);
            if ((state & kClosed) != 0)
                SYS_Sleep(1);
            else if (m_state.compare_exchange_weak(state, state + 1, std::memory_order_acquire))
                return;
        }
    }
    void Leave() { m_state.fetch_sub(1, std::memory_order_release); }
    /// Keeps further posters out and waits for those inside to leave.
    /// @param letGo  called again and again meanwhile: frees what a poster inside may wait for
    template <typename LetGo> void Close(LetGo letGo)
    {
        m_state.fetch_or(kClosed, std::memory_order_acq_rel);
        for (letGo(); m_state.load(std::memory_order_acquire) != kClosed; letGo())
            SYS_Sleep(1);
    }
    void Open() { m_state.fetch_and(~kClosed, std::memory_order_release); }

private:
    static constexpr unsigned kClosed = 0x8000'0000u;
    std::atomic<unsigned> m_state = 0; ///< the number of posters inside, and kClosed
};
