/*
 * A probe library that prints each call with its arguments and answers with telling numbers.
 * FAKE_NAME tells which copy was loaded. It lacks most functions.
 */
#include "ranvoapi.h"

#include <stdio.h>

signed char RANVOARM_IsConnected(void)
{
    printf("IsConnected() of " FAKE_NAME "\n");
    return -3;
}

int RANVOARM_WriteMemEx(uint32_t address, uint32_t count, const void *data, uint32_t width)
{
    printf("WriteMemEx(%X, %u, %.2s, %u)\n", address, count, (const char *)data, width);
    return 2;
}
