#include "systempdir.h"

#include "syspaths.h"
#include "utilformat.h"
#include "utiltext.h"

#include <array>
#include <cstdio>
#include <cstdlib>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

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

void SYS_TempDirBelow(const char *systemDirectory, char *buffer, std::uint32_t size)
{
    if (!buffer || size == 0)
        return;
    buffer[0] = '\0';
    if (IsWritable(systemDirectory)) {
        UTIL_CopyText(buffer, systemDirectory, size);
        return;
    }
    if (SYS_HomeFolder(buffer, size, ".TOLVEN") != SYS_PATH_OK)
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
