#include "probesearch.h"

#include "syspaths.h"
#include "utilformat.h"
#include "utiltext.h"

#include <array>

namespace {

/// In every place the first name is preferred.
constexpr std::array kFileNames = {"libranvoarm_x86.so", "libranvoarm.so"};

/// Tries both file names in a directory. A path that is too long for its buffer is left out: cut,
/// it would name some other file.
void *TryDirectory(const char *directory, const char *format, ProbeOpen open)
{
    for (const char *name : kFileNames) {
        std::array<char, SYS_MAX_PATH + 1> path;
        if (UTIL_Format(path, format, directory, name) == path.data() + SYS_MAX_PATH)
            continue;
        if (void *const handle = open(path.data()))
            return handle;
    }
    return nullptr;
}

} // namespace

void *PROBE_SearchModuleDirectory(const char *directory, ProbeOpen open)
{
    return directory[0] != '\0' ? TryDirectory(directory, "%s%s", open) : nullptr;
}

void *PROBE_SearchInstallations(
    const char *executablePath, const char *installDirectory, ProbeOpen open)
{
    if (executablePath[0] != '\0') {
        std::array<char, SYS_MAX_PATH> directory;
        UTIL_CopyText(directory, executablePath);
        // Without a separator the whole text is the directory.
        const auto length = static_cast<std::size_t>(SYS_FileName(executablePath) - executablePath);
        if (length > 0 && length < directory.size())
            directory[length] = '\0';
        if (void *const handle = TryDirectory(directory.data(), "%s%s", open))
            return handle;
    }
    if (void *const handle = TryDirectory(installDirectory, "%s%s", open))
        return handle;
    return TryDirectory(installDirectory, "%s%s.5", open);
}
