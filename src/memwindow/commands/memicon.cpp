#include "memicon.h"

#include <QFile>
#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPalette>
#include <QPixmapCache>
#include <QSvgRenderer>

namespace {

/// The palette's colour for text on a button, or on a selected menu entry.
QColor InkOf(QIcon::Mode mode)
{
    const QPalette palette = QGuiApplication::palette();
    switch (mode) {
    case QIcon::Disabled:
        return palette.color(QPalette::Disabled, QPalette::ButtonText);
    case QIcon::Selected:
        return palette.color(QPalette::Active, QPalette::HighlightedText);
    default:
        return palette.color(QPalette::Active, QPalette::ButtonText);
    }
}

class InkIconEngine : public QIconEngine {
public:
    explicit InkIconEngine(const QString &fileName)
        : m_fileName(fileName)
    {
    }

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State) override
    {
        Draw(*painter, rect, InkOf(mode));
    }

    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State) override
    {
        if (size.isEmpty()) // a style's icons have no size on a screen of next to no dots per inch
            return {};
        const QColor ink = InkOf(mode);
        const QString key = QStringLiteral("%1 %2x%3 %4")
                                .arg(m_fileName, QString::number(size.width()),
                                    QString::number(size.height()), ink.name(QColor::HexArgb));
        QPixmap picture;
        if (QPixmapCache::find(key, &picture))
            return picture;
        picture = QPixmap(size);
        picture.fill(Qt::transparent);
        QPainter painter(&picture);
        Draw(painter, QRect(QPoint(), size), ink);
        painter.end();
        QPixmapCache::insert(key, picture);
        return picture;
    }

    QPixmap scaledPixmap(const QSize &size, QIcon::Mode mode, QIcon::State state, qreal) override
    {
        return pixmap(size, mode, state); // the size counts device pixels already
    }

    QSize actualSize(const QSize &size, QIcon::Mode, QIcon::State) override { return size; }
    QIconEngine *clone() const override { return new InkIconEngine(m_fileName); }
    bool isNull() override { return false; }
    QString key() const override { return QStringLiteral("pelimo-ink"); }

private:
    void Draw(QPainter &painter, const QRect &rect, const QColor &ink) const
    {
        QFile file(m_fileName);
        if (!file.open(QIODevice::ReadOnly))
            return;
        const QByteArray drawing
            = file.readAll().replace("currentColor", ink.name(QColor::HexRgb).toLatin1());
        QSvgRenderer renderer(drawing);
        renderer.setAspectRatioMode(Qt::KeepAspectRatio);
        painter.save();
        painter.setOpacity(painter.opacity() * ink.alphaF());
        renderer.render(&painter, rect);
        painter.restore();
    }

    QString m_fileName;
};

} // namespace

QIcon MemIcon(const char *name)
{
    return QIcon(
        new InkIconEngine(QStringLiteral(":/Icons/memwindow/%1.svg").arg(QLatin1String(name))));
}
