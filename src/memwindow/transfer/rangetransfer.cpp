#include "rangetransfer.h"

#include "memfile.h"
#include "piecesize.h"
#include "transferrun.h"

#include <QPointer>
#include <QWidget>

#include <algorithm>
#include <functional>
#include <new>
#include <optional>
#include <vector>

namespace {

constexpr QLatin1String kReadFailed("Failed to read target memory");
constexpr QLatin1String kWriteFailed("Failed to write target memory");
constexpr QLatin1String kNotWritable("Could not open file for writing");
constexpr QLatin1String kNotReadable("Could not open file for reading");

constexpr std::uint64_t kMiB = 1024ULL * 1024;

/// Takes the next bytes of a range. @return false when it wants no more
using TakeBytes = std::function<bool(std::span<const std::uint8_t> bytes)>;
/// Fills the room with the next bytes. @return their number, fewer at the end; nothing on an error
using GiveBytes = std::function<std::optional<std::size_t>(std::span<std::uint8_t> room)>;

TransferEnd EndOf(TransferRun::Step step)
{
    return step == TransferRun::Step::WindowGone ? TransferEnd::WindowGone : TransferEnd::Cancelled;
}

MemRange WithinSpace(MemRange range)
{
    const std::uint64_t room = range.start < kAddressSpaceEnd ? kAddressSpaceEnd - range.start : 0;
    return {range.start, std::min(range.length, room)};
}

/// What came of reading a range.
struct ReadOutcome {
    TransferEnd end = TransferEnd::Done;
    std::uint64_t validBytes = 0;
    bool isRefused = false; ///< the receiver of the bytes has failed
};

/// Reads a range piece by piece. Uses nothing of the window, which may be deleted at any step.
ReadOutcome ReadPieces(TransferRun &run, const TargetAccess &target, MemRange range,
    std::uint32_t bytesPerRow, const TakeBytes &take)
{
    ReadOutcome outcome;
    PieceSize pieces(range.length);
    std::vector<std::uint8_t> data;
    std::vector<ByteStatus> status;
    for (std::uint64_t done = 0; done < range.length; done += data.size()) {
        const std::size_t length = pieces.Next(range.length - done);
        data.assign(length, 0);
        status.assign(length, ByteStatus::NotLoaded);
        FallbackRead read(range.start + done, length, bytesPerRow, FallbackRead::Remainder::Read);
        pieces.Begin();
        read.Step(target, data, status);
        pieces.End();
        for (;;) {
            const TransferRun::Step step = run.Breathe(done + read.Settled());
            if (step != TransferRun::Step::GoOn) {
                outcome.end = EndOf(step);
                return outcome;
            }
            if (read.IsDone())
                break;
            read.Step(target, data, status);
        }
        outcome.validBytes += static_cast<std::uint64_t>(
            std::count(status.begin(), status.end(), ByteStatus::Valid));
        if (!take(data)) {
            outcome.isRefused = true;
            outcome.end = TransferEnd::Failed;
            return outcome;
        }
    }
    if (outcome.validBytes < range.length)
        outcome.end = outcome.validBytes == 0 ? TransferEnd::Failed : TransferEnd::Partly;
    return outcome;
}

/// Writes a range piece by piece, up to the first one that fails. Uses nothing of the window.
TransferResult WritePieces(
    TransferRun &run, const TargetAccess &target, MemRange range, const GiveBytes &give)
{
    TransferResult result{TransferEnd::Done, {}, {range.start, 0}};
    PieceSize pieces(range.length);
    std::vector<std::uint8_t> data;
    while (result.written.length < range.length) {
        data.resize(pieces.Next(range.length - result.written.length));
        const std::optional<std::size_t> given = give(data);
        if (!given) {
            target.Messages().Add(kNotReadable, kMessageError);
            result.end = TransferEnd::Partly;
            result.reason = kNotReadable;
            return result;
        }
        const auto piece = std::span<const std::uint8_t>(data).first(*given);
        if (piece.empty())
            return result;
        const std::uint64_t at = range.start + result.written.length;
        result.written.length += piece.size();
        pieces.Begin();
        const bool failed = target.Write(at, piece) < 0;
        pieces.End();
        if (failed) {
            const bool isFirst = at == range.start;
            result.end = isFirst ? TransferEnd::Failed : TransferEnd::Partly;
            result.reason = kWriteFailed;
            if (!isFirst)
                result.reason
                    += QStringLiteral(" at %1").arg(at, 8, 16, QLatin1Char('0')).toUpper();
            return result;
        }
        const TransferRun::Step step = run.Breathe(result.written.length);
        if (step != TransferRun::Step::GoOn && result.written.length < range.length) {
            result.end = EndOf(step);
            result.reason = QStringLiteral("Cancelled; %1 of %2 bytes are written")
                                .arg(result.written.length)
                                .arg(range.length);
            return result;
        }
        if (step == TransferRun::Step::WindowGone) {
            result.end = TransferEnd::WindowGone;
            return result;
        }
    }
    return result;
}

/// The result of a read, with the text that tells the user which bytes are missing.
TransferResult ResultOf(const TargetAccess &target, const ReadOutcome &outcome, MemRange range)
{
    TransferResult result{outcome.end, {}, {}};
    if (outcome.end == TransferEnd::Partly) {
        result.reason = QStringLiteral("%1 of %2 bytes could not be read")
                            .arg(range.length - outcome.validBytes)
                            .arg(range.length);
    } else if (outcome.end == TransferEnd::Failed) {
        result.reason = kReadFailed;
    } else {
        return result;
    }
    target.Messages().AddOnce(kReadFailed, kMessageError);
    return result;
}

TransferResult NoMemory()
{
    return {TransferEnd::Refused, QStringLiteral("There is not enough memory"), {}};
}

TransferResult TooLarge(std::uint64_t limitBytes)
{
    return {TransferEnd::Refused,
        QStringLiteral("More than %1 MiB cannot be copied").arg(limitBytes / kMiB), {}};
}

} // namespace

/// Marks a transfer as running for its lifetime; the window's own reads rest meanwhile.
class RangeTransfer::Running {
public:
    Running(RangeTransfer &transfer, const QString &title, std::uint64_t totalBytes)
        : run(transfer.m_window, title, totalBytes)
        , target(transfer.m_target)
        , geometry(transfer.m_page.Geometry())
        , m_transfer(transfer)
        , m_window(transfer.m_window)
    {
        transfer.m_isRunning = true;
        transfer.m_page.Hold(true);
    }
    ~Running()
    {
        if (!m_window)
            return;
        m_transfer.m_isRunning = false;
        m_transfer.m_page.Hold(false);
    }
    Q_DISABLE_COPY_MOVE(Running)

    [[nodiscard]] std::uint32_t BytesPerRow() const
    {
        constexpr std::uint32_t kRowOfHiddenView = 16;
        return geometry.BytesPerRow() != 0 ? geometry.BytesPerRow() : kRowOfHiddenView;
    }

    TransferRun run;
    const TargetAccess target; // copies: the window's own may be gone at any step
    const ViewGeometry geometry;

private:
    RangeTransfer &m_transfer;
    QPointer<QWidget> m_window;
};

RangeTransfer::RangeTransfer(const TargetAccess &target, MemoryPage &page, QWidget *window)
    : m_target(target)
    , m_page(page)
    , m_window(window)
{
}

TransferResult RangeTransfer::Save(MemRange range, const QString &path)
try {
    Running running(*this, QStringLiteral("Save"), range.length);
    if (!running.target.CanRead()) {
        running.target.ReportNoRead();
        return {TransferEnd::Failed, kReadFailed, {}};
    }
    const auto failed = [&running] {
        running.target.Messages().Add(kNotWritable, kMessageError);
        return TransferResult{TransferEnd::Failed, kNotWritable, {}};
    };
    MemFileWriter writer;
    if (!writer.Open(path))
        return failed();
    const ReadOutcome outcome
        = ReadPieces(running.run, running.target, range, running.BytesPerRow(),
            [&writer](std::span<const std::uint8_t> bytes) { return writer.Write(bytes); });
    const bool isRead = outcome.end == TransferEnd::Done || outcome.end == TransferEnd::Partly;
    if (outcome.isRefused || (isRead && !writer.Commit()))
        return failed();
    TransferResult result = ResultOf(running.target, outcome, range);
    if (result.end == TransferEnd::Partly)
        result.reason += QStringLiteral(" and are 00 in the file");
    return result;
} catch (const std::bad_alloc &) {
    return NoMemory();
}

TransferResult RangeTransfer::Load(const QString &path, std::uint64_t start, std::uint64_t maxBytes)
try {
    MemFileReader reader;
    const std::optional<std::uint64_t> size = MEMFILE_Size(path);
    if (!size || !reader.Open(path)) {
        m_target.Messages().Add(kNotReadable, kMessageError);
        return {TransferEnd::Failed, kNotReadable, {}};
    }
    const MemRange range = WithinSpace({start, std::min(*size, maxBytes)});
    Running running(*this, QStringLiteral("Load"), range.length);
    return WritePieces(running.run, running.target, range,
        [&reader](std::span<std::uint8_t> room) { return reader.Read(room); });
} catch (const std::bad_alloc &) {
    return NoMemory();
}

TransferResult RangeTransfer::Fill(MemRange range, std::uint8_t value)
try {
    const MemRange inside = WithinSpace(range);
    Running running(*this, QStringLiteral("Fill"), inside.length);
    return WritePieces(running.run, running.target, inside, [value](std::span<std::uint8_t> room) {
        std::fill(room.begin(), room.end(), value);
        return std::optional(room.size());
    });
} catch (const std::bad_alloc &) {
    return NoMemory();
}

TransferResult RangeTransfer::Paste(std::uint64_t start, std::span<const std::uint8_t> bytes)
try {
    const MemRange range = WithinSpace({start, bytes.size()});
    Running running(*this, QStringLiteral("Paste"), range.length);
    return WritePieces(
        running.run, running.target, range, [bytes](std::span<std::uint8_t> room) mutable {
            std::copy_n(bytes.begin(), room.size(), room.begin());
            bytes = bytes.subspan(room.size());
            return std::optional(room.size());
        });
} catch (const std::bad_alloc &) {
    return NoMemory();
}

TransferResult RangeTransfer::CopyBytes(MemRange range, QByteArray &bytes)
try {
    if (range.length > kMaxBinaryCopyBytes)
        return TooLarge(kMaxBinaryCopyBytes);
    Running running(*this, QStringLiteral("Copy"), range.length);
    if (!running.target.CanRead()) {
        running.target.ReportNoRead();
        bytes = QByteArray(static_cast<qsizetype>(range.length), '\0');
        return {TransferEnd::Failed, kReadFailed, {}};
    }
    bytes.reserve(static_cast<qsizetype>(range.length));
    const ReadOutcome outcome = ReadPieces(running.run, running.target, range,
        running.BytesPerRow(), [&bytes](std::span<const std::uint8_t> piece) {
            bytes.append(
                reinterpret_cast<const char *>(piece.data()), static_cast<qsizetype>(piece.size()));
            return true;
        });
    return ResultOf(running.target, outcome, range);
} catch (const std::bad_alloc &) {
    return NoMemory();
}

TransferResult RangeTransfer::CopyInitializer(
    MemRange range, std::uint64_t itemBytes, std::uint64_t itemsPerRow, QByteArray &text)
try {
    if (range.length > kMaxTextCopyBytes)
        return TooLarge(kMaxTextCopyBytes);
    QByteArray bytes;
    TransferResult result = CopyBytes(range, bytes);
    if (result.end == TransferEnd::Cancelled || result.IsWindowGone())
        return result;
    text = CLIP_InitializerList({reinterpret_cast<const std::uint8_t *>(bytes.constData()),
                                    static_cast<std::size_t>(bytes.size())},
        itemBytes, itemsPerRow);
    return result;
} catch (const std::bad_alloc &) {
    return NoMemory();
}

TransferResult RangeTransfer::CopyRows(MemRange range, ClipColumn column, QString &text)
try {
    if (range.length > kMaxTextCopyBytes)
        return TooLarge(kMaxTextCopyBytes);
    Running running(*this, QStringLiteral("Copy"), range.length);
    if (!running.target.CanRead())
        running.target.ReportNoRead();
    ReadOutcome outcome;
    std::uint64_t doneBytes = 0;
    std::uint64_t unreadBytes = 0;
    const auto isUnreadAndSelected = [&](std::uint64_t address, ByteStatus byte) {
        return byte != ByteStatus::Valid && address - range.start < range.length;
    };
    const RowReader readRow
        = [&](std::uint64_t address, std::span<std::uint8_t> data, std::span<ByteStatus> status) {
              FallbackRead read(
                  address, data.size(), running.BytesPerRow(), FallbackRead::Remainder::Read);
              while (running.target.CanRead() && !read.IsDone()) {
                  read.Step(running.target, data, status);
                  const TransferRun::Step step = running.run.Breathe(doneBytes);
                  if (step != TransferRun::Step::GoOn) {
                      outcome.end = EndOf(step);
                      return false;
                  }
              }
              doneBytes = std::min(doneBytes + data.size(), range.length);
              for (std::size_t i = 0; i < status.size(); ++i)
                  unreadBytes += isUnreadAndSelected(address + i, status[i]) ? 1 : 0;
              return true;
          };
    const RowLayout layout{running.geometry, m_page.Base(), m_page.IsBigEndian()};
    const std::optional<QString> rows
        = CLIP_Rows(column, layout, range.start, range.start + range.length - 1, readRow);
    if (!rows)
        return {outcome.end, {}, {}};
    text = *rows;
    if (unreadBytes == 0)
        return {};
    outcome.validBytes = range.length - unreadBytes;
    outcome.end = outcome.validBytes == 0 ? TransferEnd::Failed : TransferEnd::Partly;
    return ResultOf(running.target, outcome, range);
} catch (const std::bad_alloc &) {
    return NoMemory();
}
