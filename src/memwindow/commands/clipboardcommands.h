#pragma once

#include "memowners.h"
#include "rangetransfer.h"

/// The four copies and the paste. GUI thread only.
class ClipboardCommands {
public:
    ClipboardCommands(const MemOwners &owners, RangeTransfer &transfer);

    /// @name Each copies the selection, read afresh.
    /// @{
    TransferResult CopyHex();
    TransferResult CopyText();
    TransferResult CopyBinary();
    TransferResult CopyInitializer();
    /// @}
    /// Writes the clipboard's bytes at the cursor and shows them there.
    TransferResult Paste();

private:
    [[nodiscard]] MemRange Selection() const;
    TransferResult CopyRows(ClipColumn column, const char *form);
    TransferResult Finish(
        const TransferResult &result, std::unique_ptr<QMimeData> contents, const char *form) const;
    TransferResult NothingToCopy(const TransferResult &result) const;

    const MemOwners &m_owners;
    RangeTransfer &m_transfer;
};
