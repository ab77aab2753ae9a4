#pragma once

#include "cancelsignal.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace OpenProbe {

/// Lets one operation at a time onto the probe and knows whether the probe is up.
///
/// One short mutex guards it all and is never held across a wait for the target, so asking for the
/// state costs next to nothing even while a transfer is running. An Open is told from the Closes
/// before it by a count: only a Close that comes after its start cancels it.
class OperationGate {
public:
    /// Marks the probe as down, cuts waiting readers short, and answers the mark of this Open, to
    /// be handed to ClearForOpen and SetUp.
    [[nodiscard]] std::uint64_t BeginOpen();

    /// Waits for the running operation to end. Leave() gives the gate back.
    void Enter();

    /// As Enter, but at most for that long. False when the gate was not had.
    [[nodiscard]] bool EnterWithin(std::chrono::milliseconds limit);

    /// As Enter for an operation that needs the probe: false, at once, when it is down or goes
    /// down.
    [[nodiscard]] bool EnterWhileUp();

    void Leave();

    /// With the gate held: forgets the cancels meant for others. False when this Open is cancelled.
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
