#include "appharness.h"

#include "appidentity.h"
#include "appstate.h"
#include "mainwindow.h"
#include "probesession.h"
#include "testfile.h"
#include "typebyte.h"

#include "configdialog.h"

#include <mutex>

namespace {

// Never destroyed: the thread that closes the probe may come back while the process ends.
std::mutex &g_callsMutex = *new std::mutex;
QStringList &g_calls = *new QStringList;

void NoteCall(const char *call)
{
    static const QStringList polling
        = {"IsConnected", "ReadMemEx", "DEVICE_GetInfo", "GetIdData", "GetSpeed"};
    const QString text = QString(call).remove("RANVOARM_");
    const std::lock_guard lock(g_callsMutex);
    if (!polling.contains(text.section(' ', 0, 0)))
        g_calls.append(text);
}

void ClearHooks(FaultHooks &hooks)
{
    // The record is nothing but atomic pointers.
    auto *const pointers = reinterpret_cast<std::atomic<void *> *>(&hooks);
    for (std::size_t i = 0; i < sizeof(FaultHooks) / sizeof(std::atomic<void *>); ++i)
        pointers[i].store(nullptr);
    hooks.onCall = NoteCall;
}

QString SettingsPath()
{
    const QString program = QFileInfo(QCoreApplication::applicationFilePath()).fileName();
    return QDir::homePath() + "/.config/TOLVEN\\" + program + "Settings.ini";
}

void WriteSettings(const QString &lines)
{
    QDir().mkpath(QFileInfo(SettingsPath()).path());
    QFile::remove(SettingsPath());
    if (!lines.isEmpty())
        PutFile(SettingsPath(), QString(lines).replace('|', "\r\n").toUtf8() + "\r\n");
}

} // namespace

AppHarness::AppHarness(const QString &settings, DialogAnswer answer)
    : m_dialogAnswer(answer)
{
    ClearHooks(Hooks());
    WriteSettings(settings);
    TakeCalls();
    QObject::connect(&m_answerTimer, &QTimer::timeout, &m_answerTimer, [this] { Answer(); });
    m_answerTimer.start(1);
}

AppHarness::~AppHarness()
{
    DestroyWindow();
    ClearHooks(Hooks());
    // Otherwise a Close that is still running could close the probe of the next window.
    if (!Soon([] { return APP_State().workerExited.load() != 0 && !PROBE_IsClosingAtEnd(); }))
        qFatal("the worker did not end, or the probe was not closed");
}

void AppHarness::AnswerDialog(DialogAnswer answer, std::function<void(ConfigDialog &)> edit)
{
    m_dialogAnswer = answer;
    m_edit = std::move(edit);
}

void AppHarness::Start()
{
    m_window = std::make_unique<MainWindow>();
}

void AppHarness::StartConnected()
{
    Start();
    SOON(MemoryWindow() != nullptr);
}

bool AppHarness::Soon(const std::function<bool()> &condition)
{
    QTimer awake; // what is waited for need not be an event
    awake.start(1);
    const QDeadlineTimer limit(60'000); // only a failure waits so long
    while (!condition() && !limit.hasExpired()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete); // as in a real loop
    }
    return condition();
}

void AppHarness::DestroyWindow()
{
    if (m_window != nullptr)
        m_window->close();
    m_window.reset();
}

CHexEditor *AppHarness::MemoryWindow() const
{
    return m_window->findChild<CHexEditor *>();
}

QStringList AppHarness::StatusTexts() const
{
    QStringList texts;
    for (const QLabel *label : m_window->statusBar()->findChildren<QLabel *>())
        texts.append(label->text());
    return texts;
}

QAction *AppHarness::Action(const QString &text) const
{
    for (QAction *const action : m_window->findChildren<QAction *>()) {
        if (action->text() == text)
            return action;
    }
    return nullptr;
}

void AppHarness::Trigger(const QString &text) const
{
    Action(text)->trigger();
}

void AppHarness::TypeOver(std::uint32_t address, std::uint8_t value)
{
    TypeByte(*MemoryWindow(), address, value);
    MemoryWindow()->OnEditUpdateTimerTimeout();
}

QStringList AppHarness::TakeBoxes()
{
    return std::exchange(m_boxes, {});
}

int AppHarness::VisibleBoxes()
{
    int count = 0;
    for (const QWidget *widget : QApplication::topLevelWidgets())
        count += qobject_cast<const QMessageBox *>(widget) && widget->isVisible() ? 1 : 0;
    return count;
}

QString AppHarness::TakeCalls()
{
    const std::lock_guard lock(g_callsMutex);
    return std::exchange(g_calls, {}).join(", ");
}

QByteArray AppHarness::SettingsFile()
{
    return FileContent(SettingsPath());
}

void AppHarness::Answer()
{
    QWidget *const modal = QApplication::activeModalWidget();
    if (auto *const dialog = qobject_cast<ConfigDialog *>(modal)) {
        if (const auto edit = std::exchange(m_edit, {}))
            edit(*dialog);
        if (m_dialogAnswer == DialogAnswer::Accept)
            dialog->_OnPBtnOK();
        else
            dialog->_OnPBtnCancel();
    } else if (auto *const box = qobject_cast<QMessageBox *>(modal); box && m_answerBoxes) {
        const QRect area = box->parentWidget()->screen()->availableGeometry();
        const QString place = area.contains(box->frameGeometry()) ? "" : "off the screen: ";
        m_boxes.append(place + box->windowTitle().remove(APP_WindowTitle() + QString(" - ")) + '|'
            + box->text());
        box->accept();
    }
}
