#include "syslinks.h"

#include "syspaths.h"
#include "systrace.h"
#include "utilformat.h"
#include "utiltext.h"

#include <cstring>

#include <unistd.h>

namespace {

constexpr std::size_t kWorkSize = 2048;
constexpr int kMaxLinks = 40; // as many as the system itself follows

using WorkPath = std::array<char, kWorkSize>;

/// Puts the link's target in the place of the link.
void ReplaceByTarget(WorkPath &path, const WorkPath &target)
{
    if (target[0] == '/') {
        path = target;
        return;
    }
    const auto nameStart = static_cast<std::size_t>(SYS_FileName(path.data()) - path.data());
    path[nameStart] = '\0';
    UTIL_AppendText(path, target.data());
}

/// @return whether the name is a link in /usr/bin; it is replaced by the link's target then
bool FollowGlobalLink(WorkPath &name, SysReadLink readLink)
{
    SYS_Trace(SYS_TRACE_CALLS, "Initial module path: Check for potential global symlink\n");
    WorkPath link;
    WorkPath target;
    UTIL_Format(link, "/usr/bin/%s", name.data());
    if (!readLink(link.data(), target.data(), kWorkSize)) {
        SYS_Trace(SYS_TRACE_CALLS, "Not a global symlink\n");
        return false;
    }
    SYS_Trace(SYS_TRACE_CALLS, "Global symlink\n");
    name = link;
    ReplaceByTarget(name, target);
    return true;
}

} // namespace

bool SYS_ReadLink(const char *path, char *target, std::uint32_t size)
{
    if (size == 0)
        return false;
    const ssize_t length = readlink(path, target, size - 1);
    target[length > 0 ? length : 0] = '\0';
    return length > 0;
}

void SYS_ResolveModulePath(const char *name, SysReadLink readLink, char *buffer, std::uint32_t size)
{
    WorkPath path;
    WorkPath target;
    path[0] = '\0';
    UTIL_CopyText(path, name);
    SYS_Trace(SYS_TRACE_CALLS, "Initial module path: %s\n", path.data());
    // A bare name is not looked up in the current folder: a link of that name there must not decide
    // from where libraries are loaded.
    const bool follow = std::strchr(path.data(), '/') || FollowGlobalLink(path, readLink);
    for (int links = 0; links < kMaxLinks; ++links) {
        SYS_Trace(SYS_TRACE_CALLS, "Resolving potential symlink: %s\n", path.data());
        if (!follow || !readLink(path.data(), target.data(), kWorkSize))
            break;
        ReplaceByTarget(path, target);
        SYS_Trace(SYS_TRACE_CALLS, "Resolved symlink to: %s\n", path.data());
    }
    UTIL_CopyText(buffer, path.data(), size);
}
