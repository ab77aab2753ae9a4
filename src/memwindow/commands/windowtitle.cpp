#include "windowtitle.h"

#include "linecomposer.h"

QString WindowTitle(std::uint64_t address, const QString &rateText, const QString &zone)
{
    QString title = QStringLiteral("Memory @ ") + QLatin1String(FormatItemValue(address, 8, false));
    if (!rateText.isEmpty())
        title += QStringLiteral(", ") + rateText + QStringLiteral(" refresh");
    if (!zone.isEmpty())
        title += QStringLiteral(", Zone: ") + zone;
    return title;
}
