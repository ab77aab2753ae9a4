#include "probeloader.h"

#include "probesearch.h"
#include "syspaths.h"
#include "systrace.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include <dlfcn.h>
#include <unistd.h>

namespace {

/// Publishes the library with everything that its start-up code wrote: release on set, acquire on
/// look. Set once.
constinit std::atomic<void *> libraryHandle{nullptr};

using LastWords = void (*)(const ProbeAttempts &attempts);
constinit LastWords lastWords = nullptr; // set before the first call, by the main thread

/// Opens the first file that can be opened. @return its handle or null
void *OpenFirst(const std::vector<std::string> &files, ProbeAttempts &attempts)
{
    for (const std::string &path : files) {
        // A name without a slash would be searched for in the system's own directories.
        if (path.find('/') == std::string::npos) {
            attempts.push_back({path, "not a path"});
            continue;
        }
        if (void *const handle = dlopen(path.c_str(), RTLD_LAZY))
            return handle;
        const char *const reason = dlerror();
        attempts.push_back({path, reason ? reason : "unknown reason"});
    }
    return nullptr;
}

/// Two threads may have loaded the library at the same time: the first one to publish it wins.
int KeepHandle(void *handle)
{
    void *none = nullptr;
    libraryHandle.compare_exchange_strong(
        none, handle, std::memory_order_acq_rel, std::memory_order_acquire);
    return PROBE_LOAD_OK;
}

/// The program file from the system's own link. @return whether it could be read
bool ReadExecutablePath(std::array<char, SYS_MAX_PATH> &path)
{
    const ssize_t length = readlink("/proc/self/exe", path.data(), path.size());
    if (length < 0)
        return false;
    // A path as long as the buffer may have been cut, and then names another directory.
    const auto count = static_cast<std::size_t>(length);
    path[count < path.size() ? count : 0] = '\0';
    return true;
}

int ReportNotFound(bool exitOnFailure, const ProbeAttempts &attempts)
{
    if (!exitOnFailure) {
        std::puts("Could not open Ranvo shared library.");
        return PROBE_LOAD_ERROR;
    }
    std::puts("Could not open Ranvo shared library. Exiting now.");
    std::fflush(stdout);
    if (lastWords)
        lastWords(attempts);
    // At once: global objects must not be destroyed under a thread that still runs.
    std::_Exit(1);
}

int Search(bool exitOnFailure, ProbeAttempts &attempts)
{
    std::array<char, SYS_MAX_PATH> path;
    SYS_ModuleDirectory(path.data(), SYS_MAX_PATH);
    if (void *const handle = OpenFirst(PROBE_FilesBesideModule(path.data()), attempts))
        return KeepHandle(handle);
    if (!ReadExecutablePath(path)) {
        // The process goes on even with exitOnFailure: the library may well be there.
        std::printf("Could not get application path (%s).\n", SYS_ErrorText(errno));
        return PROBE_LOAD_ERROR;
    }
    if (void *const handle
        = OpenFirst(PROBE_InstalledFiles(path.data(), "/opt/TOLVEN/Ranvo/"), attempts))
        return KeepHandle(handle);
    return ReportNotFound(exitOnFailure, attempts);
}

} // namespace

int PROBE_LoadLibrary(bool exitOnFailure, ProbeAttempts *attempts)
{
    if (PROBE_IsLibraryLoaded())
        return PROBE_LOAD_OK;
    ProbeAttempts tried;
    const int result = Search(exitOnFailure, tried);
    if (attempts)
        *attempts = std::move(tried);
    return result;
}

void PROBE_SetLastWords(void (*tell)(const ProbeAttempts &attempts))
{
    lastWords = tell;
}

bool PROBE_IsLibraryLoaded()
{
    return libraryHandle.load(std::memory_order_acquire) != nullptr;
}

int PROBE_TryLoadLibrary()
{
    return PROBE_LoadLibrary(false) == PROBE_LOAD_OK ? PROBE_LOAD_OK : PROBE_TRY_ERROR;
}

void *PROBE_ResolveFunction(const char *name)
{
    if (PROBE_LoadLibrary(true) != PROBE_LOAD_OK)
        return nullptr;
    dlerror();
    void *const address = dlsym(libraryHandle.load(std::memory_order_acquire), name);
    if (const char *const error = dlerror())
        std::printf("Function not found: %s (%s).\n", name, error);
    return address;
}
