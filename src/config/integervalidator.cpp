#include "integervalidator.h"

#include <algorithm>

IntegerValidator::IntegerValidator(qint64 min, qint64 max, QObject *parent)
    : QValidator(parent)
    , m_min(min)
    , m_max(max)
{
}

QValidator::State IntegerValidator::validate(QString &text, int &caret) const
{
    text = text.trimmed();
    caret = std::min(caret, static_cast<int>(text.size()));
    if (text.isEmpty() || (m_min < 0 && text == QLatin1String("-")))
        return Acceptable;
    if (text.contains(QChar::Null)) // Qt reads numbers up to a NUL only
        return Invalid;
    bool isNumber = false;
    const qint64 value = text.toLongLong(&isNumber);
    return isNumber && value >= m_min && value <= m_max ? Acceptable : Invalid;
}
