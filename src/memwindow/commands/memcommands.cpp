#include "memcommands.h"

#include "addressbox.h"
#include "cursorcontrol.h"
#include "drops.h"
#include "editsession.h"
#include "memactions.h"
#include "memfeatures.h"
#include "memtoolbar.h"
#include "refreshchoice.h"
#include "viewsurface.h"
#include "windowsettings.h"
#include "zonemenu.h"

#include <QAction>
#include <QDropEvent>
#include <QMenu>
#include <QPlainTextEdit>
#include <QPointer>
#include <QTimer>

#include <array>

namespace {

/// The names that the status bar puts in front of a command's message, in the order of MemCommand.
/// Commands without a name report nothing.
constexpr std::array kNames
    = {"", "", "Copy", "Copy", "Copy", "Copy", "Paste", "Fill", "Save", "Load", "", "", "", ""};

} // namespace

MemCommands::MemCommands(const MemOwners &owners)
    : m_owners(owners)
    , m_transfer(owners.target, owners.page, &owners.window)
    , m_jumps(m_owners)
    , m_clipboard(m_owners, m_transfer)
    , m_files(m_owners, m_transfer)
    , m_menu(m_owners, [this](QAction *action) { emit ZoneChosen(action); })
{
    connect(&owners.edit, &EditSession::NotWritten, this,
        [this] { emit Failed(QStringLiteral("Edit: Failed to write target memory")); });
    connect(&owners.refresh, &RefreshChoice::NotTaken, this, [this] {
        emit Failed(QStringLiteral("Refresh: the interval is taken while the tool bar shows it"));
    });
}

void MemCommands::Run(MemCommand command)
{
    RunWith(QLatin1String(kNames[static_cast<std::size_t>(command)]),
        [this, command] { return Carry(command); });
}

void MemCommands::RunWith(const QString &name, const std::function<TransferResult()> &command)
{
    if (m_transfer.IsRunning()) // its dialog blocks the user, but a host may call this all the same
        return;
    if (m_owners.edit.Settle() == Settled::WindowGone) // what was typed goes first
        return;
    const TransferResult result = command();
    if (result.IsWindowGone())
        return;
    if (!result.reason.isEmpty() && !name.isEmpty())
        emit Failed(name + QStringLiteral(": ") + result.reason);
    m_owners.target.Messages().Show(); // last: the window may be gone then
}

TransferResult MemCommands::Carry(MemCommand command)
{
    const QPointer<MemCommands> self = this;
    switch (command) {
    case MemCommand::CopyHex:
        return m_clipboard.CopyHex();
    case MemCommand::CopyText:
        return m_clipboard.CopyText();
    case MemCommand::CopyBinary:
        return m_clipboard.CopyBinary();
    case MemCommand::CopyIntList:
        return m_clipboard.CopyInitializer();
    case MemCommand::Paste:
        return m_clipboard.Paste();
    case MemCommand::Fill:
        return m_files.Fill();
    case MemCommand::Save:
        return m_files.Save();
    case MemCommand::Load:
        return m_files.Load({});
    case MemCommand::ViewFormat:
        SetBytesPerItem(m_owners.actions.CheckedBytesPerItem());
        break;
    case MemCommand::AccessWidth:
        SetAccessWidth(m_owners.actions.CheckedAccessWidth());
        break;
    case MemCommand::Goto:
        m_jumps.Ask();
        break;
    case MemCommand::EnterAddress:
        m_jumps.TakeAddressBox();
        break;
    case MemCommand::GoBack:
        m_jumps.GoBack();
        break;
    case MemCommand::ViewData:
        m_jumps.FollowPointer();
        break;
    }
    return {self ? TransferEnd::Done : TransferEnd::WindowGone, {}, {}};
}

void MemCommands::EnterAddress()
{
    if (m_jumps.IsAddressEntered())
        Run(MemCommand::EnterAddress);
}

void MemCommands::SetZone(const QString &name)
{
    RunWith({}, [this, name] {
        ZONE_Set(m_owners, name);
        emit ZoneChanged();
        return TransferResult();
    });
}

void MemCommands::TakeZone(const QAction *action)
{
    SetZone(action->text().trimmed());
}

void MemCommands::GoTo(std::uint64_t address, bool placeCursor, bool pushHistory)
{
    m_jumps.GoTo(address, placeCursor, pushHistory);
}

void MemCommands::ChooseRefresh()
{
    const QAction &action = *m_owners.actions[MemAction::AutoRefresh];
    QString choice;
    if (action.data().typeId() == QMetaType::QStringList) { // a host's or script's choice
        const QStringList choices = action.data().toStringList();
        if (choices.size() != 1)
            return;
        choice = choices.first();
    } else {
        const QPointer<MemCommands> self = this; // the window may be closed under the dialog
        choice = RefreshChoice::Ask(&m_owners.window, action, m_owners.refresh.Box());
        if (!self)
            return;
        m_owners.surface.Widget()->setFocus();
    }
    m_owners.refresh.SelectText(choice);
    emit m_owners.refresh.Changed();
}

void MemCommands::ShowToolBar()
{
    const bool visible = m_owners.actions[MemAction::ShowToolbar]->isChecked();
    if (!visible && m_owners.toolBar.isAncestorOf(m_owners.window.focusWidget()))
        m_owners.surface.Widget()->setFocus();
    m_owners.toolBar.setVisible(visible);
}

void MemCommands::SetBytesPerItem(int bytesPerItem)
{
    if (bytesPerItem == m_owners.page.Geometry().BytesPerItem())
        return;
    m_owners.edit.End(EditEnd::Keep);
    m_owners.actions.CheckBytesPerItem(static_cast<std::uint8_t>(bytesPerItem));
    m_owners.page.SetBytesPerItem(bytesPerItem);
    emit ItemFormatChanged();
}

void MemCommands::SetAccessWidth(std::uint8_t bytes)
{
    m_owners.actions.CheckAccessWidth(bytes);
    if (bytes == m_owners.target.AccessWidth())
        return;
    const QPointer<MemCommands> self = this;
    // What was typed is written with the width that was in force then.
    if (m_owners.edit.Settle() == Settled::WindowGone || !self)
        return;
    m_owners.target.SetAccessWidth(bytes);
    m_owners.page.Refresh(PageRead::Whole);
}

void MemCommands::SetFeatures(std::uint32_t flags)
{
    m_canLoad = (flags & kFeatureLoad) != 0;
    m_owners.refresh.Show((flags & kFeatureRefresh) != 0);
    m_owners.actions[MemAction::Load]->setVisible(m_canLoad);
    m_owners.actions.ShowAccessWidths((flags & kFeatureAccessWidth) != 0);
    if ((flags & kFeatureAccessWidth) == 0)
        SetAccessWidth(0);
}

QMenu *MemCommands::AddZoneMenu(QMenu *menu) const
{
    return ZONE_AddMenu(m_owners, menu);
}

void MemCommands::OfferDrop(QDropEvent *event) const
{
    DROP_Offer(*event, m_canLoad);
}

void MemCommands::TakeDrop(QDropEvent *event)
{
    if (!DROP_Offer(*event, m_canLoad))
        return;
    const QString address = DROP_Address(*event->mimeData());
    if (!address.isEmpty()) {
        m_owners.toolBar.Addresses().AddText(address);
        Run(MemCommand::EnterAddress);
        return;
    }
    // Opens the dialog when the drag is over: until then the source program waits for the answer.
    // A drop never writes by itself.
    const QString fileName = DROP_File(*event->mimeData());
    QTimer::singleShot(0, this, [this, fileName] {
        RunWith(QStringLiteral("Load"), [this, fileName] { return m_files.Load(fileName); });
    });
}

void MemCommands::LoadSettings()
{
    const WindowSettings settings = WINSET_Load(m_owners.window.objectName());
    m_jumps.GoTo(settings.baseAddress, true, false);
    SetBytesPerItem(settings.bytesPerItem);
    SetAccessWidth(settings.accessWidth);
    m_owners.actions[MemAction::ShowToolbar]->setChecked(settings.showToolbar);
    ShowToolBar();
    m_owners.toolBar.Addresses().SetItems(settings.addressBoxItems);
    m_jumps.lastInputText = settings.lastInputText;
}

void MemCommands::SaveSettings() const
{
    WindowSettings settings;
    settings.addressBoxItems = m_owners.toolBar.Addresses().Items();
    settings.baseAddress = m_owners.page.RequestedAddress();
    settings.bytesPerItem = static_cast<std::uint8_t>(m_owners.page.Geometry().BytesPerItem());
    settings.accessWidth = m_owners.target.AccessWidth();
    settings.lastInputText = m_jumps.lastInputText;
    settings.showToolbar = m_owners.actions[MemAction::ShowToolbar]->isChecked();
    WINSET_Save(m_owners.window.objectName(), settings);
}
