#include "accessiblegrid.h"

#include "cursorcontrol.h"
#include "gridinterface.h"
#include "memorypage.h"
#include "viewsurface.h"

#include <QAccessible>
#include <QPlainTextEdit>

#include <mutex>

namespace {

/// Speech takes about half of it. Values that come and go meanwhile are left out.
constexpr int kPauseMs = 2000;

template <typename Event, typename... Arguments>
void Send(QAccessibleInterface *interface, Arguments... arguments)
{
    Event event(interface, arguments...);
    QAccessible::updateAccessibility(&event);
}

} // namespace

/// The toolkit asks for a widget's interface with the names of its classes.
QAccessibleInterface *MakeGridInterface(const QString &className, QObject *object)
{
    if (className != QLatin1String("QPlainTextEdit"))
        return nullptr;
    auto *grid = object->findChild<AccessibleGrid *>(QString(), Qt::FindDirectChildrenOnly);
    return grid != nullptr ? grid->CreateInterface() : nullptr;
}

AccessibleGrid::AccessibleGrid(MemoryPage &page, CursorControl &cursor, ViewSurface &surface)
    : QObject(surface.Widget())
    , m_page(page)
    , m_cursor(cursor)
    , m_surface(surface)
    , m_content(page, cursor, surface)
{
    static std::once_flag installed;
    std::call_once(installed, [] { QAccessible::installFactory(MakeGridInterface); });
    m_soon.setSingleShot(true);
    m_soon.setInterval(0);
    m_pause.setSingleShot(true);
    m_pause.setInterval(kPauseMs);
    connect(&m_soon, &QTimer::timeout, this, &AccessibleGrid::Tell);
    connect(&m_pause, &QTimer::timeout, this, &AccessibleGrid::Tell);
    // The toolkit has given the widget an interface of its own kind while it was built.
    QAccessibleInterface *early = QAccessible::queryAccessibleInterface(surface.Widget());
    QAccessible::deleteAccessibleInterface(QAccessible::uniqueId(early));
    QAccessible::installActivationObserver(this);
    Follow(QAccessible::isActive());
}

AccessibleGrid::~AccessibleGrid()
{
    QAccessible::removeActivationObserver(this);
    if (m_interface != nullptr) // the cells go with it
        QAccessible::deleteAccessibleInterface(QAccessible::uniqueId(m_interface));
}

void AccessibleGrid::accessibilityActiveChanged(bool active)
{
    Follow(active);
}

void AccessibleGrid::Follow(bool active)
{
    disconnect(&m_page, nullptr, this, nullptr);
    disconnect(&m_cursor, nullptr, this, nullptr);
    if (!active)
        return;
    connect(&m_page, &MemoryPage::AllChanged, this, &AccessibleGrid::TellSoon);
    connect(&m_page, &MemoryPage::RowsChanged, this, &AccessibleGrid::TellSoon);
    connect(&m_page, &MemoryPage::Moved, this, &AccessibleGrid::TellSoon);
    connect(&m_cursor, &CursorControl::Moved, this, &AccessibleGrid::TellSoon);
    TellSoon();
}

QAccessibleInterface *AccessibleGrid::CreateInterface()
{
    m_interface = new GridInterface(*this);
    return m_interface;
}

bool AccessibleGrid::HasFocus() const
{
    return m_surface.Widget()->hasFocus();
}

QString AccessibleGrid::NewsOf(const GridCell &cell) const
{
    return cell == m_told.cell ? m_news : QString();
}

void AccessibleGrid::PlaceCursor(const GridCell &cell, int offset)
{
    m_surface.Widget()->setFocus(); // ends an open edit
    m_cursor.Place(m_content.CursorOn(cell, offset));
}

void AccessibleGrid::TakeFocus()
{
    // The toolkit says that the table has the focus, after this; the cell has to be told anew.
    m_told.cell.reset();
    TellSoon();
}

void AccessibleGrid::TellSoon()
{
    if (!m_soon.isActive() && QAccessible::isActive())
        m_soon.start();
}

AccessibleGrid::Told AccessibleGrid::Now() const
{
    Told now;
    now.range = m_content.ShownRange();
    now.selectedFrom = m_cursor.Selected().Lower();
    now.selectedLength = m_cursor.Selected().Length();
    now.cell = HasFocus() ? m_content.CursorCell() : std::nullopt;
    if (now.cell) {
        now.offset = m_content.CursorOffset();
        now.shown = m_content.Shown(*now.cell);
        now.spoken = m_content.Spoken(*now.cell);
        now.isSelected = m_content.IsSelected(*now.cell);
    }
    return now;
}

void AccessibleGrid::Tell()
{
    if (!QAccessible::isActive())
        return;
    QAccessible::queryAccessibleInterface(m_surface.Widget()); // made now, if not before
    Told now = Now();
    if (now.range != m_told.range)
        TellPage();
    if (now.cell && now.cell != m_told.cell) {
        TellFocus(*now.cell);
    } else if (now.cell && now.offset != m_told.offset) {
        TellText(now); // typed, so the user knows
        Send<QAccessibleTextCursorEvent>(m_interface->CellInterface(*now.cell), now.offset);
    } else if (now.cell && now.shown != m_told.shown) {
        if (m_pause.isActive()) {
            now.shown = m_told.shown; // the change is told after the pause
            now.spoken = m_told.spoken;
        } else {
            TellChange(now);
        }
    }
    TellSelection(now);
    m_told = now;
}

void AccessibleGrid::TellPage()
{
    m_interface->DropCells();
    Send<QAccessibleTableModelChangeEvent>(
        m_interface, QAccessibleTableModelChangeEvent::ModelReset);
    Send<QAccessibleEvent>(m_interface, QAccessible::DescriptionChanged);
}

void AccessibleGrid::TellFocus(const GridCell &cell)
{
    m_news.clear();
    m_pause.stop();
    Send<QAccessibleEvent>(m_interface->CellInterface(cell), QAccessible::Focus);
}

/// The cell under the cursor has another value. Its description says so, since that is what is
/// spoken when it changes.
void AccessibleGrid::TellChange(const Told &now)
{
    m_news = now.spoken;
    if (now.cell->kind == GridCell::Kind::Text) {
        const QString character = now.shown.mid(now.offset, 1);
        if (character == m_told.shown.mid(now.offset, 1)) // another one of the row
            return TellText(now);
        m_news = character + QStringLiteral(" changed");
    }
    TellText(now);
    Send<QAccessibleEvent>(m_interface->CellInterface(*now.cell), QAccessible::DescriptionChanged);
    m_pause.start();
}

void AccessibleGrid::TellText(const Told &now)
{
    if (now.spoken == m_told.spoken)
        return;
    QAccessibleInterface *cell = m_interface->CellInterface(*now.cell);
    Send<QAccessibleTextRemoveEvent>(cell, 0, m_told.spoken);
    Send<QAccessibleTextInsertEvent>(cell, 0, now.spoken);
    Send<QAccessibleEvent>(cell, QAccessible::NameChanged);
}

void AccessibleGrid::TellSelection(const Told &now)
{
    if (now.selectedFrom == m_told.selectedFrom && now.selectedLength == m_told.selectedLength)
        return;
    if (now.cell && now.cell == m_told.cell && now.isSelected != m_told.isSelected)
        Send<QAccessibleEvent>(m_interface->CellInterface(*now.cell), QAccessible::Selection);
    Send<QAccessibleEvent>(m_interface, QAccessible::SelectionWithin);
}
