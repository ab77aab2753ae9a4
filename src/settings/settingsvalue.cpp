#include "settingsvalue.h"

#include "utilformat.h"
#include "utiltext.h"

#include <algorithm>
#include <climits>
#include <cstring>

namespace {

template <typename Value>
void ParseArray(SettingsValue &value, std::int64_t min, std::int64_t max, std::span<Value> values,
    std::uint32_t &count)
{
    if (value.count > values.size()) {
        UTIL_Format(value.error, "More than %d elements", static_cast<int>(values.size()));
        return;
    }
    const char *const start = value.cursor;
    for (const bool store : {false, true}) { // stores only after all elements have been read once
        value.cursor = start;
        for (std::uint32_t i = 0; i < value.count && !UTIL_HasFailed(value.error); ++i) {
            std::int64_t element = 0;
            UTIL_SkipBlanks(value.error, value.cursor);
            if (*value.cursor == '\0')
                UTIL_CopyText(value.error, "Too few elements");
            UTIL_ReadInt64(value.error, value.cursor, min, max, element);
            UTIL_SkipSeparator(value.error, value.cursor);
            if (store)
                values[i] = static_cast<Value>(element);
        }
        if (!SETTINGS_ExpectEnd(value))
            return;
    }
    count = value.count;
}

/// The value of a digit of a hex byte string, or -1. A blank stands for 0: existing files hold
/// small bytes padded with blanks.
int HexDigitValue(char digit)
{
    constexpr char kDigits[] = "0123456789ABCDEF";
    if (digit == ' ')
        return 0;
    if (digit >= 'a' && digit <= 'f')
        return digit - 'a' + 10;
    const char *const found = std::strchr(kDigits, digit);
    return digit != '\0' && found ? static_cast<int>(found - kDigits) : -1;
}

} // namespace

SettingsValue::SettingsValue(std::string_view line, const char *key, SettingsKeyForm form)
{
    text[line.copy(text.data(), line.size())] = '\0';
    UTIL_SkipBlanks(error, cursor);
    UTIL_ExpectText(error, cursor, key);
    if (form == SettingsKeyForm::Array) {
        std::int32_t number = 0;
        UTIL_ExpectChar(error, cursor, '[');
        UTIL_ReadDecimal(error, cursor, 0, INT_MAX, number);
        UTIL_ExpectChar(error, cursor, ']');
        count = static_cast<std::uint32_t>(number);
    }
    UTIL_SkipBlanks(error, cursor);
    UTIL_ExpectChar(error, cursor, '=');
    UTIL_SkipBlanks(error, cursor);
}

bool SETTINGS_ExpectEnd(SettingsValue &value)
{
    UTIL_SkipBlanks(value.error, value.cursor);
    if (UTIL_HasFailed(value.error))
        return false;
    if (*value.cursor == '\0' || *value.cursor == ';' || *value.cursor == '#')
        return true;
    UTIL_CopyText(value.error, "Something else follows the value");
    return false;
}

void SETTINGS_ParseBytes(SettingsValue &value, std::span<std::uint8_t> bytes, std::uint32_t &count)
{
    ParseArray(value, 0, UINT8_MAX, bytes, count);
}

void SETTINGS_ParseWords(SettingsValue &value, std::span<std::uint32_t> words, std::uint32_t &count)
{
    ParseArray(value, INT32_MIN, UINT32_MAX, words, count);
}

void SETTINGS_ParseFourInts(SettingsValue &value, std::array<std::int32_t, 4> &numbers)
{
    std::array<std::int32_t, 4> read{};
    for (std::int32_t &number : read) {
        UTIL_ReadDecimal(value.error, value.cursor, 0, INT_MAX, number);
        UTIL_SkipSeparator(value.error, value.cursor);
    }
    if (SETTINGS_ExpectEnd(value))
        numbers = read;
}

void SETTINGS_ParseHexBytes(
    SettingsValue &value, std::span<std::uint8_t> bytes, std::uint32_t &count)
{
    UTIL_ExpectChar(value.error, value.cursor, '"');
    if (UTIL_HasFailed(value.error))
        return;
    const std::size_t length = std::strcspn(value.cursor, "\"");
    if (value.cursor[length] != '"') {
        UTIL_CopyText(value.error, "Expected '\"'");
    } else if (length % 2 != 0) {
        UTIL_CopyText(value.error, "Odd length is illegal");
    } else if (length / 2 > bytes.size()) {
        UTIL_CopyText(value.error, "HexString too long");
    } else if (!std::all_of(value.cursor, value.cursor + length,
                   [](char digit) { return HexDigitValue(digit) >= 0; })) {
        UTIL_CopyText(value.error, "Not a hex value");
    } else {
        count = static_cast<std::uint32_t>(length / 2);
        for (std::size_t i = 0; i < count; ++i)
            bytes[i] = static_cast<std::uint8_t>(
                HexDigitValue(value.cursor[2 * i]) * 16 + HexDigitValue(value.cursor[2 * i + 1]));
    }
}
