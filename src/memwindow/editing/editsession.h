#pragma once

#include "cursorcontrol.h"
#include "itemedit.h"
#include "memorypage.h"
#include "pendingwrites.h"
#include "targetaccess.h"

#include <QObject>
#include <QTimer>

#include <cstdint>

class CEditOverlay;
class QKeyEvent;
class ViewSurface;

/// How an edit ends.
enum class EditEnd {
    Keep, ///< as Return does
    Drop, ///< as Escape does
};

/// Whether the window still exists after what was typed has been settled.
enum class [[nodiscard]] Settled{
    Here,
    WindowGone, ///< the host has deleted the window in a message: nothing of it may be touched
};

/// What is typed, from the key to the target.
///
/// End keeps or drops an open edit box. What was kept is written half a second after the last key,
/// or by Settle before any other read, write or change of the access; so nothing overtakes it.
/// Bytes that were neither read nor typed are never written. GUI thread only.
class EditSession : public QObject {
    Q_OBJECT

public:
    EditSession(
        const TargetAccess &target, MemoryPage &page, CursorControl &cursor, ViewSurface &surface);
    ~EditSession() override;

    /// Takes a key typed into the view: a character or Backspace; ignores any other.
    void Type(QKeyEvent *event);
    void End(EditEnd end);
    [[nodiscard]] bool IsOpen() const;
    /// The first step of every command: writes what was typed, reads the page back, and reports
    /// failures to the host.
    Settled Settle();
    /// Writes what is pending, without reading it back, for a window that ends.
    void WriteOut();

    /// The edit box has ended its edit.
    void TakeEdited();
    /// Half a second has passed without a key.
    void WriteDue();
    [[nodiscard]] CEditOverlay &Box() const { return *m_box; }
    [[nodiscard]] QTimer &WriteTimer() { return m_timer; }
    [[nodiscard]] const PendingWrites &Pending() const { return m_pending; }

signals:
    /// A typed change could not be written.
    void NotWritten();

private:
    bool TypeCharacter(const QString &typed, bool isBackspace);
    bool TypeDigit(const QString &typed, bool isBackspace);
    void OpenBox(std::uint64_t item, const ItemEdit &edit);
    void PlaceBox();
    [[nodiscard]] KnownItem ItemAt(std::uint64_t address) const;
    void AddItem(const KnownItem &before, std::uint64_t value, std::uint32_t typedDigits);
    void GoOnTyping(const QString &rest, const QString &text);
    [[nodiscard]] EditCursor CursorInItem(std::uint64_t item, int position) const;

    const TargetAccess &m_target;
    MemoryPage &m_page;
    CursorControl &m_cursor;
    ViewSurface &m_surface;
    CEditOverlay *m_box;
    PendingWrites m_pending;
    QTimer m_timer;
    std::uint64_t m_item = 0; // under the box while it is open
};
