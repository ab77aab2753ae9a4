#include "transferrun.h"

#include <QCoreApplication>
#include <QProgressDialog>

#include <algorithm>

namespace {

constexpr qint64 kOpenAfterMs = 500;
constexpr qint64 kEventsEveryMs = 40;
constexpr int kSteps = 1000; // of the bar; the bytes may be too many for an int

} // namespace

TransferRun::TransferRun(QWidget *window, const QString &title, std::uint64_t totalBytes)
    : m_window(window)
    , m_title(title)
    , m_totalBytes(std::max<std::uint64_t>(totalBytes, 1))
{
    m_waitCursor.emplace();
    m_sinceStart.start();
    m_sinceEvents.start();
}

TransferRun::~TransferRun()
{
    delete m_dialog;
}

void TransferRun::ShowProgress(std::uint64_t doneBytes)
{
    if (!m_dialogWasOpen) {
        m_dialogWasOpen = true;
        m_waitCursor.reset();
        m_dialog = new QProgressDialog(
            m_title + QStringLiteral("..."), QStringLiteral("Cancel"), 0, kSteps, m_window);
        m_dialog->setWindowTitle(m_title);
        m_dialog->setWindowModality(Qt::WindowModal);
        m_dialog->setMinimumDuration(0);
        m_dialog->setAutoClose(false);
        m_dialog->setAutoReset(false);
        m_dialog->show();
    }
    if (m_dialog)
        m_dialog->setValue(static_cast<int>(doneBytes * kSteps / m_totalBytes)); // runs events
}

TransferRun::Step TransferRun::Breathe(std::uint64_t doneBytes)
{
    if (!m_sinceEvents.hasExpired(kEventsEveryMs))
        return Step::GoOn;
    if (m_sinceStart.hasExpired(kOpenAfterMs))
        ShowProgress(doneBytes);
    // Before the dialog is shown, keys and clicks must wait: they could start another command.
    QCoreApplication::processEvents(
        m_dialog ? QEventLoop::AllEvents : QEventLoop::ExcludeUserInputEvents);
    m_sinceEvents.start();
    if (!m_window)
        return Step::WindowGone;
    const bool cancelled = m_dialogWasOpen && (!m_dialog || m_dialog->wasCanceled());
    return cancelled ? Step::Cancelled : Step::GoOn;
}
