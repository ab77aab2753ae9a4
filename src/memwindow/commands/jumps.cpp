#include "jumps.h"

#include "addressbox.h"
#include "cursorcontrol.h"
#include "editsession.h"
#include "linecomposer.h"
#include "memactions.h"
#include "memorypage.h"
#include "memtoolbar.h"
#include "modaldialog.h"
#include "viewsurface.h"

#include <QAction>
#include <QInputDialog>
#include <QPlainTextEdit>
#include <QScopedValueRollback>

#include <algorithm>
#include <array>

namespace {

constexpr std::uint64_t kPointerBytes = 4;

} // namespace

Jumps::Jumps(const MemOwners &owners)
    : m_owners(owners)
{
    UpdateActions();
}

void Jumps::GoTo(std::uint64_t address, bool placeCursor, bool pushHistory)
{
    if (!m_owners.page.IsWaitingForView()) {
        m_owners.edit.End(EditEnd::Keep);
        if (pushHistory)
            m_history.PushBack(m_owners.page.Base());
        UpdateActions();
    }
    m_owners.page.JumpTo(address, placeCursor);
}

void Jumps::GoBack()
{
    if (const std::optional<std::uint64_t> address = m_history.TakeLatest())
        GoTo(*address, true, false);
    UpdateActions();
    m_owners.toolBar.update();
}

void Jumps::UpdateActions() const
{
    m_owners.actions[MemAction::Copy]->setEnabled(true);
    m_owners.actions[MemAction::GoBack]->setEnabled(!m_history.IsEmpty());
}

bool Jumps::IsAddressEntered() const
{
    const AddressBox &box = m_owners.toolBar.Addresses();
    return !m_isEntering && !box.IsRefilling() && !box.IsListOpen();
}

void Jumps::TakeAddressBox()
{
    const QScopedValueRollback<bool> entering(m_isEntering, true);
    m_owners.surface.Widget()->setFocus();
    AddressBox &box = m_owners.toolBar.Addresses();
    const QString text = box.currentText();
    if (text.isEmpty())
        return;
    box.AddText(text);
    std::uint64_t address = 0;
    std::uint64_t size = 0;
    if (ParseAddress(text, address, size)) {
        GoTo(address, true, true);
        if (size != 0)
            m_owners.cursor.Select(address, address + (size - 1));
    }
    m_owners.page.RepaintAll();
}

/// The text of the dialog, empty when there is none or the window has gone meanwhile.
QString Jumps::AskForAddress() const
{
    const QPointer<QInputDialog> dialog = new QInputDialog(&m_owners.window);
    dialog->setInputMode(QInputDialog::TextInput);
    dialog->setWindowTitle(QObject::tr("Goto"));
    dialog->setWindowIcon(m_owners.actions[MemAction::Goto]->icon());
    dialog->setLabelText(QObject::tr("Memory Location") + QLatin1Char(':'));
    const std::uint64_t cursor = m_owners.cursor.Cursor().address;
    if (cursor < kAddressSpaceEnd)
        dialog->setTextValue(QLatin1String(FormatItemValue(cursor, 8, true)));
    // Deliberate: the text is used whichever button closed the dialog. Cancel goes there too.
    if (RunDialog(dialog) == DialogEnd::Gone)
        return {};
    QString text = dialog->textValue();
    delete dialog;
    return text;
}

void Jumps::Ask()
{
    const QVariant prepared = m_owners.actions[MemAction::Goto]->data();
    QString input;
    if (prepared.typeId() == QMetaType::QStringList) { // a host's or script's way past the dialog
        const QStringList texts = prepared.toStringList();
        if (texts.size() != 1)
            return;
        input = texts.first();
    } else {
        input = AskForAddress();
        if (input.isEmpty()) // the window may be gone in this case
            return;
        lastInputText = input;
    }
    if (input.isEmpty())
        return;
    m_owners.toolBar.Addresses().AddText(input);
    TakeAddressBox();
}

void Jumps::FollowPointer()
{
    const Selection &selection = m_owners.cursor.Selected();
    const std::uint64_t at = selection.IsEmpty()
        ? m_owners.page.Cells().ItemStart(m_owners.cursor.Cursor().address)
        : selection.Lower();
    if (at > kAddressSpaceEnd - kPointerBytes)
        return; // no pointer fits there, so there is nothing to read
    std::array<std::uint8_t, kPointerBytes> bytes{};
    std::array<ByteStatus, kPointerBytes> status{};
    if (m_owners.page.Cache().ReadCached(at, bytes, status) != kInCache) // scrolled out of sight
        m_owners.target.Read(at, bytes, status, kPointerBytes);
    if (std::any_of(status.begin(), status.end(),
            [](ByteStatus byte) { return byte != ByteStatus::Valid; }))
        return;
    std::uint64_t address = 0; // deliberate: little-endian, whatever the target's byte order
    for (std::size_t i = 0; i < kPointerBytes; ++i)
        address |= std::uint64_t{bytes[i]} << (8 * i);
    GoTo(address, true, true);
    m_owners.cursor.Select(address, std::min(address + kPointerBytes - 1, kLastAddress));
}
