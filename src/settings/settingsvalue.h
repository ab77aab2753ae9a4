#pragma once

#include "settingsimage.h"
#include "utilparser.h"

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

/// A key's value while it is read: the cursor stands behind "=" and blanks, and the text ends with
/// the line. Problems are reported in the error.
struct SettingsValue {
    std::array<char, 128> error{};
    std::array<char, SettingsImage::kCapacity + 1> text;
    const char *cursor = text.data();
    std::uint32_t count = 0; ///< of an array's elements, as its key says

    SettingsValue(std::string_view line, const char *key, SettingsKeyForm form);
    SettingsValue(const SettingsValue &) = delete; // the cursor points into the text
    SettingsValue &operator=(const SettingsValue &) = delete;
};

/// Whether the value ends here: only blanks and a comment, which begins with ';' or '#', may
/// follow. Anything else is an error, and there must have been none before.
bool SETTINGS_ExpectEnd(SettingsValue &value);

// Readers of the kinds of values that the token parser does not read. They fill their outputs only
// when the whole value could be read, and report a value with more elements than the output holds.

void SETTINGS_ParseBytes(SettingsValue &value, std::span<std::uint8_t> bytes, std::uint32_t &count);
/// Words are written as signed numbers; both readings are understood.
void SETTINGS_ParseWords(
    SettingsValue &value, std::span<std::uint32_t> words, std::uint32_t &count);
void SETTINGS_ParseFourInts(SettingsValue &value, std::array<std::int32_t, 4> &numbers);
void SETTINGS_ParseHexBytes(
    SettingsValue &value, std::span<std::uint8_t> bytes, std::uint32_t &count);
