#pragma once

#include <QObject>
#include <QString>
#include <QTimer>

class MemActions;
class MemoryPage;
class QAction;
class QComboBox;
class QToolBar;

/// The interval of the periodic refresh: one value, from which the box, the timer and the window's
/// title derive. A choice made while the box is not visible leaves the value alone and is taken
/// back. GUI thread only.
class RefreshChoice : public QObject {
    Q_OBJECT

public:
    /// Adds its label and box to the tool bar, hidden until Show.
    RefreshChoice(const MemActions &actions, MemoryPage &page, QToolBar &toolBar);

    [[nodiscard]] QComboBox &Box() const { return *m_box; }
    [[nodiscard]] QTimer &Timer() { return m_timer; }
    /// The interval as the title shows it; empty while there is no periodic refresh.
    [[nodiscard]] QString RateText() const;

    /// @param intervalMs  below 1: no periodic refresh
    void SetInterval(int intervalMs);
    /// The user has chosen another row of the box.
    void TakeBoxRow();
    /// Makes the choice with this text current, the last one ("off") when there is none; an empty
    /// text does nothing.
    void SelectText(const QString &text);
    /// Shows or hides the controls. Hiding them stops the refresh.
    void Show(bool visible);
    /// Asks the user with a dialog.
    /// @return the chosen text; empty when there is none, or the window has gone meanwhile
    [[nodiscard]] static QString Ask(
        QWidget *window, const QAction &action, const QComboBox &choices);

signals:
    void Changed();
    /// A choice was taken back, because the box is not visible.
    void NotTaken();

private:
    void Derive();
    void GiveWay(int readMs);

    const MemActions &m_actions;
    MemoryPage &m_page;
    QTimer m_timer;
    QComboBox *m_box;
    QAction *m_labelAction; // the label and the box in the tool bar
    QAction *m_boxAction;
    int m_intervalMs = 0;
    bool m_isDeriving = false; // the box is being set from the value
};
