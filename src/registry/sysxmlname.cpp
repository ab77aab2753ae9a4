#include "sysxmlname.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace {

struct Range {
    char32_t first;
    char32_t last;
};

// The characters that XML allows at the start of a name, and those it allows behind it as well.
constexpr std::array kStartRanges = {Range{':', ':'}, Range{'A', 'Z'}, Range{'_', '_'},
    Range{'a', 'z'}, Range{0xC0, 0xD6}, Range{0xD8, 0xF6}, Range{0xF8, 0x2FF}, Range{0x370, 0x37D},
    Range{0x37F, 0x1FFF}, Range{0x200C, 0x200D}, Range{0x2070, 0x218F}, Range{0x2C00, 0x2FEF},
    Range{0x3001, 0xD7FF}, Range{0xF900, 0xFDCF}, Range{0xFDF0, 0xFFFD}, Range{0x10000, 0xEFFFF}};
constexpr std::array kFurtherRanges = {Range{'-', '.'}, Range{'0', '9'}, Range{0xB7, 0xB7},
    Range{0x300, 0x36F}, Range{0x203F, 0x2040}};

template <typename Ranges> bool IsIn(const Ranges &ranges, char32_t c)
{
    return std::ranges::any_of(ranges, [c](Range r) { return r.first <= c && c <= r.last; });
}

/// Takes one character off the front. @return 0, which no name holds, for malformed UTF-8
char32_t TakeCharacter(std::string_view &text)
{
    const auto lead = static_cast<std::uint8_t>(text[0]);
    text.remove_prefix(1);
    if (lead < 0x80)
        return lead;
    const std::size_t further = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : 1;
    if (lead < 0xC2 || lead > 0xF4 || text.size() < further)
        return 0;
    char32_t c = lead & (0x3FU >> further);
    for (std::size_t i = 0; i < further; ++i) {
        const auto byte = static_cast<std::uint8_t>(text[i]);
        if ((byte & 0xC0) != 0x80)
            return 0;
        c = (c << 6) | (byte & 0x3FU);
    }
    text.remove_prefix(further);
    // An encoding longer than needed would be a second spelling of the same name.
    constexpr std::array<char32_t, 4> kSmallest = {0, 0x80, 0x800, 0x10000};
    return c >= kSmallest[further] ? c : 0;
}

} // namespace

bool SYS_IsXmlName(std::string_view name)
{
    if (name.empty() || !IsIn(kStartRanges, TakeCharacter(name)))
        return false;
    while (!name.empty()) {
        const char32_t c = TakeCharacter(name);
        if (!IsIn(kStartRanges, c) && !IsIn(kFurtherRanges, c))
            return false;
    }
    return true;
}
