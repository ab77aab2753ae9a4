#include "corenames.h"

#include <algorithm>
#include <array>

namespace {

struct CoreRow {
    std::uint32_t id;
    const char *name;
};

// The top byte is the core family, the rest the member; all ones in the rest stand for the family.
// Several ids share a name. The first exact match wins, so repeated rows, such as the second
// 0x13FFFFFF, change nothing.
constexpr auto kCoreRows = std::to_array<CoreRow>({
    {0x00000000, "None"},
    {0xFFFFFFFF, "Any"},
    {0x010000FF, "Cortex-M1"},
    {0x030000FF, "Cortex-M3"},
    {0x03000010, "Cortex-M3"},
    {0x03000011, "Cortex-M3"},
    {0x03000020, "Cortex-M3"},
    {0x03000021, "Cortex-M3"},
    {0x05FFFFFF, "XScale"},
    {0x060000FF, "Cortex-M0"},
    {0x060100FF, "Cortex-M23"},
    {0x07FFFFFF, "ARM7"},
    {0x070000FF, "ARM7TDMI"},
    {0x0700003F, "ARM7TDMI"},
    {0x0700004F, "ARM7TDMI"},
    {0x070001FF, "ARM7TDMI-S"},
    {0x0700013F, "ARM7TDMI-S"},
    {0x0700014F, "ARM7TDMI-S"},
    {0x080000FF, "Cortex-A8"},
    {0x080800FF, "Cortex-A7"},
    {0x080900FF, "Cortex-A9"},
    {0x080A00FF, "Cortex-A12"},
    {0x080B00FF, "Cortex-A15"},
    {0x080C00FF, "Cortex-A17"},
    {0x09FFFFFF, "ARM9"},
    {0x090001FF, "ARM9TDMI-S"},
    {0x092000FF, "ARM920T"},
    {0x092200FF, "ARM922T"},
    {0x092601FF, "ARM926EJ-S"},
    {0x094601FF, "ARM946E-S"},
    {0x096601FF, "ARM966E-S"},
    {0x096801FF, "ARM968E-S"},
    {0x0BFFFFFF, "ARM11"},
    {0x0B36FFFF, "ARM1136"},
    {0x0B3602FF, "ARM1136J"},
    {0x0B3603FF, "ARM1136J-S"},
    {0x0B3606FF, "ARM1136JF"},
    {0x0B3607FF, "ARM1136JF-S"},
    {0x0B56FFFF, "ARM1156"},
    {0x0B76FFFF, "ARM1176"},
    {0x0B7602FF, "ARM1176J"},
    {0x0B7603FF, "ARM1176J-S"},
    {0x0B7606FF, "ARM1176JF-S"},
    {0x0B7607FF, "ARM1176JF-S"},
    {0x0C0000FF, "Cortex-R4"},
    {0x0C0100FF, "Cortex-R5"},
    {0x0C0200FF, "Cortex-R8"},
    {0x0DFFFFFF, "RX"},
    {0x0D00FFFF, "RX610"},
    {0x0D01FFFF, "RX62N"},
    {0x0D02FFFF, "RX62T"},
    {0x0D03FFFF, "RX63N"},
    {0x0D04FFFF, "RX630"},
    {0x0D05FFFF, "RX63T"},
    {0x0D06FFFF, "RX621"},
    {0x0D07FFFF, "RX62G"},
    {0x0D08FFFF, "RX631"},
    {0x0D09FFFF, "RX65N"},
    {0x0D10FFFF, "RX210"},
    {0x0D11FFFF, "RX21A"},
    {0x0D12FFFF, "RX220"},
    {0x0D13FFFF, "RX230"},
    {0x0D14FFFF, "RX231"},
    {0x0D15FFFF, "RX23T"},
    {0x0D16FFFF, "RX24T"},
    {0x0D20FFFF, "RX111"},
    {0x0D21FFFF, "RX110"},
    {0x0D22FFFF, "RX113"},
    {0x0D23FFFF, "RX130"},
    {0x0D30FFFF, "RX64M"},
    {0x0D31FFFF, "RX71M"},
    {0x0E0000FF, "Cortex-M4"},
    {0x0E0100FF, "Cortex-M7"},
    {0x0E0200FF, "Cortex-M33"},
    {0x0F0000FF, "Cortex-A5"},
    {0x1400FFFF, "Cortex-A53"},
    {0x1401FFFF, "Cortex-A57"},
    {0x1402FFFF, "Cortex-A72"},
    {0x10FFFFFF, "PowerPC"},
    {0x10FF00FF, "PowerPC (Nexus 1)"},
    {0x10FF01FF, "PowerPC (Nexus 2)"},
    {0x11FFFFFF, "MIPS"},
    {0x1100FFFF, "M4K"},
    {0x1101FFFF, "MicroAptiv"},
    {0x1102FFFF, "M14K"},
    {0x12FFFFFF, "CIP51"},
    {0x1200FFFF, "CIP51"},
    {0x13FFFFFF, "RV32"},
    {0x13FFFFFF, "RV32"},
    {0x1300FFFF, "RV64"},
    {0x1500FFFF, "BT5511"},
});
static_assert(kCoreRows.size() == 91);

} // namespace

const char *CoreName(std::uint32_t coreId)
{
    const auto row = std::find_if(kCoreRows.begin(), kCoreRows.end(),
        [coreId](const CoreRow &candidate) { return candidate.id == coreId; });
    return row != kCoreRows.end() ? row->name : kUnknownCoreName;
}
