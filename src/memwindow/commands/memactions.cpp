#include "memactions.h"

#include "memicon.h"

#include <QAction>
#include <QActionGroup>
#include <QMenu>
#include <QToolBar>
#include <QWidget>

#include <span>

namespace {

enum class Check : std::uint8_t { None, Off, On };

struct ActionRow {
    const char *objectName;
    const char *text;
    const char *toolTip;   // null: the text serves
    const char *statusTip; // null: none
    const char *shortcut;  // null: none
    Check check;
    const char *icon;
};

// In the order of MemAction. Deliberate: the shortcuts of the item sizes are numbered by position,
// so the third is Ctrl+3 although it shows four bytes.
constexpr std::array<ActionRow, kMemActionCount> kActions = {{
    {"pActionMemoryView1ByteItems", "Display &1 Byte Items", "Display 1 Byte Items",
        "Display 1 Byte Items", "Ctrl+1", Check::On, "view-1"},
    {"pActionMemoryView2ByteItems", "Display &2 Byte Items", "Display 2 Byte Items",
        "Display 2 Byte Items", "Ctrl+2", Check::Off, "view-2"},
    {"pActionMemoryView4ByteItems", "Display &4 Byte Items", "Display 4 Byte Items",
        "Display 4 Byte Items", "Ctrl+3", Check::Off, "view-4"},
    {"pActionMemoryAccess1ByteItems", "Access 1 Byte Items", "Access 1 Byte Items",
        "Access 1 Byte Items", nullptr, Check::On, "access-1"},
    {"pActionMemoryAccess2ByteItems", "Access 2 Byte Items", "Access 2 Byte Items",
        "Access 2 Byte Items", nullptr, Check::Off, "access-2"},
    {"pActionMemoryAccess4ByteItems", "Access 4 Byte Items", "Access 4 Byte Items",
        "Access 4 Byte Items", nullptr, Check::Off, "access-4"},
    {"pActionMemoryAccessAuto", "Set access width automatically", "Set access width automatically",
        "Set access width automatically", nullptr, Check::Off, "access-auto"},
    {"pActionMemoryFill", "&Fill", "Fill Memory Area", "Fill Memory Area", "Ctrl+I", Check::None,
        "fill"},
    {"pActionMemoryLoad", "&Load", "Load Memory Data from File", "Load Memory Data from File",
        nullptr, Check::None, "load"},
    {"pActionMemorySave", "Sav&e", "Save Memory Data to File", "Save Memory Data to File", nullptr,
        Check::None, "save"},
    {"pActionMemoryGoto", "&Go To...", "Go To Memory Location", "Go To Memory Location", "Ctrl+G",
        Check::None, "goto"},
    {"pActionMemoryAutoRefresh", "Periodic &Refresh...", "Set Auto Refresh Interval",
        "Set Auto Refresh Interval", "Ctrl+R", Check::None, "refresh"},
    {"pActionMemoryShowToolbar", "&Toolbar", "Show/Hide Toolbar",
        "Toggles the Memory Window Toolbar", nullptr, Check::On, "toolbar"},
    {"pActionMemoryCopy", "&Copy", nullptr, "Copy Memory Selection", "Ctrl+C", Check::None, "copy"},
    {"pActionMemoryPaste", "&Paste", nullptr, nullptr, "Ctrl+V", Check::None, "paste"},
    {"pActionMemoryCopyText", "Copy &Text", "Copy Text", "Copy As Text", nullptr, Check::None,
        "copy-text"},
    {"pActionMemoryCopyHex", "Copy &Hex", "Copy Hex", "Copy Hex", nullptr, Check::None, "copy-hex"},
    {"pActionMemoryCopyBinary", "Copy &Binary", "Copy Binary", "Copy Raw Binary Data", nullptr,
        Check::None, "copy-binary"},
    {"pActionMemoryCopyIntList", "Copy Hex As C &Initializer", "Copy Hex as C &Initializer",
        "Copy As C Initializer", nullptr, Check::None, "copy-c"},
    {"pActionMemoryGoBack", "&Go Back", "Return to previous address", "Return to previous address",
        "Alt+Left", Check::None, "go-back"},
    {"pActionMemoryViewData", "&View Data", nullptr, nullptr, "Ctrl+D", Check::None, "view-data"},
}};

/// A group of actions of which one is checked, and the size that each stands for.
struct SizeAction {
    MemAction action;
    std::uint8_t bytes;
};
constexpr std::array kItemSizes = {SizeAction{MemAction::View1ByteItems, 1},
    SizeAction{MemAction::View2ByteItems, 2}, SizeAction{MemAction::View4ByteItems, 4}};
constexpr std::array kAccessWidths
    = {SizeAction{MemAction::Access1ByteItems, 1}, SizeAction{MemAction::Access2ByteItems, 2},
        SizeAction{MemAction::Access4ByteItems, 4}, SizeAction{MemAction::AccessAuto, 0}};

QAction *MakeAction(const ActionRow &row, QWidget *window)
{
    auto *action = new QAction(MemIcon(row.icon), QLatin1String(row.text), window);
    action->setObjectName(QLatin1String(row.objectName));
    if (row.toolTip != nullptr)
        action->setToolTip(QLatin1String(row.toolTip));
    if (row.statusTip != nullptr)
        action->setStatusTip(QLatin1String(row.statusTip));
    if (row.shortcut != nullptr)
        action->setShortcut(QKeySequence(QLatin1String(row.shortcut)));
    action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    action->setCheckable(row.check != Check::None);
    action->setChecked(row.check == Check::On);
    window->addAction(action);
    return action;
}

void Group(const MemActions &actions, std::span<const SizeAction> sizes, QWidget *window)
{
    auto *group = new QActionGroup(window);
    for (const SizeAction &size : sizes)
        group->addAction(actions[size.action]);
}

std::uint8_t CheckedSize(
    const MemActions &actions, std::span<const SizeAction> sizes, std::uint8_t otherwise)
{
    for (const SizeAction &size : sizes) {
        if (actions[size.action]->isChecked())
            return size.bytes;
    }
    return otherwise;
}

void CheckSize(const MemActions &actions, std::span<const SizeAction> sizes, std::uint8_t bytes)
{
    for (const SizeAction &size : sizes) {
        if (size.bytes == bytes)
            actions[size.action]->setChecked(true);
    }
}

} // namespace

MemActions::MemActions(QWidget *window)
{
    for (std::size_t i = 0; i < kMemActionCount; ++i)
        m_actions[i] = MakeAction(kActions[i], window);
    // Copy is the only shortcut that also works while a widget of the host has the focus.
    (*this)[MemAction::Copy]->setShortcutContext(Qt::WindowShortcut);
    Group(*this, kItemSizes, window);
    Group(*this, kAccessWidths, window);
}

std::uint8_t MemActions::CheckedBytesPerItem() const
{
    return CheckedSize(*this, kItemSizes, 1);
}

std::uint8_t MemActions::CheckedAccessWidth() const
{
    return CheckedSize(*this, kAccessWidths, 0);
}

void MemActions::CheckBytesPerItem(std::uint8_t bytes)
{
    CheckSize(*this, kItemSizes, bytes);
}

void MemActions::CheckAccessWidth(std::uint8_t bytes)
{
    CheckSize(*this, kAccessWidths, bytes);
}

void MemActions::ShowAccessWidths(bool visible)
{
    for (const SizeAction &width : kAccessWidths)
        (*this)[width.action]->setVisible(visible);
}

void MemActions::FillContextMenu(QMenu &menu, const std::function<void(QMenu *)> &addZoneMenu) const
{
    const auto add = [&](MemAction action) { menu.addAction((*this)[action]); };

    add(MemAction::Copy);
    QMenu *special = menu.addMenu(QStringLiteral("Copy &Special"));
    for (const MemAction form :
        {MemAction::CopyText, MemAction::CopyHex, MemAction::CopyIntList, MemAction::CopyBinary})
        special->addAction((*this)[form]);
    special->setEnabled((*this)[MemAction::Copy]->isEnabled());
    menu.addSeparator();
    add(MemAction::ViewData);
    menu.addSeparator();
    for (const SizeAction &size : kItemSizes)
        add(size.action);
    for (const SizeAction &width : kAccessWidths)
        add(width.action);
    addZoneMenu(&menu);
    menu.addSeparator();
    add(MemAction::Fill);
    if ((*this)[MemAction::Load]->isVisible())
        add(MemAction::Load);
    add(MemAction::Save);
    menu.addSeparator();
    if ((*this)[MemAction::GoBack]->isEnabled())
        add(MemAction::GoBack);
    add(MemAction::Goto);
    add(MemAction::AutoRefresh);
    menu.addSeparator();
    add(MemAction::ShowToolbar);
}

void MemActions::FillToolBar(QToolBar &toolBar) const
{
    const auto add = [&](MemAction action) { toolBar.addAction((*this)[action]); };

    toolBar.addSeparator();
    for (const SizeAction &size : kItemSizes)
        add(size.action);
    toolBar.addSeparator();
    add(MemAction::GoBack);
    toolBar.addSeparator();
    for (const MemAction action : {MemAction::Fill, MemAction::Save, MemAction::Load})
        add(action);
}
