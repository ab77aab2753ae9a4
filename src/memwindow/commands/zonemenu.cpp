#include "zonemenu.h"

#include "memorypage.h"
#include "memowners.h"
#include "targetaccess.h"

#include <QAction>
#include <QMenu>
#include <QStringList>

#include <algorithm>

QMenu *ZONE_AddMenu(const MemOwners &owners, QMenu *menu)
{
    if (menu == nullptr || !owners.target.HasZones())
        return nullptr;
    TargetAccess::ZoneList text{};
    const int count = owners.target.ListZones(text);
    if (count == 0)
        return nullptr;
    const QStringList names
        = QString::fromLatin1(text.data()).split(QLatin1Char(','), Qt::SkipEmptyParts);
    const QString current = QString::fromLatin1(owners.target.Zone());
    auto *zones = new QMenu(QObject::tr("Memory &Zone"), menu);
    // A host may claim more zones than it names, or a negative number: then the menu is empty.
    for (int i = 0; i < std::min(count, int(names.size())); ++i) {
        QAction *action = zones->addAction(QLatin1Char(' ') + names.at(i));
        action->setCheckable(true);
        // The first zone stands for the default memory. A zone is set by its name without blanks.
        action->setChecked(current.isEmpty() ? i == 0 : names.at(i).trimmed() == current);
    }
    menu->addMenu(zones);
    return zones;
}

void ZONE_Set(const MemOwners &owners, const QString &name)
{
    const QByteArray zone = name == QLatin1String("Default") ? QByteArray() : name.toLatin1();
    owners.target.SetZone({zone.constData(), std::size_t(zone.size())});
    owners.page.Forget();
    owners.page.Refresh(PageRead::Whole);
}
