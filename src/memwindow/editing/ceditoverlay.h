#pragma once

#include <QLineEdit>
#include <QString>

#include <cstdint>

/// The line edit that lies over one item of the memory window while the item is typed over.
///
/// It shows hexadecimal digits in the cells of the rows below it. Typing overwrites; Backspace and
/// Delete put a 0. A digit typed behind the last one ends the edit and is handed on as Rest().
/// Return, the keys that leave the row and a lost focus end the edit as well; Escape drops it.
class CEditOverlay : public QLineEdit {
    Q_OBJECT

public:
    explicit CEditOverlay(QWidget *parent);

    /// Resets, and takes exactly this many digits from now on.
    void SetDigits(int digits);

    /// The size of one character cell of the view, in pixels.
    void SetCell(int widthPx, int heightPx);

    /// Resets, stores the tag and shows the overlay with the focus.
    void Open(int tag);

    /// Sets the text, and the caret in front of this digit of it.
    void SetEditText(const QString &text, int caret);

    /// Digits, one bit each (bit 0 is the leftmost), of bytes that have not been read. They are
    /// shown as placeholders until they are typed over.
    void SetUnknownDigits(std::uint32_t digits);
    [[nodiscard]] std::uint32_t UnknownDigits() const { return m_unknownDigits; }
    /// The digits, a bit each, that were typed over since SetDigits.
    [[nodiscard]] std::uint32_t TypedDigits() const { return m_typedDigits; }
    void MarkTyped(int first, int end);

    /// Forgets the state of the edit. The text stays.
    void Reset();

    /// Resets and hides without ending the edit, so that nothing of it is written.
    void HideOverlay();

    /// The text as a number; -1 when it is none, and after Escape.
    [[nodiscard]] std::int64_t Value() const;

    /// The digit typed behind the last one, when that ended the edit; otherwise empty.
    [[nodiscard]] QString Rest() const { return m_currentText; }

    [[nodiscard]] int Tag() const { return m_tag; }

signals:
    /// The edit ended; Value() and Rest() say with what. Sent at most once for each Open().
    void Closed();

public slots:
    void showEvent(QShowEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;
    void OnEditingFinished();
    void OnCursorPosChanged(int OldPos, int NewPos);
    void OnTextChanged(const QString &Text);

protected:
    void resizeEvent(QResizeEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;

private:
    [[nodiscard]] bool OnKey(int key, const QString &text);
    void EraseDigit(int position, int caretAfter);
    [[nodiscard]] QString ShownDigits() const;

    std::uint8_t m_isOpen = 0;    // the edit has not ended yet
    std::uint8_t m_isDropped = 0; // it ended with Escape
    QString m_currentText;        // what was typed beyond the last digit
    int m_tag = 0;
    int m_caretBefore = 0; // where the caret stood before the text changed
    std::uint32_t m_unknownDigits = 0;
    std::uint32_t m_typedDigits = 0;
    int m_cellWidthPx = 1;
    int m_cellHeightPx = 1;
};
