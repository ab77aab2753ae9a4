#include "settingsstore.h"

#include "settingsline.h"
#include "settingsoperation.h"
#include "settingsvalue.h"
#include "utiltext.h"

#include <algorithm>
#include <climits>
#include <cstring>

namespace {

int WriteLine(const char *section, const char *key, SettingsKeyForm form, const SettingsLine &line)
{
    SettingsOperation operation;
    if (operation.PrepareChange()) {
        if (line.Fits() && operation.Image().ReplaceKey(section, key, form, line.Text()))
            operation.SetChanged();
        else
            operation.Refuse(SysFileResult::TransferFailed);
    }
    return operation.End();
}

template <typename Value>
int WriteArray(const char *section, const char *key, std::span<const Value> values)
{
    SettingsLine line;
    line.Add("%s[%d] = ", key, static_cast<int>(values.size()));
    const char *separator = "";
    for (const Value value : values) {
        line.Add("%s%d", separator, value);
        separator = ", ";
    }
    line.Add("\r\n");
    return WriteLine(section, key, SettingsKeyForm::Array, line);
}

/// Finds a key and hands its value to a reader, which reports problems in the value's error.
template <typename Reader>
int ReadValue(const char *section, const char *key, SettingsKeyForm form, Reader reader)
{
    SettingsOperation operation;
    if (!operation.IsReady())
        return SETTINGS_ERROR;
    const std::optional<std::string_view> line = operation.Image().FindKey(section, key, form);
    if (!line)
        return SETTINGS_ERROR;
    SettingsValue value(*line, key, form);
    if (!UTIL_HasFailed(value.error))
        reader(value);
    if (!UTIL_HasFailed(value.error))
        return SETTINGS_OK;
    SettingsMessage message;
    UTIL_Format(message, "Error while parsing subkey \"%s\" in settings file. Syntax error.", key);
    SETTINGS_ReportQuietly(message.data());
    return SETTINGS_ERROR;
}

} // namespace

int SETTINGS_WriteDecimal(const char *section, const char *key, std::int32_t value)
{
    SettingsLine line;
    line.Add("%s = %d\r\n", key, value);
    return WriteLine(section, key, SettingsKeyForm::Plain, line);
}

int SETTINGS_WriteHex(const char *section, const char *key, std::uint32_t value)
{
    SettingsLine line;
    line.Add("%s = 0x%.2X\r\n", key, value);
    return WriteLine(section, key, SettingsKeyForm::Plain, line);
}

int SETTINGS_WriteText(const char *section, const char *key, const char *text)
{
    constexpr std::uint32_t kEndChars = 3; // quote and line end
    const char *const shown = text ? text : "";
    SettingsLine line;
    line.Add("%s=\"", key);
    const auto length = static_cast<std::uint32_t>(std::strcspn(shown, "\r\n"));
    line.AddText(shown, std::min(length, line.Room() - std::min(line.Room(), kEndChars)));
    line.Add("\"\r\n");
    return WriteLine(section, key, SettingsKeyForm::Plain, line);
}

int SETTINGS_WriteBytes(const char *section, const char *key, std::span<const std::uint8_t> values)
{
    return WriteArray(section, key, values);
}

int SETTINGS_WriteWords(const char *section, const char *key, std::span<const std::uint32_t> values)
{
    return WriteArray(section, key, values);
}

int SETTINGS_WriteFourInts(
    const char *section, const char *key, const std::array<std::int32_t, 4> &values)
{
    SettingsLine line;
    line.Add("%s = %d, %d, %d, %d\r\n", key, values[0], values[1], values[2], values[3]);
    return WriteLine(section, key, SettingsKeyForm::Plain, line);
}

int SETTINGS_WriteHexBytes(
    const char *section, const char *key, std::span<const std::uint8_t> values)
{
    constexpr std::uint32_t kByteAndEndChars = 5; // two digits, quote and line end
    SettingsLine line;
    line.Add("%s=\"", key);
    for (const std::uint8_t value : values) {
        if (line.Room() < kByteAndEndChars)
            break;
        line.Add("%02X", value); // deliberate: padded with blanks, as in existing files
    }
    line.Add("\"\r\n");
    return WriteLine(section, key, SettingsKeyForm::Plain, line);
}

int SETTINGS_ReadDecimal(const char *section, const char *key, std::int32_t &value)
{
    return ReadValue(section, key, SettingsKeyForm::Plain, [&](SettingsValue &text) {
        std::int32_t read = 0;
        UTIL_ReadDecimal(text.error, text.cursor, 0, INT_MAX, read);
        if (SETTINGS_ExpectEnd(text))
            value = read;
    });
}

int SETTINGS_ReadHex(const char *section, const char *key, std::uint32_t &value)
{
    return ReadValue(section, key, SettingsKeyForm::Plain, [&](SettingsValue &text) {
        UTIL_ExpectText(text.error, text.cursor, "0x");
        std::uint32_t read = 0;
        UTIL_ReadHex(text.error, text.cursor, 0, UINT_MAX, read);
        if (SETTINGS_ExpectEnd(text))
            value = read;
    });
}

int SETTINGS_ReadText(const char *section, const char *key, std::span<char> text)
{
    if (!text.empty())
        text[0] = '\0';
    return ReadValue(section, key, SettingsKeyForm::Plain,
        [&](SettingsValue &value) { UTIL_ReadQuotedLenient(value.error, value.cursor, text); });
}

int SETTINGS_ReadBytes(
    const char *section, const char *key, std::span<std::uint8_t> values, std::uint32_t &count)
{
    return ReadValue(section, key, SettingsKeyForm::Array,
        [&](SettingsValue &text) { SETTINGS_ParseBytes(text, values, count); });
}

int SETTINGS_ReadWords(
    const char *section, const char *key, std::span<std::uint32_t> values, std::uint32_t &count)
{
    return ReadValue(section, key, SettingsKeyForm::Array,
        [&](SettingsValue &text) { SETTINGS_ParseWords(text, values, count); });
}

int SETTINGS_ReadFourInts(const char *section, const char *key, std::array<std::int32_t, 4> &values)
{
    return ReadValue(section, key, SettingsKeyForm::Plain,
        [&](SettingsValue &text) { SETTINGS_ParseFourInts(text, values); });
}

int SETTINGS_ReadHexBytes(
    const char *section, const char *key, std::span<std::uint8_t> values, std::uint32_t &count)
{
    return ReadValue(section, key, SettingsKeyForm::Plain,
        [&](SettingsValue &text) { SETTINGS_ParseHexBytes(text, values, count); });
}

int SETTINGS_DeleteKey(const char *section, const char *key)
{
    SettingsOperation operation;
    const bool mayChange = operation.PrepareChange();
    for (const SettingsKeyForm form : {SettingsKeyForm::Plain, SettingsKeyForm::Array}) {
        if (mayChange && operation.Image().RemoveKey(section, key, form))
            operation.SetChanged();
    }
    return operation.End();
}

const char *SETTINGS_GetPath()
{
    SettingsStore &store = SETTINGS_TheStore();
    if (store.path[0] == '\0')
        SETTINGS_ComposeDefaultPath(store.path);
    return store.path.data();
}

void SETTINGS_SetPath(const char *path)
{
    SettingsStore &store = SETTINGS_TheStore();
    const SysLock lock(store.mutex); // there is none before the first load
    if (std::strcmp(store.path.data(), path) == 0)
        return;
    UTIL_CopyText(store.path, path);
    if (store.state == kSettingsLoaded)
        store.state = kSettingsReloadNeeded;
}

void SETTINGS_CloseStore()
{
    SettingsStore &store = SETTINGS_TheStore();
    SYS_CloseMutex(&store.mutex);
    store.state = kSettingsNotLoaded;
}

SettingsBatch::SettingsBatch()
    : m_operation(std::make_unique<SettingsOperation>())
{
}

SettingsBatch::~SettingsBatch() = default;

void SETTINGS_SetQuietReport(SettingsQuietReport report)
{
    SETTINGS_TheStore().quietReport = report;
}
