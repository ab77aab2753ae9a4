#include "windowslots.h"

#include <array>
#include <cstddef>

namespace {

struct SlotMemory {
    std::array<std::uint8_t, kMaxCacheBytes> data;
    std::array<ByteStatus, kMaxCacheBytes> status;
};

struct SlotTable {
    std::array<SlotMemory, kWindowSlots> memory;
    std::array<bool, kWindowSlots> taken;
};

SlotTable &Table()
{
    static SlotTable table; // zero at start: the system maps its pages only once they are written
    return table;
}

} // namespace

WindowSlot::WindowSlot()
{
    auto &taken = Table().taken;
    for (std::size_t slot = 0; slot < taken.size() && m_number < 0; ++slot) {
        if (!taken[slot]) {
            taken[slot] = true;
            m_number = int(slot);
        }
    }
}

WindowSlot::~WindowSlot()
{
    if (m_number >= 0)
        Table().taken[std::size_t(m_number)] = false;
}

std::span<std::uint8_t> WindowSlot::Data() const
{
    if (m_number < 0)
        return {};
    return Table().memory[std::size_t(m_number)].data;
}

std::span<ByteStatus> WindowSlot::Status() const
{
    if (m_number < 0)
        return {};
    return Table().memory[std::size_t(m_number)].status;
}
