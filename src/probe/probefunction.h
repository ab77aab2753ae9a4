#pragma once

#include "probeloader.h"

#include <atomic>

template <typename Signature> class ProbeFunction;

/// One function of the probe library: looked up at its first call, then called by its address.
/// Any thread; constant-initialised, so that it is usable before and after main.
template <typename Result, typename... Args> class ProbeFunction<Result(Args...)> {
public:
    explicit constexpr ProbeFunction(const char *name)
        : m_name(name)
    {
    }

    /// Calls the function. A function that the library lacks gives zero, and is searched (and
    /// reported) again at every call.
    Result Call(Args... args)
    {
        Function *function = m_address.load(std::memory_order_acquire);
        if (!function) {
            function = reinterpret_cast<Function *>(PROBE_ResolveFunction(m_name));
            m_address.store(function, std::memory_order_release);
        }
        return function ? function(args...) : Result();
    }

private:
    using Function = Result(Args...);

    const char *m_name;
    /// Publishes the loaded library's code and data to the thread that calls it: release on set,
    /// acquire on look. Two threads that resolve at once store the same address.
    std::atomic<Function *> m_address{nullptr};
};
