/*
 * A probe library that prints each call with its arguments and answers with telling numbers.
 * FAKE_NAME tells which copy was loaded. It lacks most functions.
 */
#include "ranvoapi.h"

#include <stdio.h>
#include <string.h>

#define FAKE(type, name, parameters, result, ...)                                                  \
    type RANVOARM_##name parameters                                                                \
    {                                                                                              \
        printf(__VA_ARGS__);                                                                       \
        return result;                                                                             \
    }

FAKE(signed char, IsConnected, (void), -3, "IsConnected() of " FAKE_NAME "\n")
FAKE(int, SelectIP, (const char *host, int port), -104, "SelectIP(%s, %d)\n", host, port)
FAKE(int, ConfigJTAG, (int ir, int dr), 110, "ConfigJTAG(%d, %d)\n", ir, dr)
FAKE(uint32_t, GetHardwareVersion, (void), 0xFFFFFFF0u, "GetHardwareVersion()\n")
FAKE(int, WriteMemEx, (uint32_t address, uint32_t count, const void *data, uint32_t width), 2,
    "WriteMemEx(%X, %u, %.2s, %u)\n", (unsigned)address, (unsigned)count, (const char *)data,
    (unsigned)width)

int RANVOARM_ReadMemEx(uint32_t address, uint32_t count, void *data, uint32_t width)
{
    printf("ReadMemEx(%X, %u, %u)\n", (unsigned)address, (unsigned)count, (unsigned)width);
    memset(data, 0x5A, count);
    return -1;
}
