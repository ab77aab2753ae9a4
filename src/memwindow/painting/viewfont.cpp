#include "viewfont.h"

#include <QFontDatabase>
#include <QFontInfo>
#include <QFontMetrics>
#include <QStringList>

#include <algorithm>

QFont FixedPitchFont(const QFont &applicationFont)
{
    QFont wanted(applicationFont);
    // A family that nobody has lets the style hint decide.
    wanted.setFamilies(QStringList{QStringLiteral("unknown")});
    wanted.setStyleHint(QFont::TypeWriter, QFont::PreferBitmap);
    QFontInfo found(wanted);
    if (!found.fixedPitch()) {
        QFont systemFont = QFontDatabase::systemFont(QFontDatabase::FixedFont);
        systemFont.setPointSizeF(found.pointSizeF());
        found = QFontInfo(systemFont);
    }
    QFont font(found.family());
    font.setStyleName(found.styleName());
    font.setWeight(QFont::Weight(found.weight()));
    font.setItalic(found.italic());
    font.setPointSizeF(found.pointSizeF());
    font.setFixedPitch(true);
    return font;
}

int CharacterWidth(const QFont &fixedPitchFont)
{
    return std::max(QFontMetrics(fixedPitchFont).horizontalAdvance(QLatin1Char('0')), 1);
}

QFont GridFont(QFont fixedPitchFont)
{
    const qreal advance = QFontMetricsF(fixedPitchFont).horizontalAdvance(QStringLiteral("0"));
    const qreal spacing = CharacterWidth(fixedPitchFont) - advance;
    if (spacing != 0)
        fixedPitchFont.setLetterSpacing(QFont::AbsoluteSpacing, spacing);
    fixedPitchFont.setKerning(false);
    return fixedPitchFont;
}
