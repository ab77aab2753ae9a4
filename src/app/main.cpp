#include "mainwindow.h"

#include "sysprocess.h"

#include <QApplication>
#include <QClipboard>

#include <cstdio>

int main(int argc, char **argv)
{
    SYS_PrepareProcess();
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    QApplication application(argc, argv);
    {
        MainWindow window;
        // Closed while its first dialog was still open: there is nothing left to wait for.
        if (window.isVisible())
            QApplication::exec();
    }
    QApplication::clipboard()->clear(); // no target memory stays behind
    return 0;
}
