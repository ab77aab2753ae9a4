/*
 * The nineteen functions of a Ranvo probe library that this system calls, and its device record.
 *
 * One header for both sides: the program's wrappers (src/probe) and our own probe library
 * (openprobe/) implement these very declarations. Plain C, 32-bit int. Texts are UTF-8 and
 * NUL-terminated. Any function may be called from any thread; the library serialises.
 */
#pragma once

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Size of the device record in bytes; the caller writes it into word 0 before each query. */
#define RANVO_DEVICE_INFO_SIZE 1660

/* The speed value that selects, and reports, adaptive clocking. */
#define RANVO_SPEED_ADAPTIVE 0xFFFFu

/* What an identification record may take at most; the core id is the 32-bit word at offset 8. */
#define RANVO_ID_DATA_SIZE 1024
#define RANVO_ID_DATA_CORE_ID_OFFSET 8

#pragma pack(push, 4)
/* One known target device. Packed to words: the name pointer stands at offset 4. */
typedef struct RanvoDeviceInfo { /* NOLINT(modernize-use-using): plain C */
    uint32_t sizeOfStruct;       /* RANVO_DEVICE_INFO_SIZE, set by the caller */
    const char *name;            /* owned by the library */
    const char *manufacturer;    /* owned by the library */
    uint32_t coreId;
    uint32_t flashAddress;
    uint32_t flashSize; /* bytes */
    uint32_t ramAddress;
    uint32_t ramSize; /* bytes */
    uint32_t numCores;
    uint32_t byteOrder; /* 0 little endian, 1 big endian */
    uint8_t reserved[RANVO_DEVICE_INFO_SIZE - 48];
} RanvoDeviceInfo;
#pragma pack(pop)

#ifdef __cplusplus
static_assert(sizeof(void *) != 8 || sizeof(RanvoDeviceInfo) == RANVO_DEVICE_INFO_SIZE);
static_assert(sizeof(void *) != 8
    || (offsetof(RanvoDeviceInfo, name) == 4 && offsetof(RanvoDeviceInfo, manufacturer) == 12
        && offsetof(RanvoDeviceInfo, coreId) == 20 && offsetof(RanvoDeviceInfo, flashAddress) == 24
        && offsetof(RanvoDeviceInfo, byteOrder) == 44));
#endif

/* Opens the selected probe. Null on success, else an error text owned by the library. */
const char *RANVOARM_Open(void);

/* Closes the probe; also ends an Open that another thread is still in. */
void RANVOARM_Close(void);

/* Non-zero while a target is connected. Never waits. */
signed char RANVOARM_IsConnected(void);

/* Selects a probe by host name or address for the next Open. port 0: the library's default. */
int RANVOARM_SelectIP(const char *host, int port);

/* Selects the probe with USB device index 0 to 3 for the next Open. */
int RANVOARM_SelectUSB(int index);

/* Selects a USB probe by serial number for the next Open. Negative when none has it. */
int RANVOARM_EMU_SelectByUSBSN(uint32_t serialNumber);

/* Runs a command text such as "Device = NAME". The reply is at most replySize bytes with its NUL.
 */
int RANVOARM_ExecCommand(const char *command, char *reply, int replySize);

/* Sets the target's byte order: 0 little, 1 big endian. */
int RANVOARM_SetEndian(int endianMode);

/* Selects the target interface: 0 JTAG, 1 SWD, 3 FINE, 4 ICSP. */
int RANVOARM_TIF_Select(int targetInterface);

/* Tells the bits of the instruction and data registers in front of the target in a JTAG chain. */
int RANVOARM_ConfigJTAG(int irPre, int drPre);

/* Sets the interface speed in kHz; RANVO_SPEED_ADAPTIVE selects adaptive clocking. */
int RANVOARM_SetSpeed(uint32_t speedKHz);

/* Lets the probe choose the highest speed. */
int RANVOARM_SetMaxSpeed(void);

/* Connects to the target of the open probe. */
int RANVOARM_Connect(void);

/* Fills an identification record; the buffer holds RANVO_ID_DATA_SIZE bytes. */
void RANVOARM_GetIdData(void *idData);

/* The interface speed in kHz in the low 16 bits; RANVO_SPEED_ADAPTIVE means adaptive clocking. */
int RANVOARM_GetSpeed(void);

/* The probe's hardware version. */
uint32_t RANVOARM_GetHardwareVersion(void);

/* Reads target memory. accessWidth 0 (any), 1, 2 or 4 bytes. Bytes read, a readable prefix, or -1.
 */
int RANVOARM_ReadMemEx(uint32_t address, uint32_t count, void *data, uint32_t accessWidth);

/* Writes target memory. accessWidth as above. Bytes written, or -1. */
int RANVOARM_WriteMemEx(uint32_t address, uint32_t count, const void *data, uint32_t accessWidth);

/* With index -1 and a null record: the number of known devices. Else fills info, 0 on success. */
int RANVOARM_DEVICE_GetInfo(int index, RanvoDeviceInfo *info);

#ifdef __cplusplus
}
#endif
