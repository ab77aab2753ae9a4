#include "viewfont.h"

#include <QFontDatabase>
#include <QFontInfo>
#include <QFontMetrics>
#include <QStringList>

#include <algorithm>

namespace {

/// A font without a size, as on a screen of next to no dots per inch, keeps the other's own.
void TakeSize(QFont &font, const QFontInfo &from)
{
    if (from.pointSizeF() > 0)
        font.setPointSizeF(from.pointSizeF());
}

} // namespace

QFont FixedPitchFont(const QFont &applicationFont)
{
    QFont wanted(applicationFont);
    // With a family that does not exist, the style hint decides.
    wanted.setFamilies(QStringList{QStringLiteral("unknown")});
    wanted.setStyleHint(QFont::TypeWriter, QFont::PreferBitmap);
    QFontInfo found(wanted);
    if (!found.fixedPitch()) {
        QFont systemFont = QFontDatabase::systemFont(QFontDatabase::FixedFont);
        TakeSize(systemFont, found);
        found = QFontInfo(systemFont);
    }
    QFont font(found.family());
    font.setStyleName(found.styleName());
    font.setWeight(QFont::Weight(found.weight()));
    font.setItalic(found.italic());
    TakeSize(font, found);
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
