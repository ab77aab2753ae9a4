// Calls the probe library in the way that its arguments say and prints what comes back. The tests
// copy it beside the library that it shall find.

#include "probeloader.h"
#include "ranvoapi.h"

#include <array>
#include <cstdio>
#include <future>
#include <string>

namespace {

void Show(long long value)
{
    std::printf("= %lld\n", value);
}

void CallAll()
{
    std::array<std::uint32_t, RANVO_ID_DATA_SIZE / 4> id{};
    std::array<std::uint8_t, 4> data{};
    std::array<char, 8> reply{};
    Show(RANVOARM_Open() != nullptr);
    RANVOARM_Close();
    Show(RANVOARM_SelectIP("host", 19020));
    Show(RANVOARM_SelectUSB(3));
    Show(RANVOARM_EMU_SelectByUSBSN(4000000000U));
    Show(RANVOARM_ExecCommand("Device = X", reply.data(), 8));
    Show(RANVOARM_SetEndian(1));
    Show(RANVOARM_TIF_Select(3));
    Show(RANVOARM_ConfigJTAG(4, 5));
    Show(RANVOARM_SetSpeed(65535));
    Show(RANVOARM_SetMaxSpeed());
    Show(RANVOARM_Connect());
    RANVOARM_GetIdData(id.data());
    Show(RANVOARM_GetSpeed());
    Show(RANVOARM_GetHardwareVersion());
    Show(RANVOARM_ReadMemEx(0xFFFFFFFC, 4, data.data(), 2) * 1000 + data[3]);
    Show(RANVOARM_WriteMemEx(0x20000000, 2, "ab", 1));
    Show(RANVOARM_DEVICE_GetInfo(-1, nullptr));
}

/// All threads make their first call at once.
void CallFromManyThreads()
{
    const auto call = [] { return RANVOARM_ConfigJTAG(1, 2) + RANVOARM_IsConnected(); };
    std::array<std::future<int>, 4> sums;
    for (auto &sum : sums)
        sum = std::async(std::launch::async, call);
    for (auto &sum : sums)
        Show(sum.get());
}

} // namespace

int main(int argc, char **argv)
{
    for (int i = 1; i < argc; ++i) {
        const std::string what = argv[i];
        if (what == "try")
            Show(PROBE_TryLoadLibrary());
        else if (what == "load")
            Show(PROBE_LoadLibrary(false));
        else if (what == "all")
            CallAll();
        else if (what == "threads")
            CallFromManyThreads();
        else if (what == "open")
            Show(RANVOARM_Open() != nullptr);
        else
            Show(RANVOARM_IsConnected());
        std::fflush(stdout);
    }
    return 0;
}
