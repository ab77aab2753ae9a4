#include "hostmemory.h"

#include "memcallbacks.h"

#include <QByteArray>
#include <QString>

#include <array>
#include <cstdio>
#include <cstring>

namespace {

constexpr std::uint64_t kStart = 0x20000000;
constexpr std::uint64_t kSize = 0x10000;
constexpr std::uint64_t kHole = 0x20000100;
constexpr std::uint64_t kHoleSize = 16;

struct HostMemory {
    std::array<std::uint8_t, kSize> bytes;

    explicit HostMemory(unsigned factor)
    {
        for (std::size_t i = 0; i < bytes.size(); ++i)
            bytes[i] = static_cast<std::uint8_t>(i * factor);
    }
};

HostMemory &ZoneMemory(const char *zoneName)
{
    static HostMemory main(1);
    static HostMemory data(3);
    return std::strcmp(zoneName, "Data") == 0 ? data : main;
}

bool IsThere(std::uint64_t address)
{
    return address >= kStart && address - kStart < kSize
        && (address < kHole || address - kHole >= kHoleSize);
}

bool AreThere(std::uint64_t address, std::uint64_t length)
{
    for (std::uint64_t i = 0; i < length; ++i) {
        if (!IsThere(address + i))
            return false;
    }
    return true;
}

int ReadHost(std::uint64_t address, std::uint64_t length, std::uint8_t accessWidth,
    const char *zoneName, std::uint8_t *data, std::uint8_t *status)
{
    std::printf("read %llX %llX %u '%s'\n", static_cast<unsigned long long>(address),
        static_cast<unsigned long long>(length), unsigned{accessWidth}, zoneName);
    if (!AreThere(address, length))
        return -1;
    std::memcpy(data, &ZoneMemory(zoneName).bytes[address - kStart], length);
    std::memset(status, 0, length);
    return static_cast<int>(length);
}

int WriteHost(std::uint64_t address, std::uint64_t length, std::uint8_t accessWidth,
    const char *zoneName, const std::uint8_t *data)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<qsizetype>(length));
    std::printf("write %llX %u '%s' %s\n", static_cast<unsigned long long>(address),
        unsigned{accessWidth}, zoneName, bytes.left(16).toHex().toUpper().constData());
    if (!AreThere(address, length))
        return -1;
    std::memcpy(&ZoneMemory(zoneName).bytes[address - kStart], data, length);
    return static_cast<int>(length);
}

int ListHostZones(char *text, std::uint32_t size)
{
    std::snprintf(text, size, "Default,Data");
    return 2;
}

void ShowHostMessage(const QString &text, int severity)
{
    std::printf("message %d %s\n", severity, qPrintable(text));
}

} // namespace

MemoryCallbacks HostCallbacks()
{
    return {.ReadMemory = ReadHost,
        .WriteMemory = WriteHost,
        .ListZones = ListHostZones,
        .ShowMessage = ShowHostMessage};
}
