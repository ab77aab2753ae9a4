#include "mainwindow.h"

#include "appidentity.h"
#include "custmdiarea.h"
#include "logoimage.h"
#include "modalstage.h"
#include "probesession.h"
#include "windowreports.h"
#include "workeractions.h"

#include "chexeditor.h"
#include "connectionsettings.h"
#include "syslock.h"
#include "syssleep.h"
#include "utiltext.h"

#include <QAction>
#include <QCloseEvent>
#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QLabel>
#include <QMdiSubWindow>
#include <QStatusTipEvent>
#include <QWindow>

namespace {

/// How long a closing window waits for the worker, looking once a millisecond.
constexpr int kExitRounds = 10;

/// Called by the settings, on the GUI thread, after they have taken a changed record.
void ReconnectAfterChange()
{
    // First of all: typed changes that still wait to be written need the old connection.
    APP_State().mainWindow->RemoveMemoryWindow();
    WORKER_PostDisconnect();
    APP_UpdateGui();
    WORKER_PostConnect();
}

/// The worker-to-window state of a new window; the lock is made once for the whole process.
void ResetSharedState(MainWindow *window)
{
    AppState &state = APP_State();
    if (state.stateMutex == nullptr)
        state.stateMutex = SYS_CreateUnnamedMutex();
    state.closing.store(false, std::memory_order_relaxed);
    state.workerExited.store(0, std::memory_order_relaxed);
    state.connection.StartAnew();
    {
        const SysLock lock(state.stateMutex);
        state.window = {};
        UTIL_CopyText(state.window.statusTexts[kStatusMessage], "Ready");
        UTIL_CopyText(state.window.statusTexts[kStatusConnection], "Not connected");
    }
    const std::lock_guard lock(state.windowMutex);
    state.mainWindow = window;
}

/// Lets a window be drawn before a dialog blocks it: otherwise some displays show it half drawn.
void AwaitFirstPaint(const QWidget &window)
{
    constexpr int kPatienceMs = 200;
    const QDeadlineTimer deadline(kPatienceMs);
    do
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents, 10);
    while (!deadline.hasExpired() && window.isVisible() && !window.windowHandle()->isExposed());
}

void SetLabel(QLabel *label, const char *text)
{
    const QString wanted = QString::fromUtf8(text);
    if (label->text() == wanted)
        return;
    label->setText(wanted);
    label->setToolTip(wanted); // a narrow window cuts the field
}

} // namespace

MainWindow::MainWindow()
{
    ResetSharedState(this);
    m_area = new CustMDIArea(APP_LogoImage(), this);
    BuildMenus();
    BuildStatusBar();
    ConnectSignals();
    setCentralWidget(m_area);
    setWindowTitle(QString::fromUtf8(APP_WindowTitle()));
    PlaceOnScreen();
    UpdateGui();
    SETTINGS_SetHost({APP_ShowError, ReconnectAfterChange});
    ConnectionRecord record{};
    SETTINGS_Load(&record);
    WORKER_SetUpStaticJobs(this);
    show();
    AwaitFirstPaint(*this);
    if (isVisible()) // it is not when the process was told to end meanwhile
        _OnActionGeneral();
}

MainWindow::~MainWindow()
{
    AppState &state = APP_State();
    const std::lock_guard lock(state.windowMutex);
    state.mainWindow = nullptr; // a worker that is still busy finds no window from here on
}

void MainWindow::_Slot_OnGUIUpdate()
{
    UpdateGui();
}

void MainWindow::_Slot_OnMemWindowUpdate()
{
    if (m_hexEditor != nullptr)
        m_hexEditor->UpdateFromTarget();
    AppState &state = APP_State();
    const SysLock lock(state.stateMutex);
    state.window.memoryRefreshPending = 0;
}

void MainWindow::_OnActionExit()
{
    close();
}

void MainWindow::_OnActionConnect()
{
    WORKER_PostConnect();
    UpdateGui();
}

void MainWindow::_OnActionDisconnect()
{
    RemoveMemoryWindow(); // writes what was typed while the probe is still open
    WORKER_PostDisconnect();
    UpdateGui();
}

void MainWindow::_OnHoverAction()
{
    // The slot's signature is fixed: only the sender says which entry is meant.
    const auto *const action = qobject_cast<QAction *>(sender());
    if (action != nullptr)
        APP_SetStatusField(action->statusTip().toUtf8().constData(), kStatusMessage);
}

bool MainWindow::event(QEvent *event)
{
    // The tips of all menus and tool bars are shown in the first field and stay there: the status
    // bar has no room for temporary messages. Qt sends an empty tip when the pointer leaves an
    // entry; that one is ignored.
    if (event->type() == QEvent::StatusTip) {
        const QString tip = static_cast<QStatusTipEvent *>(event)->tip();
        if (!tip.isEmpty())
            APP_SetStatusField(tip.toUtf8().constData(), kStatusMessage);
        return true;
    }
    return QMainWindow::event(event);
}

void MainWindow::UpdateGui()
{
    // A message box inside an update runs an event loop of its own, and with it further updates.
    static bool updating = false;
    if (updating)
        return;
    updating = true;
    AppState &state = APP_State();
    WindowState &shared = state.window;
    const bool connected = state.connection.IsConnected();
    decltype(shared.statusTexts) texts;
    {
        const SysLock lock(state.stateMutex);
        if (!connected) {
            UTIL_CopyText(shared.statusTexts[kStatusConnection], "Not connected");
            UTIL_CopyText(shared.statusTexts[kStatusCore], "");
            UTIL_CopyText(shared.statusTexts[kStatusSpeed], "");
        }
        texts = shared.statusTexts;
    }
    // The lock is free again: creating the window reads the target, posting may wait for a slot,
    // and the worker needs the lock to finish what either of them waits for.
    for (unsigned i = 0; i < kStatusFields; ++i)
        SetLabel(m_labels[i], texts[i].data());
    if (state.connection.IsMemoryWindowWanted())
        CreateMemoryWindow();
    else
        RemoveMemoryWindow();
    m_actionDisconnect->setEnabled(connected);
    m_actionConnect->setEnabled(!connected);
    if (!state.closing.load(std::memory_order_relaxed))
        WORKER_PostConnectionCheck();
    updating = false;
}

void MainWindow::CreateMemoryWindow()
{
    if (m_hexEditor != nullptr || m_area == nullptr)
        return;
    m_hexEditor = new CHexEditor(this);
    m_hexEditor->setAttribute(Qt::WA_DeleteOnClose);
    connect(m_hexEditor, &CHexEditor::CommandFailed, this,
        [](const QString &text) { APP_SetStatusField(text.toUtf8().constData(), kStatusMessage); });
    m_hexEditor->SetCallbacks(PROBE_MemoryCallbacks());
    m_hexEditor->SetFeatureFlags(kFeatureRefresh); // no load command, automatic access width
    m_subWindow = new QMdiSubWindow;
    m_subWindow->setAttribute(Qt::WA_DeleteOnClose);
    m_subWindow->setWindowFlag(Qt::FramelessWindowHint);
    m_subWindow->setWidget(m_hexEditor);
    // Else Tab comes from the memory view to this window, which gives the focus back to the view.
    m_subWindow->setFocusPolicy(Qt::ClickFocus);
    m_area->addSubWindow(m_subWindow, Qt::FramelessWindowHint);
    m_subWindow->showMaximized();
    // A maximised window joins its title to ours when it changes, and it has changed already.
    QEvent titleChange(QEvent::WindowTitleChange);
    QCoreApplication::sendEvent(m_subWindow, &titleChange);
    m_hexEditor->setFocus();
}

void MainWindow::RemoveMemoryWindow()
{
    if (m_subWindow == nullptr)
        return;
    const QPointer<QMdiSubWindow> subWindow = m_subWindow;
    const QPointer<CHexEditor> hexEditor = m_hexEditor;
    m_subWindow = nullptr;
    m_hexEditor = nullptr;
    m_area->removeSubWindow(subWindow);
    if (hexEditor != nullptr)
        hexEditor->close();
    if (subWindow != nullptr)
        subWindow->close();
}

void MainWindow::EndWithoutDisplay()
{
    AppState &state = APP_State();
    if (state.closing.exchange(true))
        return;
    if (m_hexEditor != nullptr) {
        QCloseEvent closing; // it writes what was typed last
        QCoreApplication::sendEvent(m_hexEditor, &closing);
    }
    state.connection.Supersede();
    PROBE_CloseAtEnd();
    delete m_hexEditor; // it saves its settings
}

void MainWindow::closeEvent(QCloseEvent *event)
{
    AppState &state = APP_State();
    if (!state.closing.exchange(true)) {
        RemoveMemoryWindow(); // first of all: it writes what was typed last
        state.connection.Supersede();
        const bool exiting = WORKER_PostExit();
        for (int round = 0; exiting && round < kExitRounds && state.workerExited.load() == 0;
             ++round)
            SYS_Sleep(1);
        STAGE_Clear();
        hide(); // at once, however long the library takes to close the probe
        PROBE_CloseAtEnd();
        SETTINGS_Release();
    }
    event->accept();
}
