#include "changeages.h"

#include <algorithm>
#include <cstring>

void ChangeAges::Clear()
{
    std::fill(m_ages.begin(), m_ages.end(), std::uint8_t{0});
    m_outside.clear();
    m_ticksLeft = 0;
}

void ChangeAges::MoveTo(PageRange page, bool keepsOutside)
{
    if (page == m_page)
        return;
    if (m_ticksLeft == 0) {
        m_ages.assign(page.length, 0);
        m_page = page;
        return;
    }
    const std::uint64_t keptFirst = std::clamp(page.base, m_page.base, m_page.End());
    const std::uint64_t keptEnd = std::clamp(page.End(), keptFirst, m_page.End());
    if (keepsOutside) {
        StoreOutside(m_page.base, keptFirst);
        StoreOutside(keptEnd, m_page.End());
    }
    const std::uint64_t kept = keptEnd - keptFirst;
    const std::uint64_t from = keptFirst - m_page.base;
    m_ages.resize(std::max(page.length, m_page.length));
    const std::uint64_t to = kept == 0 ? 0 : keptFirst - page.base;
    std::memmove(m_ages.data() + to, m_ages.data() + from, kept);
    std::fill_n(m_ages.begin(), to, std::uint8_t{0});
    std::fill(m_ages.begin() + std::ptrdiff_t(to + kept), m_ages.end(), std::uint8_t{0});
    m_ages.resize(page.length);
    m_page = page;
    TakeBackInside();
}

void ChangeAges::StoreOutside(std::uint64_t first, std::uint64_t end)
{
    for (std::uint64_t address = first; address < end; ++address) {
        if (const std::uint8_t age = m_ages[address - m_page.base])
            m_outside.push_back({address, age});
    }
}

void ChangeAges::TakeBackInside()
{
    std::erase_if(m_outside, [this](const Outside &entry) {
        if (!m_page.Contains(entry.address))
            return false;
        m_ages[entry.address - m_page.base] = entry.age;
        return true;
    });
}

void ChangeAges::SetChanged(std::uint64_t address)
{
    if (!m_page.Contains(address))
        return;
    m_ages[address - m_page.base] = 1;
    m_ticksLeft = kLastAge;
}

void ChangeAges::Age()
{
    if (m_ticksLeft == 0)
        return;
    if (--m_ticksLeft == 0) {
        Clear();
        return;
    }
    constexpr auto older
        = [](std::uint8_t age) { return std::uint8_t(age == 0 || age >= kLastAge ? 0 : age + 1); };
    for (std::uint8_t &age : m_ages)
        age = older(age);
    for (Outside &entry : m_outside)
        entry.age = older(entry.age);
    std::erase_if(m_outside, [](const Outside &entry) { return entry.age == 0; });
}

void ChangeAges::MarkAgedRows(std::uint32_t bytesPerRow, DirtyRows &rows) const
{
    if (m_ticksLeft == 0 || bytesPerRow == 0)
        return;
    for (std::uint64_t first = 0; first < m_ages.size(); first += bytesPerRow) {
        const auto row = m_ages.begin() + std::ptrdiff_t(first);
        const auto end
            = row + std::ptrdiff_t(std::min<std::uint64_t>(bytesPerRow, m_ages.size() - first));
        if (std::any_of(row, end, [](std::uint8_t age) { return age != 0; }))
            rows.Mark(first / bytesPerRow);
    }
}

std::uint8_t ChangeAges::AgeOf(std::uint64_t address) const
{
    return m_page.Contains(address) ? m_ages[address - m_page.base] : std::uint8_t{0};
}

const std::uint8_t *ChangeAges::AgesAt(std::uint64_t address, std::uint64_t length) const
{
    if (m_ticksLeft == 0 || !m_page.Contains(address) || m_page.End() - address < length)
        return nullptr;
    return m_ages.data() + (address - m_page.base);
}
