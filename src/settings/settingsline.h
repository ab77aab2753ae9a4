#pragma once

#include "utilformat.h"

#include <array>
#include <cstdint>
#include <string_view>

/// One key line while it is put together, with its CR LF at the end.
class SettingsLine {
public:
    /// Longest line in characters.
    static constexpr std::uint32_t kMaxChars = 1999;

    /// Appends formatted text.
    template <typename... Args> void Add(const char *format, Args... args)
    {
        const char *const end
            = UTIL_Format(m_text.data() + m_length, RoomForFormat(), format, args...);
        m_length = static_cast<std::uint32_t>(end - m_text.data());
    }

    /// Appends at most `count` characters of a text.
    void AddText(const char *text, std::uint32_t count);

    /// Characters that still fit.
    [[nodiscard]] std::uint32_t Room() const
    {
        return m_length < kMaxChars ? kMaxChars - m_length : 0;
    }

    /// Whether everything that was added is there.
    [[nodiscard]] bool Fits() const { return m_length <= kMaxChars; }
    [[nodiscard]] std::string_view Text() const { return {m_text.data(), m_length}; }

private:
    [[nodiscard]] std::uint32_t RoomForFormat() const
    {
        return static_cast<std::uint32_t>(m_text.size()) - m_length;
    }

    // One character more than a line may have shows that something was cut.
    std::array<char, kMaxChars + 2> m_text{};
    std::uint32_t m_length = 0;
};
