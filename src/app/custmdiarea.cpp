#include "custmdiarea.h"

#include <QPaintEvent>
#include <QPainter>

CustMDIArea::CustMDIArea(const ImageReference &image, QWidget *parent)
    : QMdiArea(parent)
    , m_image(image)
{
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

void CustMDIArea::paintEvent(QPaintEvent *event)
{
    QMdiArea::paintEvent(event);
    if (viewport() == nullptr || m_image.data == nullptr || m_image.size <= 0)
        return;
    if (m_pixmap.isNull()
        && !m_pixmap.loadFromData(m_image.data, static_cast<uint>(m_image.size), m_image.format))
        return;
    QPainter painter(viewport());
    painter.drawPixmap(
        width() / 2 - m_pixmap.width() / 2, height() / 2 - m_pixmap.height() / 2, m_pixmap);
}
