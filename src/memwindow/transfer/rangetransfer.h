#pragma once

#include "clipboardformats.h"
#include "memorypage.h"
#include "targetaccess.h"

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <span>

class QWidget;

/// How work on a range ended.
enum class TransferEnd {
    Done,
    Partly,     ///< some bytes could not be read or written
    Failed,     ///< none of it could be done
    Refused,    ///< not begun: too large, or no memory for it
    Cancelled,  ///< by the user
    WindowGone, ///< the window was deleted meanwhile: nothing of it may be touched
};

struct [[nodiscard]] TransferResult {
    TransferEnd end = TransferEnd::Done;
    /// What failed or is missing, for the status bar; empty when all went well.
    QString reason;
    /// The range that was written, or was tried to be, as far as the address space goes.
    MemRange written;

    [[nodiscard]] bool IsWindowGone() const { return end == TransferEnd::WindowGone; }
};

/// The most bytes that one copy puts on the clipboard: as binary data, and as text, which takes
/// several times the room.
inline constexpr std::uint64_t kMaxBinaryCopyBytes = 256ULL * 1024 * 1024;
inline constexpr std::uint64_t kMaxTextCopyBytes = 16ULL * 1024 * 1024;

/// The one reader and writer of ranges longer than a page: save, load, fill, paste and the copies.
///
/// Up to 512 KiB go in one call; more goes in pieces that take about 100 ms each. Between calls of
/// the host events run, so the window may be gone at the end; after half a second there is a dialog
/// with Cancel. The window's periodic refresh rests meanwhile. Failures are added to the host's
/// messages and come back as the result. GUI thread only.
class RangeTransfer {
public:
    /// @param window  parent of the dialogs
    RangeTransfer(const TargetAccess &target, MemoryPage &page, QWidget *window);

    [[nodiscard]] bool IsRunning() const { return m_isRunning; }

    /// Writes the range's bytes into a file; bytes that cannot be read are 0 there. When no byte
    /// can be read, or the user cancels, the file stays as it was.
    TransferResult Save(MemRange range, const QString &path);
    /// Writes the first bytes of a file, at most maxBytes, into target memory.
    TransferResult Load(const QString &path, std::uint64_t start, std::uint64_t maxBytes);
    /// Writes one byte value all over the range.
    TransferResult Fill(MemRange range, std::uint8_t value);
    /// Writes bytes.
    TransferResult Paste(std::uint64_t start, std::span<const std::uint8_t> bytes);

    /// Reads a range of at most kMaxBinaryCopyBytes; bytes that cannot be read are 0.
    TransferResult CopyBytes(MemRange range, QByteArray &bytes);
    /// Reads a range of at most kMaxTextCopyBytes as a C initializer list.
    /// @param itemBytes  1, 2 or 4, @param itemsPerRow  0: no line breaks
    TransferResult CopyInitializer(
        MemRange range, std::uint64_t itemBytes, std::uint64_t itemsPerRow, QByteArray &text);
    /// Reads a range of at most kMaxTextCopyBytes as the view shows it, row by row.
    TransferResult CopyRows(MemRange range, ClipColumn column, QString &text);

private:
    class Running;

    const TargetAccess &m_target;
    MemoryPage &m_page;
    QWidget *m_window;
    bool m_isRunning = false;
};
