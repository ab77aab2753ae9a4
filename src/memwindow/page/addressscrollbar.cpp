#include "addressscrollbar.h"

#include "scrollmap.h"

#include <QStyle>
#include <QStyleOptionSlider>

AddressScrollBar::AddressScrollBar(QWidget *parent)
    : QScrollBar(Qt::Vertical, parent)
{
    setRange(kSliderMinimum, kSliderMaximum);
    setValue(kSliderMinimum);
    setAccessibleName(tr("Address"));
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
    if (change == SliderValueChange && handle == m_paintedHandle)
        return;
    m_paintedHandle = handle;
    QScrollBar::sliderChange(change);
}
