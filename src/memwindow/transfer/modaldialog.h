#pragma once

#include <QDialog>
#include <QPointer>

/// How a dialog of the memory window ended.
enum class [[nodiscard]] DialogEnd{
    Accepted, Rejected,
    Gone, ///< deleted with its window while it was open: nothing of either may be touched
};

/// Runs a dialog that was made with new and has a parent. Its window may be deleted meanwhile, and
/// the dialog with it; so a dialog must never be a local variable.
template <typename Dialog> DialogEnd RunDialog(const QPointer<Dialog> &dialog)
{
    const int result = dialog->exec();
    if (!dialog)
        return DialogEnd::Gone;
    return result == QDialog::Accepted ? DialogEnd::Accepted : DialogEnd::Rejected;
}
