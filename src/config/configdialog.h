#pragma once

#include "configdialogcontrols.h"
#include "configstate.h"
#include "connectionrecord.h"

#include <QDialog>

/// What ConfigDialog::SetOptions shows and handles.
inline constexpr int kShowMiscSettings = 1;
inline constexpr int kShowCommandLine = 2;
inline constexpr int kHandleScanChain = 4;

/// The dialog in which the user chooses how to reach the probe and the target.
///
/// It edits a state of its own; only OK writes the caller's record. Every slot changes one field of
/// the state and then refreshes all controls from it.
class ConfigDialog : public QDialog {
    Q_OBJECT

public:
    /// Builds and shows the dialog.
    /// @param record  read now, written on OK; outlives the dialog
    ConfigDialog(QWidget *parent, const char *applicationName, ConnectionRecord *record);

    /// @param flags  kShowMiscSettings, kShowCommandLine and kHandleScanChain; what is not set is
    ///               hidden, or left alone
    void SetOptions(int flags);

signals:
    void closing();

public slots:
    void _OnRBtnUSB(bool checked);
    void _OnRBtnTCPIP(bool checked);
    void _OnCheckBoxSerialNo(int state);
    void _OnLineEditSN();
    void _OnLineEditIP();
    void _OnPBtnIPInfo();
    void _OnPBtnSelTarget();
    void _OnComboBoxEndian(int row);
    void _OnComboBoxTIF(int row);
    void _OnRBtnAutoSel(bool checked);
    void _OnRBtnAdaptiveClock(bool checked);
    void _OnRBtnFrequency(bool checked);
    void _OnComboBoxFrequency(int row);
    void _OnCheckBoxInitRegs(int state);
    void _OnCheckBoxLocalhost(int state);
    void _OnGBoxJTAGTargets(bool checked);
    void _OnComboBoxDRPre(int row);
    void _OnLineEditIRPre();
    void _OnPBtnOK();
    void _OnPBtnCancel();

public:
    void done(int result) override;
    bool eventFilter(QObject *object, QEvent *event) override;

private:
    template <typename Change> void ChangeState(Change change);
    void ChooseSpeed(bool checked, std::uint32_t speedMode);
    void TakeTypedTexts();
    void FillFrequencies();
    void Refresh();
    void RefreshConnection();
    void RefreshDevice();
    void RefreshInterface();
    void RefreshScanChain();
    void RefreshOptionString();

    ConnectionRecord *m_record;
    ConfigState m_state;
    ConfigDialogControls m_controls;
    bool m_handlesScanChain = false;
};
