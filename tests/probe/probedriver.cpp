// Calls the probe library in the way that its arguments say and prints what comes back. The tests
// copy it beside the library that it shall find.

#include "probeloader.h"
#include "ranvoapi.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace {

void CallAll()
{
    std::array<char, 256> reply{};
    std::array<std::uint8_t, RANVO_ID_DATA_SIZE> id{};
    std::array<std::uint8_t, 4> data{};
    RanvoDeviceInfo info{};
    info.sizeOfStruct = RANVO_DEVICE_INFO_SIZE;
    const char *const error = RANVOARM_Open();
    std::printf("= %s\n", error ? error : "null");
    std::printf("= %d\n", RANVOARM_IsConnected());
    std::printf("= %d\n", RANVOARM_SelectIP("host", 19020));
    std::printf("= %d\n", RANVOARM_SelectUSB(3));
    std::printf("= %d\n", RANVOARM_EMU_SelectByUSBSN(4000000000U));
    const int executed = RANVOARM_ExecCommand("Device = X", reply.data(), 256);
    std::printf("= %d %s\n", executed, reply.data());
    std::printf("= %d\n", RANVOARM_SetEndian(1));
    std::printf("= %d\n", RANVOARM_TIF_Select(3));
    std::printf("= %d\n", RANVOARM_ConfigJTAG(4, 5));
    std::printf("= %d\n", RANVOARM_SetSpeed(65535));
    std::printf("= %d\n", RANVOARM_SetMaxSpeed());
    std::printf("= %d\n", RANVOARM_Connect());
    RANVOARM_GetIdData(id.data());
    std::uint32_t coreId = 0;
    std::memcpy(&coreId, id.data() + RANVO_ID_DATA_CORE_ID_OFFSET, sizeof coreId);
    std::printf("= %.8X\n", coreId);
    std::printf("= %d\n", RANVOARM_GetSpeed());
    std::printf("= %u\n", RANVOARM_GetHardwareVersion());
    const int bytesRead = RANVOARM_ReadMemEx(0xFFFFFFFC, 4, data.data(), 2);
    std::printf("= %d %.2X\n", bytesRead, data[3]);
    std::printf("= %d\n", RANVOARM_WriteMemEx(0x20000000, 2, "ab", 1));
    std::printf("= %d\n", RANVOARM_DEVICE_GetInfo(-1, nullptr));
    const int found = RANVOARM_DEVICE_GetInfo(0, &info);
    std::printf("= %d %s\n", found, info.name ? info.name : "null");
    RANVOARM_Close();
}

/// All threads make their first call at once.
void CallFromManyThreads()
{
    std::vector<std::thread> threads;
    threads.reserve(4);
    std::array<int, 4> sums{};
    for (int &sum : sums) {
        threads.emplace_back(
            [&sum] { sum = RANVOARM_SetMaxSpeed() + RANVOARM_Connect() + RANVOARM_GetSpeed(); });
    }
    for (std::thread &thread : threads)
        thread.join();
    for (const int sum : sums)
        std::printf("= %d\n", sum);
}

} // namespace

int main(int argc, char **argv)
{
    for (int i = 1; i < argc; ++i) {
        const std::string what = argv[i];
        if (what == "try")
            std::printf("= %d\n", PROBE_TryLoadLibrary());
        else if (what == "load")
            std::printf("= %d\n", PROBE_LoadLibrary(false));
        else if (what == "all")
            CallAll();
        else if (what == "threads")
            CallFromManyThreads();
        else if (what == "open")
            std::printf("= %s\n", RANVOARM_Open() ? "text" : "null");
        else
            std::printf("= %d\n", RANVOARM_IsConnected());
        std::fflush(stdout);
    }
    return 0;
}
