#include "systrace.h"

#include <array>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <syslog.h>

namespace {

void WriteNothing(const char * /*text*/) { }

/// Publishes a function pointer alone: no ordering needed.
constinit std::atomic<SysTraceSink> sinkInUse{&WriteNothing};

int ReadDebugLevel()
{
    openlog("SYS", LOG_CONS | LOG_PID, LOG_USER);
    const char *const text = std::getenv("SYS_DEBUG_LEVEL");
    return text ? static_cast<int>(std::strtol(text, nullptr, 10)) : 0;
}

} // namespace

int SYS_DebugLevel()
{
    static const int level = ReadDebugLevel();
    return level;
}

void SYS_SetTraceSink(SysTraceSink sink)
{
    sinkInUse.store(sink ? sink : &WriteNothing, std::memory_order_relaxed);
}

void SYS_Trace(int level, const char *format, ...)
{
    if (SYS_DebugLevel() < level)
        return;
    std::array<char, 2200> text; // the longest message holds a path of 2047 characters
    std::va_list args;
    va_start(args, format);
    std::vsnprintf(text.data(), text.size(), format, args);
    va_end(args);
    sinkInUse.load(std::memory_order_relaxed)(text.data());
}

const char *SYS_ErrorText(int error)
{
    return std::strerror(error);
}
