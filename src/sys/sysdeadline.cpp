#include "sysdeadline.h"

#include "systrace.h"

#include <cerrno>

#include <sys/time.h>

bool SYS_ComputeDeadline(std::uint32_t timeoutMs, std::timespec &deadline)
{
    timeval now{};
    if (gettimeofday(&now, nullptr) != 0) {
        SYS_Trace(SYS_TRACE_ERRORS, "Cannot compute timeout (Time of day error: %s)!\n",
            SYS_ErrorText(errno));
        return false;
    }
    deadline.tv_sec = now.tv_sec + timeoutMs / 1000;
    long microseconds = static_cast<long>(timeoutMs % 1000) * 1000 + now.tv_usec;
    if (microseconds > 999'999) {
        microseconds -= 1'000'000;
        ++deadline.tv_sec;
    }
    deadline.tv_nsec = microseconds * 1000;
    return true;
}
