#pragma once

#include <QDir>
#include <QFile>

/// The file's content, or "<none>" when it cannot be read.
inline QByteArray FileContent(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<none>");
}

inline void PutFile(const QString &path, const QByteArray &content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("%s cannot be written", qPrintable(path));
}

/// What lies in a folder, hidden files and special ones included, but no folders.
inline QStringList FileNames(const QString &folder)
{
    return QDir(folder).entryList(QDir::Files | QDir::Hidden | QDir::System, QDir::Name);
}
