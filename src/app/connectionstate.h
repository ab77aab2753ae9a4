#pragma once

#include <cstdint>
#include <mutex>
#include <optional>

/// Where the connection stands.
enum class ConnectionPhase : std::uint8_t {
    Closed,    ///< the probe is not open
    Opening,   ///< the worker opens the probe and connects to the target
    Connected, ///< the probe is open and its target answers
    Lost,      ///< the probe is open but its target does not answer
    Closing,   ///< the worker closes the probe
};

/// Counts disconnects and accepted changes of the settings. What was begun in an earlier generation
/// is out of date. 0 is none.
using ConnectionGeneration = std::uint32_t;

/// How a connect ended.
enum class ConnectOutcome {
    OutOfDate,  ///< disconnected or reconfigured meanwhile: its result must not be shown
    NotOpen,    ///< the probe could not be opened
    NoTarget,   ///< the probe is open, the target does not answer
    Connected,  ///< and a memory window is wanted from now on
    Reconnected ///< and the memory window, which was there already, is to read again
};

/// What a connection check found out.
struct CheckOutcome {
    bool changed;        ///< the result differs from the last known state
    bool lostWhileShown; ///< the target is gone while a memory window was wanted
};

/// The one connection: its phase, its generation and what follows from both.
///
/// What other code needs to know (is it connected, is a memory window wanted, may the target be
/// accessed) is derived here and kept nowhere else. Any thread; every call is short. It has no
/// destructor: a worker may still call it while the process ends.
class ConnectionState {
public:
    /// Begins a new generation without a connection, for a new main window.
    void StartAnew();

    /// The user wants to be connected. Holds until the next Supersede().
    void Want();
    /// Raises the generation: the settings have changed, or the connection is no longer wanted.
    void Supersede();
    [[nodiscard]] ConnectionGeneration Generation() const;
    /// Whether a connect is wanted in the present generation.
    [[nodiscard]] bool IsWanted() const;
    /// Whether what was opened last was opened in the present generation.
    [[nodiscard]] bool IsOfPresent() const;
    /// Whether the target is connected as it is wanted now.
    [[nodiscard]] bool IsUpToDate() const;

    [[nodiscard]] ConnectionPhase Phase() const;
    /// The last known state of the connection, as the window shows it. Still true while the worker
    /// closes the probe.
    [[nodiscard]] bool IsConnected() const;
    [[nodiscard]] bool IsMemoryWindowWanted() const;
    [[nodiscard]] bool IsProbeOpen() const;
    /// False from the moment that a loss is found until the next successful connect: memory
    /// accesses fail at once then, without the library, so that a dying probe cannot hold the
    /// window through the hundreds of small reads of a page.
    [[nodiscard]] bool IsTargetReachable() const;

    /// A connect begins. @return its generation, or nothing when it is not wanted any more
    [[nodiscard]] std::optional<ConnectionGeneration> BeginOpening();
    /// The library's Open has returned.
    void NoteOpened(bool open);
    /// The connect ends. If it is out of date, the caller closes what it has opened.
    [[nodiscard]] ConnectOutcome EndOpening(
        ConnectionGeneration generation, bool isTargetConnected);
    /// The library's Close is called, or has returned.
    void BeginClosing();
    void EndClosing();
    /// Takes the answer of a connection check.
    [[nodiscard]] CheckOutcome NoteCheck(bool isTargetConnected);

private:
    mutable std::mutex m_mutex; // guards what follows
    ConnectionPhase m_phase = ConnectionPhase::Closed;
    bool m_probeOpen = false;
    ConnectionGeneration m_generation = 1;
    ConnectionGeneration m_wanted = 0;    // the generation in which a connect was asked for
    ConnectionGeneration m_opened = 0;    // the generation of what is open or being opened
    ConnectionGeneration m_windowFor = 0; // the generation for which a memory window is wanted
};
