#include "probefunction.h"
#include "ranvoapi.h"

// The program calls the probe library's functions as if it were linked: here they are defined, one
// line for each. The compiler holds each line against the declaration in ranvoapi.h.
//
// They are hidden symbols, so that a library that calls its own functions by name does not reach
// these.

// NOLINTBEGIN(bugprone-macro-parentheses): types and parameter lists do not take parentheses
#define PROBE_WRAPPER(result, name, parameters, arguments)                                         \
    result name parameters                                                                         \
    {                                                                                              \
        static constinit ProbeFunction<decltype(name)> function(#name);                            \
        return function.Call arguments;                                                            \
    }
// NOLINTEND(bugprone-macro-parentheses)

// clang-format off
extern "C" {
PROBE_WRAPPER(const char *, RANVOARM_Open, (), ())
PROBE_WRAPPER(void, RANVOARM_Close, (), ())
PROBE_WRAPPER(signed char, RANVOARM_IsConnected, (), ())
PROBE_WRAPPER(int, RANVOARM_SelectIP, (const char *host, int port), (host, port))
PROBE_WRAPPER(int, RANVOARM_SelectUSB, (int index), (index))
PROBE_WRAPPER(int, RANVOARM_EMU_SelectByUSBSN, (uint32_t serialNumber), (serialNumber))
PROBE_WRAPPER(int, RANVOARM_ExecCommand, (const char *command, char *reply, int replySize), (command, reply, replySize))
PROBE_WRAPPER(int, RANVOARM_SetEndian, (int endianMode), (endianMode))
PROBE_WRAPPER(int, RANVOARM_TIF_Select, (int targetInterface), (targetInterface))
PROBE_WRAPPER(int, RANVOARM_ConfigJTAG, (int irPre, int drPre), (irPre, drPre))
PROBE_WRAPPER(int, RANVOARM_SetSpeed, (uint32_t speedKHz), (speedKHz))
PROBE_WRAPPER(int, RANVOARM_SetMaxSpeed, (), ())
PROBE_WRAPPER(int, RANVOARM_Connect, (), ())
PROBE_WRAPPER(void, RANVOARM_GetIdData, (void *idData), (idData))
PROBE_WRAPPER(int, RANVOARM_GetSpeed, (), ())
PROBE_WRAPPER(uint32_t, RANVOARM_GetHardwareVersion, (), ())
PROBE_WRAPPER(int, RANVOARM_ReadMemEx, (uint32_t address, uint32_t count, void *data, uint32_t accessWidth), (address, count, data, accessWidth))
PROBE_WRAPPER(int, RANVOARM_WriteMemEx, (uint32_t address, uint32_t count, const void *data, uint32_t accessWidth), (address, count, data, accessWidth))
PROBE_WRAPPER(int, RANVOARM_DEVICE_GetInfo, (int index, RanvoDeviceInfo *info), (index, info))
}
// clang-format on
