#include "copyprogress.h"

#include <QProgressDialog>

namespace {

constexpr qint64 kOpenAfterMs = 1000;
constexpr qint64 kUpdateMs = 50;
constexpr int kSteps = 1000; // of the bar; the rows may be too many for an int

} // namespace

CopyProgress::CopyProgress(QWidget *window, std::uint64_t rowCount)
    : m_window(window)
    , m_rowCount(rowCount)
{
    m_clock.start();
}

CopyProgress::~CopyProgress()
{
    delete m_dialog;
}

void CopyProgress::Open()
{
    m_dialog = new QProgressDialog(
        QStringLiteral("Copying the selection..."), QStringLiteral("Cancel"), 0, kSteps, m_window);
    m_dialog->setWindowTitle(QStringLiteral("Copy"));
    m_dialog->setWindowModality(Qt::WindowModal);
    m_dialog->setMinimumDuration(0);
    m_dialog->setAutoClose(false);
    m_dialog->setAutoReset(false);
}

bool CopyProgress::Step()
{
    ++m_rowsDone;
    const qint64 nowMs = m_clock.elapsed();
    if (nowMs < kOpenAfterMs || nowMs - m_shownAtMs < kUpdateMs)
        return true;
    m_shownAtMs = nowMs;
    if (!m_dialog)
        Open();
    m_dialog->setValue(static_cast<int>(m_rowsDone * kSteps / m_rowCount)); // runs events
    return m_window && m_dialog && !m_dialog->wasCanceled();
}
