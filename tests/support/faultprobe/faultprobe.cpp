// A probe library for tests: the simulated target of our own probe library, each function of which
// a test may replace while the program runs. It is found the way any probe library is found.

#include "faulthooks.h"

#include <cstdlib>
#include <string>
#include <type_traits>

#include <dlfcn.h>

#define FAULT_EXPORT extern "C" __attribute__((visibility("default")))

FAULT_EXPORT FaultHooks FAULT_TheHooks;
FaultHooks FAULT_TheHooks = {};

namespace {

__attribute__((destructor)) void Unload()
{
    if (const auto onUnload = FAULT_TheHooks.onUnload.load())
        onUnload();
}

void *RealFunction(const char *name)
{
    static void *const library = dlopen(FAULT_REAL_LIBRARY, RTLD_LAZY | RTLD_LOCAL);
    void *const function = library != nullptr ? dlsym(library, name) : nullptr;
    if (function == nullptr)
        std::abort();
    return function;
}

/// The numbers and texts given to the library, without the buffers that it fills or copies from.
template <typename Argument> std::string Told([[maybe_unused]] Argument argument)
{
    if constexpr (std::is_integral_v<Argument>)
        return ' ' + std::to_string(argument);
    else if constexpr (std::is_same_v<Argument, const char *>)
        return std::string(" ") + argument;
    else
        return {};
}

template <typename Result, typename... Arguments>
Result Call(const std::atomic<Result (*)(Arguments...)> &hook, const std::string &name,
    Arguments... arguments)
{
    if (const auto onCall = FAULT_TheHooks.onCall.load())
        onCall((name + ... + Told(arguments)).c_str());
    const auto chosen = hook.load();
    const auto real = reinterpret_cast<Result (*)(Arguments...)>(RealFunction(name.c_str()));
    return chosen != nullptr ? chosen(arguments...) : real(arguments...);
}

} // namespace

#define FAULT_FUNCTION(result, name, parameters, ...)                                              \
    FAULT_EXPORT result RANVOARM_##name parameters                                                 \
    {                                                                                              \
        return Call(FAULT_TheHooks.name, "RANVOARM_" #name __VA_OPT__(, ) __VA_ARGS__);            \
    }

FAULT_EXPORT void *FAULT_TheRealFunction(const char *name)
{
    return RealFunction(name);
}

FAULT_FUNCTIONS(FAULT_FUNCTION)
