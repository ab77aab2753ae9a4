#include "chexeditor.h"
#include "clipboardformats.h"
#include "cmemdialog.h"
#include "copyprogress.h"
#include "memfile.h"
#include "waitcursor.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QPointer>

#include <algorithm>
#include <array>

namespace {

constexpr int kPointerBytes = 4;
constexpr int kMaxItemBytes = 8;
// A row's text takes some seven times the room of its bytes.
constexpr std::uint64_t kMaxColumnCopyBytes = kMaxTransferBytes / 4;

/// Puts contents on the clipboard. @return false when there is no clipboard
bool PutOnClipboard(std::unique_ptr<QMimeData> contents)
{
    QClipboard *clipboard = QGuiApplication::clipboard();
    if (clipboard == nullptr)
        return false;
    clipboard->setMimeData(contents.release());
    return true;
}

} // namespace

/// Puts contents on the clipboard and reports the form.
void CHexEditor::Copied(std::unique_ptr<QMimeData> contents, const QString &form)
{
    if (PutOnClipboard(std::move(contents)))
        m_target.ShowMessage(
            QStringLiteral("Memory selection copied to the clipboard (format=%1)").arg(form),
            kMessageInformation);
}

/// Copies a column of the selected rows.
void CHexEditor::CopyColumn(ColumnCopier *copyRows, const QString &form)
{
    SettleEdits();
    std::optional<QString> text = QString();
    if (m_selection.Length() > kMaxColumnCopyBytes) {
        ReportNothingToCopy();
        return;
    }
    const QPointer<CHexEditor> self = this; // a long copy runs events
    if (!m_selection.IsEmpty()) {
        const WaitCursor wait;
        CopyProgress progress(this, m_selection.Length() / std::max(BytesPerRow(), 1U) + 2);
        const RowReader readRow = [this, &progress](std::uint64_t address,
                                      std::span<std::uint8_t> bytes, std::span<ByteStatus> status) {
            m_target.Read(address, bytes, status, BytesPerRow());
            return progress.Step();
        };
        const RowLayout layout{m_geometry, m_baseAddress, m_bigEndian};
        text = copyRows(layout, m_selection.Lower(), m_selection.Upper(), readRow);
    }
    if (self && text)
        Copied(CLIP_TextData(*text), form);
}

void CHexEditor::ReportNothingToCopy()
{
    m_target.ShowMessage(
        QStringLiteral("Copy action could not be performed: no data to copy"), kMessageError);
}

void CHexEditor::OnActionCopyTriggered()
{
    OnActionCopyHexTriggered();
}

void CHexEditor::OnActionCopyHexTriggered()
{
    CopyColumn(CLIP_HexRows, QStringLiteral("hex"));
}

void CHexEditor::OnActionCopyTextTriggered()
{
    CopyColumn(CLIP_TextRows, QStringLiteral("text"));
}

/// The selected bytes, read afresh; nothing, after a message, when there are none.
std::optional<QByteArray> CHexEditor::ReadSelectionBytes()
{
    SettleEdits();
    std::optional<TransferBytes> bytes;
    if (!m_selection.IsEmpty())
        bytes = TRANSFER_Read(m_target, SelectedRange(), BytesPerRow());
    if (bytes && !bytes->data.isEmpty())
        return std::move(bytes->data);
    ReportNothingToCopy();
    return std::nullopt;
}

void CHexEditor::OnActionCopyBinaryTriggered()
{
    if (const std::optional<QByteArray> bytes = ReadSelectionBytes())
        Copied(CLIP_BinaryData(*bytes), QStringLiteral("binary"));
}

void CHexEditor::OnActionCopyIntListTriggered()
{
    const std::optional<QByteArray> bytes = ReadSelectionBytes();
    if (!bytes)
        return;
    const int itemBytes = BytesPerItem();
    if (itemBytes < 1 || itemBytes > kMaxItemBytes) {
        // The missing "be" stands as it always did; scripts look for the text.
        m_target.ShowMessage(
            QStringLiteral("Copy action could not performed: invalid item size"), kMessageError);
        return;
    }
    const auto size = static_cast<std::uint64_t>(itemBytes);
    const std::span span(reinterpret_cast<const std::uint8_t *>(bytes->constData()),
        static_cast<std::size_t>(bytes->size()));
    Copied(CLIP_RawTextData(CLIP_InitializerList(span, size, BytesPerRow() / size)),
        QStringLiteral("hex as C initializer"));
}

void CHexEditor::OnActionPasteTriggered()
{
    const QClipboard *clipboard = QGuiApplication::clipboard();
    const QMimeData *contents = clipboard != nullptr ? clipboard->mimeData() : nullptr;
    if (contents == nullptr)
        return;
    const std::optional<QByteArray> bytes = CLIP_PasteBytes(*contents);
    if (!bytes) {
        m_target.ShowMessage(
            QStringLiteral("Cannot paste clipboard contents: unsupported content type"),
            kMessageError);
        return;
    }
    SettleEdits();                          // or what was typed before would land on top of it
    const QPointer<CHexEditor> self = this; // a message of the host may outlive the window
    const MemRange written = TRANSFER_Write(m_target, m_cursor.address, *bytes);
    if (self)
        ShowWritten(written);
}

void CHexEditor::OnKeyPastePressed(QKeyEvent *)
{
    OnActionPasteTriggered();
}

MemRange CHexEditor::SelectedRange() const
{
    return {m_selection.Lower(), m_selection.Length()};
}

/// What fill and save work on: the selection, or else what is on show.
MemRange CHexEditor::CommandRange() const
{
    if (!m_selection.IsEmpty())
        return SelectedRange();
    const PageRange page = m_geometry.PageAt(m_baseAddress);
    return {page.base, page.length};
}

/// Asks with the memory dialog. The result lives until the end of the event loop's turn.
/// @return null when the user cancelled or the window has gone
CMemDialog *CHexEditor::AskForRange(MemDialogMode mode, MemRange range, const QString &fileName)
{
    SettleEdits();
    const QPointer<CHexEditor> self = this;
    const QPointer<CMemDialog> dialog = new CMemDialog(this);
    dialog->SetMode(mode);
    dialog->SetStartAddress(range.start);
    if (range.length != 0) // else the file's length will tell
        dialog->SetSize(range.length);
    if (!fileName.isEmpty())
        dialog->SetFileName(fileName);
    const bool accepted = dialog->exec() == QDialog::Accepted;
    if (!self || !dialog)
        return nullptr;
    dialog->deleteLater();
    m_pView->setFocus();
    return accepted ? dialog.data() : nullptr;
}

void CHexEditor::OnActionFillTriggered()
{
    // Deliberate: the range is the one from before the dialog. Only the value is taken from it.
    const MemRange range = CommandRange();
    const CMemDialog *dialog = AskForRange(MemDialogMode::Fill, range, {});
    if (dialog == nullptr)
        return;
    const QPointer<CHexEditor> self = this;
    TRANSFER_Fill(m_target, range, FillByte(dialog->GenericValue()));
    if (self)
        ShowWritten(range);
}

void CHexEditor::OnActionSaveTriggered()
{
    const CMemDialog *dialog = AskForRange(MemDialogMode::Save, CommandRange(), {});
    if (dialog == nullptr)
        return;
    TRANSFER_Save(m_target, {dialog->GetStartAddress(), dialog->GetSize()}, BytesPerRow(),
        dialog->GenericValue());
}

void CHexEditor::OnActionLoadTriggered()
{
    LoadFile({});
}

void CHexEditor::LoadFile(const QString &fileName)
{
    const CMemDialog *dialog = AskForRange(MemDialogMode::Load, {m_cursor.address, 0}, fileName);
    if (dialog == nullptr)
        return;
    const QPointer<CHexEditor> self = this;
    const std::optional<MemRange> written = TRANSFER_Load(
        m_target, dialog->GenericValue(), dialog->GetStartAddress(), dialog->GetSize());
    if (self && written)
        ShowWritten(*written);
}

/// Reads back what was written to a range, as far as it is on show.
void CHexEditor::ShowWritten(MemRange range)
{
    const PageRange page = m_cache.Range();
    const std::uint64_t first = std::max(range.start, page.base);
    const std::uint64_t end = std::min(range.start + range.length, page.End());
    if (first >= end)
        return;
    m_scratchData.assign(end - first, 0);
    m_scratchStatus.assign(end - first, ByteStatus::NotLoaded);
    m_target.Read(first, m_scratchData, m_scratchStatus, BytesPerRow());
    if (std::count(m_scratchStatus.begin(), m_scratchStatus.end(), ByteStatus::Valid)
        != static_cast<std::ptrdiff_t>(m_scratchStatus.size())) {
        RefreshPage(PageRead::Whole); // the fallback for bytes that fail needs whole rows
        return;
    }
    m_cache.Store(first, m_scratchData, m_scratchStatus, BytesPerRow(), m_ages, m_dirtyRows);
    RepaintDirtyRows();
}

/// Follows the pointer at the start of the selection, or at the cursor when nothing is selected.
void CHexEditor::OnActionViewDataTriggered()
{
    const std::uint64_t at
        = m_selection.IsEmpty() ? Cells().ItemStart(m_cursor.address) : m_selection.Lower();
    std::array<std::uint8_t, kPointerBytes> bytes{};
    std::array<ByteStatus, kPointerBytes> status{};
    status.fill(ByteStatus::NotLoaded);
    if (m_cache.ReadCached(at, bytes, status) != kInCache)
        m_target.Read(at, bytes, status, kPointerBytes); // scrolled out of sight meanwhile
    if (std::any_of(status.begin(), status.end(),
            [](ByteStatus byte) { return byte != ByteStatus::Valid; }))
        return;
    std::uint64_t address = 0; // little-endian whatever the target is: the host's own order
    for (int i = 0; i < kPointerBytes; ++i)
        address |= std::uint64_t{bytes[static_cast<std::size_t>(i)]} << (8 * i);
    GoTo(address, true, true);
    m_selection.SetEnds(address, std::min(address + kPointerBytes - 1, kLastAddress));
    InvalidateView();
}
