#pragma once

#include "libraryfaults.h"

class AppHarness;

/// The steps of a window's life.
enum class Step { Connecting, Refreshing, Editing, Saving, Disconnecting, Closing };
inline constexpr std::array kStepNames
    = {"connecting", "refreshing", "editing", "saving", "disconnecting", "closing"};
inline constexpr int kSteps = static_cast<int>(kStepNames.size());

/// How long to wait for anything; only what hangs takes so long.
inline constexpr int kPatienceMs = 60'000;

/// One window's life with a fault of the library that begins at a step.
class WindowLife {
public:
    /// What the window's answers are held against.
    enum class Answers { AtAll, InTime };

    WindowLife(AppHarness &app, int function, Fault fault, Step begins, Answers answers);

    /// The last step is a signal to the process instead of a press on the window's close button.
    void EndBySignal() { m_endsBySignal = true; }

    /// Goes through a step; all of them once, in their order.
    /// @return what went wrong; empty when nothing did
    QString Run(Step step);

    /// The longest time without an answer of the event loop in all lives, without what library
    /// calls on the GUI thread or the want of a processor took.
    static qint64 LongestSilenceNs();

private:
    [[nodiscard]] bool Is(const char *function) const;
    [[nodiscard]] bool Hangs() const;
    [[nodiscard]] bool IsSlow() const;
    /// The boxes of this step and no others, and a window that answers.
    QString Settle(const QStringList &boxes);
    /// The boxes of a step of a connected window.
    [[nodiscard]] QStringList BoxesWhileConnected(Step step) const;
    QString Connect();
    QString AwaitConnection(bool isFaulty);
    QString Refresh();
    static std::uint8_t TargetByte(std::uint32_t address);
    QString Edit();
    /// The target answers as long as nothing has gone wrong with connecting.
    [[nodiscard]] bool IsReachable() const;
    QString Save();
    QString Reconnect();
    QString Close();

    AppHarness &m_app;
    int m_index;
    QString m_function;
    Fault m_fault;
    Step m_begins;
    Answers m_answers;
    bool m_endsBySignal = false;
};
