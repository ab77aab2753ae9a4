#include "drops.h"

#include "hexnumber.h"

#include <QDropEvent>
#include <QList>
#include <QMimeData>
#include <QUrl>

QString DROP_File(const QMimeData &contents)
{
    const QList<QUrl> urls = contents.urls();
    return urls.size() == 1 ? urls.first().toLocalFile() : QString();
}

QString DROP_Address(const QMimeData &contents)
{
    const QString text
        = contents.hasText() && !contents.hasUrls() ? contents.text().trimmed() : QString();
    return ParseHexNumber(text) ? text : QString();
}

bool DROP_Offer(QDropEvent &event, bool canLoad)
{
    const QMimeData &contents = *event.mimeData();
    const bool isTaken
        = (canLoad && !DROP_File(contents).isEmpty()) || !DROP_Address(contents).isEmpty();
    event.setDropAction(Qt::CopyAction);
    event.setAccepted(isTaken);
    return isTaken;
}
