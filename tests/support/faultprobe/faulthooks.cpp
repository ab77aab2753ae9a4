#include "faulthooks.h"

#include <filesystem>
#include <string>

#include <dlfcn.h>

namespace {

void *FromFaultProbe(const char *symbol)
{
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe");
    const std::string library = program.parent_path() / "libranvoarm.so";
    void *const handle = dlopen(library.c_str(), RTLD_LAZY);
    return handle != nullptr ? dlsym(handle, symbol) : nullptr;
}

} // namespace

FaultHooks *FAULT_Hooks()
{
    static void *const hooks = FromFaultProbe("FAULT_TheHooks");
    return static_cast<FaultHooks *>(hooks);
}

void *FAULT_RealFunction(const char *name)
{
    static const auto theRealFunction
        = reinterpret_cast<void *(*)(const char *)>(FromFaultProbe("FAULT_TheRealFunction"));
    return theRealFunction != nullptr ? theRealFunction(name) : nullptr;
}
