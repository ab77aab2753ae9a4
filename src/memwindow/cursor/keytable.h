#pragma once

#include <qnamespace.h>

/// The meaning of a key of the memory view together with its modifiers.
enum class MemKey {
    None, ///< none here; other widgets may handle the key
    Up,
    Down,
    Left,
    Right,
    PageUp,
    PageDown,
    RowHome,
    RowEnd,
    FirstPage,
    LastPage,
    Paste,
    Copy,
    Escape,
    Shift,    ///< begins a selection
    Modifier, ///< another modifier key: by itself it changes nothing
    Menu,
    NextControl, ///< on to the next control in the tab order
    Typed,       ///< a character, or Backspace
};

/// The meaning of a key press. A key counts only with the modifiers that its row of the table
/// allows: Alt+Left is no cursor key.
[[nodiscard]] MemKey MeaningOf(int key, Qt::KeyboardModifiers modifiers);
