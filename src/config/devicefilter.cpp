#include "devicefilter.h"

QString FoldForMatch(const QString &text)
{
    return text.toCaseFolded();
}

DevicePattern::DevicePattern(const QString &text)
{
    if (text.isEmpty() || text == kMatchAllPattern)
        return;
    const QString folded = FoldForMatch(text);
    // Deliberate: one asterisk only. "*abc*" asks for texts that end with "abc*".
    if (folded.startsWith(u'*')) {
        m_kind = Kind::EndsWith;
        m_folded = folded.sliced(1);
    } else if (folded.endsWith(u'*')) {
        m_kind = Kind::BeginsWith;
        m_folded = folded.chopped(1);
    } else {
        m_kind = Kind::Contains;
        m_folded = folded;
    }
}

bool DevicePattern::Matches(QStringView foldedText) const
{
    switch (m_kind) {
    case Kind::All:
        return true;
    case Kind::EndsWith:
        return foldedText.endsWith(m_folded);
    case Kind::BeginsWith:
        return foldedText.startsWith(m_folded);
    case Kind::Contains:
        return foldedText.contains(m_folded);
    }
    return false;
}
