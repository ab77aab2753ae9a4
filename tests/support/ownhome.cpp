// Linked into every test. CTest runs a test in an empty home directory and without a display; a
// test program that is started by hand makes the same for itself, so that it never meets the user's
// settings.

#include <cstdlib>
#include <filesystem>
#include <system_error>

#include <unistd.h>

namespace {

char g_home[] = "/tmp/pelimo-test-XXXXXX";

/// The process that made the folder removes it; one that was forked from it does not.
pid_t g_owner = 0;

void RemoveOwnHome()
{
    std::error_code ignored;
    if (getpid() == g_owner)
        std::filesystem::remove_all(g_home, ignored);
}

// Before main and before the constructors of Qt's and our own globals, which may read the
// environment.
[[gnu::constructor(101)]] void UseOwnHome()
{
    // A program that a test starts inherits this variable, and keeps the home that it is given.
    if (std::getenv("PELIMO_TEST_HOME") != nullptr)
        return;
    if (mkdtemp(g_home) == nullptr)
        std::abort();
    g_owner = getpid();
    std::atexit(RemoveOwnHome);
    setenv("HOME", g_home, 1);
    setenv("PELIMO_TEST_HOME", "1", 1);
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    setenv("LC_ALL", "C.UTF-8", 1);
    for (const char *name : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "SYS_DEBUG_LEVEL",
             "QT_SCALE_FACTOR", "QT_STYLE_OVERRIDE"})
        unsetenv(name);
}

} // namespace
