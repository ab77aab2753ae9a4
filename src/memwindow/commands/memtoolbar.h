#pragma once

#include <QToolBar>

class AddressBox;
class MemActions;
class QAbstractButton;

/// The memory window's tool bar: the address box and the buttons of the actions. The refresh
/// controls are added behind them by RefreshChoice.
class MemToolBar : public QToolBar {
    Q_OBJECT

public:
    MemToolBar(const MemActions &actions, QWidget *parent);

    [[nodiscard]] AddressBox &Addresses() const { return *m_addressBox; }
    /// The button that appears while not all of the bar fits; null in a style without one.
    [[nodiscard]] QAbstractButton *ExtensionButton() const;

private:
    AddressBox *m_addressBox;
};
