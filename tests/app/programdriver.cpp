// Linked to the program's own main(): drives it from inside, as the words in PELIMO_DRIVE say, and
// prints what the library is called for and what boxes are shown.
//   cancel    the first dialog is cancelled, else accepted
//   device    the settings name a device, so that nothing asks the library for one
//   open      Open never returns
//   close     Close never returns
//   again     Close sends SIGTERM once more
//   about     the about box is open
// and one way to the end, once there is a memory window (or an Open that hangs, or no connection):
//   hup int term   the signals, after a byte has been typed that is not written yet
//   display        the connection to the display breaks
//   window         the main window is closed
//   none           nothing: the program ends by itself

#include "appstate.h"
#include "faulthooks.h"
#include "mainwindow.h"
#include "typebyte.h"

#include "configdialog.h"

#include <QAction>
#include <QApplication>
#include <QMessageBox>
#include <QTimer>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr std::uint32_t kTypedAddress = 0x2000'1000;
std::atomic<bool> g_isInOpen = false;
constexpr std::pair<const char *, int> kSignals[]
    = {{"hup", SIGHUP}, {"int", SIGINT}, {"term", SIGTERM}};

bool Drives(const char *word)
{
    static const QList<QByteArray> words = qgetenv("PELIMO_DRIVE").split(' ');
    return words.contains(word);
}

void PrintCall(const char *function)
{
    for (const char *const told : {"RANVOARM_Close", "RANVOARM_WriteMemEx"}) {
        if (std::strcmp(function, told) == 0)
            std::printf("%s\n", told);
    }
}

const char *HangInOpen()
{
    g_isInOpen = true;
    for (;;)
        pause();
}

void SetHooks()
{
    FaultHooks *const hooks = FAULT_Hooks();
    if (hooks == nullptr)
        return;
    hooks->onCall = PrintCall;
    hooks->onUnload = [] { std::printf("library destructors\n"); };
    if (Drives("open"))
        hooks->Open = HangInOpen;
    if (Drives("close"))
        hooks->Close = [] {
            for (;;)
                pause();
        };
    if (Drives("again"))
        hooks->Close = [] {
            (void)raise(SIGTERM);
            for (;;)
                pause();
        };
}

bool IsReady(const MainWindow &window)
{
    if (Drives("open"))
        return g_isInOpen;
    return Drives("cancel") || window.findChild<CHexEditor *>() != nullptr;
}

void BreakDisplay()
{
    // The display's socket is the only one that the program has open.
    for (int descriptor = 3; descriptor < 64; ++descriptor) {
        if (isatty(descriptor) == 0 && shutdown(descriptor, SHUT_RDWR) == 0)
            return;
    }
}

void End(MainWindow &window)
{
    if (auto *const memory = window.findChild<CHexEditor *>())
        TypeByte(*memory, kTypedAddress, 0x5A);
    if (Drives("window"))
        window.close();
    else if (Drives("display"))
        BreakDisplay();
    for (const auto &[word, number] : kSignals) {
        if (Drives(word))
            (void)raise(number);
    }
}

void Look()
{
    static bool ended = false;
    QWidget *const modal = QApplication::activeModalWidget();
    if (auto *const dialog = qobject_cast<ConfigDialog *>(modal)) {
        Drives("cancel") ? dialog->_OnPBtnCancel() : dialog->_OnPBtnOK();
    } else if (auto *const box = qobject_cast<QMessageBox *>(modal)) {
        std::printf("box %s: %s\n", qPrintable(box->windowTitle()),
            qPrintable(box->text().section(QLatin1Char('\n'), 0, 0)));
        box->accept();
    } else if (MainWindow *const window = APP_State().mainWindow;
               window != nullptr && !ended && IsReady(*window)) {
        if (Drives("about") && modal == nullptr) {
            for (QAction *action : window->findChildren<QAction *>()) {
                if (action->text() == QLatin1String("&About..."))
                    QTimer::singleShot(0, action, &QAction::trigger);
            }
            return;
        }
        ended = true;
        End(*window);
    }
}

void Drive()
{
    SetHooks();
    auto *const timer = new QTimer(qApp);
    QObject::connect(timer, &QTimer::timeout, timer, Look);
    timer->start(1);
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(Drive)
