#include "refreshchoice.h"

#include "memactions.h"
#include "memorypage.h"
#include "modaldialog.h"
#include "quietcombobox.h"
#include "refreshrates.h"

#include <QAction>
#include <QInputDialog>
#include <QLabel>
#include <QScopedValueRollback>
#include <QToolBar>

#include <algorithm>

namespace {

/// The row of the table with this interval; -1 when a host has set one of its own.
int RowOf(int intervalMs)
{
    const auto *found = std::find_if(kRefreshRates.begin(), kRefreshRates.end(),
        [intervalMs](const RefreshRate &rate) { return rate.intervalMs == intervalMs; });
    return found == kRefreshRates.end() ? -1 : int(found - kRefreshRates.begin());
}

} // namespace

RefreshChoice::RefreshChoice(const MemActions &actions, MemoryPage &page, QToolBar &toolBar)
    : m_actions(actions)
    , m_page(page)
    , m_box(new QuietComboBox(&toolBar))
{
    m_box->setObjectName(QStringLiteral("pRefreshBox"));
    for (const RefreshRate &rate : kRefreshRates)
        m_box->addItem(QIcon(), QLatin1Char(' ') + QLatin1String(rate.text));
    m_box->setFrame(false);
    m_box->setEditable(false);
    m_box->setCurrentIndex(m_box->count() - 1);
    m_box->setAccessibleName(tr("Periodic Refresh"));
    m_box->setToolTip(tr("Set Auto Refresh Interval"));
    auto *label = new QLabel(tr(" Periodic Refresh: "), &toolBar);
    label->setBuddy(m_box);
    m_labelAction = toolBar.addWidget(label);
    m_boxAction = toolBar.addWidget(m_box);
    connect(&page, &MemoryPage::WasRead, this, &RefreshChoice::GiveWay);
    Show(false);
}

QString RefreshChoice::RateText() const
{
    if (m_intervalMs == 0)
        return {};
    const int row = RowOf(m_intervalMs);
    return row >= 0 ? QString(QLatin1String(kRefreshRates[std::size_t(row)].text))
                    : QStringLiteral("%1 ms").arg(m_intervalMs);
}

void RefreshChoice::SetInterval(int intervalMs)
{
    m_intervalMs = std::max(intervalMs, 0);
    Derive();
}

void RefreshChoice::Derive()
{
    const QScopedValueRollback<bool> deriving(m_isDeriving, true);
    m_box->setCurrentIndex(RowOf(m_intervalMs));
    if (m_intervalMs > 0) {
        m_timer.start(m_intervalMs);
    } else {
        m_timer.stop();
        m_timer.setInterval(0);
    }
    m_page.SetTicking(m_intervalMs > 0);
    emit Changed();
}

void RefreshChoice::TakeBoxRow()
{
    if (m_isDeriving)
        return;
    // Deliberate: a change of a box that is not visible leaves the timer alone.
    if (!m_box->isVisible() || m_box->currentIndex() < 0) {
        Derive();
        emit NotTaken();
        return;
    }
    SetInterval(kRefreshRates[std::size_t(m_box->currentIndex())].intervalMs);
}

void RefreshChoice::SelectText(const QString &text)
{
    if (text.isEmpty())
        return;
    const int found = m_box->findText(text, Qt::MatchExactly | Qt::MatchCaseSensitive);
    m_box->setCurrentIndex(found >= 0 ? found : m_box->count() - 1);
}

void RefreshChoice::Show(bool visible)
{
    m_actions[MemAction::AutoRefresh]->setVisible(visible);
    m_boxAction->setVisible(visible);
    m_labelAction->setVisible(visible);
    if (!visible)
        SetInterval(0);
}

/// Keys and scrolling come first over a slow probe: where a read takes most of the interval, the
/// next tick waits for a whole interval after it, instead of being due already.
void RefreshChoice::GiveWay(int readMs)
{
    if (m_timer.isActive() && readMs * 4 >= m_intervalMs * 3)
        m_timer.start(m_intervalMs);
}

QString RefreshChoice::Ask(QWidget *window, const QAction &action, const QComboBox &choices)
{
    QStringList texts;
    for (int row = 0; row < choices.count(); ++row)
        texts += choices.itemText(row);
    const QPointer<QInputDialog> dialog = new QInputDialog(window);
    QString title = action.text();
    dialog->setWindowTitle(title.remove(QLatin1Char('&')).remove(QLatin1String("...")));
    dialog->setWindowIcon(action.icon());
    dialog->setLabelText(tr("Interval"));
    dialog->setComboBoxItems(texts);
    dialog->setTextValue(choices.currentText());
    const DialogEnd end = RunDialog(dialog);
    QString choice = end == DialogEnd::Accepted ? dialog->textValue() : QString();
    delete dialog;
    return choice;
}
