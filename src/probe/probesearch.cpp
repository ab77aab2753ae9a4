#include "probesearch.h"

#include "syspaths.h"
#include "utiltext.h"

#include <array>

namespace {

/// In every place the first name is preferred.
constexpr std::array kFileNames = {"libranvoarm_x86.so", "libranvoarm.so"};

/// Adds both file names in a directory. Leaves out a path that is too long for its buffer: when
/// cut, it would name another file.
void AddFiles(std::vector<std::string> &files, const char *directory, const std::string &suffix)
{
    for (const char *const name : kFileNames) {
        const std::string wholeName = name + suffix;
        std::array<char, SYS_MAX_PATH> path;
        SYS_ComposePath(path.data(), SYS_MAX_PATH, directory, wholeName.c_str());
        if (UTIL_TextLength(path.data()) == UTIL_TextLength(directory) + wholeName.size())
            files.emplace_back(path.data());
    }
}

} // namespace

std::vector<std::string> PROBE_FilesBesideModule(const char *directory)
{
    std::vector<std::string> files;
    if (directory[0] != '\0')
        AddFiles(files, directory, "");
    return files;
}

std::vector<std::string> PROBE_InstalledFiles(
    const char *executablePath, const char *installDirectory)
{
    std::vector<std::string> files;
    if (executablePath[0] != '\0') {
        // Without a separator the whole text is the directory.
        const char *const name = SYS_FileName(executablePath);
        const std::string directory = name == executablePath
            ? std::string(executablePath)
            : std::string(executablePath, static_cast<std::size_t>(name - executablePath));
        AddFiles(files, directory.c_str(), "");
    }
    AddFiles(files, installDirectory, "");
    AddFiles(files, installDirectory, ".5");
    return files;
}
