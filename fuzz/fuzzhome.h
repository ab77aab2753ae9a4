#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>

#include <unistd.h>

/// A home directory of this process alone, in memory where the system has such a place. HOME points
/// to it; it goes when the process ends.
inline const std::filesystem::path &FuzzHome()
{
    namespace fs = std::filesystem;
    static const auto *const home = [] {
        const fs::path base = fs::is_directory("/dev/shm") ? "/dev/shm" : fs::temp_directory_path();
        const auto *const made = new fs::path(base / ("pelimo-fuzz-" + std::to_string(getpid())));
        fs::create_directories(*made);
        setenv("HOME", made->c_str(), 1);
        return made;
    }();
    static const bool registered = [] {
        return std::atexit([] {
            std::error_code ignored;
            fs::remove_all(FuzzHome(), ignored);
        }) == 0;
    }();
    (void)registered;
    return *home;
}
