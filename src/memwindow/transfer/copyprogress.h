#pragma once

#include <QElapsedTimer>
#include <QPointer>

#include <cstdint>

class QProgressDialog;
class QWidget;

/// A dialog that shows how far a copy row by row has come and offers to cancel it.
///
/// It opens only when the copy has taken a while, since most take no time at all. While it is open
/// it runs events, so the window may be closed or refreshed between two rows.
class CopyProgress {
public:
    /// @param rowCount  steps until the end
    CopyProgress(QWidget *window, std::uint64_t rowCount);
    ~CopyProgress();
    Q_DISABLE_COPY_MOVE(CopyProgress)

    /// Counts one row. @return false when the user has cancelled or the window has gone
    [[nodiscard]] bool Step();

private:
    void Open();

    QPointer<QWidget> m_window;
    QPointer<QProgressDialog> m_dialog;
    QElapsedTimer m_clock;
    qint64 m_shownAtMs = 0; // when the dialog was last brought up to date
    std::uint64_t m_rowCount;
    std::uint64_t m_rowsDone = 0;
};
