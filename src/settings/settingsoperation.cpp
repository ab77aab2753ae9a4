#include "settingsoperation.h"

#include "settingshost.h"
#include "syspaths.h"
#include "utiltext.h"

#include <cstring>
#include <utility>

namespace {

/// The program's file name without directory and extension.
void GetBaseName(std::array<char, SYS_MAX_PATH> &name)
{
    std::array<char, SYS_MAX_PATH> module;
    SYS_ModulePath(module.data(), SYS_MAX_PATH);
    UTIL_CopyText(name, SYS_FileName(module.data()));
    char *const dot = std::strrchr(name.data(), '.');
    if (dot && dot != name.data())
        *dot = '\0';
}

/// The image is empty after a failure. A file larger than the image is one.
SysFileResult ReadImage(const char *path, SettingsImage &image)
{
    std::array<char, SettingsImage::kCapacity> buffer;
    std::size_t length = 0;
    const SysFileResult result = SYS_ReadFile(path, buffer, length);
    const bool fits = image.Assign({buffer.data(), length});
    return fits ? result : SysFileResult::TransferFailed;
}

void Load(SettingsStore &store)
{
    if (store.path[0] == '\0')
        SETTINGS_ComposeDefaultPath(store.path);
    // Taken before reading, so that a change made meanwhile is noticed later.
    store.stamp = SYS_StampOfFile(store.path.data());
    store.loadResult = ReadImage(store.path.data(), store.image);
    if (store.loadResult != SysFileResult::Ok)
        SETTINGS_ReportQuietly(SETTINGS_LoadMessage(store.loadResult, store.path.data()).data());
    store.state = kSettingsLoaded;
}

/// Whether the image holds the file's contents. When a file exists but could not be read (no
/// rights, larger than the image), writing the image would destroy them.
bool KnowsFile(const SettingsStore &store)
{
    return store.loadResult == SysFileResult::Ok || store.loadResult == SysFileResult::FileNotFound
        || store.loadResult == SysFileResult::PathNotFound;
}

} // namespace

SettingsStore &SETTINGS_TheStore()
{
    static constinit SettingsStore store{};
    return store;
}

void SETTINGS_ReportQuietly(const char *text)
{
    if (SETTINGS_TheStore().quietReport)
        SETTINGS_TheStore().quietReport(text);
}

void SETTINGS_ComposeDefaultPath(std::array<char, SETTINGS_MAX_PATH> &path)
{
    std::array<char, SETTINGS_MAX_PATH + 1> composed{}; // the separator is appended at any length
    std::array<char, SYS_MAX_PATH> name;
    path[0] = '\0';
    // The file lies beside that directory, which need not exist.
    [[maybe_unused]] const int created = SYS_UserConfigDir(composed.data(), SYS_MAX_PATH);
    if (composed[0] == '\0')
        return;
    GetBaseName(name);
    UTIL_AppendText(composed.data(), "\\", 1);
    const std::uint32_t length
        = UTIL_TextLength(composed.data()) + UTIL_TextLength(name.data()) + sizeof "Settings.ini";
    if (length > SETTINGS_MAX_PATH)
        return;
    UTIL_AppendText(composed, name.data());
    UTIL_AppendText(composed, "Settings.ini");
    UTIL_CopyText(path, composed.data());
}

SettingsOperation::SettingsOperation()
{
    SettingsStore &store = SETTINGS_TheStore();
    if (store.state == kSettingsNotLoaded && !store.mutex)
        store.mutex = SYS_CreateMutex("SettingsFile");
    m_lock.emplace(store.mutex);
    if (!m_lock->IsLocked()) {
        m_lock.reset();
        m_result = SETTINGS_ERROR;
        return;
    }
    store.unavailable = false;
    ++store.depth;
    if (store.state == kSettingsNotLoaded || store.state == kSettingsReloadNeeded)
        Load(store);
    m_ready = store.state == kSettingsLoaded;
}

SettingsImage &SettingsOperation::Image() const
{
    return SETTINGS_TheStore().image;
}

void SettingsOperation::SetChanged()
{
    SETTINGS_TheStore().changed = true;
}

bool SettingsOperation::PrepareChange()
{
    SettingsStore &store = SETTINGS_TheStore();
    if (!m_ready && !std::exchange(store.unavailable, true))
        Fail(SysFileResult::InvalidFile); // reported once, not for each key
    if (!m_ready || store.refused) {
        m_result = SETTINGS_ERROR;
        return false;
    }
    if (store.prepared)
        return true;
    if (!KnowsFile(store) || SYS_StampOfFile(store.path.data()) != store.stamp)
        Load(store);
    store.before = store.image;
    store.prepared = true;
    if (!KnowsFile(store))
        Refuse(store.loadResult);
    return !store.refused;
}

void SettingsOperation::Refuse(SysFileResult reason)
{
    SETTINGS_TheStore().refused = true;
    Fail(reason);
}

void SettingsOperation::Fail(SysFileResult result)
{
    SettingsStore &store = SETTINGS_TheStore();
    m_result = SETTINGS_ERROR;
    if (store.message[0] == '\0')
        store.message = SETTINGS_SaveMessage(result, SETTINGS_GetPath());
}

int SettingsOperation::End()
{
    SettingsStore &store = SETTINGS_TheStore();
    SettingsMessage message{};
    if (m_lock && store.depth == 1) {
        if (store.refused) {
            store.image = store.before;
        } else if (store.changed) {
            const SysFileResult result
                = SYS_ReplaceFile(store.path.data(), store.image.Text(), &store.stamp);
            if (result != SysFileResult::Ok)
                Fail(result);
        }
        store.prepared = store.changed = store.refused = false;
    }
    if (m_lock ? store.depth-- == 1 : store.depth == 0)
        std::swap(message, store.message);
    m_lock.reset();
    if (message[0] != '\0' && SETTINGS_Host().ShowError)
        SETTINGS_Host().ShowError(message.data());
    return m_result;
}
