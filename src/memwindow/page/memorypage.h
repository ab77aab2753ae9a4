#pragma once

#include "cellmap.h"
#include "changeages.h"
#include "dirtyrows.h"
#include "fallbackread.h"
#include "rowcache.h"
#include "targetaccess.h"
#include "viewgeometry.h"
#include "windowslots.h"

#include <QObject>
#include <QTimer>

#include <cstdint>
#include <vector>

/// A range of target memory.
struct MemRange {
    std::uint64_t start = 0;
    std::uint64_t length = 0; ///< bytes
};

/// What to read of a page after it has moved.
enum class PageRead {
    Whole,   ///< all of it
    Missing, ///< what is not in the cache
    None,    ///< nothing yet; the caller reads later
};

/// The visible page: which addresses it covers, what is known of their bytes, what is read when.
///
/// The page starts at a row: its base is a multiple of the row length. Only a drag of the scroll
/// bar puts it anywhere. When rows get another length the page still starts at the row of the
/// address that was wanted last. No other code sets the base or reads for the screen.
///
/// A read holds the event loop for its first call and 100 ms of fallbacks at most. The rest is
/// asked for from the event loop until the page is whole or has moved. GUI thread only.
class MemoryPage : public QObject {
    Q_OBJECT

public:
    explicit MemoryPage(const TargetAccess &target);

    [[nodiscard]] const ViewGeometry &Geometry() const { return m_geometry; }
    [[nodiscard]] const RowCache &Cache() const { return m_cache; }
    [[nodiscard]] const ChangeAges &Ages() const { return m_ages; }
    [[nodiscard]] std::uint64_t Base() const { return m_base; } ///< of the top row
    [[nodiscard]] bool IsBigEndian() const { return m_bigEndian; }
    [[nodiscard]] CellMap Cells() const { return {m_geometry, m_base, m_bigEndian}; }
    /// The addresses on show, whether or not anything is known of them.
    [[nodiscard]] PageRange Range() const { return m_geometry.PageAt(m_base); }
    /// The address that the last jump asked for, also beyond the address space.
    [[nodiscard]] std::uint64_t RequestedAddress() const { return m_requested; }
    [[nodiscard]] bool IsEmpty() const { return m_geometry.BytesPerPage() == 0; }

    /// @name The view's size and format. They read nothing.
    /// @{
    void SetCharacterSize(int widthPx, int heightPx);
    void SetBytesPerItem(int bytesPerItem); ///< 1, 2 or 4
    void SetBigEndian(bool bigEndian);
    /// @}

    /// The view is shown; the size that counts arrives with its layout, right after that.
    void ShowView();
    /// The view has another size. It is read once, when the user has stopped resizing it.
    void ResizeView(int widthPx, int heightPx);
    /// Called when ResizeTimer fires: makes the jump that has waited for the view's size, or reads
    /// the page. For a view that was only shown again, reads only what is missing.
    void ViewIsReady();
    [[nodiscard]] QTimer &ResizeTimer() { return m_resizeTimer; }
    /// Shows the row of an address at the top and reads it afresh, at once or as soon as the view
    /// is ready. An address beyond the space shows the last row.
    /// @param placeCursor  passed on by Arrived
    void JumpTo(std::uint64_t address, bool placeCursor);
    /// @return whether JumpTo would have to wait
    [[nodiscard]] bool IsWaitingForView() const { return !m_viewIsReady || IsEmpty(); }
    /// Moves the page. @param base  of a row, or where a drag has left off
    void MoveTo(std::uint64_t base, PageRead read);
    /// Moves the page as far as scrolling goes. @param rows  > 0 towards lower addresses
    void ScrollBy(int rows, PageRead read = PageRead::Missing);
    /// Follows the scroll bar's handle: the addresses move, their bytes are unknown.
    void DragTo(std::uint64_t address);
    /// The handle is released: reads the page.
    void EndDrag();

    /// Reads the page, or what is missing of it. Repaints the rows that look different afterwards.
    void Refresh(PageRead which);
    /// A tick of the periodic refresh: changes fade, then all is read. A read of the page that is
    /// still under way is that refresh already.
    void Tick();
    /// Reads the part of a range that is on show.
    void ReadBack(MemRange range);
    /// Forgets the bytes, their changes as well: what is read next counts as new, not as changed.
    void Forget();
    /// While held nothing is read for the screen; what was asked for is read at the release.
    void Hold(bool held);
    /// Whether a periodic refresh is on. Without one, colours of changed bytes end when the bytes
    /// leave the page, since nothing else would end them.
    void SetTicking(bool ticking) { m_ticking = ticking; }

    /// The row of an address looks different; ignored outside the page.
    void RepaintRow(std::uint64_t address);
    /// Everything looks different: another selection, another byte order.
    void RepaintAll();
    /// The rows to repaint. The view clears the marks when it has taken them.
    [[nodiscard]] DirtyRows &RowsToRepaint() { return m_dirtyRows; }

signals:
    /// The page starts elsewhere now. Sent before anything is read.
    void Moved(quint64 oldBase);
    /// The view has another size.
    void Resized();
    /// Characters have another size; what lies over the page has to be placed again.
    void FontChanged();
    /// A jump has arrived at a row. Sent before the page moves there.
    void Arrived(quint64 base, bool placeCursor);
    /// RowsToRepaint has marks.
    void RowsChanged();
    /// Everything looks different.
    void AllChanged();
    /// A read of this page has taken so long. Sent while a periodic refresh is on.
    void WasRead(int elapsedMs);

private:
    void Relayout();
    void Arrive();
    void MoveCache();
    void BeginRead(PageRange wanted);
    void GoOnReading(int budgetMs);
    void StoreSettled();
    void AbandonRead();

    const TargetAccess &m_target;
    ViewGeometry m_geometry;
    WindowSlot m_slot; // before the cache, which lives in its memory
    RowCache m_cache;
    ChangeAges m_ages;
    DirtyRows m_dirtyRows;

    std::uint64_t m_base = 0;
    std::uint64_t m_wanted = 0; // the page starts at the row of this address
    std::uint64_t m_requested = 0;
    bool m_bigEndian = false;
    bool m_viewIsReady = false;
    bool m_jumpWaits = false;
    bool m_jumpPlacesCursor = false;
    bool m_ticking = false;

    // The read under way; its rest comes from the event loop.
    FallbackRead m_read;
    std::uint64_t m_readStart = 0;
    std::size_t m_stored = 0; // bytes of it that are in the cache
    std::vector<std::uint8_t> m_data;
    std::vector<ByteStatus> m_status;
    QTimer m_restTimer;
    QTimer m_resizeTimer;
    bool m_inHost = false; // a call of the host is under way
    bool m_held = false;
    bool m_isDue = false; // something was to be read while held
};
