#pragma once

#include "clipboardcommands.h"
#include "contextmenu.h"
#include "filecommands.h"
#include "jumps.h"
#include "memowners.h"
#include "rangetransfer.h"

#include <QObject>
#include <QPoint>
#include <QString>

#include <cstdint>

class QAction;
class QDropEvent;
class QMenu;

/// The commands that the memory window's actions stand for.
enum class MemCommand : std::uint8_t {
    ViewFormat,
    AccessWidth,
    CopyHex,
    CopyText,
    CopyBinary,
    CopyIntList,
    Paste,
    Fill,
    Save,
    Load,
    Goto,
    EnterAddress,
    GoBack,
    ViewData,
};

/// The commands of one memory window.
///
/// Each takes the same three steps: settle what was typed, call one owner, report what failed, to
/// the host by its messages and to other listeners by Failed. The messages come last, since the
/// host may delete the window while it shows one. GUI thread only.
class MemCommands : public QObject {
    Q_OBJECT

public:
    explicit MemCommands(const MemOwners &owners);

    void Run(MemCommand command);
    /// Jumps to what the address box holds, when the user has entered it.
    void EnterAddress();
    void SetZone(const QString &name);
    void TakeZone(const QAction *action);
    void ChooseRefresh();
    void ShowToolBar();

    void SetBytesPerItem(int bytesPerItem); ///< 1, 2 or 4
    /// @param bytes  0 (the host chooses), 1, 2 or 4
    void SetAccessWidth(std::uint8_t bytes);
    /// Shows or hides the optional commands. @param flags  kFeatureRefresh and so on
    void SetFeatures(std::uint32_t flags);
    /// @return the submenu, or null where the host has no zones
    QMenu *AddZoneMenu(QMenu *menu) const;

    void OfferDrop(QDropEvent *event) const;
    void TakeDrop(QDropEvent *event);

    /// See Jumps::GoTo.
    void GoTo(std::uint64_t address, bool placeCursor, bool pushHistory);
    void OpenMenu(QPoint position) { m_menu.Open(position); }
    void OpenMenuAtMouse() { m_menu.OpenAtMouse(); }

    void LoadSettings();
    void SaveSettings() const;

signals:
    /// A command failed or was done in part; the text is for the status bar.
    void Failed(const QString &text);
    /// Items have another size.
    void ItemFormatChanged();
    void ZoneChanged();
    /// An entry of the context menu's zone submenu was chosen.
    void ZoneChosen(QAction *action);

private:
    void RunWith(const QString &name, const std::function<TransferResult()> &command);
    TransferResult Carry(MemCommand command);

    const MemOwners m_owners;
    RangeTransfer m_transfer;
    Jumps m_jumps;
    ClipboardCommands m_clipboard;
    FileCommands m_files;
    ContextMenu m_menu;
    bool m_canLoad = false;
};
