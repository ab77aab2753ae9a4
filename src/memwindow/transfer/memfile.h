#pragma once

#include <QFile>
#include <QSaveFile>
#include <QString>
#include <QTemporaryFile>

#include <cstdint>
#include <memory>
#include <optional>
#include <span>

/// Files of raw target memory: the bytes in address order, nothing before or after them.
///
/// Only regular files (or links to them) are read and written. A folder, a device or a pipe is
/// refused, so that a wrong name neither blocks the window nor overwrites a disk's first sectors.

/// A typed file name as a path: "~" at its start is the user's home directory.
[[nodiscard]] QString MEMFILE_Path(const QString &typed);

/// The length of a file in bytes, or nothing when it is no regular file.
[[nodiscard]] std::optional<std::uint64_t> MEMFILE_Size(const QString &path);

/// Why a file cannot be read or written, as a sentence for the user; empty when no reason is known.
/// Opening may fail all the same: the disk may be full, or the file may have changed since.
[[nodiscard]] QString MEMFILE_WhyNotRead(const QString &path);
[[nodiscard]] QString MEMFILE_WhyNotWritten(const QString &path);

/// Reads a file from its start to its end.
class MemFileReader {
public:
    /// @return whether it is open
    [[nodiscard]] bool Open(const QString &path);
    /// @return bytes read, fewer than asked for at the end of the file only; nothing on an error
    [[nodiscard]] std::optional<std::size_t> Read(std::span<std::uint8_t> bytes);

private:
    QFile m_file;
};

/// Writes a whole file, or leaves the old one as it was.
///
/// The bytes go to a file beside it, which takes its name when they are all on the disk; a full
/// disk, a crash or a writer that ends without Commit leaves the old file, or none. Where the
/// folder allows no new file the bytes wait in a temporary one, and an existing file is then
/// written in place.
class MemFileWriter {
public:
    [[nodiscard]] bool Open(const QString &path);
    [[nodiscard]] bool Write(std::span<const std::uint8_t> bytes);
    /// @return whether the file now holds exactly what was written
    [[nodiscard]] bool Commit();

private:
    [[nodiscard]] bool CopyInPlace();

    QString m_path;
    std::unique_ptr<QSaveFile> m_beside; // one of the two is there while the writer is open
    std::unique_ptr<QTemporaryFile> m_spool;
};
