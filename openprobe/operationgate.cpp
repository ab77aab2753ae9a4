#include "operationgate.h"

namespace OpenProbe {

std::uint64_t OperationGate::BeginOpen()
{
    const std::lock_guard lock(m_mutex);
    m_up = false;
    m_changed.notify_all();
    return m_closes;
}

void OperationGate::Enter()
{
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return !m_busy; });
    m_busy = true;
}

bool OperationGate::EnterWithin(std::chrono::milliseconds limit)
{
    std::unique_lock lock(m_mutex);
    if (!m_changed.wait_for(lock, limit, [this] { return !m_busy; }))
        return false;
    m_busy = true;
    return true;
}

bool OperationGate::EnterWhileUp()
{
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return !m_busy || !m_up; });
    if (!m_up)
        return false;
    m_busy = true;
    return true;
}

void OperationGate::Leave()
{
    const std::lock_guard lock(m_mutex);
    m_busy = false;
    m_changed.notify_all();
}

bool OperationGate::ClearForOpen(std::uint64_t mark)
{
    const std::lock_guard lock(m_mutex);
    if (m_closes != mark)
        return false;
    m_cancel.Clear();
    return true;
}

bool OperationGate::SetUp(std::uint64_t mark)
{
    const std::lock_guard lock(m_mutex);
    m_up = m_closes == mark;
    return m_up;
}

void OperationGate::SetDown()
{
    const std::lock_guard lock(m_mutex);
    m_up = false;
    m_changed.notify_all();
}

void OperationGate::Cancel()
{
    const std::lock_guard lock(m_mutex);
    m_up = false;
    ++m_closes;
    m_cancel.Raise();
    m_changed.notify_all();
}

} // namespace OpenProbe
