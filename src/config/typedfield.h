#pragma once

#include <QString>

class QLineEdit;

/// A line edit that shows a value, and can tell whether the user has typed over it since.
///
/// Leaving a field reports what was typed, but a mnemonic triggers another control without leaving
/// the field. So take over the typed text before showing a new value.
class TypedField {
public:
    /// @param edit  not owned; outlives this
    void SetEdit(QLineEdit *edit) { m_edit = edit; }
    [[nodiscard]] QLineEdit *Edit() const { return m_edit; }

    /// Shows a value; a caret in an unchanged text stays where it is.
    void Show(const QString &text);
    /// True when the field holds something else than was shown last.
    [[nodiscard]] bool HasTypedText() const;
    /// What the field holds, which counts as shown from now on.
    [[nodiscard]] QString TakeText();

private:
    QLineEdit *m_edit = nullptr;
    QString m_shownText;
};
