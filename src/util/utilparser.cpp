#include "utilparser.h"

#include "utilformat.h"
#include "utiltext.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace {

bool IsBlank(char c)
{
    return c == ' ' || c == '\t';
}

bool IsLineEnd(char c)
{
    return c == '\r' || c == '\n';
}

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool IsLetter(char c)
{
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

bool IsAlphanumeric(char c)
{
    return IsLetter(c) || IsDigit(c);
}

bool IsIdentifier(char c)
{
    return IsAlphanumeric(c) || c == '_';
}

/// The value of a hex digit, or 16.
unsigned HexValue(char c)
{
    if (IsDigit(c))
        return static_cast<unsigned>(c - '0');
    if (c >= 'a' && c <= 'f')
        return static_cast<unsigned>(c - 'a') + 10;
    if (c >= 'A' && c <= 'F')
        return static_cast<unsigned>(c - 'A') + 10;
    return 16;
}

const char *BehindBlanks(const char *cursor)
{
    while (IsBlank(*cursor))
        ++cursor;
    return cursor;
}

template <typename... Args> void Fail(UtilParseError error, const char *format, Args... args)
{
    UTIL_Format(error.data(), static_cast<std::uint32_t>(error.size()), format, args...);
}

void FailWithMark(UtilParseError error)
{
    constexpr char kMark[] = {UTIL_ERROR_MARK, '\0'};
    UTIL_CopyText(error.data(), kMark, static_cast<std::uint32_t>(error.size()));
}

/// Reads digits of a base up to 16; what does not fit into 64 bits reads as the highest number.
std::uint64_t ReadDigits(const char *&cursor, unsigned base)
{
    constexpr std::uint64_t kMax = std::numeric_limits<std::uint64_t>::max();
    std::uint64_t value = 0;
    for (unsigned digit = HexValue(*cursor); digit < base; digit = HexValue(*++cursor))
        value = value > (kMax - digit) / base ? kMax : value * base + digit;
    return value;
}

/// @return whether there was a minus sign
bool ReadSign(const char *&cursor)
{
    const bool negative = *cursor == '-';
    if (negative || *cursor == '+')
        ++cursor;
    return negative;
}

void ReadWhile(
    bool (*matches)(char), UtilParseError error, const char *&cursor, std::span<char> word)
{
    if (UTIL_HasFailed(error) || word.empty())
        return;
    cursor = BehindBlanks(cursor);
    std::size_t length = 0;
    while (length + 1 < word.size() && matches(*cursor))
        word[length++] = *cursor++;
    word[length] = '\0';
}

/// @param lenient  takes also what is longer than the buffer or has no closing quote
void ReadQuoted(UtilParseError error, const char *&cursor, std::span<char> text, bool lenient)
{
    if (UTIL_HasFailed(error) || text.empty())
        return;
    cursor = BehindBlanks(cursor);
    if (*cursor != '"') {
        FailWithMark(error);
        return;
    }
    const char *const first = cursor + 1;
    const std::size_t length = std::strcspn(first, "\"");
    if (!lenient && (length + 1 >= text.size() || first[length] == '\0')) {
        FailWithMark(error);
        return;
    }
    const std::size_t kept = std::min(length, text.size() - 1);
    std::memcpy(text.data(), first, kept);
    text[kept] = '\0';
    cursor = first + length + (first[length] == '"' ? 1 : 0);
}

} // namespace

bool UTIL_HasFailed(UtilParseError error)
{
    return !error.empty() && error[0] != '\0';
}

void UTIL_ClearError(UtilParseError error)
{
    if (!error.empty())
        error[0] = '\0';
}

void UTIL_SkipBlanks(UtilParseError error, const char *&cursor)
{
    if (!UTIL_HasFailed(error))
        cursor = BehindBlanks(cursor);
}

void UTIL_SkipLine(UtilParseError error, const char *&cursor)
{
    if (UTIL_HasFailed(error))
        return;
    while (*cursor != '\0' && !IsLineEnd(*cursor))
        ++cursor;
    while (IsLineEnd(*cursor))
        ++cursor;
}

void UTIL_SkipSeparator(UtilParseError error, const char *&cursor)
{
    if (UTIL_HasFailed(error))
        return;
    cursor = BehindBlanks(cursor);
    if (*cursor == ',')
        ++cursor;
}

void UTIL_ExpectChar(UtilParseError error, const char *&cursor, char expected)
{
    if (UTIL_HasFailed(error))
        return;
    if (*cursor != expected)
        Fail(error, "Expected '%c', got '%c'", expected, *cursor);
    else if (*cursor != '\0')
        ++cursor;
}

void UTIL_ExpectText(UtilParseError error, const char *&cursor, const char *expected)
{
    if (UTIL_HasFailed(error))
        return;
    const std::uint32_t length = UTIL_TextLength(expected);
    if (std::strncmp(cursor, expected, length) == 0)
        cursor += length;
    else
        Fail(error, "Expected \"%s\"", expected);
}

void UTIL_ReadWord(UtilParseError error, const char *&cursor, std::span<char> word)
{
    ReadWhile(&IsLetter, error, cursor, word);
}

void UTIL_ReadAlphanumeric(UtilParseError error, const char *&cursor, std::span<char> word)
{
    ReadWhile(&IsAlphanumeric, error, cursor, word);
}

void UTIL_ReadIdentifier(UtilParseError error, const char *&cursor, std::span<char> word)
{
    ReadWhile(&IsIdentifier, error, cursor, word);
}

void UTIL_ReadQuoted(UtilParseError error, const char *&cursor, std::span<char> text)
{
    ReadQuoted(error, cursor, text, false);
}

void UTIL_ReadQuotedLenient(UtilParseError error, const char *&cursor, std::span<char> text)
{
    ReadQuoted(error, cursor, text, true);
}

void UTIL_ReadHex(UtilParseError error, const char *&cursor, std::uint32_t min, std::uint32_t max,
    std::uint32_t &value)
{
    if (UTIL_HasFailed(error))
        return;
    cursor = BehindBlanks(cursor);
    const char *next = cursor;
    const std::uint64_t number = ReadDigits(next, 16);
    if (next == cursor) {
        Fail(error, "Expecting a number");
        return;
    }
    if (min > number) {
        Fail(error, "Expected a value >= %x", min);
        return;
    }
    cursor = next;
    value = static_cast<std::uint32_t>(std::min<std::uint64_t>(number, max));
}

void UTIL_ReadDecimal(UtilParseError error, const char *&cursor, std::int32_t min, std::int32_t max,
    std::int32_t &value)
{
    if (UTIL_HasFailed(error))
        return;
    cursor = BehindBlanks(cursor);
    const char *next = cursor;
    const bool negative = ReadSign(next);
    if (next == cursor && !IsDigit(*next)) {
        Fail(error, "Expecting a number");
        return;
    }
    constexpr std::uint64_t kHighest = std::numeric_limits<std::int32_t>::max();
    const auto magnitude = static_cast<std::int64_t>(std::min(ReadDigits(next, 10), kHighest));
    if (magnitude < min) {
        Fail(error, "Expected a value >= %d", min);
        return;
    }
    cursor = next;
    const std::int64_t clamped = std::min<std::int64_t>(max, magnitude);
    value = static_cast<std::int32_t>(negative ? -clamped : clamped);
}

void UTIL_ReadInt64(UtilParseError error, const char *&cursor, std::int64_t min, std::int64_t max,
    std::int64_t &value)
{
    if (UTIL_HasFailed(error))
        return;
    cursor = BehindBlanks(cursor);
    const char *next = cursor;
    bool negative = false;
    unsigned base = 10;
    if (next[0] == '0' && next[1] == 'x') {
        base = 16;
        next += 2;
    } else {
        negative = ReadSign(next);
    }
    constexpr auto kHighest = std::uint64_t{1} << 63;
    const std::uint64_t magnitude
        = std::min(ReadDigits(next, base), negative ? kHighest : kHighest - 1);
    const auto number = static_cast<std::int64_t>(negative ? 0 - magnitude : magnitude);
    if (number < min) {
        Fail(error, "Expected a value >= %lld", min);
    } else if (number > max) {
        Fail(error, "Expected a value <= %lld", max);
    } else {
        cursor = next;
        value = number;
    }
}

void UTIL_ReadReal(UtilParseError error, const char *&cursor, double &value)
{
    if (UTIL_HasFailed(error))
        return;
    value = 0.0;
    if (*cursor == ',')
        return;
    cursor = BehindBlanks(cursor);
    const bool negative = ReadSign(cursor);
    for (; IsDigit(*cursor); ++cursor)
        value = value * 10 + (*cursor - '0');
    if (*cursor == '.') {
        // A double cannot hold more digits, and very many would exceed its range.
        constexpr double kFinest = 1e18;
        double digits = 0.0;
        double scale = 1.0;
        for (++cursor; IsDigit(*cursor); ++cursor) {
            if (scale < kFinest) {
                digits = digits * 10 + (*cursor - '0');
                scale *= 10;
            }
        }
        value += digits / scale;
    }
    if (negative)
        value = -value;
    UTIL_SkipSeparator(error, cursor);
}
