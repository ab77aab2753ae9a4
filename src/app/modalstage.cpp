#include "modalstage.h"

#include "appstate.h"
#include "mainwindow.h"

#include "ownerplacement.h"

#include <QApplication>
#include <QDialog>
#include <QTimer>

namespace {

/// Read without its lock: it changes on this thread only.
MainWindow *Window()
{
    return APP_State().mainWindow;
}

/// Over the main window even when something else is on top: that is where the user looks.
const QWidget *PlaceOwner(const QWidget *top)
{
    return Window() != nullptr && Window()->isVisible() ? Window() : top;
}

void ClosePopups()
{
    while (QWidget *const popup = QApplication::activePopupWidget()) {
        if (!popup->close())
            return;
    }
}

} // namespace

QWidget *STAGE_Top()
{
    QWidget *const modal = QApplication::activeModalWidget();
    return modal != nullptr ? modal : Window();
}

void STAGE_Place(QDialog *dialog)
{
    const QWidget *const top = STAGE_Top();
    if (top == nullptr)
        return;
    if (top->windowFlags().testFlag(Qt::WindowStaysOnTopHint))
        dialog->setWindowFlag(Qt::WindowStaysOnTopHint);
    TieToOwner(dialog, top);
    PlaceOver(dialog, PlaceOwner(top));
}

int STAGE_Run(QDialog *dialog)
{
    ClosePopups();
    // A box has its final size, and its frame, only once it is shown.
    QTimer::singleShot(0, dialog, [dialog] { PullOntoScreen(dialog, PlaceOwner(dialog)); });
    return dialog->exec();
}

void STAGE_Clear()
{
    ClosePopups();
    while (QWidget *const modal = QApplication::activeModalWidget()) {
        if (auto *const dialog = qobject_cast<QDialog *>(modal))
            dialog->reject();
        else
            modal->close();
        if (QApplication::activeModalWidget() == modal)
            return; // it refuses to close
    }
}
