#pragma once

#include <cstdint>
#include <span>

// Scanning functions that read values from a text through a cursor.
//
// The error is a text buffer of the caller. While it is empty nothing has failed yet; a failing
// read writes its message into it, and every later read does nothing, so that a chain of reads is
// checked once at its end. A successful read moves the cursor past what it consumed; a failing one
// leaves it where the failing token starts. Blanks are spaces and tabs. Numbers beyond the range of
// their type read as the nearest number that it holds. Texts may hold any bytes.

using UtilParseError = std::span<char>;

[[nodiscard]] bool UTIL_HasFailed(UtilParseError error);

/// Clears the error, so that reading can go on.
void UTIL_ClearError(UtilParseError error);

void UTIL_SkipBlanks(UtilParseError error, const char *&cursor);
/// Past the next run of carriage returns and line feeds, or to the end.
void UTIL_SkipLine(UtilParseError error, const char *&cursor);
/// Past blanks and one comma, if there is one.
void UTIL_SkipSeparator(UtilParseError error, const char *&cursor);

/// Exactly this character or text at the cursor; blanks are not skipped.
void UTIL_ExpectChar(UtilParseError error, const char *&cursor, char expected);
void UTIL_ExpectText(UtilParseError error, const char *&cursor, const char *expected);

// Words: after blanks, as many matching characters as the buffer holds beside the terminator; the
// rest stays unread. No matching character gives an empty word and is no error.

/// Letters A to Z and a to z.
void UTIL_ReadWord(UtilParseError error, const char *&cursor, std::span<char> word);
/// Letters and digits.
void UTIL_ReadAlphanumeric(UtilParseError error, const char *&cursor, std::span<char> word);
/// Letters, digits and underscores.
void UTIL_ReadIdentifier(UtilParseError error, const char *&cursor, std::span<char> word);

// Quoted texts: after blanks. They fail with UTIL_ERROR_MARK, which is not empty and not printable;
// the buffer stays unchanged then.

inline constexpr char UTIL_ERROR_MARK = '\x01';

/// The closing quote must be one of the first size - 1 characters behind the opening one.
void UTIL_ReadQuoted(UtilParseError error, const char *&cursor, std::span<char> text);
/// A longer text is cut to the buffer; a missing closing quote ends at the end of the text.
void UTIL_ReadQuotedLenient(UtilParseError error, const char *&cursor, std::span<char> text);

/// Hex digits after blanks, without a prefix. Above max reads as max; below min fails.
void UTIL_ReadHex(UtilParseError error, const char *&cursor, std::uint32_t min, std::uint32_t max,
    std::uint32_t &value);

/// A decimal number after blanks, with an optional sign.
/// Deliberate: min and max act on the magnitude, before the sign is applied, so "-5" passes a min
/// of 0. Above max reads as max; below min fails.
void UTIL_ReadDecimal(UtilParseError error, const char *&cursor, std::int32_t min, std::int32_t max,
    std::int32_t &value);

/// "0x" and hex digits, or a decimal number with an optional sign, after blanks; without any digit
/// it is 0. Outside min to max fails.
void UTIL_ReadInt64(UtilParseError error, const char *&cursor, std::int64_t min, std::int64_t max,
    std::int64_t &value);

/// A number with optional sign and fraction but no exponent, after blanks; the separator behind it
/// is skipped too. A comma right at the cursor is 0 and stays.
void UTIL_ReadReal(UtilParseError error, const char *&cursor, double &value);
