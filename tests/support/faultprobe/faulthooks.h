#pragma once

#include "ranvoapi.h"

#include <atomic>

/// Result, name, parameters and arguments of every function of the probe library.
#define FAULT_FUNCTIONS(FUNCTION)                                                                  \
    FUNCTION(const char *, Open, ())                                                               \
    FUNCTION(void, Close, ())                                                                      \
    FUNCTION(signed char, IsConnected, ())                                                         \
    FUNCTION(int, SelectIP, (const char *host, int port), host, port)                              \
    FUNCTION(int, SelectUSB, (int index), index)                                                   \
    FUNCTION(int, EMU_SelectByUSBSN, (uint32_t serialNumber), serialNumber)                        \
    FUNCTION(int, ExecCommand, (const char *command, char *reply, int size), command, reply, size) \
    FUNCTION(int, SetEndian, (int endianMode), endianMode)                                         \
    FUNCTION(int, TIF_Select, (int targetInterface), targetInterface)                              \
    FUNCTION(int, ConfigJTAG, (int irPre, int drPre), irPre, drPre)                                \
    FUNCTION(int, SetSpeed, (uint32_t speedKHz), speedKHz)                                         \
    FUNCTION(int, SetMaxSpeed, ())                                                                 \
    FUNCTION(int, Connect, ())                                                                     \
    FUNCTION(void, GetIdData, (void *idData), idData)                                              \
    FUNCTION(int, GetSpeed, ())                                                                    \
    FUNCTION(uint32_t, GetHardwareVersion, ())                                                     \
    FUNCTION(int, ReadMemEx, (uint32_t address, uint32_t count, void *data, uint32_t accessWidth), \
        address, count, data, accessWidth)                                                         \
    FUNCTION(int, WriteMemEx,                                                                      \
        (uint32_t address, uint32_t count, const void *data, uint32_t accessWidth), address,       \
        count, data, accessWidth)                                                                  \
    FUNCTION(int, DEVICE_GetInfo, (int index, RanvoDeviceInfo *info), index, info)

/// Replaces single functions of the probe library. Where a hook is null, the simulated target
/// answers. The hooks are atomic because tests set and clear them while calls may be under way.
struct FaultHooks {
    /// Called first in every function, on any thread, with the function's name, prefix included,
    /// and the numbers and texts that it is given, separated by blanks.
    std::atomic<void (*)(const char *call)> onCall;
    /// Called when the library is unloaded at the end of the process.
    std::atomic<void (*)()> onUnload;
#define FAULT_HOOK(result, name, ...) std::atomic<decltype(&RANVOARM_##name)> name;
    FAULT_FUNCTIONS(FAULT_HOOK)
#undef FAULT_HOOK
};

/// The hooks inside the library that the program under test has loaded (or will load) from beside
/// the test program. Null when that library is not the fault probe.
FaultHooks *FAULT_Hooks();

/// The simulated target's own function of that name, prefix included, for hooks that pass calls on.
void *FAULT_RealFunction(const char *name);
