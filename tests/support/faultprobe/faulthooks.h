#pragma once

#include "ranvoapi.h"

#include <atomic>

/// Replaces single functions of the probe library. Where a hook is null, the simulated target
/// answers. The hooks are atomic because tests set and clear them while calls may be under way.
struct FaultHooks {
    /// Called first in every function, on any thread, with the function's name, prefix included,
    /// and the numbers and texts that it is given, separated by blanks.
    std::atomic<void (*)(const char *call)> onCall;
    /// Called when the library is unloaded at the end of the process.
    std::atomic<void (*)()> onUnload;
    std::atomic<decltype(&RANVOARM_Open)> Open;
    std::atomic<decltype(&RANVOARM_Close)> Close;
    std::atomic<decltype(&RANVOARM_IsConnected)> IsConnected;
    std::atomic<decltype(&RANVOARM_SelectIP)> SelectIP;
    std::atomic<decltype(&RANVOARM_SelectUSB)> SelectUSB;
    std::atomic<decltype(&RANVOARM_EMU_SelectByUSBSN)> EMU_SelectByUSBSN;
    std::atomic<decltype(&RANVOARM_ExecCommand)> ExecCommand;
    std::atomic<decltype(&RANVOARM_SetEndian)> SetEndian;
    std::atomic<decltype(&RANVOARM_TIF_Select)> TIF_Select;
    std::atomic<decltype(&RANVOARM_ConfigJTAG)> ConfigJTAG;
    std::atomic<decltype(&RANVOARM_SetSpeed)> SetSpeed;
    std::atomic<decltype(&RANVOARM_SetMaxSpeed)> SetMaxSpeed;
    std::atomic<decltype(&RANVOARM_Connect)> Connect;
    std::atomic<decltype(&RANVOARM_GetIdData)> GetIdData;
    std::atomic<decltype(&RANVOARM_GetSpeed)> GetSpeed;
    std::atomic<decltype(&RANVOARM_GetHardwareVersion)> GetHardwareVersion;
    std::atomic<decltype(&RANVOARM_ReadMemEx)> ReadMemEx;
    std::atomic<decltype(&RANVOARM_WriteMemEx)> WriteMemEx;
    std::atomic<decltype(&RANVOARM_DEVICE_GetInfo)> DEVICE_GetInfo;
};

/// The hooks inside the library that the program under test has loaded (or will load) from beside
/// the test program. Null when that library is not the fault probe.
FaultHooks *FAULT_Hooks();

/// The simulated target's own function of that name, prefix included, for hooks that pass calls on.
void *FAULT_RealFunction(const char *name);
