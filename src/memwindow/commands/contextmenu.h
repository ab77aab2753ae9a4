#pragma once

#include "memowners.h"

#include <QElapsedTimer>
#include <QPoint>

#include <functional>

class QAction;

/// The memory window's context menu, built anew for each request. GUI thread only.
class ContextMenu {
public:
    using ZoneChosen = std::function<void(QAction *)>;

    ContextMenu(const MemOwners &owners, ZoneChosen zoneChosen);

    /// Runs the menu. The window may be gone when this returns.
    /// @param position  in the window
    void Open(QPoint position);
    /// Opens it where the mouse is, for the tool bar's extension button, or below the button when
    /// that was pressed by a key. A click that has just closed the menu does not open it again.
    void OpenAtMouse();

private:
    const MemOwners &m_owners;
    ZoneChosen m_zoneChosen;
    QElapsedTimer m_sinceClosed; // monotonic: the time of day may be set back
};
