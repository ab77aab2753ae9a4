#include "naturalorder.h"

#include <QChar>

namespace {

bool IsDigit(QChar c)
{
    return c >= QLatin1Char('0') && c <= QLatin1Char('9');
}

/// Device names are nearly all ASCII: their letters are folded without the Unicode tables.
char16_t Folded(QChar c)
{
    const char16_t code = c.unicode();
    if (code >= 0x80)
        return c.toCaseFolded().unicode();
    return code >= u'A' && code <= u'Z' ? static_cast<char16_t>(code - u'A' + u'a') : code;
}

/// Cuts the run of digits at the front off the text.
QStringView TakeDigits(QStringView &text)
{
    qsizetype length = 0;
    while (length < text.size() && IsDigit(text[length]))
        ++length;
    const QStringView digits = text.first(length);
    text = text.sliced(length);
    return digits;
}

QStringView WithoutLeadingZeros(QStringView digits)
{
    while (digits.size() > 1 && digits.front() == QLatin1Char('0'))
        digits = digits.sliced(1);
    return digits;
}

/// Compares two runs of digits by value, whatever their length.
int CompareNumbers(QStringView left, QStringView right)
{
    left = WithoutLeadingZeros(left);
    right = WithoutLeadingZeros(right);
    if (left.size() != right.size())
        return left.size() < right.size() ? -1 : 1;
    return left.compare(right);
}

} // namespace

int CompareNaturally(QStringView left, QStringView right)
{
    const QStringView wholeLeft = left;
    const QStringView wholeRight = right;
    while (!left.isEmpty() && !right.isEmpty()) {
        if (IsDigit(left.front()) && IsDigit(right.front())) {
            if (const int order = CompareNumbers(TakeDigits(left), TakeDigits(right)))
                return order;
            continue;
        }
        const char16_t leftChar = Folded(left.front());
        const char16_t rightChar = Folded(right.front());
        if (leftChar != rightChar)
            return leftChar < rightChar ? -1 : 1;
        left = left.sliced(1);
        right = right.sliced(1);
    }
    if (left.isEmpty() != right.isEmpty())
        return left.isEmpty() ? -1 : 1;
    return wholeLeft.compare(wholeRight);
}
