#pragma once

#include "memfile.h"

#include <QByteArray>

#include <cstdint>
#include <optional>

/// Writes a whole file of target memory. @return whether it is on the disk
inline bool WriteMemoryFile(const QString &path, const QByteArray &bytes)
{
    MemFileWriter writer;
    return writer.Open(path)
        && writer.Write(
            {reinterpret_cast<const std::uint8_t *>(bytes.data()), std::size_t(bytes.size())})
        && writer.Commit();
}

/// Reads a whole file of target memory in pieces, or nothing when it cannot be read.
inline std::optional<QByteArray> ReadMemoryFile(const QString &path)
{
    MemFileReader reader;
    if (!reader.Open(path))
        return std::nullopt;
    QByteArray bytes;
    std::array<std::uint8_t, 4096> piece{};
    std::optional<std::size_t> count;
    while ((count = reader.Read(piece)) && *count > 0)
        bytes.append(reinterpret_cast<const char *>(piece.data()), qsizetype(*count));
    return count ? std::optional(bytes) : std::nullopt;
}
