#pragma once

#include "addresshistory.h"
#include "changeages.h"
#include "clipboardformats.h"
#include "dirtyrows.h"
#include "memactions.h"
#include "memtransfer.h"
#include "navigation.h"
#include "pendingwrites.h"
#include "rowcache.h"
#include "rowpainter.h"
#include "selection.h"
#include "targetaccess.h"
#include "viewgeometry.h"
#include "wheelnotches.h"
#include "windowslots.h"

#include <QElapsedTimer>
#include <QMainWindow>
#include <QPoint>
#include <QRegion>

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

class AddressBox;
class AddressScrollBar;
class CEditOverlay;
class CMemDialog;
class QAbstractButton;
class QAction;
class QComboBox;
class QDragEnterEvent;
class QDropEvent;
class QKeyEvent;
class QMenu;
class QMimeData;
class QMouseEvent;
class QPainter;
class QPlainTextEdit;
class QTimer;
class QToolBar;
class QWheelEvent;
enum class MemDialogMode : int;
struct ItemEdit;

/// Which of the optional commands a memory window shows.
inline constexpr std::uint32_t kFeatureRefresh = 1U << 0;     ///< the periodic refresh
inline constexpr std::uint32_t kFeatureLoad = 1U << 1;        ///< loading a file
inline constexpr std::uint32_t kFeatureAccessWidth = 1U << 2; ///< the choice of the access width

/// The memory window: a live view of target memory as addresses, items and text.
///
/// Owns the pieces that know geometry, cache, navigation and drawing, routes Qt's events to them
/// and repaints the rows that changed. It reaches the target through the host's callbacks only,
/// on the GUI thread.
class CHexEditor : public QMainWindow {
    Q_OBJECT

public:
    explicit CHexEditor(QWidget *parent = nullptr);
    ~CHexEditor() override;

    void SetCallbacks(const MemoryCallbacks &callbacks);
    /// @param flags  kFeatureRefresh and so on
    void SetFeatureFlags(std::uint32_t flags);
    /// Starts the periodic refresh; below 1 ms it stops.
    void SetRefreshInterval(int intervalMs);
    /// Byte order of 2- and 4-byte items; little-endian until a host says otherwise.
    void SetBigEndian(bool bigEndian);
    /// Paints every row again; reads nothing.
    void InvalidateView();
    /// Reads the page on screen again and repaints what changed.
    void UpdateFromTarget();

    [[nodiscard]] std::uint32_t BytesPerRow() const { return m_geometry.BytesPerRow(); }
    [[nodiscard]] std::uint32_t VisibleRows() const { return m_geometry.VisibleRows(); }
    [[nodiscard]] std::uint64_t BytesPerPage() const { return m_geometry.BytesPerPage(); }
    [[nodiscard]] int BytesPerItem() const { return m_geometry.BytesPerItem(); }
    [[nodiscard]] std::uint64_t BaseAddress() const { return m_baseAddress; }

    /// Reads with fallbacks, see TargetAccess::Read.
    int ReadTarget(
        std::uint64_t address, std::uint64_t length, std::uint8_t *bytes, ByteStatus *status);
    int WriteTarget(std::uint64_t address, std::uint64_t length, const std::uint8_t *bytes);
    /// @return kInCache or kOutsideCache, see RowCache::ReadCached
    int ReadCached(
        std::uint64_t address, std::uint64_t length, std::uint8_t *bytes, ByteStatus *status) const;
    /// @return the item at the address, or -1 when it is not wholly in the cache
    [[nodiscard]] std::int64_t CachedItemValue(std::uint64_t address) const;

    /// Shows the row that holds the address at the top, now or as soon as the window has a size.
    void GoTo(std::uint64_t address, bool placeCursor, bool pushHistory);
    /// @param rows  > 0 towards lower addresses
    void ScrollRows(int rows);
    void SetBytesPerItem(int bytesPerItem); ///< 1, 2 or 4
    /// @param bytes  0 (the host chooses), 1, 2 or 4
    void SetAccessWidth(std::uint8_t bytes);
    /// Makes the choice with this text current, "off" when there is none; an empty text does
    /// nothing.
    void SelectRefreshText(const QString &text);
    /// The zone of all reads and writes; "Default" and "" are the target's default memory.
    void SetZone(const QString &name);
    void AddZoneMenu(QMenu *menu);
    void UpdateWindowTitle();

public slots:
    bool eventFilter(QObject *watched, QEvent *event) override;
    bool OnPaint(QWidget *widget);
    void OnShow();
    void OnMouseWheelScrolled(QWheelEvent *event);
    void OnMouseButtonPressed(QMouseEvent *event);
    void OnMouseButtonReleased(QMouseEvent *event);
    void OnMouseMoved(QMouseEvent *event);
    void OnKeyEvent(QKeyEvent *event);
    void OnKeyUpPressed(QKeyEvent *event);
    void OnKeyDownPressed(QKeyEvent *event);
    void OnKeyRightPressed(QKeyEvent *event);
    void OnKeyLeftPressed(QKeyEvent *event);
    void OnKeyPageUpPressed(QKeyEvent *event);
    void OnKeyPageDownPressed(QKeyEvent *event);
    void OnHomeKeyPressed(QKeyEvent *event);
    void OnEndKeyPressed(QKeyEvent *event);
    void OnKeyPastePressed(QKeyEvent *event);
    void OnEscapeKeyPressed(QKeyEvent *event);
    void OnKeyOtherPressed(QKeyEvent *event);
    void OnKeyPageUpReleased();
    void OnKeyPageDownReleased();
    void OnAddrBoxEditingFinished();
    void OnRefreshRateChanged();
    void OnItemFormatChanged();
    void OnItemEditingFinished();
    void OnSizeChanged(int widthPx, int heightPx);
    void OnScrollbarActionTriggered(int action);
    void OnActionPasteTriggered();
    void OnActionViewDataTriggered();
    void OnActionViewFormatTriggered();
    void OnActionAccessWidthTriggered();
    void OnActionGotoTriggered();
    void OnActionFillTriggered();
    void OnActionLoadTriggered();
    void OnActionSaveTriggered();
    void OnActionAutoRefreshTriggered();
    void OnActionShowToolbarTriggered();
    void OnActionCopyTriggered();
    void OnActionCopyHexTriggered();
    void OnActionCopyTextTriggered();
    void OnActionCopyBinaryTriggered();
    void OnActionCopyIntListTriggered();
    void OnActionGoBackTriggered();
    void OnAutoUpdateTimerTimeout();
    void OnEditUpdateTimerTimeout();
    void OnAutoScrollSelectionTimerTimeout();
    void OnResizeTimerTimeout();
    void OnScrollbarReleased();
    void OnToolbarChevronClicked();
    void OnContextMenuRequested(QPoint position);
    void OnMemZoneMenuActionTriggered(QAction *action);
    void OnDragEnter(QDragEnterEvent *event);
    void OnDragDrop(QDropEvent *event);

protected:
    void changeEvent(QEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private:
    enum class PageRead { Whole, Missing };

    // Construction (chexeditor_setup.cpp)
    void BuildWidgets();
    void BuildToolBar();
    void BuildRefreshControls();
    void ConnectSignals();
    void ConnectActions();
    void ShowRefreshControls(bool visible);
    void SetViewFont(const QFont &applicationFont);

    // Reading and repainting (chexeditor_refresh.cpp)
    void RefreshPage(PageRead which);
    void MoveCacheToPage();
    void ClearCache();
    void ShowPageAt(std::uint64_t base);
    void RepaintDirtyRows();
    void RepaintRowOf(std::uint64_t address);
    void ScrollPixels(std::uint64_t oldBase);
    void UpdateGeometry();
    void UpdateScrollBar();
    void SyncColours();
    void PaintRow(QPainter &painter, std::uint32_t row);

    // Cursor and selection (chexeditor_navigation.cpp)
    bool ViewportEvent(QEvent *event);
    bool ViewEvent(QEvent *event);
    [[nodiscard]] CellMap Cells() const;
    [[nodiscard]] Navigation Keys() const;
    void MoveCursor(const EditCursor &cursor, bool extendSelection);
    void FollowKey(const CursorMove &move, const QKeyEvent *event);
    void FollowPageKey(const CursorMove &move, const QKeyEvent *event);
    [[nodiscard]] EditCursor CursorAt(const QPoint &position) const;
    void ShowFirstPage();
    void ShowLastPage();

    // Typing (chexeditor_editing.cpp)
    void TypeText(const QString &typed, bool isBackspace);
    void TypeDigit(const QString &typed, bool isBackspace);
    void OpenOverlay(std::uint64_t item, const ItemEdit &edit);
    void PlaceOverlay();
    void RevealCursor();
    [[nodiscard]] std::optional<std::uint64_t> EditedItemValue(std::uint64_t item) const;
    [[nodiscard]] EditCursor CursorInItem(std::uint64_t item, int position) const;
    void FinishEdit();
    void WritePending();
    void SettleEdits();

    // Jumps and their history (chexeditor_goto.cpp)
    void PushBack(std::uint64_t address);
    void UpdateBackAction();
    [[nodiscard]] QString AskForAddress();

    // Clipboard, files and fill (chexeditor_transfer.cpp)
    using ColumnCopier = std::optional<QString>(
        const RowLayout &, std::uint64_t, std::uint64_t, const RowReader &);
    void CopyColumn(ColumnCopier *copyRows, const QString &form);
    void ReportNothingToCopy();
    void Copied(std::unique_ptr<QMimeData> contents, const QString &form);
    [[nodiscard]] std::optional<QByteArray> ReadSelectionBytes();
    [[nodiscard]] MemRange SelectedRange() const;
    [[nodiscard]] MemRange CommandRange() const;
    [[nodiscard]] CMemDialog *AskForRange(
        MemDialogMode mode, MemRange range, const QString &fileName);
    void LoadFile(const QString &fileName);
    void ShowWritten(MemRange range);

    // Menu, drops and settings (chexeditor_commands.cpp)
    [[nodiscard]] QAbstractButton *ExtensionButton() const;
    void OpenMenuAtCursor();
    [[nodiscard]] bool AcceptsDrop(const QMimeData &contents) const;
    void LoadSettings();
    void SaveSettings() const;

    MemActions m_actions;
    TargetAccess m_target;
    ViewGeometry m_geometry;
    WindowSlot m_slot; // before the cache, which lives in its memory
    RowCache m_cache;
    ChangeAges m_ages;
    DirtyRows m_dirtyRows; // rows that the running refresh found changed
    Selection m_selection;
    EditCursor m_cursor;
    PendingWrites m_pending;
    AddressHistory m_history;
    QString m_lastInputText; // of the "Go To" dialog
    WheelNotches m_wheel;
    RowPainter m_rowPainter;
    ComposedLine m_line;
    std::vector<std::uint8_t> m_scratchData; // bytes on their way into the cache
    std::vector<ByteStatus> m_scratchStatus;
    std::vector<std::uint8_t> m_rowData; // a row that the cache holds only in part
    std::vector<ByteStatus> m_rowStatus;
    std::vector<QRect> m_repaintRects;

    std::uint64_t m_baseAddress = 0;      // of the top row
    std::uint64_t m_requestedAddress = 0; // what the last jump asked for
    std::uint64_t m_editedItem = 0;       // under the edit box while it is open
    QElapsedTimer m_sinceMenuClosed;      // the clock on the wall may jump back
    std::uint32_t m_featureFlags = 0;
    QPoint m_pressPoint;
    QRegion m_paintRegion; // of the paint event under way
    bool m_bigEndian = false;
    bool m_jumpPending = false; // the last jump waits for the window to have a size
    bool m_enteringAddress = false;
    bool m_refreshing = false;
    bool m_settingFont = false;
    bool m_selecting = false;   // a mouse drag is under way
    bool m_pageKeyHeld = false; // the page moved without being read

    QPlainTextEdit *m_pView = nullptr; // painting surface; its viewport's events come here
    AddressScrollBar *m_pScrollBar = nullptr;
    CEditOverlay *m_pOverlay = nullptr;
    QToolBar *m_pToolBar = nullptr;
    AddressBox *m_pAddressBox = nullptr;
    QComboBox *m_pRefreshBox = nullptr;
    QAction *m_pRefreshLabelAction = nullptr; // the label and the box in the tool bar
    QAction *m_pRefreshBoxAction = nullptr;
    QTimer *m_pAutoUpdateTimer = nullptr;
    QTimer *m_pEditUpdateTimer = nullptr;
    QTimer *m_pAutoScrollTimer = nullptr;
    QTimer *m_pResizeTimer = nullptr;
};
