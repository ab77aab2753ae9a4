#include "typedfield.h"

#include <QLineEdit>

void TypedField::Show(const QString &text)
{
    if (m_edit->text() != text)
        m_edit->setText(text);
    m_shownText = m_edit->text();
}

bool TypedField::HasTypedText() const
{
    return m_edit->text() != m_shownText;
}

QString TypedField::TakeText()
{
    m_shownText = m_edit->text();
    return m_shownText;
}
