#include "sysregistry.h"

#include "sysheap.h"
#include "sysregfile.h"
#include "sysregvalue.h"
#include "sysxmlname.h"
#include "utiltext.h"

#include <array>
#include <cstddef>
#include <cstring>
#include <mutex>
#include <new>
#include <string>
#include <string_view>

namespace {

constexpr std::size_t kPathSize = 512;
constexpr std::size_t kMaxLevels = 64;

/// An open key: its root and the names on the way to it. From the checked heap.
struct OpenKey {
    OpenKey *next;
    std::size_t root;
    std::array<char, kPathSize> path;
};

struct Registry {
    std::mutex mutex; // guards everything here for the whole of each operation
    OpenKey *openKeys = nullptr;
    std::array<SysRegFile, 3> files = {SysRegFile("TOLVEN_REG_HKEY_CLASSES_ROOT.xml"),
        SysRegFile("TOLVEN_REG_HKEY_CURRENT_USER.xml"),
        SysRegFile("TOLVEN_REG_HKEY_LOCAL_MACHINE.xml")};
};

/// Never destroyed: a thread may use it while the process ends.
Registry &TheRegistry()
{
    static auto &registry = *new Registry;
    return registry;
}

bool IsRoot(SYS_REG_KEY key)
{
    return key >= SYS_REG_CLASSES_ROOT && key <= SYS_REG_LAST_ROOT;
}

/// The link in the list that leads to an open key, or null when the handle is none.
OpenKey **FindOpenKey(Registry &registry, SYS_REG_KEY key)
{
    for (OpenKey **link = &registry.openKeys; *link; link = &(*link)->next) {
        if (reinterpret_cast<SYS_REG_KEY>(*link) == key)
            return link;
    }
    return nullptr;
}

/// Where a key lies. @return false for unsupported roots and for what is no key
bool Locate(Registry &registry, SYS_REG_KEY key, std::size_t &root, std::string &path)
{
    if (IsRoot(key)) {
        root = key - SYS_REG_CLASSES_ROOT;
        return root < registry.files.size();
    }
    OpenKey **const link = FindOpenKey(registry, key);
    if (!link)
        return false;
    root = (*link)->root;
    path = (*link)->path.data();
    return true;
}

/// Joins both, without empty parts. @return whether all names are legal
bool JoinPath(std::string &path, std::string_view further)
{
    std::size_t levels = 0;
    std::string joined;
    for (std::string_view rest : {std::string_view(path), further}) {
        while (!rest.empty()) {
            const std::string_view name = rest.substr(0, rest.find('\\'));
            rest.remove_prefix(std::min(name.size() + 1, rest.size()));
            if (name.empty())
                continue;
            if (!SYS_IsXmlName(name) || ++levels > kMaxLevels)
                return false;
            joined += joined.empty() ? "" : "\\";
            joined += name;
        }
    }
    path = joined;
    return path.size() < kPathSize;
}

/// The key's element. When `created` is given, missing elements are created and it tells whether
/// any were.
pugi::xml_node FindElement(pugi::xml_node element, std::string_view path, bool *created)
{
    while (element && !path.empty()) {
        const std::string name(path.substr(0, path.find('\\')));
        path.remove_prefix(std::min(name.size() + 1, path.size()));
        pugi::xml_node child = element.child(name.c_str());
        if (!child && created) {
            child = element.append_child(name.c_str());
            *created = true;
        }
        element = child;
    }
    return element;
}

SYS_REG_KEY AddOpenKey(Registry &registry, std::size_t root, const std::string &path)
{
    void *const block = SYS_Alloc(sizeof(OpenKey));
    if (!block)
        return 0;
    auto *const key = new (block) OpenKey{registry.openKeys, root, {}};
    UTIL_CopyText(key->path, path.c_str());
    registry.openKeys = key;
    return reinterpret_cast<SYS_REG_KEY>(key);
}

const char *BehindBlanks(const char *name)
{
    while (name && (*name == ' ' || *name == '\t'))
        ++name;
    return name;
}

} // namespace

int SYS_RegCreateKey(SYS_REG_KEY parent, const char *path, SYS_REG_KEY *key)
{
    Registry &registry = TheRegistry();
    const std::lock_guard lock(registry.mutex);
    std::size_t root = 0;
    std::string whole;
    if (!key || !path || !Locate(registry, parent, root, whole) || !JoinPath(whole, path))
        return SYS_REG_ERROR;
    SysRegFile &file = registry.files[root];
    bool created = false;
    if (!FindElement(file.Load(), whole, &created) || (created && !file.Save()))
        return SYS_REG_ERROR;
    const SYS_REG_KEY opened = AddOpenKey(registry, root, whole);
    if (opened == 0)
        return SYS_REG_ERROR;
    *key = opened;
    return SYS_REG_OK;
}

int SYS_RegCloseKey(SYS_REG_KEY key)
{
    if (key == 0 || IsRoot(key))
        return SYS_REG_OK;
    Registry &registry = TheRegistry();
    const std::lock_guard lock(registry.mutex);
    OpenKey **const link = FindOpenKey(registry, key);
    if (!link)
        return SYS_REG_ERROR;
    OpenKey *const closed = *link;
    *link = closed->next;
    SYS_Free(closed);
    return SYS_REG_OK;
}

int SYS_RegQueryValue(
    SYS_REG_KEY key, const char *name, std::uint32_t *type, void *data, std::uint32_t *size)
{
    Registry &registry = TheRegistry();
    const std::lock_guard lock(registry.mutex);
    std::size_t root = 0;
    std::string path;
    const char *const value = BehindBlanks(name);
    if (!value || !SYS_IsRegValueName(value) || !Locate(registry, key, root, path))
        return SYS_REG_ERROR;
    const pugi::xml_node element = FindElement(registry.files[root].Load(), path, nullptr);
    const std::uint32_t found = SYS_ReadRegType(element, value);
    if (found == 0)
        return SYS_REG_ERROR;
    if (type)
        *type = found;
    if (!data)
        return SYS_REG_OK;
    if (!size)
        return SYS_REG_ERROR;
    return SYS_ReadRegValue(
        element, value, found, {static_cast<std::uint8_t *>(data), *size}, *size);
}

int SYS_RegSetValue(
    SYS_REG_KEY key, const char *name, std::uint32_t type, const void *data, std::uint32_t size)
{
    Registry &registry = TheRegistry();
    const std::lock_guard lock(registry.mutex);
    std::size_t root = 0;
    std::string path;
    const char *const value = BehindBlanks(name);
    if (!value || !SYS_IsRegValueName(value) || (!data && size > 0)
        || !Locate(registry, key, root, path))
        return SYS_REG_ERROR;
    SysRegFile &file = registry.files[root];
    bool created = false; // another thread may have removed the key meanwhile
    const pugi::xml_node element = FindElement(file.Load(), path, &created);
    const int result = element
        ? SYS_WriteRegValue(element, value, type, {static_cast<const std::uint8_t *>(data), size})
        : SYS_REG_ERROR;
    if (result != SYS_REG_OK) {
        if (created)
            file.Forget();
        return result;
    }
    return file.Save() ? SYS_REG_OK : SYS_REG_ERROR;
}

void SYS_RegRelease()
{
    Registry &registry = TheRegistry();
    const std::lock_guard lock(registry.mutex);
    while (OpenKey *const key = registry.openKeys) {
        registry.openKeys = key->next;
        SYS_Free(key);
    }
    for (SysRegFile &file : registry.files)
        file.Forget();
}
