#pragma once

#include "addresshistory.h"
#include "memowners.h"

#include <QString>

#include <cstdint>

/// Every kind of jump: by the address box, the "Go To" dialog, "Go Back" or a pointer.
/// Keeps the addresses to go back to. GUI thread only.
class Jumps {
public:
    explicit Jumps(const MemOwners &owners);

    /// Shows the row that holds the address at the top, now or as soon as the window has a size.
    /// @param pushHistory  remember where the page stands now
    void GoTo(std::uint64_t address, bool placeCursor, bool pushHistory);
    void GoBack();
    /// Enables "Copy", and "Go Back" when there is an address to go back to.
    void UpdateActions() const;

    /// Whether the address box reports a choice made by the user. It reports others too: while its
    /// list is replaced or browsed, and when it loses the focus and finds its text in the list.
    [[nodiscard]] bool IsAddressEntered() const;
    void TakeAddressBox();
    /// Jumps to the address that the action carries, or asks for one.
    void Ask();
    /// Follows the pointer at the start of the selection, or at the cursor when nothing is
    /// selected.
    void FollowPointer();

    QString lastInputText; ///< of the "Go To" dialog

private:
    [[nodiscard]] QString AskForAddress() const;

    const MemOwners &m_owners;
    AddressHistory m_history;
    bool m_isEntering = false;
};
