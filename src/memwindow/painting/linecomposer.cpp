#include "linecomposer.h"

#include "changeages.h"
#include "viewgeometry.h"

#include "utilhex.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr int kAddressDigits = 8;

char PlaceholderOf(ByteStatus status)
{
    return status == ByteStatus::NotLoaded ? '.' : '-';
}

/// Which bytes the text column shows as they are. A blank is shown as a dot too, on purpose: it
/// tells a byte 20 from the room beside the text.
constexpr std::array<char, 256> kTextCharacters = [] {
    std::array<char, 256> characters{};
    for (unsigned byte = 0; byte < 256; ++byte) {
        const bool hidden = byte < 33 || (byte >= 127 && byte <= 160) || byte == 173;
        characters[byte] = hidden ? '.' : char(byte);
    }
    return characters;
}();

/// One item, most significant digit first. Its first byte decides between value and placeholder;
/// inside a value the digits of a byte that was not read are placeholders all the same, so that no
/// digit is shown that the target did not give.
template <int BytesPerItem>
char *PutItem(char *out, const std::uint8_t *data, const ByteStatus *status, bool bigEndian)
{
    for (int i = 0; i < BytesPerItem; ++i) {
        const int byte = bigEndian ? i : BytesPerItem - 1 - i;
        const ByteStatus shown = status[0] != ByteStatus::Valid ? status[0] : status[byte];
        if (shown == ByteStatus::Valid) {
            out = UTIL_PutHexByte(out, data[byte]);
        } else {
            *out++ = PlaceholderOf(shown);
            *out++ = PlaceholderOf(shown);
        }
    }
    return out;
}

char *PutItemOf(
    int bytesPerItem, char *out, const std::uint8_t *data, const ByteStatus *status, bool bigEndian)
{
    switch (bytesPerItem) {
    case 1:
        return PutItem<1>(out, data, status, bigEndian);
    case 2:
        return PutItem<2>(out, data, status, bigEndian);
    default:
        return PutItem<4>(out, data, status, bigEndian);
    }
}

/// The age that colours an item: the smallest of its changed bytes; 0 when that is not coloured.
std::uint8_t ItemAge(const std::uint8_t *ages, int bytesPerItem)
{
    std::uint8_t youngest = 0;
    for (int i = 0; i < bytesPerItem; ++i) {
        if (ages[i] != 0 && (youngest == 0 || ages[i] < youngest))
            youngest = ages[i];
    }
    return youngest <= ChangeAges::kLastColoured ? youngest : std::uint8_t{0};
}

void AddRun(ComposedLine &line, int start, int length, std::uint8_t age)
{
    if (line.runCount < kMaxColourRuns)
        line.runs[std::size_t(line.runCount++)] = {start, length, age};
}

} // namespace

char *LineComposer::ComposeLine(char *buffer, char *bufferEnd, std::uint64_t address,
    std::uint32_t length, const std::uint8_t *data, const ByteStatus *status) const
{
    if (bufferEnd - buffer < ViewGeometry::kHexColumnStart)
        return buffer;
    char *out = UTIL_PutHex(buffer, address & 0xFFFFFFFF, kAddressDigits);
    *out++ = ' ';
    *out++ = ' ';
    const bool anythingRead = data != nullptr && status != nullptr;
    out = ComposeHexColumn(out, bufferEnd, length, data, anythingRead ? status : nullptr);
    if (out == nullptr) // the row is wider than the buffer, so nothing after it fits either
        return bufferEnd;
    if (out < bufferEnd)
        *out++ = ' ';
    const auto shown = std::min<std::uint32_t>(length, std::uint32_t(bufferEnd - out));
    for (std::uint32_t i = 0; i < shown; ++i)
        out[i] = anythingRead && status[i] == ByteStatus::Valid ? kTextCharacters[data[i]] : '.';
    out += shown;
    if (bufferEnd - out >= 3)
        *out++ = '\n';
    return out;
}

/// @return the end of the written text, or null when not all of it fitted; the rest of the buffer
///         is blank then
char *LineComposer::ComposeHexColumn(char *out, char *end, std::uint32_t length,
    const std::uint8_t *data, const ByteStatus *status) const
{
    const std::uint32_t step = std::uint32_t(m_bytesPerItem);
    for (std::uint32_t first = 0; first + step <= length; first += step) {
        const bool groupGap
            = first + step < length && (first + step) % ViewGeometry::kGroupBytes == 0;
        if (end - out < 2 * m_bytesPerItem + 1 + int(groupGap)) {
            std::fill(out, end, ' ');
            return nullptr;
        }
        if (status != nullptr) {
            out = PutItemOf(m_bytesPerItem, out, data + first, status + first, m_bigEndian);
        } else {
            out = std::fill_n(out, 2 * m_bytesPerItem, PlaceholderOf(ByteStatus::NotLoaded));
        }
        *out++ = ' ';
        if (groupGap)
            *out++ = ' ';
    }
    return out;
}

void LineComposer::ComposeRow(std::uint64_t address, std::uint32_t length, const std::uint8_t *data,
    const ByteStatus *status, const std::uint8_t *ages, ComposedLine &line) const
{
    char *const buffer = line.text.data();
    const char *end = ComposeLine(buffer, buffer + kLineChars - 1, address, length, data, status);
    if (end > buffer && end[-1] == '\n')
        --end;
    line.length = int(end - buffer);
    line.text[std::size_t(line.length)] = ' ';
    line.runCount = 0;
    if (ages != nullptr && status != nullptr)
        AddRuns(length, status, ages, line);
}

void LineComposer::AddRuns(std::uint32_t length, const ByteStatus *status, const std::uint8_t *ages,
    ComposedLine &line) const
{
    std::uint32_t begin = 0; // of the bytes that have an age, mostly few
    while (begin < length && ages[begin] == 0)
        ++begin;
    std::uint32_t end = length;
    while (end > begin && ages[end - 1] == 0)
        --end;
    const std::uint32_t step = std::uint32_t(m_bytesPerItem);
    const std::uint32_t itemBytes = length / step * step;
    const auto columnOf = [step](std::uint32_t first) {
        return ViewGeometry::kHexColumnStart
            + int(first / step * (2 * step + 1) + first / ViewGeometry::kGroupBytes);
    };
    std::uint32_t first = begin / step * step;
    int column = columnOf(first);
    for (const std::uint32_t itemsEnd = std::min(end, itemBytes); first < itemsEnd; first += step) {
        const std::uint8_t age = ItemAge(ages + first, m_bytesPerItem);
        if (age != 0 && status[first] == ByteStatus::Valid)
            AddRun(line, column, 2 * m_bytesPerItem, age);
        column += 2 * m_bytesPerItem + 1;
        if ((first + step) % ViewGeometry::kGroupBytes == 0)
            ++column;
    }
    // Behind the last item, its blank and one more; a row shorter than an item has none.
    const int textColumn = itemBytes == 0 ? ViewGeometry::kHexColumnStart + 1
                                          : columnOf(itemBytes - step) + 2 * m_bytesPerItem + 2;
    for (std::uint32_t i = begin; i < end; ++i) {
        if (ages[i] != 0 && ages[i] <= ChangeAges::kLastColoured)
            AddRun(line, textColumn + int(i), 1, ages[i]);
    }
}

const char *FormatItemValue(std::uint64_t value, int digits, bool withPrefix)
{
    static std::array<char, 256> text;
    char *out = text.data();
    if (digits == 2 || digits == 4 || digits == 8) {
        if (withPrefix) {
            *out++ = '0';
            *out++ = 'x';
        }
        out = UTIL_PutHex(out, value, unsigned(digits));
    }
    *out = '\0';
    return text.data();
}
