#include "connectionstate.h"

using Phase = ConnectionPhase;

void ConnectionState::StartAnew()
{
    const std::lock_guard lock(m_mutex);
    ++m_generation;
    m_phase = Phase::Closed;
    m_probeOpen = false;
}

void ConnectionState::Want()
{
    const std::lock_guard lock(m_mutex);
    m_wanted = m_generation;
}

void ConnectionState::Supersede()
{
    const std::lock_guard lock(m_mutex);
    ++m_generation;
}

ConnectionGeneration ConnectionState::Generation() const
{
    const std::lock_guard lock(m_mutex);
    return m_generation;
}

bool ConnectionState::IsWanted() const
{
    const std::lock_guard lock(m_mutex);
    return m_wanted == m_generation;
}

bool ConnectionState::IsOfPresent() const
{
    const std::lock_guard lock(m_mutex);
    return m_opened == m_generation;
}

bool ConnectionState::IsUpToDate() const
{
    const std::lock_guard lock(m_mutex);
    return m_phase == Phase::Connected && m_opened == m_generation && m_wanted == m_generation;
}

ConnectionPhase ConnectionState::Phase() const
{
    const std::lock_guard lock(m_mutex);
    return m_phase;
}

bool ConnectionState::IsConnected() const
{
    const std::lock_guard lock(m_mutex);
    return m_phase == Phase::Connected || m_phase == Phase::Closing;
}

bool ConnectionState::IsMemoryWindowWanted() const
{
    const std::lock_guard lock(m_mutex);
    return m_windowFor == m_generation;
}

bool ConnectionState::IsProbeOpen() const
{
    const std::lock_guard lock(m_mutex);
    return m_probeOpen;
}

bool ConnectionState::IsTargetReachable() const
{
    const std::lock_guard lock(m_mutex);
    return m_phase == Phase::Connected;
}

std::optional<ConnectionGeneration> ConnectionState::BeginOpening()
{
    const std::lock_guard lock(m_mutex);
    if (m_wanted != m_generation)
        return std::nullopt;
    m_phase = Phase::Opening;
    m_opened = m_generation;
    return m_generation;
}

void ConnectionState::NoteOpened(bool open)
{
    const std::lock_guard lock(m_mutex);
    m_probeOpen = open;
}

ConnectOutcome ConnectionState::EndOpening(ConnectionGeneration generation, bool isTargetConnected)
{
    const std::lock_guard lock(m_mutex);
    m_phase = m_probeOpen ? Phase::Lost : Phase::Closed;
    if (generation != m_generation)
        return ConnectOutcome::OutOfDate;
    if (!m_probeOpen)
        return ConnectOutcome::NotOpen;
    if (!isTargetConnected)
        return ConnectOutcome::NoTarget;
    m_phase = Phase::Connected;
    if (m_windowFor == generation)
        return ConnectOutcome::Reconnected;
    m_windowFor = generation;
    return ConnectOutcome::Connected;
}

void ConnectionState::BeginClosing()
{
    const std::lock_guard lock(m_mutex);
    m_probeOpen = false;
    // A connection that was never shown as connected must not be shown so while it is closed.
    if (m_phase == Phase::Connected)
        m_phase = Phase::Closing;
}

void ConnectionState::EndClosing()
{
    const std::lock_guard lock(m_mutex);
    m_phase = Phase::Closed;
}

CheckOutcome ConnectionState::NoteCheck(bool isTargetConnected)
{
    const std::lock_guard lock(m_mutex);
    const bool changed = isTargetConnected != (m_phase == Phase::Connected);
    const bool lostWhileShown = !isTargetConnected && m_windowFor == m_generation;
    if (isTargetConnected)
        m_phase = Phase::Connected;
    else
        m_phase = m_probeOpen ? Phase::Lost : Phase::Closed;
    if (lostWhileShown)
        m_windowFor = 0;
    return {changed, lostWhileShown};
}
