#pragma once

#include "connectionstate.h"

#include "sysmutex.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <mutex>

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
    bool isError;                    ///< else a warning
    ConnectionGeneration generation; ///< the one in which it is worth showing; 0: in any
    std::array<char, kReportTextSize> text;
};

/// What the worker and the main window share. Every field is guarded by AppState::stateMutex.
struct WindowState {
    std::array<std::array<char, kStatusTextSize>, kStatusFields> statusTexts;
    std::uint8_t memoryRefreshPending; ///< cleared once the memory window has re-read its page
    std::array<Report, kMaxReports> reports; ///< oldest first; the first may be on show already
    unsigned reportCount;
};

/// The application's process-wide record, zero at start.
///
/// Its destructor never runs: a worker that wakes up from a long probe call while the process ends
/// still uses it. Locks: stateMutex guards `window`; windowMutex guards `mainWindow` for
/// the time of an emission; `connection` guards itself. None is taken while another is held.
struct AppState {
    SYS_MUTEX_HANDLE stateMutex;
    WindowState window;
    std::mutex windowMutex;
    MainWindow *mainWindow; ///< null before construction and after destruction
    /// Publishes nothing but itself: the worker has taken everything down.
    std::atomic<std::uint32_t> workerExited;
    /// Publishes nothing but itself: the main window is closing, nothing new is begun.
    std::atomic<bool> closing;
    ConnectionState connection;
};

AppState &APP_State();
