#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>

class QAction;
class QMenu;
class QToolBar;
class QWidget;

/// The memory window's actions, in the order in which they are made.
enum class MemAction : std::uint8_t {
    View1ByteItems,
    View2ByteItems,
    View4ByteItems,
    Access1ByteItems,
    Access2ByteItems,
    Access4ByteItems,
    AccessAuto,
    Fill,
    Load,
    Save,
    Goto,
    AutoRefresh,
    ShowToolbar,
    Copy,
    Paste,
    CopyText,
    CopyHex,
    CopyBinary,
    CopyIntList,
    GoBack,
    ViewData,
};
inline constexpr std::size_t kMemActionCount = 21;

/// Makes the actions of one memory window and builds its menu and tool bar from them.
/// The window owns the actions.
class MemActions {
public:
    explicit MemActions(QWidget *window);

    [[nodiscard]] QAction *operator[](MemAction action) const
    {
        return m_actions[static_cast<std::size_t>(action)];
    }

    /// The bytes per item (1, 2, 4) or access width (0, 1, 2, 4) whose action is checked.
    [[nodiscard]] std::uint8_t CheckedBytesPerItem() const;
    [[nodiscard]] std::uint8_t CheckedAccessWidth() const;
    /// Check the action of a size; another size leaves all as they are. Emits no triggered().
    void CheckBytesPerItem(std::uint8_t bytes);
    void CheckAccessWidth(std::uint8_t bytes);

    /// Shows or hides the four access-width actions.
    void ShowAccessWidths(bool visible);

    /// Fills an empty context menu.
    /// @param addZoneMenu  adds the zone submenu; called after the access widths have been added
    void FillContextMenu(QMenu &menu, const std::function<void(QMenu *)> &addZoneMenu) const;

    /// Adds the buttons that stand between the address box and the refresh controls.
    void FillToolBar(QToolBar &toolBar) const;

private:
    std::array<QAction *, kMemActionCount> m_actions = {};
};
