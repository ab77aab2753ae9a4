// Linked to the program's own main(): drives it from inside, as the words in PELIMO_DRIVE say, and
// prints what the library is called for, what boxes are shown and that the clipboard is emptied.
//   cancel           the first dialog is cancelled, else accepted
//   RANVOARM_Close   this function, or any other that is named so, never returns
//   again            Close sends SIGTERM once more
//   about            the about box is open
// and one way to the end, once there is a memory window (or a call that hangs, or no connection):
//   hup int term     the signals, after a byte has been typed that is not written yet
//   display          the connection to the display breaks
//   window           the main window is closed
// or none of these: the program ends by itself.

#include "appstate.h"
#include "faulthooks.h"
#include "mainwindow.h"
#include "typebyte.h"

#include "configdialog.h"

#include <QtWidgets>

#include <csignal>
#include <cstdio>

#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr std::uint32_t kTypedAddress = 0x2000'1000;
constexpr std::pair<const char *, int> kSignals[]
    = {{"hup", SIGHUP}, {"int", SIGINT}, {"term", SIGTERM}};
std::atomic<bool> g_hangs = false;

bool Drives(const QByteArray &word)
{
    return qgetenv("PELIMO_DRIVE").split(' ').contains(word);
}

void NoteCall(const char *call)
{
    const QByteArray function = QByteArray(call).split(' ').first();
    if (function == "RANVOARM_Close" || function == "RANVOARM_WriteMemEx")
        std::printf("%s\n", function.constData());
    if (function == "RANVOARM_Close" && Drives("again"))
        (void)raise(SIGTERM);
    while (Drives(function)) {
        g_hangs = true;
        pause();
    }
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
    QClipboard *const clipboard = QGuiApplication::clipboard();
    clipboard->setText("memory");
    QObject::connect(clipboard, &QClipboard::dataChanged, clipboard, [clipboard] {
        if (clipboard->text().isEmpty())
            std::printf("clipboard emptied\n");
    });
    if (auto *const memory = window.findChild<CHexEditor *>())
        TypeByte(*memory, kTypedAddress, 0x5A);
    if (Drives("window"))
        window.close();
    if (Drives("display"))
        BreakDisplay();
    for (const auto &[word, number] : kSignals) {
        if (Drives(word))
            (void)raise(number);
    }
}

void Look()
{
    static bool ended = false;
    MainWindow *const window = APP_State().mainWindow;
    QWidget *const modal = QApplication::activeModalWidget();
    if (auto *const dialog = qobject_cast<ConfigDialog *>(modal)) {
        Drives("cancel") ? dialog->_OnPBtnCancel() : dialog->_OnPBtnOK();
    } else if (auto *const box = qobject_cast<QMessageBox *>(modal)) {
        std::printf("box %s: %s\n", qPrintable(box->windowTitle()),
            qPrintable(box->text().section('\n', 0, 0)));
        box->accept();
    } else if (window == nullptr || ended
        || !(Drives("cancel") || g_hangs || window->findChild<CHexEditor *>() != nullptr)) {
        return;
    } else if (Drives("about") && modal == nullptr) {
        for (QAction *action : window->findChildren<QAction *>()) {
            if (action->text() == "&About...")
                QTimer::singleShot(0, action, &QAction::trigger);
        }
    } else {
        ended = true;
        End(*window);
    }
}

void Drive()
{
    if (FaultHooks *const hooks = FAULT_Hooks()) {
        hooks->onCall = NoteCall;
        hooks->onUnload = [] { std::printf("library destructors\n"); };
    }
    auto *const timer = new QTimer(qApp);
    QObject::connect(timer, &QTimer::timeout, timer, Look);
    timer->start(1);
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(Drive)
