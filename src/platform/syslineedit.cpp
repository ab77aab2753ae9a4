#include "syslineedit.h"

#include "syspaths.h"
#include "utilformat.h"

#include <array>

#include <dlfcn.h>
#include <unistd.h>

namespace {

constexpr char kFileName[] = "libedit.so.0";

void *OpenBesideProgram()
{
    std::array<char, SYS_MAX_PATH> directory;
    SYS_ExecutablePath(getpid(), directory.data(), SYS_MAX_PATH);
    directory[static_cast<std::size_t>(SYS_FileName(directory.data()) - directory.data())] = '\0';
    std::array<char, SYS_MAX_PATH> path;
    const char *const end = UTIL_Format(path, "%sThirdParty/%s", directory.data(), kFileName);
    // A path that was cut would name another file.
    const bool isWhole = directory[0] != '\0' && end < path.data() + path.size() - 1;
    return isWhole ? dlopen(path.data(), RTLD_LAZY) : nullptr;
}

void *OpenInstalled()
{
    std::array<char, SYS_MAX_PATH> path;
    // The doubled directory is where installations have it.
    UTIL_Format(path, "/opt/TOLVEN/Ranvo/ThirdParty/ThirdParty/%s", kFileName);
    return dlopen(path.data(), RTLD_LAZY);
}

SysLineEdit Load()
{
    void *library = OpenBesideProgram();
    if (!library)
        library = OpenInstalled();
    if (!library)
        library = dlopen(kFileName, RTLD_LAZY);
    if (!library)
        return {};
    return {reinterpret_cast<decltype(SysLineEdit::ReadLine)>(dlsym(library, "readline")),
        reinterpret_cast<decltype(SysLineEdit::AddHistory)>(dlsym(library, "add_history"))};
}

} // namespace

const SysLineEdit *SYS_LineEdit()
{
    static const SysLineEdit functions = Load();
    return functions.ReadLine && functions.AddHistory ? &functions : nullptr;
}
