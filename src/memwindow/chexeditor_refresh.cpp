#include "addressscrollbar.h"
#include "ceditoverlay.h"
#include "chexeditor.h"
#include "linecomposer.h"
#include "scrollmap.h"

#include <QApplication>
#include <QPainter>
#include <QPlainTextEdit>
#include <QScopedValueRollback>

#include <algorithm>
#include <cmath>

void CHexEditor::UpdateGeometry()
{
    m_geometry.SetViewSize(m_pView->width(), m_pView->height());
    m_dirtyRows.Reset(m_geometry.VisibleRows());
    m_rowData.resize(m_geometry.BytesPerRow());
    m_rowStatus.resize(m_geometry.BytesPerRow());
}

void CHexEditor::InvalidateView()
{
    m_pView->viewport()->update();
}

void CHexEditor::UpdateFromTarget()
{
    RefreshPage(PageRead::Whole);
}

void CHexEditor::OnAutoUpdateTimerTimeout()
{
    m_ages.Age();
    m_ages.MarkAgedRows(BytesPerRow(), m_dirtyRows);
    RefreshPage(PageRead::Whole);
}

void CHexEditor::ClearCache()
{
    m_cache.Clear();
    m_ages.MoveTo({});
}

void CHexEditor::MoveCacheToPage()
{
    m_cache.MoveTo(m_geometry.PageAt(m_baseAddress));
    m_ages.MoveTo(m_cache.Range());
}

/// One read of the page, or of the part of it that scrolling has brought into view, and a repaint
/// of the rows that look different afterwards.
void CHexEditor::RefreshPage(PageRead which)
{
    if (m_refreshing) // a message box of the host runs events
        return;
    const QScopedValueRollback<bool> guard(m_refreshing, true);
    const bool wasEmpty = m_cache.IsEmpty();
    const PageRange before = m_cache.Range();
    MoveCacheToPage();
    if (m_cache.IsEmpty() != wasEmpty || m_cache.Range().base != before.base)
        InvalidateView();
    const PageRange wanted = which == PageRead::Whole ? m_cache.Range() : m_cache.MissingRange();
    if (wanted.length > 0) {
        m_scratchData.assign(wanted.length, 0);
        m_scratchStatus.assign(wanted.length, ByteStatus::NotLoaded);
        m_target.Read(wanted.base, m_scratchData, m_scratchStatus, BytesPerRow());
        m_cache.Store(
            wanted.base, m_scratchData, m_scratchStatus, BytesPerRow(), m_ages, m_dirtyRows);
    }
    RepaintDirtyRows();
}

void CHexEditor::RepaintDirtyRows()
{
    if (!m_dirtyRows.Any())
        return;
    const int widthPx = m_pView->viewport()->width();
    const int lineHeight = m_geometry.LineHeight();
    m_repaintRects.clear();
    m_dirtyRows.ForEachRun([&](std::uint32_t first, std::uint32_t count) {
        m_repaintRects.emplace_back(0, int(first) * lineHeight, widthPx, int(count) * lineHeight);
    });
    m_dirtyRows.Reset(m_geometry.VisibleRows());
    QRegion region;
    region.setRects(m_repaintRects.data(), int(m_repaintRects.size()));
    m_pView->viewport()->update(region);
}

void CHexEditor::RepaintRowOf(std::uint64_t address)
{
    const std::int64_t row = Cells().RowOfAddress(address);
    if (row >= 0 && row < std::int64_t{VisibleRows()})
        m_dirtyRows.Mark(std::uint64_t(row));
    RepaintDirtyRows();
}

void CHexEditor::ShowPageAt(std::uint64_t base)
{
    m_pOverlay->HideOverlay();
    m_baseAddress = base;
    MoveCacheToPage();
    InvalidateView();
    UpdateScrollBar();
    UpdateWindowTitle();
}

void CHexEditor::ScrollRows(int rows)
{
    const std::uint64_t oldBase = m_baseAddress;
    const std::uint64_t newBase = Keys().ScrolledBase(rows);
    if (newBase == oldBase)
        return;
    m_pOverlay->HideOverlay();
    m_baseAddress = newBase;
    MoveCacheToPage();
    ScrollPixels(oldBase);
    RefreshPage(PageRead::Missing);
    UpdateScrollBar();
    UpdateWindowTitle();
}

/// Moves the picture with the page where that is exact to the device pixel; Qt then asks for the
/// uncovered rows only.
void CHexEditor::ScrollPixels(std::uint64_t oldBase)
{
    QWidget *viewport = m_pView->viewport();
    const auto distance = std::int64_t(m_baseAddress - oldBase);
    const std::int64_t rows = distance / std::int64_t{BytesPerRow()};
    const std::int64_t deltaPx = -rows * m_geometry.LineHeight();
    const qreal deviceDelta = qreal(deltaPx) * viewport->devicePixelRatioF();
    const bool exact = rows * std::int64_t{BytesPerRow()} == distance
        && deviceDelta == std::floor(deviceDelta) && std::abs(deltaPx) < viewport->height();
    if (exact)
        viewport->scroll(0, int(deltaPx));
    else
        viewport->update();
}

void CHexEditor::UpdateScrollBar()
{
    if (!m_pScrollBar->isSliderDown())
        m_pScrollBar->setValue(SliderOfAddress(m_baseAddress));
}

void CHexEditor::OnScrollbarActionTriggered(int action)
{
    const int rows = int(VisibleRows());
    switch (action) {
    case QAbstractSlider::SliderMove:
        // While the handle is dragged only the addresses follow; the read comes at the release.
        ClearCache();
        ShowPageAt(AddressOfSlider(m_pScrollBar->sliderPosition()));
        if (!m_pScrollBar->isSliderDown())
            RefreshPage(PageRead::Whole);
        return;
    // The bar runs against the rows: scrolling counts rows towards lower addresses.
    case QAbstractSlider::SliderSingleStepAdd:
        ScrollRows(-1);
        break;
    case QAbstractSlider::SliderSingleStepSub:
        ScrollRows(1);
        break;
    case QAbstractSlider::SliderPageStepAdd:
        ScrollRows(1 - rows);
        break;
    case QAbstractSlider::SliderPageStepSub:
        ScrollRows(rows - 1);
        break;
    case QAbstractSlider::SliderToMinimum:
        ShowFirstPage();
        break;
    case QAbstractSlider::SliderToMaximum:
        ShowLastPage();
        break;
    default:
        return;
    }
    // The bar has already stepped by itself; it shows where the page went instead.
    m_pScrollBar->setSliderPosition(SliderOfAddress(m_baseAddress));
}

void CHexEditor::ShowFirstPage()
{
    ShowPageAt(0);
    RefreshPage(PageRead::Missing);
}

void CHexEditor::ShowLastPage()
{
    ShowPageAt(m_geometry.LastPageBase());
    RefreshPage(PageRead::Missing);
}

void CHexEditor::OnScrollbarReleased()
{
    UpdateScrollBar();
    RefreshPage(PageRead::Whole);
}

bool CHexEditor::OnPaint(QWidget *widget)
{
    QWidget *viewport = m_pView->viewport();
    if (widget != viewport)
        return false;
    QPainter painter(widget);
    if (m_cache.IsEmpty() || BytesPerPage() == 0) {
        painter.fillRect(viewport->rect(), m_pView->palette().brush(QPalette::Base));
        return true;
    }
    SyncColours();
    painter.setFont(m_pView->font());
    m_rowPainter.Begin(painter, viewport->width());
    const QRegion region = m_paintRegion.isEmpty() ? QRegion(viewport->rect()) : m_paintRegion;
    // The region's rectangles are sorted by bands, so every touched row comes up once.
    std::int64_t nextRow = 0;
    for (const QRect &rect : region) {
        const std::int64_t lastRow = rect.bottom() / m_geometry.LineHeight();
        std::int64_t row = std::max<std::int64_t>(nextRow, rect.top() / m_geometry.LineHeight());
        for (; row <= lastRow; ++row)
            PaintRow(painter, std::uint32_t(row));
        nextRow = std::max(nextRow, row);
    }
    m_pScrollBar->setMaximum(SliderMaximumForPage(BytesPerPage()));
    return true;
}

void CHexEditor::PaintRow(QPainter &painter, std::uint32_t row)
{
    const std::uint32_t length = BytesPerRow();
    const std::uint64_t address = m_cache.Range().base + std::uint64_t{row} * length;
    const PageRange page = m_cache.Range();
    const bool wholeRow = page.Contains(address) && page.End() - address >= length;
    const bool isTypedOver = m_pending.Touches(address, length);
    const bool copyRow = !wholeRow || isTypedOver;
    if (copyRow)
        static_cast<void>(m_cache.ReadCached(address, m_rowData, m_rowStatus));
    if (isTypedOver) // so that nobody types blindly until the change is written
        m_pending.Overlay(address, m_rowData, m_rowStatus);
    LineComposer(BytesPerItem(), m_bigEndian)
        .ComposeRow(address, length, copyRow ? m_rowData.data() : m_cache.DataAt(address),
            copyRow ? m_rowStatus.data() : m_cache.StatusAt(address),
            m_ages.AgesAt(address, length), m_line);
    const CellMap cells = Cells();
    RowPicture picture{m_line, m_selection.CellsOn(address, length, cells)};
    if (m_cursor.address >= address && m_cursor.address - address < length) {
        picture.cursorHexColumn = cells.HexColumn(m_cursor.address, m_cursor.digit);
        picture.cursorTextColumn = cells.TextColumn(m_cursor.address);
    }
    m_rowPainter.Draw(painter, int(row), picture);
}

void CHexEditor::SyncColours()
{
    constexpr int kSelectionDarkness = 105; // percent
    const QPalette &palette = m_pView->palette();
    m_rowPainter.SetColours({
        .base = palette.color(QPalette::Base).rgb(),
        .text = palette.color(QPalette::Text).rgb(),
        .selection = palette.color(QPalette::AlternateBase).darker(kSelectionDarkness).rgb(),
        .runBackground = QApplication::palette().color(QPalette::Base).rgb(),
        .highlight = palette.color(QPalette::Highlight).rgb(),
        .highlightedText = palette.color(QPalette::HighlightedText).rgb(),
    });
}
