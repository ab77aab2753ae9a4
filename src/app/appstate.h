#pragma once

#include "sysmutex.h"

#include <array>
#include <atomic>
#include <cstdint>

class MainWindow;

inline constexpr unsigned kStatusFields = 4;
inline constexpr unsigned kStatusMessage = 0;
inline constexpr unsigned kStatusConnection = 1;
inline constexpr unsigned kStatusCore = 2;
inline constexpr unsigned kStatusSpeed = 3;

inline constexpr unsigned kStatusTextSize = 128;
inline constexpr unsigned kReportTextSize = 256;
/// Reports that can wait for the user; a burst beyond it replaces the newest one.
inline constexpr unsigned kMaxReports = 16;

/// A message for the user that no box has shown yet.
struct Report {
    bool isError; ///< else a warning
    std::array<char, kReportTextSize> text;
};

/// What the worker and the main window share. Every field is guarded by AppState::stateMutex.
struct WindowState {
    std::array<std::array<char, kStatusTextSize>, kStatusFields> statusTexts;
    std::uint8_t memoryWindowWanted; ///< the GUI update creates or removes the memory window by it
    std::uint8_t memoryRefreshPending; ///< cleared once the memory window has re-read its page
    std::uint8_t connected;            ///< the last known connection state
    std::array<Report, kMaxReports> reports; ///< oldest first; the first may be on show already
    unsigned reportCount;
};

/// The application's process-wide record, zero at start.
///
/// It has no destructor that runs: a worker that wakes up from a long probe call while the process
/// ends must still find it. Locks: stateMutex guards `window`; windowMutex guards `mainWindow` for
/// the time of an emission. Neither is taken while the other is held.
struct AppState {
    SYS_MUTEX_HANDLE stateMutex;
    WindowState window;
    SYS_MUTEX_HANDLE windowMutex;
    MainWindow *mainWindow; ///< null before construction and after destruction
    /// Publishes nothing but itself: the worker has taken everything down.
    std::atomic<std::uint32_t> workerExited;
    /// Publishes nothing but itself: the main window is closing, nothing new is begun.
    std::atomic<bool> closing;
    /// Publishes that a closed window's probe is closed: how many threads are still at it. Who
    /// opens the probe anew in the same process waits for them, or they would close the new one.
    std::atomic<std::uint32_t> probeClosers;
};

AppState &APP_State();
