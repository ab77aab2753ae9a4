#pragma once

#include <QComboBox>
#include <QWheelEvent>

/// A combo box that the wheel does not change while its list is closed: a hand that scrolls the
/// page often rests on it, and a choice here makes the window read.
class QuietComboBox : public QComboBox {
public:
    using QComboBox::QComboBox;

protected:
    void wheelEvent(QWheelEvent *event) override { event->accept(); }
};
