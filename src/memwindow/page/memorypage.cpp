#include "memorypage.h"

#include <QElapsedTimer>
#include <QScopedValueRollback>

#include <algorithm>
#include <utility>

namespace {

constexpr int kReadBudgetMs = 100;
constexpr int kResizeMs = 500;
constexpr int kRestBudgetMs = 20; // keys and clicks come between two of these

} // namespace

MemoryPage::MemoryPage(const TargetAccess &target)
    : m_target(target)
    , m_cache(m_slot.Data(), m_slot.Status())
{
    m_restTimer.setSingleShot(true);
    m_restTimer.setInterval(0);
    m_resizeTimer.setSingleShot(true);
    connect(&m_restTimer, &QTimer::timeout, this, [this] { GoOnReading(kRestBudgetMs); });
}

void MemoryPage::ShowView()
{
    m_resizeTimer.start(0);
}

void MemoryPage::ResizeView(int widthPx, int heightPx)
{
    emit Resized();
    m_geometry.SetViewSize(widthPx, heightPx);
    Relayout();
    const bool isJustShown = m_resizeTimer.isActive() && m_resizeTimer.interval() == 0;
    if (!isJustShown)
        m_resizeTimer.start(kResizeMs);
}

void MemoryPage::SetCharacterSize(int widthPx, int heightPx)
{
    m_geometry.SetCharacterSize(widthPx, heightPx);
    Relayout();
    emit FontChanged();
    if (!m_cache.IsEmpty())
        m_resizeTimer.start(kResizeMs); // the page holds another number of bytes now
}

void MemoryPage::SetBytesPerItem(int bytesPerItem)
{
    m_geometry.SetBytesPerItem(bytesPerItem);
    Relayout();
}

void MemoryPage::SetBigEndian(bool bigEndian)
{
    m_bigEndian = bigEndian;
    emit AllChanged();
}

/// Rows have another length or number: the page starts at a row again.
void MemoryPage::Relayout()
{
    m_dirtyRows.Reset(m_geometry.VisibleRows());
    const std::uint64_t bytesPerRow = m_geometry.BytesPerRow();
    const std::uint64_t oldBase = m_base;
    AbandonRead();
    if (bytesPerRow != 0)
        m_base = m_wanted - m_wanted % bytesPerRow;
    MoveCache();
    if (m_base != oldBase)
        emit Moved(oldBase);
    emit AllChanged();
}

void MemoryPage::ViewIsReady()
{
    m_viewIsReady = true;
    if (m_jumpWaits)
        Arrive();
    else // a window that is merely shown again still has its page
        Refresh(m_resizeTimer.interval() == 0 ? PageRead::Missing : PageRead::Whole);
}

void MemoryPage::JumpTo(std::uint64_t address, bool placeCursor)
{
    m_requested = address;
    m_wanted = std::min(address, kLastAddress);
    m_jumpPlacesCursor = placeCursor;
    m_jumpWaits = IsWaitingForView();
    if (!m_jumpWaits)
        Arrive();
}

void MemoryPage::Arrive()
{
    if (IsEmpty())
        return;
    m_jumpWaits = false;
    const std::uint64_t target = std::min(m_requested, kLastAddress);
    const std::uint64_t base = target - target % m_geometry.BytesPerRow();
    emit Arrived(base, m_jumpPlacesCursor);
    m_cache.Clear();
    m_ages.MoveTo({}, m_ticking);
    MoveTo(base, PageRead::Whole);
    m_wanted = target;
}

void MemoryPage::MoveTo(std::uint64_t base, PageRead read)
{
    const std::uint64_t oldBase = m_base;
    AbandonRead();
    m_base = base;
    m_wanted = base;
    MoveCache();
    emit Moved(oldBase);
    if (read != PageRead::None)
        Refresh(read);
}

void MemoryPage::ScrollBy(int rows, PageRead read)
{
    const std::uint64_t base = m_geometry.ScrolledBase(m_base, rows);
    if (base != m_base)
        MoveTo(base, read);
}

void MemoryPage::DragTo(std::uint64_t address)
{
    m_cache.Clear();
    m_ages.MoveTo({}, m_ticking);
    MoveTo(address, PageRead::None);
    emit AllChanged();
}

void MemoryPage::EndDrag()
{
    emit AllChanged();
    Refresh(PageRead::Whole);
}

void MemoryPage::MoveCache()
{
    const bool wasEmpty = m_cache.IsEmpty();
    m_cache.MoveTo(Range());
    m_ages.MoveTo(m_cache.Range(), m_ticking);
    if (m_cache.IsEmpty() != wasEmpty)
        emit AllChanged();
}

void MemoryPage::Forget()
{
    AbandonRead();
    m_cache.Clear();
    m_ages.Clear();
    emit AllChanged();
}

void MemoryPage::Hold(bool held)
{
    m_held = held;
    if (held) {
        m_isDue = m_isDue || !m_read.IsDone();
        AbandonRead();
    } else if (std::exchange(m_isDue, false)) {
        Refresh(PageRead::Whole);
    }
}

void MemoryPage::Tick()
{
    if (!m_read.IsDone() || m_held || m_inHost)
        return;
    m_ages.Age();
    m_ages.MarkAgedRows(m_geometry.BytesPerRow(), m_dirtyRows);
    Refresh(PageRead::Whole);
}

void MemoryPage::Refresh(PageRead which)
{
    if (m_inHost) // the host runs events while it reads
        return;
    if (m_held) {
        m_isDue = true;
        return;
    }
    AbandonRead();
    MoveCache();
    BeginRead(which == PageRead::Whole ? m_cache.Range() : m_cache.MissingRange());
}

void MemoryPage::ReadBack(MemRange range)
{
    const PageRange page = m_cache.Range();
    const std::uint64_t first = std::max(range.start, page.base);
    const std::uint64_t end = std::min(range.start + range.length, page.End());
    if (m_inHost || first >= end)
        return;
    if (m_held) {
        m_isDue = true;
        return;
    }
    AbandonRead();
    BeginRead({first, end - first});
}

void MemoryPage::BeginRead(PageRange wanted)
{
    if (wanted.length == 0) {
        emit RowsChanged();
        return;
    }
    if (!m_target.CanRead()) {
        m_target.ReportNoRead();
        emit RowsChanged();
        return;
    }
    m_data.assign(wanted.length, 0);
    m_status.assign(wanted.length, ByteStatus::NotLoaded);
    m_readStart = wanted.base;
    m_stored = 0;
    // A part of the page need not be whole rows.
    m_read = FallbackRead(
        wanted.base, wanted.length, m_geometry.BytesPerRow(), FallbackRead::Remainder::Read);
    GoOnReading(kReadBudgetMs);
}

void MemoryPage::GoOnReading(int budgetMs)
{
    QElapsedTimer whole; // for the periodic refresh alone
    if (m_ticking)
        whole.start();
    QElapsedTimer fallbacks;
    {
        const QScopedValueRollback<bool> inHost(m_inHost, true);
        m_read.Step(m_target, m_data, m_status);
        if (!m_read.IsDone())
            fallbacks.start();
        while (!m_read.IsDone() && !fallbacks.hasExpired(budgetMs))
            m_read.Step(m_target, m_data, m_status);
    }
    StoreSettled();
    if (!m_read.IsDone())
        m_restTimer.start();
    if (m_dirtyRows.Any())
        emit RowsChanged();
    if (whole.isValid())
        emit WasRead(int(whole.elapsed()));
}

void MemoryPage::StoreSettled()
{
    const std::size_t settled = m_read.Settled();
    if (settled == m_stored)
        return;
    const std::size_t count = settled - m_stored;
    m_cache.Store(m_readStart + m_stored, std::span(m_data).subspan(m_stored, count),
        std::span(m_status).subspan(m_stored, count), m_geometry.BytesPerRow(), m_ages,
        m_dirtyRows);
    m_stored = settled;
}

/// Bytes that the read has not reached count as not loaded: they were requested because they may be
/// out of date.
void MemoryPage::AbandonRead()
{
    m_restTimer.stop();
    if (m_read.IsDone())
        return;
    // From the row's start on, so that the next read splits the row into the same words.
    const std::uint64_t rest = m_readStart + m_stored - m_cache.Range().base;
    const std::uint64_t row = rest - rest % std::max(m_geometry.BytesPerRow(), 1U);
    m_cache.Forget(m_cache.Range().base + row, m_data.size() - m_stored + rest - row);
    m_read = {};
    emit AllChanged();
}

void MemoryPage::RepaintRow(std::uint64_t address)
{
    const std::int64_t row = Cells().RowOfAddress(address);
    if (row >= 0 && row < std::int64_t{m_geometry.VisibleRows()})
        m_dirtyRows.Mark(std::uint64_t(row));
    emit RowsChanged();
}

void MemoryPage::RepaintAll()
{
    emit AllChanged();
}
