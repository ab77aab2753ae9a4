#include "chexeditor.h"

#include <QCursor>
#include <QGuiApplication>
#include <QMouseEvent>
#include <QPlainTextEdit>
#include <QTimer>
#include <QWheelEvent>

#include <algorithm>

CellMap CHexEditor::Cells() const
{
    return {m_geometry, m_baseAddress, m_bigEndian};
}

Navigation CHexEditor::Keys() const
{
    return {m_geometry, m_geometry.PageAt(m_baseAddress), m_bigEndian};
}

void CHexEditor::MoveCursor(const EditCursor &cursor, bool extendSelection)
{
    const std::uint64_t oldAddress = m_cursor.address;
    m_cursor = cursor;
    RepaintRowOf(oldAddress);
    RepaintRowOf(cursor.address);
    if (extendSelection) {
        m_selection.ExtendTo(cursor.address, Cells());
        InvalidateView();
    }
}

void CHexEditor::FollowKey(const CursorMove &move, const QKeyEvent *event)
{
    if (move.scrollRows != 0)
        ScrollRows(move.scrollRows);
    MoveCursor(move.cursor, event->modifiers().testFlag(Qt::ShiftModifier));
}

/// The page moves at once, but is read only when the key is released: a slow probe would stutter
/// under the key's repetition.
void CHexEditor::FollowPageKey(const CursorMove &move, const QKeyEvent *event)
{
    if (BytesPerPage() == 0)
        return;
    if (move.pageBase != m_baseAddress) {
        m_pageKeyHeld = true;
        ShowPageAt(move.pageBase);
    }
    MoveCursor(move.cursor, event->modifiers().testFlag(Qt::ShiftModifier));
}

void CHexEditor::OnKeyEvent(QKeyEvent *event)
{
    if (event->type() == QEvent::KeyRelease) {
        if (event->isAutoRepeat())
            return;
        if (event->key() == Qt::Key_PageUp)
            OnKeyPageUpReleased();
        else if (event->key() == Qt::Key_PageDown)
            OnKeyPageDownReleased();
        return;
    }
    switch (event->key()) {
    case Qt::Key_Up:
        return OnKeyUpPressed(event);
    case Qt::Key_Down:
        return OnKeyDownPressed(event);
    case Qt::Key_Right:
        return OnKeyRightPressed(event);
    case Qt::Key_Left:
        return OnKeyLeftPressed(event);
    case Qt::Key_PageDown:
        return OnKeyPageDownPressed(event);
    case Qt::Key_PageUp:
        return OnKeyPageUpPressed(event);
    case Qt::Key_Home:
        return OnHomeKeyPressed(event);
    case Qt::Key_End:
        return OnEndKeyPressed(event);
    case Qt::Key_Escape:
        return OnEscapeKeyPressed(event);
    case Qt::Key_Shift: // starts a selection by keys
        m_selection.Start(m_cursor.address);
        return InvalidateView();
    case Qt::Key_V:
    case Qt::Key_C:
        if (event->modifiers().testFlag(Qt::ControlModifier))
            return event->key() == Qt::Key_V ? OnKeyPastePressed(event)
                                             : OnActionCopyHexTriggered();
        [[fallthrough]];
    default:
        return OnKeyOtherPressed(event);
    }
}

void CHexEditor::OnKeyUpPressed(QKeyEvent *event)
{
    FollowKey(Keys().Up(m_cursor), event);
}

void CHexEditor::OnKeyDownPressed(QKeyEvent *event)
{
    FollowKey(Keys().Down(m_cursor), event);
}

void CHexEditor::OnKeyRightPressed(QKeyEvent *event)
{
    FollowKey(Keys().Right(m_cursor), event);
}

void CHexEditor::OnKeyLeftPressed(QKeyEvent *event)
{
    FollowKey(Keys().Left(m_cursor), event);
}

void CHexEditor::OnKeyPageUpPressed(QKeyEvent *event)
{
    FollowPageKey(Keys().PageUp(m_cursor), event);
}

void CHexEditor::OnKeyPageDownPressed(QKeyEvent *event)
{
    FollowPageKey(Keys().PageDown(m_cursor), event);
}

void CHexEditor::OnHomeKeyPressed(QKeyEvent *event)
{
    if (event->modifiers().testFlag(Qt::ControlModifier)) {
        ShowFirstPage();
        m_cursor.address = 0;
    }
    FollowKey(Keys().RowHome(m_cursor), event);
}

void CHexEditor::OnEndKeyPressed(QKeyEvent *event)
{
    if (event->modifiers().testFlag(Qt::ControlModifier)) {
        ShowLastPage();
        m_cursor.address = kLastAddress;
    }
    FollowKey(Keys().RowEnd(m_cursor), event);
}

void CHexEditor::OnEscapeKeyPressed(QKeyEvent *)
{
    m_selection.Clear();
    InvalidateView();
}

void CHexEditor::OnKeyPageUpReleased()
{
    m_pageKeyHeld = false;
    RefreshPage(PageRead::Whole);
}

void CHexEditor::OnKeyPageDownReleased()
{
    m_pageKeyHeld = false;
    RefreshPage(PageRead::Whole);
}

void CHexEditor::OnMouseWheelScrolled(QWheelEvent *event)
{
    const QPoint delta = event->angleDelta();
    event->accept();
    if (delta.y() == 0)
        return;
    if (const int rows = m_wheel.RowsFor(delta.y()))
        ScrollRows(rows);
}

/// The cursor position that a mouse position stands for.
EditCursor CHexEditor::CursorAt(const QPoint &position) const
{
    const CellMap cells = Cells();
    const Cell cell = cells.CellAtPixel(position.x(), position.y());
    return {cells.CellAddress(cell), cells.CellDigit(cell),
        cell.column >= m_geometry.TextColumnStart()};
}

void CHexEditor::OnMouseButtonPressed(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton || BytesPerRow() == 0)
        return;
    m_pressPoint = event->position().toPoint();
    MoveCursor(CursorAt(m_pressPoint), event->modifiers().testFlag(Qt::ShiftModifier));
}

void CHexEditor::OnMouseMoved(QMouseEvent *event)
{
    constexpr int kDragStartPx = 5;
    if (!event->buttons().testFlag(Qt::LeftButton) || BytesPerRow() == 0)
        return;
    const QPoint position = event->position().toPoint();
    EditCursor cursor = CursorAt(position);
    cursor.inTextColumn = m_cursor.inTextColumn; // decided by the press
    MoveCursor(cursor, false);
    if (m_selecting) {
        m_selection.ExtendTo(cursor.address, Cells());
        InvalidateView();
    } else if ((position - m_pressPoint).manhattanLength() > kDragStartPx) {
        m_selecting = true;
        m_selection.SetEnds(CursorAt(m_pressPoint).address, cursor.address);
        m_selection.Normalise(Cells());
        m_pAutoScrollTimer->start();
        InvalidateView();
    }
}

void CHexEditor::OnMouseButtonReleased(QMouseEvent *)
{
    m_selecting = false;
    m_pAutoScrollTimer->stop();
}

void CHexEditor::OnAutoScrollSelectionTimerTimeout()
{
    const QWidget *viewport = m_pView->viewport();
    const QPoint position = viewport->mapFromGlobal(QCursor::pos());
    if (position.y() >= 0 && position.y() <= viewport->height())
        return;
    m_selection.ExtendTo(CursorAt(position).address, Cells());
    ScrollRows(position.y() < 0 ? 1 : -1);
    InvalidateView();
}
