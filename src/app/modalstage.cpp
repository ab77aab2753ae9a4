#include "modalstage.h"

#include "appstate.h"
#include "mainwindow.h"

#include "ownerplacement.h"

#include <QApplication>
#include <QDialog>

namespace {

/// Read without its lock: it changes on this thread only.
MainWindow *Window()
{
    return APP_State().mainWindow;
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
    // Over the main window even when something else is on top: there the user looks for it.
    PlaceOver(dialog, Window() != nullptr && Window()->isVisible() ? Window() : top);
}

int STAGE_Run(QDialog *dialog)
{
    ClosePopups();
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
            return; // it insists
    }
}
