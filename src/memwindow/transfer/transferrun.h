#pragma once

#include "waitcursor.h"

#include <QElapsedTimer>
#include <QPointer>
#include <QString>

#include <cstdint>
#include <optional>

class QProgressDialog;
class QWidget;

/// What keeps the program alive while a command works on a range: events between its calls, and
/// after half a second a dialog that shows how far it has come and offers to cancel it.
///
/// While events run the window may be closed. So the run holds nothing of the window but a pointer
/// that tells when it has gone. GUI thread only.
class TransferRun {
public:
    /// What a step found.
    enum class [[nodiscard]] Step{GoOn, Cancelled, WindowGone};

    /// @param title       of the dialog, e.g. "Save"
    /// @param totalBytes  where the bar ends
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
