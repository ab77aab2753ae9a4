#include "waitcursor.h"

#include <QCursor>
#include <QGuiApplication>

WaitCursor::WaitCursor()
{
    QGuiApplication::setOverrideCursor(QCursor(Qt::WaitCursor));
}

WaitCursor::~WaitCursor()
{
    QGuiApplication::restoreOverrideCursor();
}
