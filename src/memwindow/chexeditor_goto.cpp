#include "addressbox.h"
#include "chexeditor.h"

#include <QAction>
#include <QInputDialog>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPointer>
#include <QScopedValueRollback>
#include <QToolBar>

void CHexEditor::GoTo(std::uint64_t address, bool placeCursor, bool pushHistory)
{
    m_requestedAddress = address;
    m_jumpPending = BytesPerPage() == 0;
    if (m_jumpPending)
        return;
    FinishEdit();
    const std::uint64_t target = std::min(address, kLastAddress);
    const std::uint64_t base = target - target % BytesPerRow();
    if (placeCursor) {
        // Near the end of the address space the cursor goes where a whole page would show it.
        const std::uint64_t top = std::min(base, m_geometry.LastPageBase());
        m_cursor.address = top + unsigned(BytesPerItem()) - 1;
        m_cursor.digit = m_cursor.inTextColumn ? 1 : 0;
    }
    if (pushHistory)
        PushBack(m_baseAddress);
    ClearCache();
    ShowPageAt(base);
    RefreshPage(PageRead::Whole);
}

void CHexEditor::PushBack(std::uint64_t address)
{
    m_history.PushBack(address);
    UpdateBackAction();
}

void CHexEditor::UpdateBackAction()
{
    m_actions[MemAction::Copy]->setEnabled(true);
    m_actions[MemAction::GoBack]->setEnabled(!m_history.IsEmpty());
}

void CHexEditor::OnActionGoBackTriggered()
{
    if (const std::optional<std::uint64_t> address = m_history.TakeLatest())
        GoTo(*address, true, false);
    UpdateBackAction();
    m_pToolBar->update();
}

void CHexEditor::OnAddrBoxEditingFinished()
{
    // While the list is being replaced or browsed, its current item is no choice of the user's.
    // Nor when the box, losing the focus below, finds its text in the list: that is the same jump.
    if (m_enteringAddress || m_pAddressBox->IsRefilling() || m_pAddressBox->IsListOpen())
        return;
    const QScopedValueRollback<bool> entering(m_enteringAddress, true);
    m_pView->setFocus();
    const QString text = m_pAddressBox->currentText();
    if (text.isEmpty())
        return;
    m_pAddressBox->AddText(text);
    std::uint64_t address = 0;
    std::uint64_t size = 0;
    if (ParseAddress(text, address, size)) {
        GoTo(address, true, true);
        if (size != 0)
            m_selection.SetEnds(address, address + (size - 1));
    }
    InvalidateView();
}

/// The text of the "Go To" dialog, empty when there is none or the window has gone meanwhile.
QString CHexEditor::AskForAddress()
{
    const QPointer<QInputDialog> dialog = new QInputDialog(this);
    dialog->setInputMode(QInputDialog::TextInput);
    dialog->setWindowTitle(tr("Goto"));
    dialog->setWindowIcon(m_actions[MemAction::Goto]->icon());
    dialog->setLabelText(tr("Memory Location") + QLatin1Char(':'));
    if (m_cursor.address < kAddressSpaceEnd) {
        const QString digits = QStringLiteral("%1").arg(m_cursor.address, 8, 16, QLatin1Char('0'));
        dialog->setTextValue(QStringLiteral("0x") + digits.toUpper());
    }
    dialog->exec();
    // Deliberate: the text counts, not the button that closed the dialog. Cancel goes there too.
    QString text = dialog ? dialog->textValue() : QString();
    delete dialog;
    return text;
}

void CHexEditor::OnActionGotoTriggered()
{
    const QVariant prepared = m_actions[MemAction::Goto]->data();
    QString input;
    if (prepared.typeId() == QMetaType::QStringList) { // a host's or script's way past the dialog
        const QStringList texts = prepared.toStringList();
        if (texts.size() != 1)
            return;
        input = texts.first();
    } else {
        const QPointer<CHexEditor> self = this; // the window may be closed under the dialog
        input = AskForAddress();
        if (!self || input.isEmpty())
            return;
        m_lastInputText = input;
    }
    if (input.isEmpty())
        return;
    m_pAddressBox->AddText(input);
    OnAddrBoxEditingFinished();
}
