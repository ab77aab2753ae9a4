#include "devicetable.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <string>
#include <vector>

#include <strings.h>

namespace OpenProbe {
namespace {

// Core ids as the program's core name table spells them.
constexpr std::uint32_t kM0 = 0x060000FF;
constexpr std::uint32_t kM1 = 0x010000FF;
constexpr std::uint32_t kM3 = 0x030000FF;
constexpr std::uint32_t kM4 = 0x0E0000FF;
constexpr std::uint32_t kM7 = 0x0E0100FF;
constexpr std::uint32_t kM23 = 0x060100FF;
constexpr std::uint32_t kM33 = 0x0E0200FF;
constexpr std::uint32_t kArm7 = 0x070000FF;
constexpr std::uint32_t kArm7S = 0x070001FF;
constexpr std::uint32_t kArm920 = 0x092000FF;
constexpr std::uint32_t kArm926 = 0x092601FF;
constexpr std::uint32_t kArm966 = 0x096601FF;
constexpr std::uint32_t kArm1176 = 0x0B7607FF;
constexpr std::uint32_t kA5 = 0x0F0000FF;
constexpr std::uint32_t kA7 = 0x080800FF;
constexpr std::uint32_t kA8 = 0x080000FF;
constexpr std::uint32_t kA9 = 0x080900FF;
constexpr std::uint32_t kA53 = 0x1400FFFF;
constexpr std::uint32_t kR4 = 0x0C0000FF;
constexpr std::uint32_t kR5 = 0x0C0100FF;
constexpr std::uint32_t kRv32 = 0x13FFFFFF;
constexpr std::uint32_t kRv64 = 0x1300FFFF;
constexpr std::uint32_t kMips = 0x11FFFFFF;
constexpr std::uint32_t kNoCoreId = 0;

constexpr std::uint32_t kKiB = 1024;
constexpr std::uint32_t kMiB = 1024 * kKiB;
constexpr std::uint32_t kFlash = 0x08000000;
constexpr std::uint32_t kRam = 0x20000000;
constexpr std::uint32_t kLittle = 0;
constexpr std::uint32_t kBig = 1;

// The first one is the default of a fresh configuration. The generic ones have no sizes: their map
// is whatever the target has. All makers below them are made up.
constexpr std::array kDevices = {
    DeviceEntry{"Simulated", "SIM-M4", kM4, kFlash, kMiB, kRam, 256 * kKiB, 1, kLittle},
    DeviceEntry{"QEMU", "netduinoplus2", kM4, kFlash, kMiB, kRam, 192 * kKiB, 1, kLittle},
    DeviceEntry{"QEMU", "lm3s6965evb", kM3, 0, 256 * kKiB, kRam, 64 * kKiB, 1, kLittle},
    DeviceEntry{"QEMU", "mps2-an385", kM3, 0, 4 * kMiB, kRam, 4 * kMiB, 1, kLittle},
    DeviceEntry{"QEMU", "stm32vldiscovery", kM3, kFlash, 128 * kKiB, kRam, 8 * kKiB, 1, kLittle},
    DeviceEntry{"QEMU", "malta", kMips, 0xBFC00000, 4 * kMiB, 0x80000000, 16 * kMiB, 1, kBig},
    DeviceEntry{"QEMU", "virt (RV32)", kRv32, kRam, 64 * kMiB, 0x80000000, 16 * kMiB, 1, kLittle},
    DeviceEntry{"QEMU", "virt (RV64)", kRv64, kRam, 64 * kMiB, 0x80000000, 16 * kMiB, 2, kLittle},
    DeviceEntry{"QEMU", "virt (AArch64)", kA53, 0, 128 * kMiB, 0x40000000, 16 * kMiB, 2, kLittle},
    DeviceEntry{"QEMU", "mega2560", kNoCoreId, 0, 256 * kKiB, 0x00800200, 8 * kKiB, 1, kLittle},
    DeviceEntry{"Generic", "Generic Cortex-M0", kM0, 0, 0, 0, 0, 1, kLittle},
    DeviceEntry{"Generic", "Generic Cortex-M3", kM3, 0, 0, 0, 0, 1, kLittle},
    DeviceEntry{"Generic", "Generic Cortex-M4", kM4, 0, 0, 0, 0, 1, kLittle},
    DeviceEntry{"Generic", "Generic Cortex-M7", kM7, 0, 0, 0, 0, 1, kLittle},
    DeviceEntry{"Generic", "Generic Cortex-M33", kM33, 0, 0, 0, 0, 1, kLittle},
    DeviceEntry{"Simulated", "SIM-M0", kM0, 0, 64 * kKiB, kRam, 16 * kKiB, 1, kLittle},
    DeviceEntry{"Simulated", "SIM-R4-BE", kR4, 0, 2 * kMiB, 0x08000000, 192 * kKiB, 1, kBig},
    DeviceEntry{"Aldera", "AL10F16", kM0, 0, 16 * kKiB, kRam, 4 * kKiB, 1, kLittle},
    DeviceEntry{"Aldera", "AL10F32", kM0, 0, 32 * kKiB, kRam, 4 * kKiB, 1, kLittle},
    DeviceEntry{"Aldera", "AL10F64", kM0, 0, 64 * kKiB, kRam, 8 * kKiB, 1, kLittle},
    DeviceEntry{"Aldera", "AL30F128", kM3, 0, 128 * kKiB, kRam, 20 * kKiB, 1, kLittle},
    DeviceEntry{"Aldera", "AL30F256", kM3, 0, 256 * kKiB, kRam, 48 * kKiB, 1, kLittle},
    DeviceEntry{"Aldera", "AL30F512", kM3, 0, 512 * kKiB, kRam, 64 * kKiB, 1, kLittle},
    DeviceEntry{"Aldera", "AL40F512", kM4, 0, 512 * kKiB, kRam, 128 * kKiB, 1, kLittle},
    DeviceEntry{"Aldera", "AL40F1M", kM4, 0, kMiB, kRam, 192 * kKiB, 1, kLittle},
    DeviceEntry{"Aldera", "AL70F2M (dual bank)", kM7, 0, 2 * kMiB, kRam, 512 * kKiB, 1, kLittle},
    DeviceEntry{"Borealis", "BR103C8", kM3, kFlash, 64 * kKiB, kRam, 20 * kKiB, 1, kLittle},
    DeviceEntry{"Borealis", "BR103RE", kM3, kFlash, 512 * kKiB, kRam, 64 * kKiB, 1, kLittle},
    DeviceEntry{"Borealis", "BR205VC", kM3, kFlash, 256 * kKiB, kRam, 96 * kKiB, 1, kLittle},
    DeviceEntry{"Borealis", "BR405VG", kM4, kFlash, kMiB, kRam, 128 * kKiB, 1, kLittle},
    DeviceEntry{"Borealis", "BR405ZI", kM4, kFlash, 2 * kMiB, kRam, 256 * kKiB, 1, kLittle},
    DeviceEntry{"Borealis", "BR765II", kM7, kFlash, 2 * kMiB, kRam, 512 * kKiB, 1, kLittle},
    DeviceEntry{
        "Borealis", "BR765II (M4 core)", kM4, kFlash, 2 * kMiB, 0x10000000, 288 * kKiB, 2, kLittle},
    DeviceEntry{"Borealis", "BR523CE", kM33, kFlash, 512 * kKiB, kRam, 256 * kKiB, 1, kLittle},
    DeviceEntry{"Borealis", "BR523CE (trust zone)", kM33, 0x0C000000, 512 * kKiB, 0x30000000,
        256 * kKiB, 1, kLittle},
    DeviceEntry{"Cobalt Ridge", "CR2101", kArm7S, 0, 32 * kKiB, 0x40000000, 8 * kKiB, 1, kLittle},
    DeviceEntry{"Cobalt Ridge", "CR2104", kArm7S, 0, 128 * kKiB, 0x40000000, 16 * kKiB, 1, kLittle},
    DeviceEntry{"Cobalt Ridge", "CR2148", kArm7S, 0, 512 * kKiB, 0x40000000, 40 * kKiB, 1, kLittle},
    DeviceEntry{"Cobalt Ridge", "CR2200", kArm7S, 0, 0, 0x40000000, 16 * kKiB, 1, kLittle},
    DeviceEntry{"Cobalt Ridge", "CR3180", kArm926, 0, 0, 0x08000000, 64 * kKiB, 1, kLittle},
    DeviceEntry{"Cobalt Ridge", "CR1768", kM3, 0, 512 * kKiB, 0x10000000, 32 * kKiB, 1, kLittle},
    DeviceEntry{"Cobalt Ridge", "CR1115", kM0, 0, 64 * kKiB, 0x10000000, 8 * kKiB, 1, kLittle},
    DeviceEntry{
        "Cobalt Ridge", "CR4357", kM4, 0x1A000000, kMiB, 0x10000000, 136 * kKiB, 2, kLittle},
    DeviceEntry{
        "Dunmore", "DM7S64", kArm7, 0x00100000, 64 * kKiB, 0x00200000, 16 * kKiB, 1, kLittle},
    DeviceEntry{
        "Dunmore", "DM7S256", kArm7, 0x00100000, 256 * kKiB, 0x00200000, 64 * kKiB, 1, kLittle},
    DeviceEntry{"Dunmore", "DM9200", kArm920, 0x10000000, 0, 0x00200000, 16 * kKiB, 1, kLittle},
    DeviceEntry{"Dunmore", "DM9260", kArm926, 0x10000000, 0, 0x00300000, 8 * kKiB, 1, kLittle},
    DeviceEntry{"Dunmore", "DM3U4E", kM3, 0x00080000, 256 * kKiB, kRam, 52 * kKiB, 1, kLittle},
    DeviceEntry{"Dunmore", "DM4S16C", kM4, 0x00400000, kMiB, kRam, 128 * kKiB, 1, kLittle},
    DeviceEntry{"Dunmore", "DM5D36", kA5, 0, 0, 0x00300000, 128 * kKiB, 1, kLittle},
    DeviceEntry{"Eskerra", "ESK-1788", kM3, 0, 512 * kKiB, kRam, 96 * kKiB, 1, kLittle},
    DeviceEntry{"Eskerra", "ESK-R4F", kR4, 0, 3 * kMiB, 0x08000000, 256 * kKiB, 1, kBig},
    DeviceEntry{"Eskerra", "ESK-R5D", kR5, 0, 4 * kMiB, 0x08000000, 512 * kKiB, 2, kBig},
    DeviceEntry{"Eskerra", "ESK-R5D-LE", kR5, 0, 4 * kMiB, 0x08000000, 512 * kKiB, 2, kLittle},
    DeviceEntry{"Fenwick", "FW335", kA8, 0, 0, 0x402F0400, 64 * kKiB, 1, kLittle},
    DeviceEntry{"Fenwick", "FW437", kA9, 0, 0, 0x402F0400, 256 * kKiB, 1, kLittle},
    DeviceEntry{"Fenwick", "FW7020", kA9, 0, 0, 0x00000000, 256 * kKiB, 2, kLittle},
    DeviceEntry{"Fenwick", "FW6QP", kA9, 0, 0, 0x00900000, 512 * kKiB, 4, kLittle},
    DeviceEntry{"Fenwick", "FW6ULL", kA7, 0, 0, 0x00900000, 128 * kKiB, 1, kLittle},
    DeviceEntry{"Fenwick", "FW8M", kA53, 0, 0, 0x00900000, 128 * kKiB, 4, kLittle},
    DeviceEntry{"Gallow Hill", "GH-STR750", kArm7S, 0x20000000, 256 * kKiB, 0x40000000, 16 * kKiB,
        1, kLittle},
    DeviceEntry{
        "Gallow Hill", "GH-STR912", kArm966, 0, 512 * kKiB, 0x04000000, 96 * kKiB, 1, kLittle},
    DeviceEntry{"Gallow Hill", "GH-1176", kArm1176, 0, 0, 0x00000000, 512 * kMiB, 1, kLittle},
    DeviceEntry{"Gallow Hill", "GH-M1 (FPGA)", kM1, 0, 0, 0x00000000, 64 * kKiB, 1, kLittle},
    DeviceEntry{"Hesper", "HS52832", kM4, 0, 512 * kKiB, kRam, 64 * kKiB, 1, kLittle},
    DeviceEntry{"Hesper", "HS52840", kM4, 0, kMiB, kRam, 256 * kKiB, 1, kLittle},
    DeviceEntry{"Hesper", "HS51822", kM0, 0, 256 * kKiB, kRam, 32 * kKiB, 1, kLittle},
    DeviceEntry{"Hesper", "HS5340 (application)", kM33, 0, kMiB, kRam, 512 * kKiB, 2, kLittle},
    DeviceEntry{"Hesper", "HS5340 (network)", kM33, 0x01000000, 256 * kKiB, 0x21000000, 64 * kKiB,
        2, kLittle},
    DeviceEntry{"Ivarsson", "IV23A", kM23, 0, 64 * kKiB, kRam, 16 * kKiB, 1, kLittle},
    DeviceEntry{"Ivarsson", "IV23B", kM23, 0, 128 * kKiB, kRam, 32 * kKiB, 1, kLittle},
    DeviceEntry{"Ivarsson", "IV33X", kM33, 0, 640 * kKiB, kRam, 320 * kKiB, 1, kLittle},
    DeviceEntry{
        "Juniper Bay", "JB-E310", kRv32, 0x20000000, 512 * kMiB, 0x80000000, 16 * kKiB, 1, kLittle},
    DeviceEntry{"Juniper Bay", "JB-VF103", kRv32, kFlash, 128 * kKiB, kRam, 32 * kKiB, 1, kLittle},
    DeviceEntry{"Juniper Bay", "JB-2040", kM0, 0x10000000, 2 * kMiB, kRam, 264 * kKiB, 2, kLittle},
};

constexpr int kFixedCount = static_cast<int>(kDevices.size());

struct ExtraDevices {
    std::vector<std::string> names;
    std::vector<DeviceEntry> entries;
};

int ExtraCountFromEnvironment()
{
    const char *text = secure_getenv(kExtraDevicesVariable);
    if (text == nullptr || *text < '0' || *text > '9')
        return 0;
    char *end = nullptr;
    errno = 0;
    const long value = std::strtol(text, &end, 10);
    return errno == 0 && *end == '\0' && value <= kMaxExtraDevices ? static_cast<int>(value) : 0;
}

ExtraDevices *MakeExtraDevices()
{
    auto *extra = new ExtraDevices;
    const int count = ExtraCountFromEnvironment();
    extra->names.resize(static_cast<std::size_t>(count));
    extra->entries.reserve(static_cast<std::size_t>(count));
    for (std::size_t i = 0; i < extra->names.size(); ++i) {
        // Repeats the cores, sizes and makers of the fixed rows, so that filters can be tried.
        DeviceEntry entry = kDevices[i % kDevices.size()];
        const std::string number = std::to_string(100'001 + i).substr(1);
        extra->names[i] = "TEST-" + number;
        entry.name = extra->names[i].c_str();
        extra->entries.push_back(entry);
    }
    return extra;
}

// Never freed, on purpose: a worker may still use the names while the process ends.
const ExtraDevices &Extra()
{
    static const ExtraDevices *const extra = MakeExtraDevices();
    return *extra;
}

} // namespace

int DeviceCount()
{
    return kFixedCount + static_cast<int>(Extra().entries.size());
}

const DeviceEntry *DeviceAt(int index)
{
    if (index < 0 || index >= DeviceCount())
        return nullptr;
    if (index < kFixedCount)
        return &kDevices[static_cast<std::size_t>(index)];
    return &Extra().entries[static_cast<std::size_t>(index - kFixedCount)];
}

const DeviceEntry *FindDevice(const char *name)
{
    for (int i = 0; i < DeviceCount(); ++i) {
        const DeviceEntry *entry = DeviceAt(i);
        if (strcasecmp(entry->name, name) == 0)
            return entry;
    }
    return nullptr;
}

} // namespace OpenProbe
