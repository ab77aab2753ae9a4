#pragma once

#include "typedfield.h"

class ConfigDialog;
class QCheckBox;
class QComboBox;
class QGroupBox;
class QHBoxLayout;
class QLabel;
class QPlainTextEdit;
class QPushButton;
class QRadioButton;
class QWidget;

/// The controls of the connection dialog: made, laid out and connected here, filled elsewhere.
/// The dialog owns them as their Qt parent.
struct ConfigDialogControls {
    /// Makes all controls and connects each to its slot of the dialog.
    void Build(ConfigDialog *dialog);

    QRadioButton *rBtnUSB = nullptr;
    QRadioButton *rBtnTCPIP = nullptr;
    QCheckBox *checkBoxSerialNo = nullptr;
    QPushButton *pBtnIPInfo = nullptr;
    QComboBox *comboBoxEndian = nullptr;
    QComboBox *comboBoxTIF = nullptr;
    QRadioButton *rBtnAutoSel = nullptr;
    QRadioButton *rBtnAdaptiveClock = nullptr;
    QRadioButton *rBtnFrequency = nullptr;
    QComboBox *comboBoxFrequency = nullptr;
    QLabel *labelKHz = nullptr;
    QCheckBox *checkBoxInitRegs = nullptr;
    QCheckBox *checkBoxLocalhost = nullptr;
    QComboBox *comboBoxDRPre = nullptr;
    QGroupBox *gBoxTargetInterface = nullptr;
    QGroupBox *gBoxMisc = nullptr;
    QGroupBox *gBoxJTAGTargets = nullptr;
    QGroupBox *gBoxCommandLine = nullptr;
    QPlainTextEdit *textCommandLine = nullptr;
    TypedField device; ///< read-only
    TypedField serialNo;
    TypedField host;
    TypedField irPre;

private:
    [[nodiscard]] QWidget *MakeConnectionGroup(ConfigDialog *dialog);
    [[nodiscard]] QWidget *MakeUsbRow(ConfigDialog *dialog, QWidget *parent);
    [[nodiscard]] QWidget *MakeTcpIpRow(ConfigDialog *dialog, QWidget *parent);
    [[nodiscard]] QWidget *MakeDeviceGroup(ConfigDialog *dialog);
    [[nodiscard]] QWidget *MakeInterfaceGroup(ConfigDialog *dialog);
    [[nodiscard]] QWidget *MakeSpeedGroup(ConfigDialog *dialog);
    [[nodiscard]] QWidget *MakeMiscGroup(ConfigDialog *dialog);
    [[nodiscard]] QWidget *MakeScanChainGroup(ConfigDialog *dialog);
    [[nodiscard]] QWidget *MakeCommandLineGroup(ConfigDialog *dialog);
    [[nodiscard]] QHBoxLayout *MakeButtonRow(ConfigDialog *dialog);
};
