#pragma once

#include "gridcontent.h"

#include <QAccessible>
#include <QObject>
#include <QString>
#include <QTimer>

#include <cstdint>
#include <optional>

class GridInterface;
class QAccessibleInterface;

/// Shows the grid to assistive technology, as a table whose cells are told apart by their
/// addresses.
///
/// It listens to the other owners only while assistive technology is active: otherwise a refresh
/// costs nothing. What has changed is told from the event loop, once for all that happened before,
/// and only about the cell under the cursor: a page that changes ten times a second floods nobody.
/// Nothing is read from the target. The interfaces end with this object; a program that still holds
/// one gets errors.
///
/// Owned by the window, which it must not outlive. GUI thread only.
class AccessibleGrid : public QObject, private QAccessible::ActivationObserver {
    Q_OBJECT

public:
    AccessibleGrid(MemoryPage &page, CursorControl &cursor, ViewSurface &surface);
    ~AccessibleGrid() override;

    /// For the interfaces.
    /// @{
    [[nodiscard]] const GridContent &Content() const { return m_content; }
    [[nodiscard]] ViewSurface &Surface() const { return m_surface; }
    [[nodiscard]] bool HasFocus() const; ///< the view itself, not what lies over it
    /// What has just happened to the cell under the cursor; empty for other cells.
    [[nodiscard]] QString NewsOf(const GridCell &cell) const;
    /// Puts the cursor and the focus on a character of a cell.
    void PlaceCursor(const GridCell &cell, int offset);
    /// The toolkit has ended its interface.
    void ForgetInterface() { m_interface = nullptr; }
    /// @}

    /// The view has the focus now.
    void TakeFocus();

private:
    /// What assistive programs know of the grid.
    struct Told {
        std::optional<GridCell> cell; ///< that has the focus
        int offset = 0;               ///< of the cursor in it
        QString shown;                ///< in the cell
        QString spoken;               ///< of it
        bool isSelected = false;      ///< the cell
        std::uint64_t selectedFrom = 0;
        std::uint64_t selectedLength = 0;
        QString range; ///< on show
    };

    friend QAccessibleInterface *MakeGridInterface(const QString &className, QObject *object);
    QAccessibleInterface *CreateInterface();
    void accessibilityActiveChanged(bool active) override;
    void Follow(bool active); ///< the page and the cursor, only while somebody listens
    void TellSoon();
    void Tell();
    [[nodiscard]] Told Now() const;
    void TellPage();
    void TellFocus(const GridCell &cell);
    void TellChange(const Told &now);
    void TellText(const Told &now);
    void TellSelection(const Told &now);

    MemoryPage &m_page;
    CursorControl &m_cursor;
    ViewSurface &m_surface;
    GridContent m_content;
    GridInterface *m_interface = nullptr; // the toolkit's; it lives as long as this at most
    Told m_told;
    QString m_news;
    QTimer m_soon;
    QTimer m_pause; // between two values of the cell under the cursor
};
