#include "ceditoverlay.h"
#include "chexeditor.h"
#include "itemedit.h"

#include <QKeyEvent>
#include <QPlainTextEdit>
#include <QPointer>
#include <QTimer>

#include <algorithm>
#include <array>

namespace {

constexpr int kOverlayExtraHeightPx = 4; // the frame and the room that a line edit keeps
constexpr int kOverlayExtraWidthPx = 2;

bool IsCommand(const QKeyEvent &event)
{
    return (event.modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier)) != 0;
}

} // namespace

void CHexEditor::OnKeyOtherPressed(QKeyEvent *event)
{
    if (IsCommand(*event) || BytesPerPage() == 0) {
        event->ignore();
        return;
    }
    const bool isBackspace = event->key() == Qt::Key_Backspace;
    if (m_cursor.inTextColumn)
        TypeText(event->text(), isBackspace);
    else
        TypeDigit(event->text(), isBackspace);
}

void CHexEditor::TypeText(const QString &typed, bool isBackspace)
{
    const std::optional<std::uint8_t> byte = isBackspace ? 0 : ByteOfTypedText(typed);
    if (!byte)
        return;
    RevealCursor();
    if (m_selection.Length() == 1) // no more than what Shift for a capital letter has begun
        m_selection.Clear();
    m_pending.Add(m_cursor.address, {&*byte, 1});
    const CursorMove move = isBackspace ? Keys().Left(m_cursor) : Keys().Right(m_cursor);
    RepaintRowOf(m_cursor.address);
    if (move.scrollRows != 0)
        ScrollRows(move.scrollRows);
    MoveCursor(move.cursor, false);
    m_pEditUpdateTimer->start();
}

/// Opens the edit box over the item under the cursor, with the key typed into it.
void CHexEditor::TypeDigit(const QString &typed, bool isBackspace)
{
    RevealCursor();
    const CellMap cells = Cells();
    const std::uint64_t item = cells.ItemStart(m_cursor.address);
    const int position = m_cursor.digit + 2 * cells.ByteInItem(m_cursor.address);
    const std::optional<ItemEdit> edit
        = EditOfTypedKey(EditedItemValue(item), BytesPerItem(), position, typed, isBackspace);
    if (edit)
        OpenOverlay(item, *edit);
}

void CHexEditor::OpenOverlay(std::uint64_t item, const ItemEdit &edit)
{
    m_editedItem = item;
    m_pOverlay->SetDigits(2 * BytesPerItem());
    PlaceOverlay();
    m_pOverlay->SetEditText(edit.text, edit.caret);
    m_pOverlay->Open(static_cast<int>(static_cast<std::uint32_t>(item)));
}

/// The item's value with what was typed and not written yet, or nothing when it was not read.
std::optional<std::uint64_t> CHexEditor::EditedItemValue(std::uint64_t item) const
{
    std::array<std::uint8_t, 4> bytes{};
    std::array<ByteStatus, 4> status{};
    const auto length = static_cast<std::size_t>(BytesPerItem());
    const auto itemBytes = std::span(bytes).first(length);
    const auto itemStatus = std::span(status).first(length);
    (void)m_cache.ReadCached(item, itemBytes, itemStatus);
    m_pending.Overlay(item, itemBytes, itemStatus);
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < length; ++i) {
        if (itemStatus[i] != ByteStatus::Valid)
            return std::nullopt;
        value |= std::uint64_t{itemBytes[i]} << (8 * (m_bigEndian ? length - 1 - i : i));
    }
    return value;
}

/// Lays the edit box over the edited item, its digits on the row's digits.
void CHexEditor::PlaceOverlay()
{
    const CellMap cells = Cells();
    const int widthPx = m_geometry.CharacterWidth();
    const int heightPx = m_geometry.LineHeight();
    const int row = static_cast<int>(cells.RowOfAddress(m_editedItem));
    const QPoint place(
        m_geometry.LeftMargin() + widthPx * cells.ItemColumn(m_editedItem), heightPx * row);
    const int textMarginPx = m_pOverlay->textMargins().left();
    m_pOverlay->SetCell(widthPx, heightPx);
    m_pOverlay->setGeometry(QRect(m_pView->viewport()->pos() + place,
        QSize((BytesPerItem() * widthPx + textMarginPx + kOverlayExtraWidthPx) * 2 + 1,
            heightPx + kOverlayExtraHeightPx)));
}

/// Scrolls the page to the cursor when it is out of sight: typing must show where it goes.
void CHexEditor::RevealCursor()
{
    const CellMap cells = Cells();
    const std::int64_t row = cells.RowOfAddress(m_cursor.address);
    if (row >= 0 && row < std::int64_t{VisibleRows()})
        return;
    ShowPageAt(cells.RowStart(m_cursor.address));
    RefreshPage(PageRead::Whole);
}

void CHexEditor::OnItemEditingFinished()
{
    const std::int64_t value = m_pOverlay->Value();
    const QString text = m_pOverlay->text();
    const QString rest = m_pOverlay->Rest();
    const int lastPosition = 2 * BytesPerItem() - 1;
    const int position = std::min(m_pOverlay->cursorPosition(), lastPosition);
    m_pOverlay->HideOverlay();
    if (value >= 0) {
        m_pending.Add(m_editedItem,
            ItemBytes(static_cast<std::uint64_t>(value), BytesPerItem(), m_bigEndian).Span());
        m_pEditUpdateTimer->start();
        MoveCursor(CursorInItem(m_editedItem, position), false);
    }
    InvalidateView();
    if (rest.isEmpty())
        return;
    const CursorMove move = Keys().Right(CursorInItem(m_editedItem, lastPosition));
    if (move.cursor.address == m_cursor.address) {
        // The last item of the address space: what is typed behind it goes nowhere.
        OpenOverlay(m_editedItem, {text, lastPosition + 1});
        return;
    }
    if (move.scrollRows != 0)
        ScrollRows(move.scrollRows);
    MoveCursor(move.cursor, false);
    TypeDigit(rest, false);
}

EditCursor CHexEditor::CursorInItem(std::uint64_t item, int position) const
{
    const int byte = m_bigEndian ? position / 2 : BytesPerItem() - 1 - position / 2;
    return {std::min(item + static_cast<unsigned>(byte), kLastAddress), position % 2, false};
}

void CHexEditor::OnEditUpdateTimerTimeout()
{
    const QPointer<CHexEditor> self = this; // a message of the host may outlive the window
    WritePending();
    if (!self)
        return;
    InvalidateView();
    RefreshPage(PageRead::Whole);
}

/// Writes what was typed, one call for each contiguous range. A range whose write fails is given
/// up after its message; the next read shows what the target holds.
void CHexEditor::WritePending()
{
    m_pEditUpdateTimer->stop();
    const QPointer<CHexEditor> self = this;
    for (const WriteRun &run : m_pending.TakeRuns()) {
        WriteTarget(run.address, run.data.size(), run.data.data());
        if (!self)
            return;
    }
}

/// Ends the edit as Return does.
void CHexEditor::FinishEdit()
{
    if (m_pOverlay->isVisible())
        m_pOverlay->OnEditingFinished();
}

/// Writes what was typed up to now, before anything else reads or writes the target.
void CHexEditor::SettleEdits()
{
    FinishEdit();
    if (!m_pending.IsEmpty())
        OnEditUpdateTimerTimeout();
}
