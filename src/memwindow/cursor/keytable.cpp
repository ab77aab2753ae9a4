#include "keytable.h"

#include <array>

namespace {

struct KeyRow {
    int key;
    Qt::KeyboardModifiers needed;
    Qt::KeyboardModifiers allowed; // besides those needed
    MemKey meaning;
};

constexpr Qt::KeyboardModifiers kShift = Qt::ShiftModifier;
constexpr Qt::KeyboardModifiers kCtrl = Qt::ControlModifier;
constexpr Qt::KeyboardModifiers kAny
    = kShift | kCtrl | Qt::AltModifier | Qt::MetaModifier | Qt::GroupSwitchModifier;

// The first matching row counts. Keys of the keypad mean the same as the others.
constexpr std::array kKeys = {
    KeyRow{Qt::Key_Up, {}, kShift | kCtrl, MemKey::Up},
    KeyRow{Qt::Key_Down, {}, kShift | kCtrl, MemKey::Down},
    KeyRow{Qt::Key_Left, {}, kShift | kCtrl, MemKey::Left},
    KeyRow{Qt::Key_Right, {}, kShift | kCtrl, MemKey::Right},
    KeyRow{Qt::Key_PageUp, {}, kShift | kCtrl, MemKey::PageUp},
    KeyRow{Qt::Key_PageDown, {}, kShift | kCtrl, MemKey::PageDown},
    KeyRow{Qt::Key_Home, kCtrl, kShift, MemKey::FirstPage},
    KeyRow{Qt::Key_End, kCtrl, kShift, MemKey::LastPage},
    KeyRow{Qt::Key_Home, {}, kShift, MemKey::RowHome},
    KeyRow{Qt::Key_End, {}, kShift, MemKey::RowEnd},
    KeyRow{Qt::Key_V, kCtrl, kShift, MemKey::Paste},
    KeyRow{Qt::Key_C, kCtrl, kShift, MemKey::Copy},
    KeyRow{Qt::Key_Escape, {}, {}, MemKey::Escape},
    KeyRow{Qt::Key_Shift, {}, kShift | kCtrl, MemKey::Shift},
    KeyRow{Qt::Key_Shift, {}, kAny, MemKey::Modifier},
    KeyRow{Qt::Key_Control, {}, kAny, MemKey::Modifier},
    KeyRow{Qt::Key_Alt, {}, kAny, MemKey::Modifier},
    KeyRow{Qt::Key_AltGr, {}, kAny, MemKey::Modifier},
    KeyRow{Qt::Key_Meta, {}, kAny, MemKey::Modifier},
    KeyRow{Qt::Key_F10, kShift, {}, MemKey::Menu},
    KeyRow{Qt::Key_Tab, {}, kAny, MemKey::NextControl},
    KeyRow{Qt::Key_Backtab, {}, kAny, MemKey::NextControl},
};

} // namespace

MemKey MeaningOf(int key, Qt::KeyboardModifiers modifiers)
{
    modifiers &= ~Qt::KeypadModifier;
    bool isListed = false;
    for (const KeyRow &row : kKeys) {
        if (row.key != key)
            continue;
        const bool fits = (modifiers & row.needed) == row.needed
            && (modifiers & ~(row.needed | row.allowed)) == 0;
        if (fits)
            return row.meaning;
        isListed = isListed || (key != Qt::Key_V && key != Qt::Key_C);
    }
    // AltGr types characters on many keyboards, and comes as a modifier of its own.
    const bool isCommand = (modifiers & (kCtrl | Qt::AltModifier | Qt::MetaModifier)) != 0;
    return isListed || isCommand ? MemKey::None : MemKey::Typed;
}
