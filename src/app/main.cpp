#include "mainwindow.h"

#include <QApplication>
#include <QClipboard>

#include <csignal>
#include <cstdio>

int main(int argc, char **argv)
{
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    // A limit on file sizes fails the one save that reaches it; it must not end the program.
    std::signal(SIGXFSZ, SIG_IGN);
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
