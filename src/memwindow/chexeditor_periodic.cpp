#include "chexeditor.h"
#include "refreshrates.h"
#include "windowtitle.h"

#include <QAction>
#include <QComboBox>
#include <QInputDialog>
#include <QMenu>
#include <QPlainTextEdit>
#include <QPointer>
#include <QTimer>

#include <algorithm>

void CHexEditor::SetRefreshInterval(int intervalMs)
{
    if (intervalMs >= 1) {
        m_pAutoUpdateTimer->start(intervalMs);
    } else {
        m_pAutoUpdateTimer->stop();
        m_pAutoUpdateTimer->setInterval(0);
    }
}

void CHexEditor::OnRefreshRateChanged()
{
    // Deliberate: a change that nobody sees, such as the first choice while the window is built,
    // leaves the timer alone.
    if (!m_pRefreshBox->isVisible())
        return;
    SetRefreshInterval(kRefreshRates[std::size_t(m_pRefreshBox->currentIndex())].intervalMs);
    UpdateWindowTitle();
}

void CHexEditor::SelectRefreshText(const QString &text)
{
    if (text.isEmpty())
        return;
    const int found = m_pRefreshBox->findText(text, Qt::MatchExactly | Qt::MatchCaseSensitive);
    m_pRefreshBox->setCurrentIndex(found >= 0 ? found : m_pRefreshBox->count() - 1);
}

/// @return the chosen interval's text, empty when the dialog was cancelled or has gone with its
///         window
static QString AskForInterval(QWidget *parent, const QAction &action, const QComboBox &choices)
{
    QStringList texts;
    for (int row = 0; row < choices.count(); ++row)
        texts += choices.itemText(row);
    const QPointer<QInputDialog> dialog = new QInputDialog(parent);
    QString title = action.text();
    dialog->setWindowTitle(title.remove(QLatin1Char('&')).remove(QLatin1String("...")));
    dialog->setWindowIcon(action.icon());
    dialog->setLabelText(CHexEditor::tr("Interval"));
    dialog->setComboBoxItems(texts);
    dialog->setTextValue(choices.currentText());
    const bool accepted = dialog->exec() == QDialog::Accepted;
    QString choice = accepted && dialog ? dialog->textValue() : QString();
    delete dialog;
    return choice;
}

void CHexEditor::OnActionAutoRefreshTriggered()
{
    const QAction *action = m_actions[MemAction::AutoRefresh];
    QString choice;
    if (action->data().typeId() == QMetaType::QStringList) {
        const QStringList choices = action->data().toStringList();
        if (choices.size() != 1)
            return;
        choice = choices.first();
    } else {
        const QPointer<CHexEditor> self = this; // the window may be closed under the dialog
        choice = AskForInterval(this, *action, *m_pRefreshBox);
        if (!self)
            return;
        m_pView->setFocus();
    }
    SelectRefreshText(choice);
    UpdateWindowTitle();
}

void CHexEditor::UpdateWindowTitle()
{
    const std::uint64_t top = m_cache.Range().base;
    const char *rate = m_pAutoUpdateTimer->isActive()
        ? kRefreshRates[std::size_t(m_pRefreshBox->currentIndex())].text
        : nullptr;
    const QString title = WindowTitle(top != 0 ? top : m_baseAddress, rate, m_target.Zone());
    if (title != windowTitle())
        setWindowTitle(title);
}

void CHexEditor::SetZone(const QString &name)
{
    SettleEdits(); // what was typed belongs to the zone it was typed in
    m_target.SetZone(name == QLatin1String("Default") ? QString() : name);
    m_ages.Clear();
    InvalidateView();
    RefreshPage(PageRead::Whole);
    UpdateWindowTitle();
}

void CHexEditor::OnMemZoneMenuActionTriggered(QAction *action)
{
    SetZone(action->text().trimmed());
}

void CHexEditor::AddZoneMenu(QMenu *menu)
{
    if (menu == nullptr || !m_target.HasZones())
        return;
    QString text;
    const int count = m_target.ListZones(text);
    if (count == 0)
        return;
    const QStringList names = text.split(QLatin1Char(','), Qt::SkipEmptyParts);
    auto *zones = new QMenu(tr("Memory &Zone"), menu);
    // A host may claim more zones than it names, or a negative number: then the menu is empty.
    for (int i = 0; i < std::min(count, int(names.size())); ++i) {
        QAction *action = zones->addAction(QLatin1Char(' ') + names.at(i));
        action->setCheckable(true);
        const QString current = m_target.Zone();
        // The first zone stands for the default memory.
        action->setChecked(current.isEmpty() ? i == 0 : names.at(i) == current);
    }
    connect(zones, &QMenu::triggered, this, &CHexEditor::OnMemZoneMenuActionTriggered);
    menu->addMenu(zones);
}
