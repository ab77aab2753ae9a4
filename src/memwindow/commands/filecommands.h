#pragma once

#include "cmemdialog.h"
#include "memowners.h"
#include "rangetransfer.h"

#include <QString>

/// Save, load and fill: each asks with the memory dialog and hands the range to RangeTransfer. GUI
/// thread only.
class FileCommands {
public:
    FileCommands(const MemOwners &owners, RangeTransfer &transfer);

    TransferResult Fill();
    TransferResult Save();
    /// @param fileName  offered in the dialog; empty: none
    TransferResult Load(const QString &fileName);

private:
    /// What the dialog was closed with.
    struct Answer {
        TransferEnd end = TransferEnd::Cancelled; ///< Done when it was accepted
        MemRange range;
        QString path;
        QString value;
    };

    [[nodiscard]] MemRange RangeOfCommand() const;
    [[nodiscard]] Answer Ask(MemDialogMode mode, MemRange range, const QString &fileName) const;
    TransferResult ShowWritten(const TransferResult &result) const;

    const MemOwners &m_owners;
    RangeTransfer &m_transfer;
};
