#include "memfile.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>

namespace {

constexpr qint64 kCopyChunkBytes = 1024LL * 1024;

bool WriteAll(QIODevice &file, const char *bytes, qint64 length)
{
    return file.write(bytes, length) == length;
}

} // namespace

QString MEMFILE_Path(const QString &typed)
{
    if (typed == QLatin1String("~") || typed.startsWith(QLatin1String("~/")))
        return QDir::homePath() + typed.sliced(1);
    return typed;
}

std::optional<std::uint64_t> MEMFILE_Size(const QString &path)
{
    const QFileInfo info(path);
    if (path.isEmpty() || !info.isFile())
        return std::nullopt;
    return static_cast<std::uint64_t>(std::max<qint64>(info.size(), 0));
}

QString MEMFILE_WhyNotRead(const QString &path)
{
    const QFileInfo info(path);
    if (path.isEmpty())
        return QStringLiteral("Enter the name of a file.");
    if (!info.exists())
        return QStringLiteral("There is no such file.");
    if (!info.isFile())
        return info.isDir() ? QStringLiteral("This is a folder.")
                            : QStringLiteral("This is no regular file.");
    if (!info.isReadable())
        return QStringLiteral("The file may not be read.");
    return {};
}

QString MEMFILE_WhyNotWritten(const QString &path)
{
    const QFileInfo info(path);
    if (path.isEmpty())
        return QStringLiteral("Enter the name of a file.");
    if (info.isDir() || path.endsWith(QLatin1Char('/')))
        return QStringLiteral("This is a folder.");
    if (info.exists() && !info.isFile())
        return QStringLiteral("This is no regular file.");
    if (info.exists()) {
        const QFileInfo folder(QFileInfo(info.canonicalFilePath()).path());
        return info.isWritable() || folder.isWritable()
            ? QString()
            : QStringLiteral("The file may not be written.");
    }
    const QFileInfo folder(info.path());
    if (!folder.isDir())
        return QStringLiteral("The folder does not exist.");
    if (info.isSymLink())
        return QStringLiteral("This link leads nowhere.");
    return folder.isWritable() ? QString() : QStringLiteral("The folder takes no new file.");
}

bool MemFileReader::Open(const QString &path)
{
    m_file.setFileName(path);
    return MEMFILE_Size(path).has_value() && m_file.open(QIODevice::ReadOnly);
}

std::optional<std::size_t> MemFileReader::Read(std::span<std::uint8_t> bytes)
{
    const qint64 count
        = m_file.read(reinterpret_cast<char *>(bytes.data()), static_cast<qint64>(bytes.size()));
    if (count < 0)
        return std::nullopt;
    return static_cast<std::size_t>(count);
}

bool MemFileWriter::Open(const QString &path)
{
    const QFileInfo info(path);
    if (path.isEmpty() || (info.exists() && !info.isFile()))
        return false;
    m_path = path;
    m_beside = std::make_unique<QSaveFile>(path);
    if (m_beside->open(QIODevice::WriteOnly))
        return true;
    m_beside.reset();
    // In a folder that takes new files the cause is lack of room: writing in place would destroy
    // the old contents as well.
    const QFileInfo folder(QFileInfo(info.canonicalFilePath()).path());
    if (!info.exists() || !info.isWritable() || folder.isWritable())
        return false;
    m_spool = std::make_unique<QTemporaryFile>();
    return m_spool->open();
}

bool MemFileWriter::Write(std::span<const std::uint8_t> bytes)
{
    QFileDevice *file = m_spool ? static_cast<QFileDevice *>(m_spool.get()) : m_beside.get();
    return WriteAll(
        *file, reinterpret_cast<const char *>(bytes.data()), static_cast<qint64>(bytes.size()));
}

bool MemFileWriter::Commit()
{
    if (m_spool)
        return CopyInPlace();
    // commit() does not check whether its own flush of the last bytes failed.
    return m_beside->flush() && m_beside->commit();
}

bool MemFileWriter::CopyInPlace()
{
    QFile file(m_path);
    if (!m_spool->flush() || !m_spool->seek(0)
        || !file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered))
        return false;
    while (!m_spool->atEnd()) {
        const QByteArray chunk = m_spool->read(kCopyChunkBytes);
        if (chunk.isEmpty() || !WriteAll(file, chunk.constData(), chunk.size()))
            return false;
    }
    return true;
}
