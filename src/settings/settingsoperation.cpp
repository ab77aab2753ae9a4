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
    store.loadResult = ReadImage(store.path.data(), store.image);
    if (store.loadResult != SysFileResult::Ok)
        SETTINGS_ReportQuietly(SETTINGS_LoadMessage(store.loadResult, store.path.data()).data());
    store.state = kSettingsLoaded;
}

/// Whether the image stands for the file. If there is a file that could not be read (no rights,
/// larger than the image), writing the image would throw away what it holds.
bool KnowsFile(const SettingsStore &store)
{
    return store.loadResult == SysFileResult::Ok || store.loadResult == SysFileResult::FileNotFound
        || store.loadResult == SysFileResult::PathNotFound;
}

} // namespace

SettingsStore &SETTINGS_TheStore()
{
    static constinit SettingsStore store{
        {}, {}, kSettingsNotLoaded, SysFileResult::Ok, nullptr, 0, false, {}, nullptr};
    return store;
}

void SETTINGS_ReportQuietly(const char *text)
{
    if (SETTINGS_TheStore().quietReport)
        SETTINGS_TheStore().quietReport(text);
}

void SETTINGS_ComposeDefaultPath(std::array<char, SETTINGS_MAX_PATH> &path)
{
    std::array<char, SETTINGS_MAX_PATH + 1> composed{}; // the separator comes whatever the length
    std::array<char, SYS_MAX_PATH> name;
    path[0] = '\0';
    if (SYS_UserConfigDir(composed.data(), SYS_MAX_PATH) != SYS_PATH_OK)
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
    if (!KnowsFile(store))
        Load(store); // perhaps it can be read by now
    if (!KnowsFile(store))
        Fail(store.loadResult);
    return KnowsFile(store);
}

void SettingsOperation::Fail(SysFileResult result)
{
    SettingsStore &store = SETTINGS_TheStore();
    m_result = SETTINGS_ERROR;
    if (store.message[0] == '\0')
        store.message = SETTINGS_SaveMessage(result, store.path.data());
}

int SettingsOperation::End()
{
    if (!m_lock)
        return m_result;
    SettingsStore &store = SETTINGS_TheStore();
    SettingsMessage message{};
    if (store.depth == 1) {
        if (store.changed) {
            const SysFileResult result = SYS_ReplaceFile(store.path.data(), store.image.Text());
            if (result != SysFileResult::Ok)
                Fail(result);
        }
        store.changed = false;
        std::swap(message, store.message);
    }
    --store.depth;
    m_lock.reset();
    if (message[0] != '\0' && SETTINGS_Host().ShowError)
        SETTINGS_Host().ShowError(message.data());
    return m_result;
}
