#pragma once

#include "quietcombobox.h"

#include <QStringList>

/// The tool bar's box for typed addresses, with a list of those typed before.
///
/// It only keeps the texts; its signals' receiver makes the jump.
class AddressBox : public QuietComboBox {
public:
    explicit AddressBox(QWidget *parent);

    /// Enters a text: normalised, in the line edit and at the head of the list.
    void AddText(QString text);

    /// Replaces the list, each text normalised. The line edit shows the first one.
    void SetItems(const QStringList &items);
    [[nodiscard]] QStringList Items() const; ///< most recent first

    /// The list is being replaced: the changes of the current item mean nothing.
    [[nodiscard]] bool IsRefilling() const { return m_isRefilling; }

    /// The drop-down list is open and may be browsed.
    [[nodiscard]] bool IsListOpen() const;

    /// Whether a choice from the list, just reported as activated, was the text that was current
    /// already. Nothing else reports such a choice.
    [[nodiscard]] bool TakeRepeatedChoice();

    /// Keeps the box wide enough for an address, in whatever font it has now.
    void UpdateMinimumWidth();

    void showPopup() override;
    bool eventFilter(QObject *watched, QEvent *event) override;

protected:
    void changeEvent(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    bool m_isRefilling = false;
    bool m_returnIsHandled = false; // the line edit has handled the key that arrives next
    bool m_hasChanged = false;      // the current item, since the last choice from the list
};
