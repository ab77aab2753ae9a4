// A bare window of the program's shape, to compare its start with.
#include <QApplication>
#include <QMainWindow>
#include <QMenuBar>
#include <QStatusBar>

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    QMainWindow window;
    for (const char *title : {"&File", "&Target", "&Options", "&Help"})
        window.menuBar()->addMenu(QString::fromLatin1(title));
    window.statusBar()->showMessage(QStringLiteral("Ready"));
    window.setCentralWidget(new QWidget);
    window.resize(1000, 800);
    window.show();
    return QApplication::exec();
}
