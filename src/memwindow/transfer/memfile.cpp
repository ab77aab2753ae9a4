#include "memfile.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <algorithm>
#include <new>

namespace {

constexpr qint64 kReadChunkBytes = 1024LL * 1024;

bool WriteAll(QIODevice &file, std::span<const std::uint8_t> bytes)
{
    const auto length = static_cast<qint64>(bytes.size());
    return file.write(reinterpret_cast<const char *>(bytes.data()), length) == length;
}

/// For folders that take no new file: all that is left is to overwrite the old contents.
bool WriteInPlace(const QString &fileName, std::span<const std::uint8_t> bytes)
{
    QFile file(fileName);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered)
        && WriteAll(file, bytes);
}

/// Reads to the end, whatever length the file was said to have: it may grow or shrink meanwhile.
std::optional<QByteArray> ReadAll(QFile &file)
{
    QByteArray bytes;
    while (true) {
        const QByteArray chunk = file.read(kReadChunkBytes);
        if (chunk.isEmpty())
            break;
        bytes.append(chunk);
        if (static_cast<std::uint64_t>(bytes.size()) > kMaxTransferBytes)
            return std::nullopt;
    }
    if (file.error() != QFileDevice::NoError)
        return std::nullopt;
    return bytes;
}

} // namespace

std::optional<std::uint64_t> MEMFILE_Size(const QString &fileName)
{
    const QFileInfo info(fileName);
    if (fileName.isEmpty() || !info.isFile())
        return std::nullopt;
    return static_cast<std::uint64_t>(std::max<qint64>(info.size(), 0));
}

std::optional<QByteArray> MEMFILE_Read(const QString &fileName)
{
    const std::optional<std::uint64_t> size = MEMFILE_Size(fileName);
    if (!size || *size > kMaxTransferBytes)
        return std::nullopt;
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    try {
        return ReadAll(file);
    } catch (const std::bad_alloc &) {
        return std::nullopt;
    }
}

bool MEMFILE_Write(const QString &fileName, std::span<const std::uint8_t> bytes)
{
    const QFileInfo info(fileName);
    if (fileName.isEmpty() || (info.exists() && !info.isFile()))
        return false;
    QSaveFile file(fileName);
    if (!file.open(QIODevice::WriteOnly)) {
        // A folder that merely has no room now would cost the old contents as well.
        const bool isRefused = !QFileInfo(info.canonicalPath()).isWritable();
        return info.exists() && isRefused && WriteInPlace(fileName, bytes);
    }
    // commit() does not look whether its own flush of the last bytes failed.
    return WriteAll(file, bytes) && file.flush() && file.commit();
}
