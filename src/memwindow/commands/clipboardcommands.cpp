#include "clipboardcommands.h"

#include "cursorcontrol.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>

namespace {

constexpr std::uint64_t kMaxItemBytes = 8;

/// Whether there is something to put on the clipboard, even if some bytes could not be read.
bool HasContents(const TransferResult &result)
{
    return result.end == TransferEnd::Done || result.end == TransferEnd::Partly
        || result.end == TransferEnd::Failed;
}

} // namespace

ClipboardCommands::ClipboardCommands(const MemOwners &owners, RangeTransfer &transfer)
    : m_owners(owners)
    , m_transfer(transfer)
{
}

MemRange ClipboardCommands::Selection() const
{
    const ::Selection &selection = m_owners.cursor.Selected();
    return {selection.Lower(), selection.Length()};
}

/// Puts the result on the clipboard and reports its form. Does nothing without a clipboard.
TransferResult ClipboardCommands::Finish(
    const TransferResult &result, std::unique_ptr<QMimeData> contents, const char *form) const
{
    QClipboard *clipboard = QGuiApplication::clipboard();
    if (clipboard == nullptr)
        return result;
    clipboard->setMimeData(contents.release());
    m_owners.target.Messages().Add(
        QStringLiteral("Memory selection copied to the clipboard (format=%1)")
            .arg(QLatin1String(form)),
        kMessageInformation);
    return result;
}

TransferResult ClipboardCommands::NothingToCopy(const TransferResult &result) const
{
    m_owners.target.Messages().Add(
        QStringLiteral("Copy action could not be performed: no data to copy"), kMessageError);
    return result;
}

TransferResult ClipboardCommands::CopyRows(ClipColumn column, const char *form)
{
    QString text;
    const MemRange range = Selection();
    TransferResult result;
    if (range.length != 0)
        result = m_transfer.CopyRows(range, column, text);
    if (HasContents(result))
        return Finish(result, CLIP_TextData(text), form);
    return result.end == TransferEnd::Refused ? NothingToCopy(result) : result;
}

TransferResult ClipboardCommands::CopyHex()
{
    return CopyRows(ClipColumn::Hex, "hex");
}

TransferResult ClipboardCommands::CopyText()
{
    return CopyRows(ClipColumn::Text, "text");
}

TransferResult ClipboardCommands::CopyBinary()
{
    const MemRange range = Selection();
    if (range.length == 0)
        return NothingToCopy({TransferEnd::Refused, QStringLiteral("Nothing is selected"), {}});
    QByteArray bytes;
    TransferResult result = m_transfer.CopyBytes(range, bytes);
    if (HasContents(result))
        return Finish(result, CLIP_BinaryData(bytes), "binary");
    return result.end == TransferEnd::Refused ? NothingToCopy(result) : result;
}

TransferResult ClipboardCommands::CopyInitializer()
{
    const MemRange range = Selection();
    if (range.length == 0)
        return NothingToCopy({TransferEnd::Refused, QStringLiteral("Nothing is selected"), {}});
    const ViewGeometry &geometry = m_owners.page.Geometry();
    const auto itemBytes = static_cast<std::uint64_t>(geometry.BytesPerItem());
    if (itemBytes < 1 || itemBytes > kMaxItemBytes) {
        // Deliberate: the missing "be" stays; scripts search for this text.
        const QString text = QStringLiteral("Copy action could not performed: invalid item size");
        m_owners.target.Messages().Add(text, kMessageError);
        return {TransferEnd::Refused, text, {}};
    }
    QByteArray text;
    TransferResult result
        = m_transfer.CopyInitializer(range, itemBytes, geometry.BytesPerRow() / itemBytes, text);
    if (HasContents(result))
        return Finish(result, CLIP_RawTextData(text), "hex as C initializer");
    return result.end == TransferEnd::Refused ? NothingToCopy(result) : result;
}

TransferResult ClipboardCommands::Paste()
{
    const QClipboard *clipboard = QGuiApplication::clipboard();
    const QMimeData *contents = clipboard != nullptr ? clipboard->mimeData() : nullptr;
    if (contents == nullptr)
        return {};
    const std::optional<QByteArray> bytes = CLIP_PasteBytes(*contents);
    if (!bytes) {
        const QString text
            = QStringLiteral("Cannot paste clipboard contents: unsupported content type");
        m_owners.target.Messages().Add(text, kMessageError);
        return {TransferEnd::Refused, text, {}};
    }
    if (bytes->isEmpty())
        return {};
    m_owners.cursor.Reveal(); // what is written must be seen
    TransferResult result = m_transfer.Paste(m_owners.cursor.Cursor().address,
        {reinterpret_cast<const std::uint8_t *>(bytes->constData()),
            static_cast<std::size_t>(bytes->size())});
    if (!result.IsWindowGone())
        m_owners.page.ReadBack(result.written);
    return result;
}
