// Calls the probe library in the way that its arguments say and prints what comes back. The tests
// copy it beside the library that it shall find.

#include "probeloader.h"
#include "ranvoapi.h"

#include <array>
#include <cstdio>
#include <future>
#include <string>

static void Show(long long value)
{
    std::printf("= %lld\n", value);
}

/// All threads make their first call at once.
static void CallFromManyThreads()
{
    const auto call = [] { return RANVOARM_ConfigJTAG(4, 5) + RANVOARM_IsConnected(); };
    std::array<std::future<int>, 4> sums;
    for (auto &sum : sums)
        sum = std::async(std::launch::async, call);
    for (auto &sum : sums)
        Show(sum.get());
}

int main(int argc, char **argv)
{
    for (int i = 1; i < argc; ++i) {
        const std::string what = argv[i];
        if (what == "try")
            Show(PROBE_TryLoadLibrary());
        else if (what == "threads")
            CallFromManyThreads();
        else if (what == "open")
            Show(RANVOARM_Open() != nullptr);
        else if (what == "close")
            RANVOARM_Close();
        else if (what == "write")
            Show(RANVOARM_WriteMemEx(0xFFFFFFFC, 2, "ab", 1));
        else
            Show(RANVOARM_IsConnected());
        std::fflush(stdout);
    }
    return 0;
}
