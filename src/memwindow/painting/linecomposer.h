#pragma once

#include "memtypes.h"

#include <array>
#include <cstdint>
#include <span>

/// Buffer size of one line; the last character is kept for the terminator.
inline constexpr int kLineChars = 2000;
inline constexpr int kMaxColourRuns = 256;

/// Characters of a line that show recently changed bytes.
struct ColourRun {
    int start = 0;        ///< character column
    int length = 0;       ///< characters
    std::uint8_t age = 0; ///< 1 to 3
};

/// One row as text and colour runs.
struct ComposedLine {
    std::array<char, kLineChars> text; ///< Latin-1; column c is text[c]; a blank follows
    int length = 0;                    ///< characters, without the line feed
    std::array<ColourRun, kMaxColourRuns> runs;
    int runCount = 0;

    [[nodiscard]] std::span<const ColourRun> Runs() const
    {
        return std::span(runs).first(std::size_t(runCount));
    }
};

/// Writes rows of the view into fixed buffers, without allocation.
class LineComposer {
public:
    LineComposer(int bytesPerItem, bool bigEndian)
        : m_bytesPerItem(bytesPerItem)
        , m_bigEndian(bigEndian)
    {
    }

    /// Address column, hex column, text column and, where at least 3 characters of room remain, a
    /// line feed. What does not fit is left out.
    /// @param address  of the row; its low 32 bits are shown
    /// @param length   bytes of the row
    /// @param data, status  length entries each; null: a row of which nothing was read
    /// @return the end of the written text
    char *ComposeLine(char *buffer, char *bufferEnd, std::uint64_t address, std::uint32_t length,
        const std::uint8_t *data, const ByteStatus *status) const;

    /// Composes one row and the colour runs of its changed bytes.
    /// @param ages  length change ages, or null when no byte of the row has one
    void ComposeRow(std::uint64_t address, std::uint32_t length, const std::uint8_t *data,
        const ByteStatus *status, const std::uint8_t *ages, ComposedLine &line) const;

private:
    char *ComposeHexColumn(char *out, char *end, std::uint32_t length, const std::uint8_t *data,
        const ByteStatus *status) const;
    void AddRuns(std::uint32_t length, const ByteStatus *status, const std::uint8_t *ages,
        ComposedLine &line) const;

    int m_bytesPerItem;
    bool m_bigEndian;
};

/// A number as upper-case hex digits.
/// @param digits  2, 4 or 8; the value is cut to as many. Anything else gives an empty text.
/// @return the text, in a static buffer of 256 characters that the next call overwrites
const char *FormatItemValue(std::uint64_t value, int digits, bool withPrefix);
