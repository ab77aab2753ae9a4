#include "libraryfailure.h"

#include "appidentity.h"
#include "appstate.h"
#include "modalstage.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QMessageBox>
#include <QStringList>
#include <QThread>

#include <cstdio>

namespace {

/// A file and the system's reason for refusing it; most reasons begin with the path already.
QString ReasonLine(const ProbeAttempt &attempt)
{
    const bool namesItself = attempt.reason.starts_with(attempt.path);
    return QString::fromStdString(
        namesItself ? attempt.reason : attempt.path + ": " + attempt.reason);
}

/// Lists libraries that exist but cannot be loaded first: they tell more than the empty places.
QString BoxText(const ProbeAttempts &attempts)
{
    QStringList broken;
    QStringList missing;
    for (const ProbeAttempt &attempt : attempts) {
        const QFileInfo file(QString::fromStdString(attempt.path));
        if (file.exists())
            broken.append(ReasonLine(attempt));
        else
            missing.append(QDir::cleanPath(file.absoluteFilePath()));
    }
    broken.removeDuplicates(); // the program's folder is searched twice
    missing.removeDuplicates();
    QString text = QStringLiteral("Could not open Ranvo shared library.");
    if (!broken.isEmpty())
        text += QStringLiteral("\n\n") + broken.join(QLatin1Char('\n'));
    if (!missing.isEmpty())
        text += QStringLiteral("\n\nThere is none in these places:\n")
            + missing.join(QLatin1Char('\n'));
    return text;
}

/// Whether a box would be visible.
bool HasDisplay()
{
    const QString platform = QGuiApplication::platformName();
    return QCoreApplication::instance() != nullptr && platform != QLatin1String("offscreen")
        && platform != QLatin1String("minimal") && !APP_State().closing.load();
}

void ShowBox(const QString &text)
{
    QMessageBox box(QMessageBox::Critical,
        QStringLiteral("%1 - Error").arg(QString::fromUtf8(APP_WindowTitle())), QString(),
        QMessageBox::Ok, STAGE_Top());
    box.setTextFormat(Qt::PlainText);
    box.setText(text);
    STAGE_Place(&box);
    STAGE_Run(&box);
}

} // namespace

void APP_TellLibraryFailure(const ProbeAttempts &attempts)
{
    for (const ProbeAttempt &attempt : attempts)
        std::fprintf(stderr, "%s\n", ReasonLine(attempt).toLocal8Bit().constData());
    if (!HasDisplay())
        return;
    const QString text = BoxText(attempts);
    if (QThread::currentThread() == QCoreApplication::instance()->thread())
        ShowBox(text);
    else
        QMetaObject::invokeMethod(
            QCoreApplication::instance(), [text] { ShowBox(text); }, Qt::BlockingQueuedConnection);
}
