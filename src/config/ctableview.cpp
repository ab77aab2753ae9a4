#include "ctableview.h"

#include "cdevicedatamodel.h"
#include "cdeviceitemdelegate.h"

#include <QComboBox>
#include <QCoreApplication>
#include <QHeaderView>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <QStyledItemDelegate>

#include <utility>

namespace {

constexpr QColor kDisabledHighlight(10, 36, 106);

void PressArrowOf(QComboBox *box)
{
    const QPointF arrow(QPoint(box->width() - kFilterArrowPx / 2, box->height() / 2));
    QMouseEvent press(QEvent::MouseButtonPress, arrow, box->mapToGlobal(arrow), Qt::LeftButton,
        Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(box, &press);
}

/// Paints the filter row where the scrolled table hides it.
class FilterStrip : public QWidget {
public:
    explicit FilterStrip(CTableView *view)
        : QWidget(view)
        , m_view(view)
    {
        setObjectName(QStringLiteral("pFilterStrip"));
        setCursor(Qt::IBeamCursor);
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        const QAbstractItemModel *model = m_view->model();
        painter.setPen(GridColor());
        for (int column = 0; model != nullptr && column < model->columnCount(); ++column) {
            const int leftPx = m_view->columnViewportPosition(column);
            QStyleOptionViewItem option;
            option.initFrom(m_view);
            option.state = QStyle::State_Enabled; // the strip never has the focus
            option.displayAlignment = Qt::AlignLeft | Qt::AlignVCenter;
            option.rect = QRect(leftPx, 0, m_view->columnWidth(column) - 1, height() - 1);
            const QModelIndex cell = model->index(kFilterRow, column);
            m_view->itemDelegateForIndex(cell)->paint(&painter, option, cell);
            painter.drawLine(
                option.rect.right() + 1, 0, option.rect.right() + 1, option.rect.bottom());
        }
        painter.drawLine(0, height() - 1, width() - 1, height() - 1);
    }

    void mousePressEvent(QMouseEvent *event) override
    {
        m_view->PressFilter(event->position().toPoint().x());
    }

private:
    /// The colour of the table's own grid lines, which its style decides.
    [[nodiscard]] QColor GridColor() const
    {
        QStyleOptionViewItem option;
        option.initFrom(m_view);
        const int color
            = m_view->style()->styleHint(QStyle::SH_Table_GridLineColor, &option, m_view);
        return QColor::fromRgba(static_cast<QRgb>(color));
    }

    CTableView *m_view;
};

/// Paints the devices. The cell that has the keyboard gets a dotted edge: the usual focus frame is
/// laid over the text and greys it in the selected row's colours.
class DeviceRowDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
        const QModelIndex &index) const override
    {
        QStyleOptionViewItem plain = option;
        plain.state &= ~QStyle::State_HasFocus;
        QStyledItemDelegate::paint(painter, plain, index);
        if ((option.state & QStyle::State_HasFocus) == 0)
            return;
        painter->save();
        painter->setPen(QPen(kSelectedTextColor, 1, Qt::DotLine));
        painter->drawRect(option.rect.adjusted(0, 0, -1, -1));
        painter->restore();
    }
};

/// The view selects nothing of its own; these are the colours that its cells' editors and styles
/// see, the same as those of the selected device.
void SetTablePalette(QWidget *table)
{
    QPalette palette = table->palette();
    for (const auto group : {QPalette::Active, QPalette::Inactive}) {
        palette.setColor(group, QPalette::Highlight, kSelectedRowColor);
        palette.setColor(group, QPalette::HighlightedText, kSelectedTextColor);
    }
    palette.setColor(QPalette::Disabled, QPalette::Highlight, kDisabledHighlight);
    table->setPalette(palette);
}

} // namespace

CTableView::CTableView(QWidget *parent)
    : QTableView(parent)
    , m_filterStrip(new FilterStrip(this))
{
    m_filterStrip->hide();
    setItemDelegate(new DeviceRowDelegate(this));
    setSelectionMode(NoSelection);
    setSelectionBehavior(SelectRows);
    setVerticalScrollMode(ScrollPerPixel);
    setHorizontalScrollMode(ScrollPerPixel);
    setEditTriggers(AllEditTriggers); // only the filter row can be edited, at the first touch
    setContextMenuPolicy(Qt::CustomContextMenu);
    setTabKeyNavigation(false); // Tab leads on to the buttons
    setWordWrap(false);
    SetTablePalette(this);
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->hide();
    horizontalHeader()->setHighlightSections(false);
    horizontalHeader()->setStretchLastSection(true);
    horizontalHeader()->setSortIndicator(-1, Qt::AscendingOrder); // the library's order at first
    setSortingEnabled(true);
}

void CTableView::SetRowHeight(int heightPx)
{
    verticalHeader()->setMinimumSectionSize(heightPx);
    verticalHeader()->setDefaultSectionSize(heightPx);
    horizontalHeader()->setFixedHeight(heightPx);
}

void CTableView::setModel(QAbstractItemModel *newModel)
{
    if (model() != nullptr)
        disconnect(model(), nullptr, m_filterStrip, nullptr);
    QTableView::setModel(newModel);
    const auto repaint = qOverload<>(&QWidget::update);
    if (newModel != nullptr)
        connect(newModel, &QAbstractItemModel::dataChanged, m_filterStrip, repaint);
    connect(horizontalHeader(), &QHeaderView::sectionResized, m_filterStrip, repaint);
}

void CTableView::EditFilter(int column)
{
    if (model() == nullptr || column < 0)
        return;
    const QModelIndex cell = model()->index(kFilterRow, column);
    scrollToTop();
    setCurrentIndex(cell); // opens the editor unless the cell was current before
    if (QWidget *editor = indexWidget(cell))
        editor->setFocus();
    else
        edit(cell);
}

void CTableView::SortByCurrentColumn()
{
    const int column = currentIndex().column();
    if (column < 0)
        return;
    const QHeaderView *header = horizontalHeader();
    const bool isAscending = header->sortIndicatorSection() == column
        && header->sortIndicatorOrder() == Qt::AscendingOrder;
    sortByColumn(column, isAscending ? Qt::DescendingOrder : Qt::AscendingOrder);
}

void CTableView::PressFilter(int xPx)
{
    const int column = columnAt(xPx);
    EditFilter(column);
    if (column < 0 || xPx < columnViewportPosition(column) + columnWidth(column) - kFilterArrowPx)
        return;
    // The press is passed on to the box after the table has handled it: the box keeps its list open
    // at the release of the button only if its own arrow was pressed.
    auto *const box = qobject_cast<QComboBox *>(indexWidget(model()->index(kFilterRow, column)));
    if (box != nullptr)
        QMetaObject::invokeMethod(
            box, [box] { PressArrowOf(box); }, Qt::QueuedConnection);
}

void CTableView::scrollTo(const QModelIndex &index, ScrollHint hint)
{
    QTableView::scrollTo(index, hint);
    // The strip covers the first line of a scrolled table: uncover the row wanted.
    const int hiddenPx = FilterRowHeightPx() - visualRect(index).top();
    if (index.isValid() && index.row() != kFilterRow && hiddenPx > 0)
        verticalScrollBar()->setValue(verticalScrollBar()->value() - hiddenPx);
}

void CTableView::mousePressEvent(QMouseEvent *event)
{
    QTableView::mousePressEvent(event);
    emit Clicked(event->position().toPoint(), static_cast<int>(event->button()));
}

void CTableView::mouseDoubleClickEvent(QMouseEvent *event)
{
    QTableView::mouseDoubleClickEvent(event);
    emit DoubleClicked(event->position().toPoint(), static_cast<int>(event->button()));
}

void CTableView::updateGeometries()
{
    QTableView::updateGeometries();
    PlaceFilterStrip();
}

void CTableView::scrollContentsBy(int dx, int dy)
{
    QTableView::scrollContentsBy(dx, dy);
    PlaceFilterStrip();
}

int CTableView::FilterRowHeightPx() const
{
    return model() != nullptr && model()->rowCount() > kFilterRow ? rowHeight(kFilterRow) : 0;
}

void CTableView::PlaceFilterStrip()
{
    const QRect shown = viewport()->geometry();
    m_filterStrip->setGeometry(shown.x(), shown.y(), shown.width(), FilterRowHeightPx());
    m_filterStrip->setVisible(verticalScrollBar()->value() > 0);
    m_filterStrip->raise();
    m_filterStrip->update();
}
