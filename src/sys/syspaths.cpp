#include "syspaths.h"

#include "syslinks.h"
#include "utilformat.h"
#include "utiltext.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <sys/auxv.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// Null when HOME is not set or empty: an empty one would lead to the root directory.
const char *HomeDirectory()
{
    const char *const home = std::getenv("HOME");
    return home && *home != '\0' ? home : nullptr;
}

/// Creates one directory for the user alone, if it is missing.
bool EnsureDirectory(const char *path)
{
    struct stat info { };
    if (mkdir(path, S_IRWXU) == 0)
        return true;
    return stat(path, &info) == 0 && S_ISDIR(info.st_mode);
}

/// A path below the home directory. @return whether it fits; if not, the buffer is empty
bool FormatHomePath(char *buffer, std::uint32_t size, const char *name)
{
    if (!buffer || size == 0)
        return false;
    buffer[0] = '\0';
    const char *const home = HomeDirectory();
    if (!home || std::strlen(home) + 1 + std::strlen(name) >= std::min(size, SYS_MAX_PATH))
        return false;
    UTIL_Format(buffer, size, "%s/%s", home, name);
    return true;
}

/// Whether the path found from the loader's name of the program is the program's own file. The
/// loader has only the name given at the start, which the caller can choose freely.
bool IsThisProgram(const char *path)
{
    if (!std::strchr(path, '/')) {
        const auto *const started = reinterpret_cast<const char *>(getauxval(AT_EXECFN));
        return started && std::strcmp(SYS_FileName(started), path) == 0;
    }
    struct stat file { };
    struct stat program { };
    return stat(path, &file) == 0 && stat("/proc/self/exe", &program) == 0
        && file.st_dev == program.st_dev && file.st_ino == program.st_ino;
}

} // namespace

void SYS_ExecutablePath(int processId, char *buffer, std::uint32_t size)
{
    if (!buffer || size == 0)
        return;
    std::array<char, 64> link;
    UTIL_Format(link, "/proc/%d/exe", processId);
    SYS_ReadLink(link.data(), buffer, size);
}

void SYS_ModulePath(char *buffer, std::uint32_t size)
{
    if (!buffer || size == 0)
        return;
    buffer[0] = '\0';
    Dl_info info{};
    void *map = nullptr;
    if (dladdr1(reinterpret_cast<const void *>(&SYS_ModulePath), &info, &map, RTLD_DL_LINKMAP) == 0
        || !info.dli_fname)
        return;
    SYS_ResolveModulePath(info.dli_fname, &SYS_ReadLink, buffer, size);
    const bool isProgram = static_cast<const link_map *>(map)->l_name[0] == '\0';
    if (isProgram && !IsThisProgram(buffer))
        SYS_ExecutablePath(getpid(), buffer, size);
}

void SYS_ModuleDirectory(char *buffer, std::uint32_t size)
{
    if (!buffer || size == 0)
        return;
    SYS_ModulePath(buffer, size);
    buffer[SYS_FileName(buffer) - buffer] = '\0';
}

void SYS_ComposePath(char *buffer, std::uint32_t size, const char *directory, const char *name)
{
    UTIL_CopyText(buffer, directory, size);
    UTIL_AppendText(buffer, name, size);
}

const char *SYS_FileName(const char *path)
{
    const char *name = path;
    for (const char *next = path; *next != '\0'; ++next) {
        if (*next == '/' || *next == '\\')
            name = next + 1;
    }
    return name;
}

int SYS_HomeFolder(char *buffer, std::uint32_t size, const char *name)
{
    return FormatHomePath(buffer, size, name) && EnsureDirectory(buffer) ? SYS_PATH_OK
                                                                         : SYS_PATH_ERROR;
}

int SYS_UserConfigDir(char *buffer, std::uint32_t size)
{
    std::array<char, SYS_MAX_PATH> parent;
    if (!FormatHomePath(buffer, size, ".config/TOLVEN"))
        return SYS_PATH_ERROR;
    const int made = SYS_HomeFolder(parent.data(), SYS_MAX_PATH, ".config");
    return made == SYS_PATH_OK && EnsureDirectory(buffer) ? SYS_PATH_OK : SYS_PATH_ERROR;
}
