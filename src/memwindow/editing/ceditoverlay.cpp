#include "ceditoverlay.h"

#include "itemedit.h"

#include <QFocusEvent>
#include <QKeyEvent>
#include <QPainter>

#include <algorithm>

namespace {

constexpr int kFrameBelowPx = 2; // height of the frame below the row
constexpr int kCaretPx = 2;

} // namespace

CEditOverlay::CEditOverlay(QWidget *parent)
    : QLineEdit(parent)
{
    setStyleSheet(QStringLiteral("QLineEdit {border: 1px solid dark gray; border-radius: 0px;}"));
    setMaxLength(maxLength() & 0xFF);
    setAccessibleName(QStringLiteral("Memory item"));
    // A right click opens the memory window's menu instead of the line edit's own.
    setContextMenuPolicy(Qt::NoContextMenu);
    connect(this, &QLineEdit::editingFinished, this, &CEditOverlay::OnEditingFinished);
    connect(this, &QLineEdit::cursorPositionChanged, this, &CEditOverlay::OnCursorPosChanged);
    connect(this, &QLineEdit::textEdited, this, &CEditOverlay::OnTextChanged);
    installEventFilter(this);
    hide();
}

void CEditOverlay::SetDigits(int digits)
{
    Reset();
    m_unknownDigits = 0;
    m_typedDigits = 0;
    setInputMask(QString(digits, u'H'));
    setMaxLength(digits);
}

void CEditOverlay::SetUnknownDigits(std::uint32_t digits)
{
    m_unknownDigits = digits;
    update();
}

void CEditOverlay::MarkTyped(int first, int end)
{
    for (int digit = std::max(first, 0); digit < std::min(end, 32); ++digit)
        m_typedDigits |= 1U << digit;
    m_unknownDigits &= ~m_typedDigits;
}

void CEditOverlay::SetCell(int widthPx, int heightPx)
{
    m_cellWidthPx = std::max(widthPx, 1);
    m_cellHeightPx = std::max(heightPx, 1);
}

void CEditOverlay::Open(int tag)
{
    Reset();
    m_tag = tag;
    m_isOpen = 1;
    show();
    setFocus();
}

void CEditOverlay::SetEditText(const QString &text, int caret)
{
    setText(text);
    setCursorPosition(caret);
    m_caretBefore = caret;
}

void CEditOverlay::Reset()
{
    m_isOpen = 0;
    m_isDropped = 0;
    m_currentText.clear();
    m_tag = 0;
}

void CEditOverlay::HideOverlay()
{
    if (!isVisible())
        return;
    Reset();
    // The focus is handed over first: hiding the widget would pass it to the next one in tab order.
    if (window()->focusWidget() == this && parentWidget() != nullptr)
        parentWidget()->setFocus();
    hide();
}

std::int64_t CEditOverlay::Value() const
{
    bool isNumber = false;
    const std::uint32_t value = text().toUInt(&isNumber, 16);
    return isNumber && m_isDropped == 0 ? std::int64_t{value} : -1;
}

void CEditOverlay::showEvent(QShowEvent *event)
{
    QLineEdit::showEvent(event);
    raise();
}

bool CEditOverlay::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == this && m_isOpen != 0) {
        if (event->type() == QEvent::KeyPress) {
            const auto *keyEvent = static_cast<QKeyEvent *>(event);
            if (OnKey(keyEvent->key(), keyEvent->text()))
                return true;
        } else if (event->type() == QEvent::ShortcutOverride) {
            // Escape drops the edit, whatever the host has it for.
            if (static_cast<QKeyEvent *>(event)->key() == Qt::Key_Escape)
                event->accept();
        } else if (event->type() == QEvent::FocusOut) {
            // A menu takes the focus for a while only. The line edit's own signal is not sent while
            // a digit is missing, so it cannot be used here.
            if (static_cast<QFocusEvent *>(event)->reason() != Qt::PopupFocusReason)
                OnEditingFinished();
        }
    }
    return QLineEdit::eventFilter(watched, event);
}

bool CEditOverlay::OnKey(int key, const QString &text)
{
    switch (key) {
    case Qt::Key_Escape:
        m_isDropped = 1;
        [[fallthrough]];
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Tab:
    case Qt::Key_Backtab:
        OnEditingFinished();
        return true;
    case Qt::Key_Up:
    case Qt::Key_Down:
    case Qt::Key_PageUp:
    case Qt::Key_PageDown:
        // The line edit ignores these keys, so they reach the view after the end of the edit.
        OnEditingFinished();
        return false;
    case Qt::Key_Shift: // would begin a selection in the view
        return true;
    case Qt::Key_Backspace:
        EraseDigit(cursorPosition() - 1, cursorPosition() - 1);
        return true;
    case Qt::Key_Delete:
        EraseDigit(cursorPosition(), cursorPosition());
        return true;
    default:
        break;
    }
    if (hasSelectedText() || cursorPosition() < maxLength() || !IsHexDigit(text))
        return false;
    m_currentText = text;
    OnEditingFinished();
    return true;
}

void CEditOverlay::EraseDigit(int position, int caretAfter)
{
    QString digits = text();
    const int first = hasSelectedText() ? selectionStart() : position;
    const int count = hasSelectedText() ? static_cast<int>(selectedText().size()) : 1;
    for (int i = std::max(first, 0); i < std::min<qsizetype>(first + count, digits.size()); ++i)
        digits[i] = u'0';
    MarkTyped(first, first + count);
    SetEditText(digits, hasSelectedText() ? first : std::clamp(caretAfter, 0, maxLength()));
}

void CEditOverlay::OnEditingFinished()
{
    if (m_isOpen == 0)
        return;
    m_isOpen = 0;
    emit Closed();
}

void CEditOverlay::OnCursorPosChanged(int /*OldPos*/, int NewPos)
{
    m_caretBefore = NewPos;
    update();
}

void CEditOverlay::OnTextChanged(const QString &)
{
    // A blank that a deleted selection left between digits would be skipped when the text is read
    // as a number, and move the digits before it.
    MarkTyped(std::min(m_caretBefore, cursorPosition() - 1), cursorPosition());
    QString digits = displayText().toUpper();
    while (digits.endsWith(u' '))
        digits.chop(1);
    digits.replace(u' ', u'0');
    if (digits != text())
        SetEditText(digits, cursorPosition());
}

QString CEditOverlay::ShownDigits() const
{
    QString digits = displayText();
    for (int i = 0; i < digits.size(); ++i) {
        if ((m_unknownDigits >> i & 1U) != 0)
            digits[i] = u'-';
    }
    return digits;
}

void CEditOverlay::resizeEvent(QResizeEvent *event)
{
    QLineEdit::resizeEvent(event);
    // The lowest pixels lie over the digits of the next row, which must stay legible.
    setMask(rect().intersected(QRect(0, 0, width(), m_cellHeightPx + kFrameBelowPx)));
}

// Drawn cell by cell and without a style's margins: the digits must lie where the row shows them.
void CEditOverlay::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const QRect frame(0, 0, width(), m_cellHeightPx + kFrameBelowPx);
    // Filled, since a pen's line falls outside on two sides at fractional scales.
    painter.fillRect(frame, palette().brush(QPalette::Highlight));
    painter.fillRect(frame.adjusted(1, 1, -1, -1), palette().brush(QPalette::Base));

    const QString digits = ShownDigits();
    const int caret = cursorPosition();
    const int marked = hasSelectedText() ? selectionStart() : caret;
    const int markedEnd = hasSelectedText() ? selectionEnd() : caret + 1;
    const int baselinePx = fontMetrics().ascent();
    for (int i = 0; i < digits.size(); ++i) {
        const QRect cell(i * m_cellWidthPx, 0, m_cellWidthPx, m_cellHeightPx);
        const bool isMarked = i >= marked && i < markedEnd;
        if (isMarked)
            painter.fillRect(cell, palette().brush(QPalette::Highlight));
        painter.setPen(palette().color(isMarked ? QPalette::HighlightedText : QPalette::Text));
        painter.drawText(cell.left(), baselinePx, QString(digits.at(i)));
    }
    if (caret == digits.size())
        painter.fillRect(caret * m_cellWidthPx, 2, kCaretPx, m_cellHeightPx - 3,
            palette().brush(QPalette::Text));
}

void CEditOverlay::mousePressEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton)
        setCursorPosition(std::clamp(event->pos().x() / m_cellWidthPx, 0, maxLength()));
    event->accept();
}
