#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string>

/// Hands out a fuzzer's input piece by piece; zeros behind its end.
class FuzzInput {
public:
    FuzzInput(const std::uint8_t *data, std::size_t size)
        : m_rest(data, size)
    {
    }

    std::uint8_t Byte()
    {
        if (m_rest.empty())
            return 0;
        const std::uint8_t byte = m_rest.front();
        m_rest = m_rest.subspan(1);
        return byte;
    }

    std::uint64_t Word()
    {
        std::uint64_t word = 0;
        for (int i = 0; i < 8; ++i)
            word = word << 8 | Byte();
        return word;
    }

    /// At most `length` bytes.
    std::string Text(std::size_t length)
    {
        const std::size_t count = length < m_rest.size() ? length : m_rest.size();
        const std::string text(m_rest.begin(), m_rest.begin() + static_cast<std::ptrdiff_t>(count));
        m_rest = m_rest.subspan(count);
        return text;
    }

    std::string Rest() { return Text(m_rest.size()); }

private:
    std::span<const std::uint8_t> m_rest;
};

/// Ends the run when something that must hold does not.
inline void FuzzRequire(bool holds, const char *what)
{
    if (holds)
        return;
    std::fprintf(stderr, "Does not hold: %s\n", what);
    std::abort();
}
