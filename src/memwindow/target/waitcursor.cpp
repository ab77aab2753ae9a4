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

UsualCursor::UsualCursor()
    : m_isShown(qobject_cast<QGuiApplication *>(QCoreApplication::instance()) != nullptr
        && QGuiApplication::overrideCursor() != nullptr)
{
    if (m_isShown)
        QGuiApplication::setOverrideCursor(QCursor(Qt::ArrowCursor));
}

UsualCursor::~UsualCursor()
{
    if (m_isShown)
        QGuiApplication::restoreOverrideCursor();
}
