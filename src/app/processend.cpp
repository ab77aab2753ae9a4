#include "processend.h"

#include "appstate.h"
#include "mainwindow.h"
#include "probesession.h"

#include <QAccessible>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QSessionManager>
#include <QSettings>
#include <QSocketNotifier>

#include <array>
#include <atomic>
#include <csignal>
#include <cstdlib>

#include <sys/eventfd.h>
#include <unistd.h>

namespace {

constexpr std::array kEndSignals = {SIGTERM, SIGINT, SIGHUP};

int g_signalEvent = -1; // written before the first handler is set
/// Publishes nothing but itself. Lock-free: a signal handler may touch it.
std::atomic<bool> g_isEnding = false;
static_assert(std::atomic<bool>::is_always_lock_free);

/// Async-signal-safe.
void HandleSignal(int number)
{
    if (g_isEnding.exchange(true)) {
        // Blocked until this returns, and then deadly.
        std::signal(number, SIG_DFL);
        (void)raise(number);
        return;
    }
    constexpr std::uint64_t kOne = 1;
    [[maybe_unused]] const ssize_t put = write(g_signalEvent, &kOne, sizeof kOne);
}

/// Closes the main window, or keeps it from being shown if it is not there yet.
void CloseInOrder()
{
    // Read without its lock: it changes on this thread only.
    if (MainWindow *const window = APP_State().mainWindow)
        window->close();
    QCoreApplication::quit();
}

/// Runs when something ends the process by exit() while the window is there: Qt does so, from
/// inside its event loop, when the display is gone.
void CloseWithoutDisplay()
{
    if (MainWindow *const window = APP_State().mainWindow)
        window->EndWithoutDisplay();
}

/// Runs after CloseWithoutDisplay(), also when that did not finish: the display's own library ends
/// the process again when it is used.
void LeaveWithoutDestructors()
{
    if (APP_State().mainWindow != nullptr)
        std::_Exit(EXIT_FAILURE);
}

} // namespace

ProcessEnd::ProcessEnd()
{
    connect(qApp, &QGuiApplication::commitDataRequest, this, &ProcessEnd::OnSessionEnds,
        Qt::DirectConnection);
    // Objects made before these two calls still exist when the functions run. They need the
    // settings.
    (void)QSettings().allKeys();
    QAccessible::removeActivationObserver(nullptr); // the memory window takes itself off this list
    std::atexit(LeaveWithoutDestructors);
    std::atexit(CloseWithoutDisplay); // runs first
    g_signalEvent = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (g_signalEvent < 0)
        return; // signals then end the process at once, as without this class
    m_notifier = new QSocketNotifier(g_signalEvent, QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &ProcessEnd::OnSignal);
    for (const int number : kEndSignals) {
        struct sigaction action { };
        if (sigaction(number, nullptr, &action) != 0 || action.sa_handler == SIG_IGN)
            continue;
        action = {};
        action.sa_handler = HandleSignal;
        action.sa_flags = SA_RESTART;
        sigaction(number, &action, nullptr);
    }
}

ProcessEnd::~ProcessEnd() = default;

void ProcessEnd::OnSignal()
{
    m_notifier->setEnabled(false);
    CloseInOrder();
}

void ProcessEnd::OnSessionEnds(QSessionManager &)
{
    CloseInOrder();
}

void ProcessEnd::LeaveIfBusy(int status)
{
    if (APP_State().workerExited.load(std::memory_order_acquire) != 0 && !PROBE_IsClosingAtEnd())
        return;
    QGuiApplication::sync(); // the last requests must reach the display
    std::_Exit(status);
}
