#include "libraryfailure.h"
#include "mainwindow.h"
#include "processend.h"

#include "sysprocess.h"

#include <QApplication>
#include <QClipboard>
#include <QIcon>

#include <cstdio>

namespace {

/// The installed icon, which has a drawing for each small size; the compiled-in one where none is
/// installed, as in a build that is tried in place.
QIcon WindowIcon()
{
    const QIcon installed = QIcon::fromTheme(QStringLiteral("pelimo"));
    if (installed.isNull())
        return QIcon(QStringLiteral(":/Resources/pelimo.svg"));
    QIcon icon;
    for (const int size :
        {16, 24, 32, 48, 64, 128}) // every window sends all of them to the display
        icon.addPixmap(installed.pixmap({size, size}, 1.0));
    return icon;
}

} // namespace

int main(int argc, char **argv)
{
    SYS_PrepareProcess();
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    QApplication application(argc, argv);
    QApplication::setWindowIcon(WindowIcon());
    QApplication::setDesktopFileName(QStringLiteral("pelimo"));
    PROBE_SetLastWords(APP_TellLibraryFailure);
    const ProcessEnd processEnd;
    {
        MainWindow window;
        // Closed while its first dialog was still open: there is nothing left to wait for.
        if (window.isVisible())
            QApplication::exec();
    }
    QApplication::clipboard()->clear(); // no target memory stays behind
    ProcessEnd::LeaveIfBusy(0);
    return 0;
}
