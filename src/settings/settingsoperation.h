#pragma once

#include "settingsimage.h"
#include "settingsmessages.h"
#include "settingsstore.h"
#include "syslock.h"

#include <optional>

// The store behind the typed operations; for this module alone.

/// The one store. GUI thread; trivial to destroy.
struct SettingsStore {
    std::array<char, SETTINGS_MAX_PATH> path;
    SettingsImage image;
    int state;
    SysFileResult loadResult;
    SysFileStamp stamp; // of the file that the image was read from or saved to
    SYS_MUTEX_HANDLE mutex;
    int depth;               // operations under way, one inside the other
    bool unavailable;        // no mutex could be made, and the user has been told
    bool prepared;           // the outermost operation may change the image; `before` is set
    bool changed;            // the image waits for the outermost operation's end to be saved
    bool refused;            // one of its changes could not be made: none of them counts
    SettingsImage before;    // the image as the outermost operation found it
    SettingsMessage message; // the first problem of the outermost operation
    SettingsQuietReport quietReport; // null: nowhere
};

// The values of SettingsStore::state.
inline constexpr int kSettingsNotLoaded = 0;
inline constexpr int kSettingsLoaded = 1;
inline constexpr int kSettingsReloadNeeded = 100;

[[nodiscard]] SettingsStore &SETTINGS_TheStore();

/// Reports a problem that is not shown to the user.
void SETTINGS_ReportQuietly(const char *text);

/// "<user directory>\<program>Settings.ini": the backslash is part of a file name that existing
/// settings are found under. Empty when there is no user directory or the path is too long.
void SETTINGS_ComposeDefaultPath(std::array<char, SETTINGS_MAX_PATH> &path);

/// One operation: holds the mutex, loads the file first if it must be loaded, saves it at the end
/// if it has changed, and shows a problem after the mutex is free again. Operations may be nested;
/// the outermost one saves and shows. Either all changes are made or none: when one is refused, the
/// others are undone. A failed save is no refusal: its changes stay in the image.
class SettingsOperation {
public:
    SettingsOperation();
    ~SettingsOperation() { End(); }
    SettingsOperation(const SettingsOperation &) = delete;
    SettingsOperation &operator=(const SettingsOperation &) = delete;

    [[nodiscard]] bool IsReady() const { return m_ready; }
    [[nodiscard]] SettingsImage &Image() const;
    /// To be called before a change. First takes over what another program has changed in the file.
    /// @return whether the image may be changed; if not, the user will be told
    [[nodiscard]] bool PrepareChange();
    void SetChanged();
    /// The change cannot be made.
    void Refuse(SysFileResult reason);
    /// @return SETTINGS_OK, or SETTINGS_ERROR when a problem was met
    int End();

private:
    void Fail(SysFileResult result);

    std::optional<SysLock> m_lock;
    bool m_ready = false;
    int m_result = SETTINGS_OK;
};
