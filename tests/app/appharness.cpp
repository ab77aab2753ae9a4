#include "appharness.h"

#include "appstate.h"
#include "mainwindow.h"
#include "probesession.h"
#include "typebyte.h"

#include "chexeditor.h"
#include "configdialog.h"

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QMenu>
#include <QMessageBox>
#include <QStatusBar>
#include <QTest>

#include <algorithm>
#include <array>

namespace {

// Never destroyed: the thread that closes the probe may come back while the process ends.
std::mutex &g_callsMutex = *new std::mutex;
QStringList &g_calls = *new QStringList;

void NoteCall(const char *function)
{
    const QString name = QString::fromLatin1(function).remove("RANVOARM_");
    constexpr std::array polling
        = {"IsConnected", "ReadMemEx", "DEVICE_GetInfo", "GetIdData", "GetSpeed"};
    const std::lock_guard lock(g_callsMutex);
    if (std::none_of(polling.begin(), polling.end(),
            [&name](const char *polled) { return name == QLatin1String(polled); }))
        g_calls.append(name);
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

void WriteSettings(const QStringList &lines)
{
    const QString folder = QDir::homePath() + "/.config";
    QDir().mkpath(folder);
    // Other programs' folders aside, the tests' home holds nothing else that starts like this.
    for (const QString &old : QDir(folder).entryList({"TOLVEN\\*"}, QDir::Files))
        QFile::remove(folder + QLatin1Char('/') + old);
    if (lines.isEmpty())
        return;
    QFile file(SettingsPath());
    if (file.open(QIODevice::WriteOnly))
        file.write(lines.join("\r\n").toUtf8() + "\r\n");
}

} // namespace

AppHarness::AppHarness(const QStringList &settings, FirstDialog answer)
    : m_firstDialog(answer)
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
    if (!QTest::qWaitFor([] { return APP_State().workerExited.load() != 0; }, 20'000))
        qFatal("the worker did not end");
    // Or the thread that closes the probe would come late and close the next window's.
    if (!QTest::qWaitFor([] { return !PROBE_IsClosingAtEnd(); }, 20'000))
        qFatal("the probe was not closed");
}

QByteArray AppHarness::SettingsFile()
{
    QFile file(SettingsPath());
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void AppHarness::Start()
{
    m_window = std::make_unique<MainWindow>();
}

void AppHarness::TypeOver(std::uint32_t address, std::uint8_t value)
{
    TypeByte(*MemoryWindow(), address, value);
    MemoryWindow()->OnEditUpdateTimerTimeout();
}

void AppHarness::DestroyWindow()
{
    if (m_window == nullptr)
        return;
    m_window->close();
    m_window.reset();
}

CHexEditor *AppHarness::MemoryWindow() const
{
    return m_window->findChild<CHexEditor *>();
}

QString AppHarness::StatusText(unsigned field) const
{
    const auto labels
        = m_window->statusBar()->findChildren<QLabel *>(QString(), Qt::FindDirectChildrenOnly);
    return labels.at(static_cast<int>(field))->text();
}

QAction *AppHarness::Action(const QString &text) const
{
    for (QAction *action : m_window->findChildren<QAction *>()) {
        if (action->text() == text)
            return action;
    }
    return nullptr;
}

QStringList AppHarness::BoxTexts() const
{
    QStringList texts;
    for (const QString &box : m_boxes)
        texts.append(box.section(QLatin1Char('|'), 1));
    return texts;
}

QStringList AppHarness::TakeBoxTexts()
{
    const QStringList texts = BoxTexts();
    m_boxes.clear();
    return texts;
}

int AppHarness::VisibleBoxes()
{
    int count = 0;
    for (const QWidget *widget : QApplication::topLevelWidgets())
        count
            += qobject_cast<const QMessageBox *>(widget) != nullptr && widget->isVisible() ? 1 : 0;
    return count;
}

QStringList AppHarness::TakeCalls()
{
    const std::lock_guard lock(g_callsMutex);
    return std::exchange(g_calls, {});
}

void AppHarness::Answer()
{
    QWidget *const modal = QApplication::activeModalWidget();
    if (auto *const dialog = qobject_cast<ConfigDialog *>(modal)) {
        if (const auto edit = std::exchange(m_edit, {}))
            edit(*dialog);
        if (m_firstDialog == FirstDialog::Accept)
            dialog->_OnPBtnOK();
        else
            dialog->_OnPBtnCancel();
    } else if (auto *const box = qobject_cast<QMessageBox *>(modal);
               box != nullptr && m_answerBoxes) {
        m_boxes.append(box->windowTitle() + QLatin1Char('|') + box->text());
        box->accept();
    }
}
