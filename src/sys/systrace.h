#pragma once

// Trace messages of the platform layer. The environment variable SYS_DEBUG_LEVEL selects them:
// 1 errors, 2 also entry and exit of every mutex operation. Nothing is written anywhere by default;
// the messages go to the sink that a program sets.

inline constexpr int SYS_TRACE_ERRORS = 1;
inline constexpr int SYS_TRACE_CALLS = 2;

/// The debug level, read once from the environment at the first use of the platform layer. At that
/// moment the system log is opened too.
[[nodiscard]] int SYS_DebugLevel();

using SysTraceSink = void (*)(const char *text);

/// Replaces the sink, which writes nothing by default; null brings the default back. Any thread.
void SYS_SetTraceSink(SysTraceSink sink);

/// Formats the message and hands it to the sink when the debug level is `level` or more. The
/// C library formats it: handles are written with "%0*p", which our own formatter does not know.
void SYS_Trace(int level, const char *format, ...);

/// The system's text for an errno value. Any thread.
[[nodiscard]] const char *SYS_ErrorText(int error);
