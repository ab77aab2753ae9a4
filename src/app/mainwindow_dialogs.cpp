// What the main window shows modally: the about box, the connection dialog, and its message boxes.

#include "mainwindow.h"

#include "aboutdialog.h"
#include "appidentity.h"
#include "modalstage.h"
#include "windowreports.h"
#include "workeractions.h"

#include "configdialog.h"
#include "connectionsettings.h"
#include "utilformat.h"

#include <QMessageBox>

void MainWindow::_Slot_OnShowError()
{
    ShowReports();
}

void MainWindow::_Slot_OnShowWarning()
{
    ShowReports();
}

void MainWindow::_OnActionAbout()
{
    const QPointer<MainWindow> alive(this);
    {
        AboutDialog dialog(APP_WindowTitle());
        STAGE_Run(&dialog);
    }
    if (alive != nullptr)
        UpdateGui();
}

void MainWindow::_OnActionGeneral()
{
    const QPointer<MainWindow> alive(this);
    RunConfiguration();
    if (alive != nullptr)
        UpdateGui();
}

void MainWindow::RunConfiguration()
{
    ConnectionRecord record = SETTINGS_Snapshot();
    auto *const dialog = new ConfigDialog(this, APP_WindowTitle(), &record);
    dialog->SetOptions(kHandleScanChain);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setModal(true);
    if (STAGE_Run(dialog) == QDialog::Accepted) {
        // Accepting the dialog always leads to a connect. Changed settings have started one
        // already, which may even have failed by now: do not start a second.
        if (!SETTINGS_Apply(&record))
            WORKER_PostConnect();
        APP_SetStatusField("Configuration applied", kStatusMessage);
    } else {
        APP_SetStatusField("Configuration discarded", kStatusMessage);
    }
}

void MainWindow::ShowReports()
{
    // A report that arrives while a box is open is shown after it: never two boxes at once.
    if (m_showingReports)
        return;
    const QPointer<MainWindow> alive(this);
    m_showingReports = true;
    AppState &state = APP_State();
    Report report;
    while (!state.closing.load() && APP_OldestReport(&report)) {
        const bool isOutdated
            = report.generation != 0 && report.generation != state.connection.Generation();
        const bool wasShown = isOutdated || ShowReport(report);
        if (alive == nullptr)
            return;
        if (wasShown)
            APP_DropOldestReport();
    }
    m_showingReports = false;
}

bool MainWindow::ShowReport(const Report &report)
{
    std::array<char, 256> title{};
    UTIL_Format(title, report.isError ? "%s - Error" : "%s - Warning", APP_WindowTitle());
    const QPointer<QMessageBox> box(
        new QMessageBox(report.isError ? QMessageBox::Critical : QMessageBox::Warning,
            QString::fromUtf8(title.data()), QString(), QMessageBox::Ok, STAGE_Top()));
    box->setTextFormat(Qt::PlainText); // the library's texts must not be read as markup
    box->setText(QString::fromUtf8(report.text.data()));
    STAGE_Place(box);
    STAGE_Run(box);
    const bool wasAnswered = box != nullptr; // null: closed together with the dialog beneath
    delete box;
    return wasAnswered;
}
