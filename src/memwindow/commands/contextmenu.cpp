#include "contextmenu.h"

#include "memactions.h"
#include "memtoolbar.h"
#include "zonemenu.h"

#include <QAbstractButton>
#include <QCursor>
#include <QMenu>
#include <QPointer>
#include <QWidget>

#include <memory>
#include <utility>

namespace {

// A click on the extension button first closes an open menu, then arrives here. Within this time
// after the close it is taken for that click, not for a new one.
constexpr qint64 kReopenGuardMs = 200;

} // namespace

ContextMenu::ContextMenu(const MemOwners &owners, ZoneChosen zoneChosen)
    : m_owners(owners)
    , m_zoneChosen(std::move(zoneChosen))
{
}

void ContextMenu::Open(QPoint position)
{
    const QPointer<QWidget> alive = &m_owners.window;
    // Not a child of the window: an action chosen here may lose the window while the menu is still
    // activating it, and would take the menu along.
    const auto menu = std::make_unique<QMenu>();
    m_owners.actions.FillContextMenu(*menu, [this](QMenu *parent) {
        if (QMenu *zones = ZONE_AddMenu(m_owners, parent))
            QObject::connect(zones, &QMenu::triggered, &m_owners.window, m_zoneChosen);
    });
    QObject::connect(&m_owners.window, &QObject::destroyed, menu.get(), &QMenu::close);
    menu->exec(m_owners.window.mapToGlobal(position));
    if (alive)
        m_sinceClosed.start();
}

void ContextMenu::OpenAtMouse()
{
    if (m_sinceClosed.isValid() && !m_sinceClosed.hasExpired(kReopenGuardMs))
        return;
    const QAbstractButton *button = m_owners.toolBar.ExtensionButton();
    const bool isByKey = button != nullptr && button->hasFocus(); // a click does not give it
    Open(m_owners.window.mapFromGlobal(
        isByKey ? button->mapToGlobal(button->rect().bottomLeft()) : QCursor::pos()));
}
