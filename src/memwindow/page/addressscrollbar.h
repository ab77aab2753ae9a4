#pragma once

#include "viewgeometry.h"
#include "wheelnotches.h"

#include <QRect>
#include <QScrollBar>

#include <cstdint>

/// The scroll bar over the address space.
///
/// Every movement (arrows, page areas, wheel, its menu, the handle) is reported as one requested
/// address; ShowPage then shows where the page really is. It is repainted only when the handle
/// moves by a pixel: scrolling by a row hardly ever does that in a space of 2^32 addresses.
class AddressScrollBar : public QScrollBar {
    Q_OBJECT

public:
    explicit AddressScrollBar(QWidget *parent);

    /// Shows the page. While the handle is held it stays under the mouse.
    /// @param geometry  how far the bar's steps go; must outlive the bar
    void ShowPage(std::uint64_t base, const ViewGeometry &geometry);
    /// Carries out what actionTriggered has reported.
    /// @param action  a QAbstractSlider::SliderAction
    void Act(int action);

signals:
    /// @param isDrag  the handle is held: the address need not be that of a row, and more follow
    void AddressWanted(quint64 address, bool isDrag);

protected:
    void sliderChange(SliderChange change) override;
    void wheelEvent(QWheelEvent *event) override;

private:
    [[nodiscard]] QRect HandleRect() const;
    [[nodiscard]] std::uint64_t AddressOf(int action) const;
    void WantRows(std::int64_t rows);

    const ViewGeometry *m_geometry = nullptr;
    std::uint64_t m_base = 0; // of the page
    bool m_isShowing = false; // the value changes because the page has moved
    WheelNotches m_wheel;
    QRect m_paintedHandle;
};
