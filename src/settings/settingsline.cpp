#include "settingsline.h"

#include "utiltext.h"

#include <algorithm>
#include <cstring>

void SettingsLine::AddText(const char *text, std::uint32_t count)
{
    const std::uint32_t copied = std::min({count, UTIL_TextLength(text), RoomForFormat() - 1});
    std::memcpy(m_text.data() + m_length, text, copied);
    m_length += copied;
}
