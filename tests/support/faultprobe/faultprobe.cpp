// A probe library for tests: the simulated target of our own probe library, each function of which
// a test may replace while the program runs. It is found the way any probe library is found.

#include "faulthooks.h"

#include <cstdlib>

#include <dlfcn.h>

namespace {

FaultHooks g_hooks = {};

__attribute__((destructor)) void Unload()
{
    if (const auto onUnload = g_hooks.onUnload.load())
        onUnload();
}

void *RealFunction(const char *name)
{
    static void *const library = dlopen(FAULT_REAL_LIBRARY, RTLD_LAZY | RTLD_LOCAL);
    void *const function = library != nullptr ? dlsym(library, name) : nullptr;
    if (function == nullptr)
        std::abort();
    return function;
}

template <typename Function> Function Chosen(const std::atomic<Function> &hook, const char *name)
{
    if (const auto onCall = g_hooks.onCall.load())
        onCall(name);
    const Function chosen = hook.load();
    return chosen != nullptr ? chosen : reinterpret_cast<Function>(RealFunction(name));
}

} // namespace

#define FAULT_EXPORT extern "C" __attribute__((visibility("default")))
#define FAULT_FUNCTION(result, name, parameters, arguments)                                        \
    FAULT_EXPORT result RANVOARM_##name parameters                                                 \
    {                                                                                              \
        return Chosen(g_hooks.name, "RANVOARM_" #name) arguments;                                  \
    }

FAULT_EXPORT FaultHooks *FAULT_TheHooks()
{
    return &g_hooks;
}
FAULT_EXPORT void *FAULT_TheRealFunction(const char *name)
{
    return RealFunction(name);
}

FAULT_FUNCTION(const char *, Open, (), ())
FAULT_FUNCTION(void, Close, (), ())
FAULT_FUNCTION(signed char, IsConnected, (), ())
FAULT_FUNCTION(int, SelectIP, (const char *host, int port), (host, port))
FAULT_FUNCTION(int, SelectUSB, (int index), (index))
FAULT_FUNCTION(int, EMU_SelectByUSBSN, (uint32_t serialNumber), (serialNumber))
FAULT_FUNCTION(
    int, ExecCommand, (const char *command, char *reply, int size), (command, reply, size))
FAULT_FUNCTION(int, SetEndian, (int endianMode), (endianMode))
FAULT_FUNCTION(int, TIF_Select, (int targetInterface), (targetInterface))
FAULT_FUNCTION(int, ConfigJTAG, (int irPre, int drPre), (irPre, drPre))
FAULT_FUNCTION(int, SetSpeed, (uint32_t speedKHz), (speedKHz))
FAULT_FUNCTION(int, SetMaxSpeed, (), ())
FAULT_FUNCTION(int, Connect, (), ())
FAULT_FUNCTION(void, GetIdData, (void *idData), (idData))
FAULT_FUNCTION(int, GetSpeed, (), ())
FAULT_FUNCTION(uint32_t, GetHardwareVersion, (), ())
FAULT_FUNCTION(int, ReadMemEx, (uint32_t address, uint32_t count, void *data, uint32_t accessWidth),
    (address, count, data, accessWidth))
FAULT_FUNCTION(int, WriteMemEx,
    (uint32_t address, uint32_t count, const void *data, uint32_t accessWidth),
    (address, count, data, accessWidth))
FAULT_FUNCTION(int, DEVICE_GetInfo, (int index, RanvoDeviceInfo *info), (index, info))
