#include "probesession.h"

#include "appstate.h"
#include "workeractions.h"

#include "probeloader.h"
#include "ranvoapi.h"
#include "syssleep.h"
#include "systhread.h"

#include "memtypes.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <limits>

namespace {

/// How long the ending process waits for the library to close the probe.
constexpr std::uint32_t kCloseLimitMs = 2000;

/// Publishes that a thread of PROBE_CloseAtEnd() has come back from the library.
std::atomic<std::uint32_t> g_closers = 0;

ConnectionState &Connection()
{
    return APP_State().connection;
}

constexpr int kFailed = -1;
constexpr auto kReadable = static_cast<std::uint8_t>(ByteStatus::Valid);
constexpr auto kUnreadable = static_cast<std::uint8_t>(ByteStatus::ReadFailed);

/// The library counts in 32 bits; a longer request is cut.
std::uint32_t CountForLibrary(std::uint64_t length)
{
    return static_cast<std::uint32_t>(
        std::min<std::uint64_t>(length, std::numeric_limits<std::uint32_t>::max()));
}

int ReadMemory(std::uint64_t address, std::uint64_t length, std::uint8_t accessWidth,
    const char * /*zoneName*/, std::uint8_t *data, std::uint8_t *status)
{
    int result = kFailed;
    if (Connection().IsTargetReachable()) {
        result = RANVOARM_ReadMemEx(
            static_cast<std::uint32_t>(address), CountForLibrary(length), data, accessWidth);
        if (result == kFailed)
            WORKER_PostConnectionCheck();
    }
    // A library that claims more than was asked for must not lead past the buffers.
    const auto readBytes
        = std::min<std::uint64_t>(static_cast<std::uint64_t>(std::max(result, 0)), length);
    std::memset(status, kReadable, readBytes);
    std::memset(status + readBytes, kUnreadable, length - readBytes);
    return result;
}

int WriteMemory(std::uint64_t address, std::uint64_t length, std::uint8_t accessWidth,
    const char * /*zoneName*/, const std::uint8_t *data)
{
    if (!Connection().IsTargetReachable())
        return kFailed;
    const int result = RANVOARM_WriteMemEx(
        static_cast<std::uint32_t>(address), CountForLibrary(length), data, accessWidth);
    if (result == kFailed)
        WORKER_PostConnectionCheck();
    return result;
}

} // namespace

const char *PROBE_OpenSession()
{
    const char *const error = RANVOARM_Open();
    Connection().NoteOpened(error == nullptr);
    return error;
}

void PROBE_CloseSession()
{
    Connection().BeginClosing();
    // A library that was never loaded has nothing open, and the call would load it.
    if (PROBE_IsLibraryLoaded())
        RANVOARM_Close();
    Connection().EndClosing();
}

signed char PROBE_IsConnected()
{
    return Connection().IsProbeOpen() ? RANVOARM_IsConnected() : static_cast<signed char>(0);
}

void PROBE_CloseAtEnd()
{
    const auto close = [](void *) -> void * {
        PROBE_CloseSession();
        --g_closers;
        return nullptr;
    };
    ++g_closers;
    if (SYS_CreateThread(close, nullptr, nullptr) == 0)
        close(nullptr);
    for (std::uint32_t waitedMs = 0; waitedMs < kCloseLimitMs && PROBE_IsClosingAtEnd(); ++waitedMs)
        SYS_Sleep(1);
}

bool PROBE_IsClosingAtEnd()
{
    return g_closers.load() != 0;
}

MemoryCallbacks PROBE_MemoryCallbacks()
{
    MemoryCallbacks callbacks;
    callbacks.ReadMemory = ReadMemory;
    callbacks.WriteMemory = WriteMemory;
    return callbacks;
}

int PROBE_HardwareVersion()
{
    static int version = -1;
    if (version == -1) {
        if (PROBE_OpenSession() == nullptr)
            version = static_cast<int>(RANVOARM_GetHardwareVersion());
        PROBE_CloseSession();
    }
    return version;
}
