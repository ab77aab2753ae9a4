#include "probesession.h"

#include "workeractions.h"

#include "ranvoapi.h"

#include "memtypes.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <limits>

namespace {

/// Publishes that Open has returned: what the library set up before is visible to who reads it set.
std::atomic<bool> g_probeOpen = false;
/// Publishes nothing but itself.
std::atomic<bool> g_targetLost = false;

constexpr int kFailed = -1;
constexpr auto kReadable = static_cast<std::uint8_t>(ByteStatus::Valid);
constexpr auto kUnreadable = static_cast<std::uint8_t>(ByteStatus::ReadFailed);

/// The library counts in 32 bits; what is asked beyond that is left unread.
std::uint32_t CountForLibrary(std::uint64_t length)
{
    return static_cast<std::uint32_t>(
        std::min<std::uint64_t>(length, std::numeric_limits<std::uint32_t>::max()));
}

int ReadMemory(std::uint64_t address, std::uint64_t length, std::uint8_t accessWidth,
    const char * /*zoneName*/, std::uint8_t *data, std::uint8_t *status)
{
    int result = kFailed;
    if (!g_targetLost.load(std::memory_order_relaxed)) {
        result = RANVOARM_ReadMemEx(
            static_cast<std::uint32_t>(address), CountForLibrary(length), data, accessWidth);
        if (result == kFailed)
            WORKER_PostConnectionCheck();
    }
    // More than was asked for is nonsense; it must not reach past the buffers.
    const auto readBytes
        = std::min<std::uint64_t>(static_cast<std::uint64_t>(std::max(result, 0)), length);
    std::memset(status, kReadable, readBytes);
    std::memset(status + readBytes, kUnreadable, length - readBytes);
    return result;
}

int WriteMemory(std::uint64_t address, std::uint64_t length, std::uint8_t accessWidth,
    const char * /*zoneName*/, const std::uint8_t *data)
{
    if (g_targetLost.load(std::memory_order_relaxed))
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
    g_probeOpen.store(error == nullptr, std::memory_order_release);
    return error;
}

void PROBE_CloseSession()
{
    g_probeOpen.store(false, std::memory_order_release);
    RANVOARM_Close();
}

signed char PROBE_IsConnected()
{
    return g_probeOpen.load(std::memory_order_acquire) ? RANVOARM_IsConnected()
                                                       : static_cast<signed char>(0);
}

void PROBE_MarkTargetLost()
{
    g_targetLost.store(true, std::memory_order_relaxed);
}

void PROBE_MarkTargetReachable()
{
    g_targetLost.store(false, std::memory_order_relaxed);
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
