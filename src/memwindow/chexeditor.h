#pragma once

#include "accessiblegrid.h"
#include "addressscrollbar.h"
#include "cursorcontrol.h"
#include "editsession.h"
#include "memactions.h"
#include "memcommands.h"
#include "memfeatures.h"
#include "memorypage.h"
#include "memtoolbar.h"
#include "refreshchoice.h"
#include "targetaccess.h"
#include "viewsurface.h"

#include <QDragEnterEvent>
#include <QMainWindow>
#include <QPoint>

#include <cstdint>

class QKeyEvent;
class QMouseEvent;
class QWheelEvent;

/// The memory window: a live view of target memory as addresses, items and text.
///
/// Builds the owners of the window's rules, connects them and routes events to them; it has no rule
/// of its own. The target is reached through the host's callbacks only, on the GUI thread.
class CHexEditor : public QMainWindow {
    Q_OBJECT

public:
    explicit CHexEditor(QWidget *parent = nullptr);
    ~CHexEditor() override;

    void SetCallbacks(const MemoryCallbacks &callbacks);
    /// @param flags  kFeatureRefresh and so on
    void SetFeatureFlags(std::uint32_t flags) { m_commands.SetFeatures(flags); }
    /// Starts the periodic refresh; below 1 ms it stops.
    void SetRefreshInterval(int intervalMs) { m_refresh.SetInterval(intervalMs); }
    /// Byte order of 2- and 4-byte items; little-endian until a host sets another.
    void SetBigEndian(bool bigEndian) { m_page.SetBigEndian(bigEndian); }
    /// Paints every row again; reads nothing.
    void InvalidateView() { m_page.RepaintAll(); }
    /// Reads the page on screen again and repaints what changed.
    void UpdateFromTarget() { m_page.Refresh(PageRead::Whole); }

    [[nodiscard]] std::uint32_t BytesPerRow() const { return m_page.Geometry().BytesPerRow(); }
    [[nodiscard]] std::uint32_t VisibleRows() const { return m_page.Geometry().VisibleRows(); }
    [[nodiscard]] std::uint64_t BytesPerPage() const { return m_page.Geometry().BytesPerPage(); }
    [[nodiscard]] int BytesPerItem() const { return m_page.Geometry().BytesPerItem(); }
    [[nodiscard]] std::uint64_t BaseAddress() const { return m_page.Base(); }

    /// Reads with fallbacks, see TargetAccess::Read.
    int ReadTarget(
        std::uint64_t address, std::uint64_t length, std::uint8_t *bytes, ByteStatus *status)
    {
        return m_target.Read(address, {bytes, length}, {status, length}, BytesPerRow());
    }
    int WriteTarget(std::uint64_t address, std::uint64_t length, const std::uint8_t *bytes)
    {
        return m_target.Write(address, {bytes, length});
    }
    /// @return kInCache or kOutsideCache, see RowCache::ReadCached
    int ReadCached(
        std::uint64_t address, std::uint64_t length, std::uint8_t *bytes, ByteStatus *status) const
    {
        return m_page.Cache().ReadCached(address, {bytes, length}, {status, length});
    }
    /// @return the item at the address, or -1 when it is not wholly in the cache
    [[nodiscard]] std::int64_t CachedItemValue(std::uint64_t address) const
    {
        return m_page.Cache().ItemValue(address, BytesPerItem(), m_page.IsBigEndian());
    }

    /// Shows the row that holds the address at the top, now or as soon as the window has a size.
    void GoTo(std::uint64_t address, bool placeCursor, bool pushHistory)
    {
        m_commands.GoTo(address, placeCursor, pushHistory);
    }
    /// @param rows  > 0 towards lower addresses
    void ScrollRows(int rows) { m_page.ScrollBy(rows); }
    void SetBytesPerItem(int bytesPerItem) { m_commands.SetBytesPerItem(bytesPerItem); }
    /// @param bytes  0 (the host chooses), 1, 2 or 4
    void SetAccessWidth(std::uint8_t bytes) { m_commands.SetAccessWidth(bytes); }
    /// Makes the choice with this text current, "off" when there is none; an empty text does
    /// nothing.
    void SelectRefreshText(const QString &text) { m_refresh.SelectText(text); }
    /// The zone of all reads and writes; "Default" and "" are the target's default memory.
    void SetZone(const QString &name) { m_commands.SetZone(name); }
    void AddZoneMenu(QMenu *menu);
    void UpdateWindowTitle();

signals:
    /// What the user asked for and did not get, for the host's status bar.
    void CommandFailed(const QString &text);

public slots:
    bool eventFilter(QObject *watched, QEvent *event) override;
    bool OnPaint(QWidget *widget) { return m_surface.Paint(widget); }
    void OnShow() { m_page.ShowView(); }
    void OnMouseWheelScrolled(QWheelEvent *event) { m_cursor.Wheel(event); }
    void OnMouseButtonPressed(QMouseEvent *event) { m_cursor.PressMouse(event); }
    void OnMouseButtonReleased(QMouseEvent *) { m_cursor.ReleaseMouse(); }
    void OnMouseMoved(QMouseEvent *event) { m_cursor.DragMouse(event); }
    void OnKeyEvent(QKeyEvent *event);
    void OnKeyUpPressed(QKeyEvent *event) { m_cursor.Move(MemKey::Up, event); }
    void OnKeyDownPressed(QKeyEvent *event) { m_cursor.Move(MemKey::Down, event); }
    void OnKeyRightPressed(QKeyEvent *event) { m_cursor.Move(MemKey::Right, event); }
    void OnKeyLeftPressed(QKeyEvent *event) { m_cursor.Move(MemKey::Left, event); }
    void OnKeyPageUpPressed(QKeyEvent *event) { m_cursor.Move(MemKey::PageUp, event); }
    void OnKeyPageDownPressed(QKeyEvent *event) { m_cursor.Move(MemKey::PageDown, event); }
    void OnHomeKeyPressed(QKeyEvent *event) { m_cursor.Move(MemKey::RowHome, event); }
    void OnEndKeyPressed(QKeyEvent *event) { m_cursor.Move(MemKey::RowEnd, event); }
    void OnKeyPastePressed(QKeyEvent *) { OnActionPasteTriggered(); }
    void OnEscapeKeyPressed(QKeyEvent *) { m_cursor.ClearSelection(); }
    void OnKeyOtherPressed(QKeyEvent *event) { m_edit.Type(event); }
    void OnKeyPageUpReleased() { m_cursor.ReleasePageKey(); }
    void OnKeyPageDownReleased() { m_cursor.ReleasePageKey(); }
    void OnAddrBoxEditingFinished() { m_commands.EnterAddress(); }
    void OnRefreshRateChanged() { m_refresh.TakeBoxRow(); }
    void OnItemFormatChanged() { m_page.Refresh(PageRead::Whole); }
    void OnItemEditingFinished() { m_edit.TakeEdited(); }
    void OnSizeChanged(int widthPx, int heightPx) { m_page.ResizeView(widthPx, heightPx); }
    void OnScrollbarActionTriggered(int action) { m_bar.Act(action); }
    void OnActionPasteTriggered() { m_commands.Run(MemCommand::Paste); }
    void OnActionViewDataTriggered() { m_commands.Run(MemCommand::ViewData); }
    void OnActionViewFormatTriggered() { m_commands.Run(MemCommand::ViewFormat); }
    void OnActionAccessWidthTriggered() { m_commands.Run(MemCommand::AccessWidth); }
    void OnActionGotoTriggered() { m_commands.Run(MemCommand::Goto); }
    void OnActionFillTriggered() { m_commands.Run(MemCommand::Fill); }
    void OnActionLoadTriggered() { m_commands.Run(MemCommand::Load); }
    void OnActionSaveTriggered() { m_commands.Run(MemCommand::Save); }
    void OnActionAutoRefreshTriggered() { m_commands.ChooseRefresh(); }
    void OnActionShowToolbarTriggered() { m_commands.ShowToolBar(); }
    void OnActionCopyTriggered() { OnActionCopyHexTriggered(); }
    void OnActionCopyHexTriggered() { m_commands.Run(MemCommand::CopyHex); }
    void OnActionCopyTextTriggered() { m_commands.Run(MemCommand::CopyText); }
    void OnActionCopyBinaryTriggered() { m_commands.Run(MemCommand::CopyBinary); }
    void OnActionCopyIntListTriggered() { m_commands.Run(MemCommand::CopyIntList); }
    void OnActionGoBackTriggered() { m_commands.Run(MemCommand::GoBack); }
    void OnAutoUpdateTimerTimeout() { m_page.Tick(); }
    void OnEditUpdateTimerTimeout() { m_edit.WriteDue(); }
    void OnAutoScrollSelectionTimerTimeout() { m_cursor.AutoScroll(m_surface.Viewport()); }
    void OnResizeTimerTimeout() { m_page.ViewIsReady(); }
    void OnScrollbarReleased() { m_page.EndDrag(); }
    void OnToolbarChevronClicked() { m_commands.OpenMenuAtMouse(); }
    void OnContextMenuRequested(QPoint position) { m_commands.OpenMenu(position); }
    void OnMemZoneMenuActionTriggered(QAction *action) { m_commands.TakeZone(action); }
    void OnDragEnter(QDragEnterEvent *event) { m_commands.OfferDrop(event); }
    void OnDragDrop(QDropEvent *event) { m_commands.TakeDrop(event); }

protected:
    void changeEvent(QEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private:
    void BuildLayout();
    void ConnectOwners();
    void ConnectWidgets();
    void ConnectActions();
    bool ViewportEvent(QEvent *event);
    bool ViewEvent(QEvent *event);

    // In the order in which they are built; an owner uses only those above it.
    TargetAccess m_target;
    MemActions m_actions;
    MemoryPage m_page;
    ViewSurface m_surface;
    AddressScrollBar &m_bar;
    CursorControl m_cursor;
    EditSession m_edit;
    MemToolBar &m_toolBar;
    RefreshChoice m_refresh;
    MemCommands m_commands;
    AccessibleGrid m_accessible;
};
