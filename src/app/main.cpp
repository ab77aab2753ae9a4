#include "libraryfailure.h"
#include "mainwindow.h"
#include "processend.h"

#include "sysprocess.h"

#include <QApplication>
#include <QClipboard>
#include <QIcon>

#include <cstdio>

int main(int argc, char **argv)
{
    SYS_PrepareProcess();
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    QApplication application(argc, argv);
    // The installed icon has a drawing for each small size; a build that is tried in place has
    // none.
    QApplication::setWindowIcon(QIcon::fromTheme(
        QStringLiteral("pelimo"), QIcon(QStringLiteral(":/Resources/pelimo.svg"))));
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
