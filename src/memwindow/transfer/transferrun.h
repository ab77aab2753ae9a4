#pragma once

#include "waitcursor.h"

#include <QElapsedTimer>
#include <QPointer>
#include <QString>

#include <cstdint>
#include <optional>

class QProgressDialog;
class QWidget;

/// Keeps the program responsive while a command works on a range: runs events between its calls,
/// and shows a progress dialog with Cancel after half a second.
///
/// While events run the window may be closed. So the run holds nothing of the window but a guarded
/// pointer. GUI thread only.
class TransferRun {
public:
    /// How the work goes on after a step.
    enum class [[nodiscard]] Step{GoOn, Cancelled, WindowGone};

    /// @param title       of the dialog, e.g. "Save"
    /// @param totalBytes  the number of bytes at which the bar is full
    TransferRun(QWidget *window, const QString &title, std::uint64_t totalBytes);
    ~TransferRun();
    Q_DISABLE_COPY_MOVE(TransferRun)

    /// To be called after every call of the host. Runs events where that is due.
    Step Breathe(std::uint64_t doneBytes);

private:
    void ShowProgress(std::uint64_t doneBytes);

    QPointer<QWidget> m_window;
    QPointer<QProgressDialog> m_dialog;
    QString m_title;
    std::uint64_t m_totalBytes;
    std::optional<WaitCursor> m_waitCursor; // until the dialog is up
    QElapsedTimer m_sinceStart;
    QElapsedTimer m_sinceEvents;
    bool m_dialogWasOpen = false;
};
