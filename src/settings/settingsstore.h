#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>

// Typed keys in the sections of one settings file. The whole file is kept as a text image in
// memory; every change is written back at once. All operations take the store's mutex for their
// whole run and are called from the GUI thread. Sections and keys are names of letters and digits.

inline constexpr int SETTINGS_OK = 0;
inline constexpr int SETTINGS_ERROR = 1;
inline constexpr std::uint32_t SETTINGS_MAX_PATH = 512;

// Writing. SETTINGS_ERROR: the key could not be saved and the user has been told. A change that
// does not fit into the image, or a line longer than 2000 characters, is refused and leaves
// everything as it was; one that could not be saved stays in the image and is saved with the next,
// unless another program changes the file before: then the file's contents count.

int SETTINGS_WriteDecimal(const char *section, const char *key, std::int32_t value);
int SETTINGS_WriteHex(const char *section, const char *key, std::uint32_t value);
/// The text ends at its first line break, which would start another key, and is cut to the line.
int SETTINGS_WriteText(const char *section, const char *key, const char *text);
int SETTINGS_WriteBytes(const char *section, const char *key, std::span<const std::uint8_t> values);
int SETTINGS_WriteWords(
    const char *section, const char *key, std::span<const std::uint32_t> values);
int SETTINGS_WriteFourInts(
    const char *section, const char *key, const std::array<std::int32_t, 4> &values);
/// As many bytes are written as fit into the line.
int SETTINGS_WriteHexBytes(
    const char *section, const char *key, std::span<const std::uint8_t> values);

// Reading. SETTINGS_ERROR: the key is missing or its value is damaged; the output is as it was,
// but for texts, which are cleared first.

int SETTINGS_ReadDecimal(const char *section, const char *key, std::int32_t &value);
int SETTINGS_ReadHex(const char *section, const char *key, std::uint32_t &value);
/// A longer text is cut to the buffer.
int SETTINGS_ReadText(const char *section, const char *key, std::span<char> text);
/// @param count  receives the number of values, which may be less than the buffer holds; more than
///               it holds are an error
int SETTINGS_ReadBytes(
    const char *section, const char *key, std::span<std::uint8_t> values, std::uint32_t &count);
int SETTINGS_ReadWords(
    const char *section, const char *key, std::span<std::uint32_t> values, std::uint32_t &count);
int SETTINGS_ReadFourInts(
    const char *section, const char *key, std::array<std::int32_t, 4> &values);
int SETTINGS_ReadHexBytes(
    const char *section, const char *key, std::span<std::uint8_t> values, std::uint32_t &count);

/// Removes a key, plain or array. A missing one is no error.
int SETTINGS_DeleteKey(const char *section, const char *key);

/// The file's path, which is composed at the first use unless it was set before.
const char *SETTINGS_GetPath();
/// Another path than the present one takes effect with the next operation.
void SETTINGS_SetPath(const char *path);

/// Gives the mutex back, at shutdown. The next operation would load the file again.
void SETTINGS_CloseStore();

/// Gathers all changes of a block into one save: the file holds all of them or none, and a problem
/// is reported once. When a change is refused, the others are undone, in memory too.
class [[nodiscard]] SettingsBatch {
public:
    SettingsBatch();
    ~SettingsBatch();
    SettingsBatch(const SettingsBatch &) = delete;
    SettingsBatch &operator=(const SettingsBatch &) = delete;

private:
    std::unique_ptr<class SettingsOperation> m_operation;
};

/// Sets the receiver of messages about loading and damaged values. By default there is none: a
/// missing file or key does not concern the user. Null restores the default.
using SettingsQuietReport = void (*)(const char *text);
void SETTINGS_SetQuietReport(SettingsQuietReport report);
