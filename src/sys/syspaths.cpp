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

/// @return whether the whole text went into the buffer
bool FormatPath(char *buffer, std::uint32_t size, const char *format, const char *directory)
{
    if (!buffer || size == 0)
        return false;
    std::array<char, SYS_MAX_PATH> path;
    const char *const end = UTIL_Format(path, format, directory);
    UTIL_CopyText(buffer, path.data(), size);
    // The format's two characters "%s" make room for the directory.
    const std::size_t whole = std::strlen(format) - 2 + std::strlen(directory);
    return whole == static_cast<std::size_t>(end - path.data()) && whole < size;
}

/// Whether a path that the loader's name of the program has led to is the program's own. The loader
/// knows the program only by what it was called by, which whoever starts it is free to make up.
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

/// Whether a file can be created, opened and deleted there.
bool IsWritable(const char *directory)
{
    std::array<char, SYS_MAX_PATH> name;
    UTIL_Format(name, "%s/TOLVENXXXXXX", directory);
    const int created = mkostemp(name.data(), O_CLOEXEC);
    if (created < 0)
        return false;
    const int opened = open(name.data(), O_RDWR | O_CLOEXEC);
    if (opened >= 0)
        close(opened);
    close(created);
    unlink(name.data());
    return opened >= 0;
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

int SYS_UserConfigDir(char *buffer, std::uint32_t size)
{
    const char *const home = HomeDirectory();
    std::array<char, SYS_MAX_PATH> parent;
    if (!home || !FormatPath(parent.data(), SYS_MAX_PATH, "%s/.config", home)
        || !FormatPath(buffer, size, "%s/.config/TOLVEN", home)) {
        if (buffer && size > 0)
            buffer[0] = '\0';
        return SYS_PATH_ERROR;
    }
    return EnsureDirectory(parent.data()) && EnsureDirectory(buffer) ? SYS_PATH_OK : SYS_PATH_ERROR;
}

void SYS_TempDirBelow(const char *systemDirectory, char *buffer, std::uint32_t size)
{
    if (!buffer || size == 0)
        return;
    buffer[0] = '\0';
    if (IsWritable(systemDirectory)) {
        UTIL_CopyText(buffer, systemDirectory, size);
        return;
    }
    const char *const home = HomeDirectory();
    if (!home || !FormatPath(buffer, size, "%s/.TOLVEN", home) || !EnsureDirectory(buffer))
        buffer[0] = '\0';
}

void SYS_TempDir(char *buffer, std::uint32_t size)
{
    SYS_TempDirBelow(P_tmpdir, buffer, size);
}

int SYS_RandomBytes(void *buffer, std::size_t count)
{
    const int source = open("/dev/random", O_RDONLY | O_CLOEXEC);
    if (source < 0)
        return -1;
    const ssize_t got = read(source, buffer, count);
    close(source);
    return static_cast<int>(got);
}
