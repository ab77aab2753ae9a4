// The exported functions: each checks its C arguments and makes one call of ProbeLibrary.

#pragma GCC visibility push(default)
#include "ranvoapi.h"
#pragma GCC visibility pop

#include "devicetable.h"
#include "probelibrary.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>

using OpenProbe::kTransferFailed;
using OpenProbe::ProbeLibrary;

namespace {

constexpr int kOk = 0;
constexpr int kError = -1;
constexpr std::uint32_t kHardwareVersion = 10000; // 1.00.00
constexpr std::uint32_t kMaxSpeedKHz = 50000;
constexpr std::uint64_t kAddressSpace = 1ULL << 32;

// No exception may leave a C function; the only one that can occur here is lack of memory.
template <typename Function, typename Result>
Result Guarded(Function function, Result whenThrown) noexcept
{
    try {
        return function(ProbeLibrary::Instance());
    } catch (...) {
        return whenThrown;
    }
}

bool IsAccessWidth(std::uint32_t width)
{
    return width == 0 || width == 1 || width == 2 || width == 4;
}

int SelectSim(int index)
{
    return Guarded(
        [&](ProbeLibrary &library) {
            OpenProbe::TargetChoice choice;
            choice.simIndex = index;
            library.Select(std::move(choice));
            return kOk;
        },
        kError);
}

void CopyReply(const std::string &text, char *reply, int replySize)
{
    if (reply == nullptr || replySize <= 0)
        return;
    const std::size_t length = std::min(text.size(), static_cast<std::size_t>(replySize) - 1);
    std::memcpy(reply, text.data(), length);
    reply[length] = '\0';
}

void FillInfo(const OpenProbe::DeviceEntry &entry, RanvoDeviceInfo *info)
{
    *info = RanvoDeviceInfo{};
    info->sizeOfStruct = RANVO_DEVICE_INFO_SIZE;
    info->name = entry.name;
    info->manufacturer = entry.manufacturer;
    info->coreId = entry.coreId;
    info->flashAddress = entry.flashAddress;
    info->flashSize = entry.flashSize;
    info->ramAddress = entry.ramAddress;
    info->ramSize = entry.ramSize;
    info->numCores = entry.numCores;
    info->byteOrder = entry.byteOrder;
}

} // namespace

extern "C" {

const char *RANVOARM_Open(void)
{
    return Guarded([](ProbeLibrary &library) { return library.Open(); }, "Out of memory");
}

void RANVOARM_Close(void)
{
    Guarded([](ProbeLibrary &library) { return library.Close(), kOk; }, kError);
}

signed char RANVOARM_IsConnected(void)
{
    const auto answer = [](ProbeLibrary &library) { return library.IsConnected(); };
    return Guarded(answer, false) ? 1 : 0;
}

int RANVOARM_SelectIP(const char *host, int port)
{
    return Guarded(
        [&](ProbeLibrary &library) {
            auto choice = OpenProbe::ParseSelector(host != nullptr ? host : "", port);
            const int result = choice.error.empty() ? kOk : kError;
            library.Select(std::move(choice)); // Open reports a text that is no selector
            return result;
        },
        kError);
}

int RANVOARM_SelectUSB(int index)
{
    return index < 0 || index > 3 ? kError : SelectSim(index);
}

int RANVOARM_EMU_SelectByUSBSN(uint32_t serialNumber)
{
    // Nothing is selected by an unknown number: the host reports it and goes on to open the
    // default.
    return serialNumber == OpenProbe::kSimSerialNumber ? SelectSim(0) : kError;
}

int RANVOARM_ExecCommand(const char *command, char *reply, int replySize)
{
    return Guarded(
        [&](ProbeLibrary &library) {
            std::string text;
            const bool done = library.ExecCommand(command != nullptr ? command : "", text);
            CopyReply(text, reply, replySize);
            return done ? kOk : kError;
        },
        kError);
}

// Byte order, interface and scan chain are checked and otherwise ignored: memory is transferred in
// address order, and a debug server has its own configuration of the chip's interface.
int RANVOARM_SetEndian(int endianMode)
{
    return endianMode == 0 || endianMode == 1 ? kOk : kError;
}

int RANVOARM_TIF_Select(int targetInterface)
{
    static constexpr std::array kKnown = {0, 1, 3, 4}; // JTAG, SWD, FINE, ICSP
    return std::ranges::find(kKnown, targetInterface) != kKnown.end() ? kOk : kError;
}

int RANVOARM_ConfigJTAG(int, int)
{
    return kOk;
}

int RANVOARM_SetSpeed(uint32_t speedKHz)
{
    if (speedKHz == 0 || (speedKHz > kMaxSpeedKHz && speedKHz != RANVO_SPEED_ADAPTIVE))
        return kError;
    return Guarded([&](ProbeLibrary &library) { return library.SetSpeed(speedKHz), kOk; }, kError);
}

int RANVOARM_SetMaxSpeed(void)
{
    return Guarded(
        [](ProbeLibrary &library) { return library.SetSpeed(kMaxSpeedKHz), kOk; }, kError);
}

int RANVOARM_Connect(void)
{
    return Guarded([](ProbeLibrary &library) { return library.Connect() ? kOk : kError; }, kError);
}

void RANVOARM_GetIdData(void *idData)
{
    if (idData == nullptr)
        return;
    const std::uint32_t coreId
        = Guarded([](ProbeLibrary &library) { return library.CoreId(); }, std::uint32_t{0});
    // Only what is known is filled; a host may hand over less than the largest record.
    std::memcpy(static_cast<char *>(idData) + RANVO_ID_DATA_CORE_ID_OFFSET, &coreId, sizeof coreId);
}

int RANVOARM_GetSpeed(void)
{
    const auto speed = [](ProbeLibrary &library) { return library.SpeedKHz(); };
    return static_cast<int>(Guarded(speed, std::uint32_t{0}) & 0xFFFFU);
}

uint32_t RANVOARM_GetHardwareVersion(void)
{
    return kHardwareVersion;
}

int RANVOARM_ReadMemEx(uint32_t address, uint32_t count, void *data, uint32_t accessWidth)
{
    if (data == nullptr || count > INT_MAX || !IsAccessWidth(accessWidth))
        return kTransferFailed;
    // What lies behind the last address is never readable.
    const std::uint64_t inSpace = std::min<std::uint64_t>(count, kAddressSpace - address);
    const std::span bytes(static_cast<std::uint8_t *>(data), static_cast<std::size_t>(inSpace));
    return Guarded([&](ProbeLibrary &library) { return library.Read(address, bytes, accessWidth); },
        kTransferFailed);
}

int RANVOARM_WriteMemEx(uint32_t address, uint32_t count, const void *data, uint32_t accessWidth)
{
    if (data == nullptr || count > INT_MAX || count > kAddressSpace - address
        || !IsAccessWidth(accessWidth))
        return kTransferFailed;
    const std::span bytes(static_cast<const std::uint8_t *>(data), count);
    return Guarded(
        [&](ProbeLibrary &library) { return library.Write(address, bytes, accessWidth); },
        kTransferFailed);
}

int RANVOARM_DEVICE_GetInfo(int index, RanvoDeviceInfo *info)
{
    if (index == -1 && info == nullptr)
        return Guarded([](ProbeLibrary &) { return OpenProbe::DeviceCount(); }, 0);
    if (info == nullptr || info->sizeOfStruct != RANVO_DEVICE_INFO_SIZE)
        return kError;
    return Guarded(
        [&](ProbeLibrary &) {
            const OpenProbe::DeviceEntry *entry = OpenProbe::DeviceAt(index);
            if (entry == nullptr)
                return kError;
            FillInfo(*entry, info);
            return kOk;
        },
        kError);
}

} // extern "C"
