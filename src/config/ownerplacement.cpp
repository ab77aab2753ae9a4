#include "ownerplacement.h"

#include <QApplication>
#include <QWidget>
#include <QWindow>

void PlaceOverActiveWindow(QWidget *dialog)
{
    const QWidget *owner = QApplication::activeWindow();
    if (owner == nullptr || dialog->parentWidget() != nullptr)
        return;
    dialog->winId(); // makes the window that the next line needs
    dialog->windowHandle()->setTransientParent(owner->windowHandle());
    QRect frame(QPoint(), dialog->size());
    frame.moveCenter(owner->frameGeometry().center());
    dialog->move(frame.topLeft());
}
