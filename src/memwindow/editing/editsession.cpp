#include "editsession.h"

#include "ceditoverlay.h"
#include "viewsurface.h"

#include <QKeyEvent>
#include <QPlainTextEdit>
#include <QPointer>

#include <algorithm>

namespace {

constexpr int kWriteAfterMs = 500;
constexpr int kBoxExtraHeightPx = 4; // the frame and the room that a line edit keeps
constexpr int kBoxExtraWidthPx = 2;

} // namespace

EditSession::EditSession(
    const TargetAccess &target, MemoryPage &page, CursorControl &cursor, ViewSurface &surface)
    : m_target(target)
    , m_page(page)
    , m_cursor(cursor)
    , m_surface(surface)
    , m_box(new CEditOverlay(surface.Widget()))
{
    m_timer.setInterval(kWriteAfterMs);
    m_timer.setSingleShot(true);
    // A scroll or a resize drops the digits of an open box; a jump ends the edit itself first, and
    // keeps them.
    connect(&page, &MemoryPage::Moved, this, [this] { End(EditEnd::Drop); });
    connect(&page, &MemoryPage::Resized, this, [this] { End(EditEnd::Drop); });
    connect(&page, &MemoryPage::FontChanged, this, &EditSession::PlaceBox);
}

EditSession::~EditSession() = default;

bool EditSession::IsOpen() const
{
    return m_box->isVisible();
}

void EditSession::Type(QKeyEvent *event)
{
    const bool isBackspace = event->key() == Qt::Key_Backspace;
    const bool isTaken = !m_page.IsEmpty()
        && (m_cursor.Cursor().inTextColumn ? TypeCharacter(event->text(), isBackspace)
                                           : TypeDigit(event->text(), isBackspace));
    event->setAccepted(isTaken);
}

bool EditSession::TypeCharacter(const QString &typed, bool isBackspace)
{
    const std::optional<std::uint8_t> byte = isBackspace ? 0 : ByteOfTypedText(typed);
    if (!byte)
        return false;
    m_cursor.Reveal();
    const EditCursor cursor = m_cursor.Cursor();
    m_pending.Add(cursor.address, {&*byte, 1});
    m_page.RepaintRow(cursor.address);
    m_cursor.Follow(isBackspace ? m_cursor.Keys().Left(cursor) : m_cursor.Keys().Right(cursor));
    m_timer.start();
    return true;
}

/// Opens the edit box over the item under the cursor, with the key typed into it.
bool EditSession::TypeDigit(const QString &typed, bool isBackspace)
{
    if (!isBackspace && !IsHexDigit(typed))
        return false;
    m_cursor.Reveal();
    const EditCursor cursor = m_cursor.Cursor();
    const CellMap cells = m_page.Cells();
    const std::uint64_t item = cells.ItemStart(cursor.address);
    const int position = cursor.digit + 2 * cells.ByteInItem(cursor.address);
    const std::optional<ItemEdit> edit = EditOfTypedKey(ItemAt(item), position, typed, isBackspace);
    if (!edit)
        return false;
    OpenBox(item, *edit);
    if (ItemAt(item).HasValue())
        m_box->MarkTyped(position, position + 1);
    return true;
}

void EditSession::OpenBox(std::uint64_t item, const ItemEdit &edit)
{
    m_item = item;
    m_box->SetDigits(2 * m_page.Geometry().BytesPerItem());
    m_box->SetUnknownDigits(edit.unknownDigits);
    PlaceBox();
    m_box->SetEditText(edit.text, edit.caret);
    m_box->Open(static_cast<int>(static_cast<std::uint32_t>(item)));
}

/// Places the box so that its digits lie on the row's digits.
void EditSession::PlaceBox()
{
    if (m_page.IsEmpty())
        return;
    const ViewGeometry &geometry = m_page.Geometry();
    const int widthPx = geometry.CharacterWidth();
    const int heightPx = geometry.LineHeight();
    const QPoint place = m_surface.PlaceOf(m_item, m_page.Cells().ItemColumn(m_item));
    const int textMarginPx = m_box->textMargins().left();
    m_box->setFont(m_surface.Widget()->font());
    m_box->SetCell(widthPx, heightPx);
    m_box->setGeometry(QRect(m_surface.Viewport()->pos() + place,
        QSize((geometry.BytesPerItem() * widthPx + textMarginPx + kBoxExtraWidthPx) * 2 + 1,
            heightPx + kBoxExtraHeightPx)));
}

/// The item with what was typed and not written yet.
KnownItem EditSession::ItemAt(std::uint64_t address) const
{
    KnownItem item;
    item.length = m_page.Geometry().BytesPerItem();
    item.bigEndian = m_page.IsBigEndian();
    const auto length = static_cast<std::size_t>(item.length);
    const auto bytes = std::span(item.bytes).first(length);
    const auto status = std::span(item.status).first(length);
    (void)m_page.Cache().ReadCached(address, bytes, status);
    m_pending.Overlay(address, bytes, status);
    return item;
}

void EditSession::End(EditEnd end)
{
    if (!IsOpen())
        return;
    if (end == EditEnd::Keep)
        m_box->OnEditingFinished();
    else
        m_box->HideOverlay();
}

void EditSession::TakeEdited()
{
    const std::int64_t value = m_box->Value();
    const QString text = m_box->text();
    const QString rest = m_box->Rest();
    const int lastPosition = 2 * m_page.Geometry().BytesPerItem() - 1;
    const int position = std::min(m_box->cursorPosition(), lastPosition);
    const std::uint32_t typedDigits = m_box->TypedDigits();
    m_box->HideOverlay();
    if (value >= 0) {
        AddItem(ItemAt(m_item), static_cast<std::uint64_t>(value), typedDigits);
        m_timer.start();
        m_cursor.Place(CursorInItem(m_item, position));
    }
    m_page.RepaintAll();
    if (!rest.isEmpty())
        GoOnTyping(rest, text);
}

/// A fully known item is written as a whole; of one that was read in part only the bytes typed over
/// are written.
void EditSession::AddItem(const KnownItem &before, std::uint64_t value, std::uint32_t typedDigits)
{
    const ItemBytes bytes(value, before.length, before.bigEndian);
    if (before.IsWhole() || !before.HasValue()) {
        m_pending.Add(m_item, bytes.Span());
        return;
    }
    for (int position = 0; position < 2 * before.length; position += 2) {
        if ((typedDigits >> position & 3U) == 0)
            continue;
        const auto byte = static_cast<std::size_t>(before.ByteOfDigit(position));
        m_pending.Add(m_item + byte, bytes.Span().subspan(byte, 1));
    }
}

/// What was typed behind the last digit opens the next item.
void EditSession::GoOnTyping(const QString &rest, const QString &text)
{
    const int lastPosition = 2 * m_page.Geometry().BytesPerItem() - 1;
    const CursorMove move = m_cursor.Keys().Right(CursorInItem(m_item, lastPosition));
    if (move.cursor.address == m_cursor.Cursor().address) {
        // The last item of the address space: further digits are ignored.
        OpenBox(m_item, {text, lastPosition + 1, 0});
        return;
    }
    m_cursor.Follow(move);
    TypeDigit(rest, false);
}

EditCursor EditSession::CursorInItem(std::uint64_t item, int position) const
{
    const int bytesPerItem = m_page.Geometry().BytesPerItem();
    const int byte = m_page.IsBigEndian() ? position / 2 : bytesPerItem - 1 - position / 2;
    return {std::min(item + static_cast<unsigned>(byte), kLastAddress), position % 2, false};
}

/// Makes one call for each contiguous range. A range whose write fails is dropped after its
/// message; the next read shows what the target holds.
void EditSession::WriteOut()
{
    m_timer.stop();
    bool failed = false;
    for (const WriteRun &run : m_pending.TakeRuns())
        failed = m_target.Write(run.address, run.data) < 0 || failed;
    if (failed)
        emit NotWritten();
}

void EditSession::WriteDue()
{
    WriteOut();
    m_page.RepaintAll();
    m_page.Refresh(PageRead::Whole);
    m_target.Messages().Show(); // last: the window may be gone then
}

Settled EditSession::Settle()
{
    const QPointer<EditSession> self = this;
    End(EditEnd::Keep);
    if (!m_pending.IsEmpty())
        WriteDue();
    else
        m_target.Messages().Show();
    return self ? Settled::Here : Settled::WindowGone;
}
