#include "viewsurface.h"

#include "viewfont.h"

#include <QApplication>
#include <QFontMetrics>
#include <QPainter>
#include <QPlainTextEdit>
#include <QTextDocument>

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

QPlainTextEdit *CreateWidget(QWidget *parent, int leftMarginPx)
{
    auto *view = new QPlainTextEdit(parent);
    view->setObjectName(QStringLiteral("pTextEditor"));
    view->setAccessibleName(QObject::tr("Memory"));
    // The widget is only painted on: it has no text, no blinking text cursor and no scroll bars.
    view->setReadOnly(true);
    view->setTextInteractionFlags(Qt::NoTextInteraction);
    view->setUndoRedoEnabled(false);
    view->setLineWrapMode(QPlainTextEdit::NoWrap);
    view->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    view->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    view->setContextMenuPolicy(Qt::NoContextMenu); // the window's own menu opens instead
    view->setFocusPolicy(Qt::StrongFocus);
    view->setTabChangesFocus(true);
    view->setAcceptDrops(true);
    view->document()->setDocumentMargin(leftMarginPx);
    view->viewport()->setAcceptDrops(true);
    view->viewport()->setAttribute(Qt::WA_OpaquePaintEvent);
    view->viewport()->setCursor(Qt::IBeamCursor);
    return view;
}

} // namespace

ViewSurface::ViewSurface(QWidget *parent, MemoryPage &page)
    : m_page(page)
    , m_widget(CreateWidget(parent, page.Geometry().LeftMargin()))
{
    m_rowPainter.SetLeftMargin(page.Geometry().LeftMargin());
    connect(&page, &MemoryPage::RowsChanged, this, &ViewSurface::RepaintRows);
    connect(&page, &MemoryPage::AllChanged, this, &ViewSurface::RepaintAll);
    connect(&page, &MemoryPage::Moved, this, &ViewSurface::FollowPage);
}

void ViewSurface::SetMarks(const RowMarks &marks, const TypedBytes &typed)
{
    m_marks = &marks;
    m_typed = &typed;
}

QWidget *ViewSurface::Viewport() const
{
    return m_widget->viewport();
}

bool ViewSurface::HasFocus() const
{
    const QWidget *focus = QApplication::focusWidget();
    return focus != nullptr && (focus == m_widget || m_widget->isAncestorOf(focus));
}

void ViewSurface::SetFont(const QFont &applicationFont)
{
    const QFont fixedPitch = FixedPitchFont(applicationFont);
    const QFont grid = GridFont(fixedPitch);
    const int widthPx = CharacterWidth(fixedPitch);
    const int heightPx = QFontMetrics(fixedPitch).height();
    m_rowPainter.SetFont(grid, widthPx, heightPx);
    m_widget->setFont(grid);
    m_widget->setMinimumWidth(ViewGeometry::kMinimumChars * widthPx);
    m_page.SetCharacterSize(widthPx, heightPx);
}

void ViewSurface::RepaintAll()
{
    Viewport()->update();
}

void ViewSurface::RepaintRows()
{
    DirtyRows &rows = m_page.RowsToRepaint();
    if (!rows.Any())
        return;
    const int widthPx = Viewport()->width();
    const int lineHeight = m_page.Geometry().LineHeight();
    m_repaintRects.clear();
    rows.ForEachRun([&](std::uint32_t first, std::uint32_t count) {
        m_repaintRects.emplace_back(0, int(first) * lineHeight, widthPx, int(count) * lineHeight);
    });
    rows.Reset(m_page.Geometry().VisibleRows());
    QRegion region;
    region.setRects(m_repaintRects.data(), int(m_repaintRects.size()));
    Viewport()->update(region);
}

/// After a scroll Qt asks for the uncovered rows only.
void ViewSurface::FollowPage(std::uint64_t oldBase)
{
    QWidget *viewport = Viewport();
    const auto bytesPerRow = std::int64_t{m_page.Geometry().BytesPerRow()};
    const auto distance = std::int64_t(m_page.Base() - oldBase);
    const std::int64_t rows = bytesPerRow == 0 ? 0 : distance / bytesPerRow;
    const std::int64_t deltaPx = -rows * m_page.Geometry().LineHeight();
    const qreal deviceDelta = qreal(deltaPx) * viewport->devicePixelRatioF();
    const bool exact = bytesPerRow != 0 && rows * bytesPerRow == distance
        && deviceDelta == std::floor(deviceDelta) && std::abs(deltaPx) < viewport->height();
    if (exact)
        viewport->scroll(0, int(deltaPx));
    else
        viewport->update();
}

QPoint ViewSurface::PlaceOf(std::uint64_t address, int column) const
{
    const ViewGeometry &geometry = m_page.Geometry();
    return {geometry.LeftMargin() + column * geometry.CharacterWidth(),
        int(m_page.Cells().RowOfAddress(address)) * geometry.LineHeight()};
}

bool ViewSurface::Paint(const QWidget *widget)
{
    QWidget *viewport = Viewport();
    if (widget != viewport)
        return false;
    const QRegion exposed = std::exchange(m_exposed, {});
    QPainter painter(viewport);
    if (m_page.Cache().IsEmpty() || m_page.IsEmpty()) {
        painter.fillRect(viewport->rect(), m_widget->palette().brush(QPalette::Base));
        return true;
    }
    SyncColours();
    m_hasFocus = HasFocus();
    painter.setFont(m_widget->font());
    m_rowPainter.Begin(painter, viewport->width());
    const int lineHeight = m_page.Geometry().LineHeight();
    // Qt sorts a region's rectangles from top to bottom, so no row has to be painted twice.
    std::int64_t nextRow = 0;
    for (const QRect &rect : exposed.isEmpty() ? QRegion(viewport->rect()) : exposed) {
        const std::int64_t lastRow = rect.bottom() / lineHeight;
        std::int64_t row = std::max<std::int64_t>(nextRow, rect.top() / lineHeight);
        for (; row <= lastRow; ++row)
            PaintRow(painter, std::uint32_t(row));
        nextRow = std::max(nextRow, row);
    }
    return true;
}

void ViewSurface::ComposeRow(std::uint64_t address, ComposedLine &line)
{
    const RowCache &cache = m_page.Cache();
    const std::uint32_t length = m_page.Geometry().BytesPerRow();
    const bool wholeRow
        = cache.Range().Contains(address) && cache.Range().End() - address >= length;
    const bool isTypedOver = m_typed->Touches(address, length);
    const bool copyRow = !wholeRow || isTypedOver;
    if (copyRow) {
        m_rowData.resize(length);
        m_rowStatus.resize(length);
        static_cast<void>(cache.ReadCached(address, m_rowData, m_rowStatus));
    }
    if (isTypedOver)
        m_typed->Overlay(address, m_rowData, m_rowStatus);
    LineComposer(m_page.Geometry().BytesPerItem(), m_page.IsBigEndian())
        .ComposeRow(address, length, copyRow ? m_rowData.data() : cache.DataAt(address),
            copyRow ? m_rowStatus.data() : cache.StatusAt(address),
            m_page.Ages().AgesAt(address, length), line);
}

void ViewSurface::PaintRow(QPainter &painter, std::uint32_t row)
{
    const std::uint64_t address
        = m_page.Cache().Range().base + std::uint64_t{row} * m_page.Geometry().BytesPerRow();
    ComposeRow(address, m_line);
    RowPicture picture{m_line, m_marks->SelectionOn(address)};
    const CursorCells cursor = m_marks->CursorOn(address);
    picture.cursorHexColumn = cursor.hexColumn;
    picture.cursorTextColumn = cursor.textColumn;
    picture.isCursorHollow = !m_hasFocus;
    m_rowPainter.Draw(painter, int(row), picture);
}

void ViewSurface::SyncColours()
{
    constexpr int kSelectionDarkness = 105; // percent
    const QPalette &palette = m_widget->palette();
    m_rowPainter.SetColours({
        .base = palette.color(QPalette::Base).rgb(),
        .text = palette.color(QPalette::Text).rgb(),
        .selection = palette.color(QPalette::AlternateBase).darker(kSelectionDarkness).rgb(),
        .runBackground = QApplication::palette().color(QPalette::Base).rgb(),
        .highlight = palette.color(QPalette::Highlight).rgb(),
        .highlightedText = palette.color(QPalette::HighlightedText).rgb(),
    });
}
