#pragma once

#include <QRect>
#include <QScrollBar>

/// The view's scroll bar: its range covers the address space, so that scrolling by a row hardly
/// ever moves the handle by a pixel. It is repainted only when it does.
class AddressScrollBar : public QScrollBar {
    Q_OBJECT

public:
    explicit AddressScrollBar(QWidget *parent);

protected:
    void sliderChange(SliderChange change) override;

private:
    [[nodiscard]] QRect HandleRect() const;

    QRect m_paintedHandle;
};
