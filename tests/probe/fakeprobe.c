/*
 * A probe library that prints each call with its arguments and answers with telling numbers.
 * FAKE_NAME tells which copy was loaded; with FAKE_LACKS_NEARLY_ALL it exports one function only.
 */
#include "ranvoapi.h"

#include <stdio.h>
#include <string.h>

signed char RANVOARM_IsConnected(void)
{
    printf("IsConnected() of %s\n", FAKE_NAME);
    return -3;
}

#ifndef FAKE_LACKS_NEARLY_ALL
const char *RANVOARM_Open(void)
{
    printf("Open()\n");
    return "no probe";
}

void RANVOARM_Close(void)
{
    printf("Close()\n");
}

int RANVOARM_SelectIP(const char *host, int port)
{
    printf("SelectIP(%s, %d)\n", host, port);
    return -104;
}

int RANVOARM_SelectUSB(int index)
{
    printf("SelectUSB(%d)\n", index);
    return 105;
}

int RANVOARM_EMU_SelectByUSBSN(uint32_t serialNumber)
{
    printf("EMU_SelectByUSBSN(%u)\n", (unsigned)serialNumber);
    return -106;
}

int RANVOARM_ExecCommand(const char *command, char *reply, int replySize)
{
    printf("ExecCommand(%s, %d)\n", command, replySize);
    strncpy(reply, "fine", (size_t)replySize);
    return 107;
}

int RANVOARM_SetEndian(int endianMode)
{
    printf("SetEndian(%d)\n", endianMode);
    return 108;
}

int RANVOARM_TIF_Select(int targetInterface)
{
    printf("TIF_Select(%d)\n", targetInterface);
    return 109;
}

int RANVOARM_ConfigJTAG(int irPre, int drPre)
{
    printf("ConfigJTAG(%d, %d)\n", irPre, drPre);
    return 110;
}

int RANVOARM_SetSpeed(uint32_t speedKHz)
{
    printf("SetSpeed(%u)\n", (unsigned)speedKHz);
    return 111;
}

int RANVOARM_SetMaxSpeed(void)
{
    return 112;
}

int RANVOARM_Connect(void)
{
    return -113;
}

void RANVOARM_GetIdData(void *idData)
{
    const uint32_t coreId = 0x0BC11477;
    memcpy((char *)idData + RANVO_ID_DATA_CORE_ID_OFFSET, &coreId, sizeof coreId);
}

int RANVOARM_GetSpeed(void)
{
    return (int)RANVO_SPEED_ADAPTIVE;
}

uint32_t RANVOARM_GetHardwareVersion(void)
{
    return 0xFFFFFFF0u;
}

int RANVOARM_ReadMemEx(uint32_t address, uint32_t count, void *data, uint32_t accessWidth)
{
    printf("ReadMemEx(%X, %u, %u)\n", (unsigned)address, (unsigned)count, (unsigned)accessWidth);
    memset(data, 0x5A, count);
    return -1;
}

int RANVOARM_WriteMemEx(uint32_t address, uint32_t count, const void *data, uint32_t accessWidth)
{
    printf("WriteMemEx(%X, %u, %.2s, %u)\n", (unsigned)address, (unsigned)count, (const char *)data,
        (unsigned)accessWidth);
    return 2;
}

int RANVOARM_DEVICE_GetInfo(int index, RanvoDeviceInfo *info)
{
    if (index < 0)
        return info ? -1 : 7;
    info->name = "ACME-1";
    return info->sizeOfStruct == RANVO_DEVICE_INFO_SIZE ? 0 : -1;
}
#endif
