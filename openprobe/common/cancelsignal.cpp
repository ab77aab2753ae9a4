#include "cancelsignal.h"

#include "deadline.h"

#include <cerrno>
#include <cstdint>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace OpenProbe {

CancelSignal::CancelSignal()
    : m_descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
}

CancelSignal::~CancelSignal()
{
    if (m_descriptor >= 0)
        close(m_descriptor);
}

void CancelSignal::Raise() const noexcept
{
    const std::uint64_t one = 1;
    while (write(m_descriptor, &one, sizeof one) < 0 && errno == EINTR) { }
}

void CancelSignal::Clear() const noexcept
{
    std::uint64_t count = 0;
    while (read(m_descriptor, &count, sizeof count) < 0 && errno == EINTR) { }
}

bool CancelSignal::WaitFor(int timeoutMs) const noexcept
{
    const Deadline deadline = Deadline::After(std::chrono::milliseconds(timeoutMs));
    pollfd entry{m_descriptor, POLLIN, 0};
    for (;;) {
        const int ready = poll(&entry, 1, deadline.LeftMs());
        if (ready >= 0 || errno != EINTR)
            return ready > 0;
    }
}

} // namespace OpenProbe
