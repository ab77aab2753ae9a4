#pragma once

#include "sysmutex.h"

/// Holds a mutex for the length of a block. A mutex that cannot be locked (null, closed) is not
/// released either.
class [[nodiscard]] SysLock {
public:
    explicit SysLock(SYS_MUTEX_HANDLE mutex)
        : m_mutex(SYS_WaitForMutexForever(mutex) == SYS_WAIT_OK ? mutex : nullptr)
    {
    }
    ~SysLock()
    {
        if (m_mutex)
            SYS_ReleaseMutex(m_mutex);
    }
    SysLock(const SysLock &) = delete;
    SysLock &operator=(const SysLock &) = delete;

    [[nodiscard]] bool IsLocked() const { return m_mutex != nullptr; }

private:
    SYS_MUTEX_HANDLE m_mutex;
};
