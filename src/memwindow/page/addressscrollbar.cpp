#include "addressscrollbar.h"

#include "scrollmap.h"

#include <QScopedValueRollback>
#include <QStyle>
#include <QStyleOptionSlider>
#include <QWheelEvent>

AddressScrollBar::AddressScrollBar(QWidget *parent)
    : QScrollBar(Qt::Vertical, parent)
{
    const QScopedValueRollback<bool> showing(m_isShowing, true);
    setRange(kSliderMinimum, kSliderMaximum);
    setValue(kSliderMinimum);
    setAccessibleName(tr("Address"));
}

void AddressScrollBar::ShowPage(std::uint64_t base, const ViewGeometry &geometry)
{
    m_geometry = &geometry;
    m_base = base;
    const QScopedValueRollback<bool> showing(m_isShowing, true);
    setMaximum(SliderMaximumForPage(geometry.BytesPerPage()));
    if (!isSliderDown())
        setValue(SliderOfAddress(base));
}

/// The base to which an action moves the page. The bar runs against the rows: its "add" goes to
/// higher addresses.
std::uint64_t AddressScrollBar::AddressOf(int action) const
{
    const auto rows = std::int64_t{m_geometry->VisibleRows()};
    switch (action) {
    case SliderSingleStepAdd:
        return m_geometry->ScrolledBase(m_base, -1);
    case SliderSingleStepSub:
        return m_geometry->ScrolledBase(m_base, 1);
    case SliderPageStepAdd:
        return m_geometry->ScrolledBase(m_base, 1 - rows);
    case SliderPageStepSub:
        return m_geometry->ScrolledBase(m_base, rows - 1);
    case SliderToMinimum:
        return 0;
    case SliderToMaximum:
        return m_geometry->LastScrollBase();
    default:
        return m_base;
    }
}

void AddressScrollBar::Act(int action)
{
    if (m_geometry == nullptr)
        return;
    if (action == SliderMove)
        emit AddressWanted(AddressOfSlider(sliderPosition()), isSliderDown());
    else
        emit AddressWanted(AddressOf(action), false);
    // The bar has already stepped by itself; set it to where the page really is.
    ShowPage(m_base, *m_geometry);
}

void AddressScrollBar::WantRows(std::int64_t rows)
{
    if (m_geometry != nullptr && rows != 0)
        emit AddressWanted(m_geometry->ScrolledBase(m_base, rows), false);
}

void AddressScrollBar::wheelEvent(QWheelEvent *event)
{
    event->accept();
    if (event->angleDelta().y() != 0)
        WantRows(m_wheel.RowsFor(event->angleDelta().y()));
}

QRect AddressScrollBar::HandleRect() const
{
    QStyleOptionSlider option;
    initStyleOption(&option);
    return style()->subControlRect(QStyle::CC_ScrollBar, &option, QStyle::SC_ScrollBarSlider, this);
}

void AddressScrollBar::sliderChange(SliderChange change)
{
    const QRect handle = HandleRect();
    if (change != SliderValueChange || handle != m_paintedHandle) {
        m_paintedHandle = handle;
        QScrollBar::sliderChange(change);
    }
    // "Scroll here" of the bar's own menu sets the value and triggers no action.
    const bool isWish = change == SliderValueChange && !m_isShowing && m_geometry != nullptr
        && !isSliderDown() && value() != SliderOfAddress(m_base);
    if (!isWish)
        return;
    const std::uint64_t address = AddressOfSlider(value());
    const std::uint64_t bytesPerRow = std::max(m_geometry->BytesPerRow(), 1U);
    emit AddressWanted(address - address % bytesPerRow, false);
    ShowPage(m_base, *m_geometry);
}
