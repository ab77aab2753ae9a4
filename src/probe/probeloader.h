#pragma once

#include <string>
#include <vector>

// Loads the probe library at run time and finds functions in it. The library is never linked, never
// closed and never replaced once it is loaded. All messages go to standard output. Any thread.

inline constexpr int PROBE_LOAD_OK = 0;
inline constexpr int PROBE_LOAD_ERROR = 1;
inline constexpr int PROBE_TRY_ERROR = -1;

/// A file that was tried, and the system's reason why it could not be loaded.
struct ProbeAttempt {
    std::string path;
    std::string reason;
};
using ProbeAttempts = std::vector<ProbeAttempt>;

/// Loads the library, if it is not loaded yet. A failed search is repeated at the next call.
/// @param exitOnFailure  end the process with status 1 when no library file is found
/// @param attempts       receives the files that were tried in vain; may be null
/// @return PROBE_LOAD_OK or PROBE_LOAD_ERROR
int PROBE_LoadLibrary(bool exitOnFailure, ProbeAttempts *attempts = nullptr);

/// Sets the function that runs before the process ends because there is no library, on the thread
/// that needed it. Null, as at the start: none. Set once, before the first call of the library.
void PROBE_SetLastWords(void (*tell)(const ProbeAttempts &attempts));

/// Loads the library without ever ending the process.
/// @return PROBE_LOAD_OK or PROBE_TRY_ERROR
int PROBE_TryLoadLibrary();

/// Whether the library is loaded. Loads nothing.
[[nodiscard]] bool PROBE_IsLibraryLoaded();

/// The address of a function of the library, which is loaded first; without a library the process
/// ends. A function that the library lacks is reported at every call and gives null.
[[nodiscard]] void *PROBE_ResolveFunction(const char *name);
