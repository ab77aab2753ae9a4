#include "filecommands.h"

#include "cursorcontrol.h"
#include "modaldialog.h"
#include "viewsurface.h"

#include <QPlainTextEdit>

FileCommands::FileCommands(const MemOwners &owners, RangeTransfer &transfer)
    : m_owners(owners)
    , m_transfer(transfer)
{
}

/// The range that fill and save work on: the selection, otherwise the visible page.
MemRange FileCommands::RangeOfCommand() const
{
    const Selection &selection = m_owners.cursor.Selected();
    if (!selection.IsEmpty())
        return {selection.Lower(), selection.Length()};
    const PageRange page = m_owners.page.Range();
    return {page.base, page.length};
}

FileCommands::Answer FileCommands::Ask(
    MemDialogMode mode, MemRange range, const QString &fileName) const
{
    const QPointer<CMemDialog> dialog = new CMemDialog(&m_owners.window);
    dialog->SetMode(mode);
    dialog->SetStartAddress(range.start);
    if (range.length != 0) // 0 when loading: the dialog takes the file's length
        dialog->SetSize(range.length);
    if (!fileName.isEmpty())
        dialog->SetFileName(fileName);
    const DialogEnd end = RunDialog(dialog);
    if (end == DialogEnd::Gone)
        return {TransferEnd::WindowGone, {}, {}, {}};
    Answer answer{end == DialogEnd::Accepted ? TransferEnd::Done : TransferEnd::Cancelled,
        {dialog->GetStartAddress(), dialog->GetSize()}, dialog->FilePath(), dialog->GenericValue()};
    delete dialog;
    m_owners.surface.Widget()->setFocus();
    return answer;
}

TransferResult FileCommands::ShowWritten(const TransferResult &result) const
{
    if (!result.IsWindowGone())
        m_owners.page.ReadBack(result.written);
    return result;
}

TransferResult FileCommands::Fill()
{
    // Deliberate: the range is the one from before the dialog. Only the value is taken from it.
    const MemRange range = RangeOfCommand();
    const Answer answer = Ask(MemDialogMode::Fill, range, {});
    if (answer.end != TransferEnd::Done)
        return {answer.end, {}, {}};
    return ShowWritten(m_transfer.Fill(range, FillByte(answer.value)));
}

TransferResult FileCommands::Save()
{
    const Answer answer = Ask(MemDialogMode::Save, RangeOfCommand(), {});
    if (answer.end != TransferEnd::Done)
        return {answer.end, {}, {}};
    return m_transfer.Save(answer.range, answer.path);
}

TransferResult FileCommands::Load(const QString &fileName)
{
    const MemRange atCursor{m_owners.cursor.Cursor().address, 0};
    const Answer answer = Ask(MemDialogMode::Load, atCursor, fileName);
    if (answer.end != TransferEnd::Done)
        return {answer.end, {}, {}};
    return ShowWritten(m_transfer.Load(answer.path, answer.range.start, answer.range.length));
}
