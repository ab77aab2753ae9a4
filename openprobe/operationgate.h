#pragma once

#include "cancelsignal.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace OpenProbe {

/// Allows one operation at a time on the probe, and holds whether the probe is up.
///
/// One mutex guards it all and is never held across a wait for the target, so the state can be read
/// quickly even during a transfer. A count distinguishes an Open from the Closes before it: only a
/// Close that comes after its start cancels it.
class OperationGate {
public:
    /// Marks the probe as down and ends the waits of readers.
    /// @return the mark of this Open, for ClearForOpen and SetUp
    [[nodiscard]] std::uint64_t BeginOpen();

    /// Waits for the running operation to end. Leave() gives the gate back.
    void Enter();

    /// As Enter, but waits for that long at most. False when the gate is still taken.
    [[nodiscard]] bool EnterWithin(std::chrono::milliseconds limit);

    /// As Enter for an operation that needs the probe: false, at once, when it is down or goes
    /// down.
    [[nodiscard]] bool EnterWhileUp();

    void Leave();

    /// With the gate held: clears the cancels of earlier operations. False when this Open is
    /// cancelled.
    [[nodiscard]] bool ClearForOpen(std::uint64_t mark);

    /// With the gate held: the probe is up from now on. False when this Open is cancelled.
    [[nodiscard]] bool SetUp(std::uint64_t mark);

    /// The link was lost: down, without cancelling anything.
    void SetDown();

    /// Down, and every wait inside the library ends at once.
    void Cancel();

    /// Calls the function under the short mutex, with whether the probe is up.
    template <typename Function> auto WithState(Function function)
    {
        const std::lock_guard lock(m_mutex);
        return function(m_up);
    }

    [[nodiscard]] const CancelSignal &Cancelled() const { return m_cancel; }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    CancelSignal m_cancel;
    std::uint64_t m_closes = 0;
    bool m_busy = false;
    bool m_up = false;
};

} // namespace OpenProbe
