#include "configdialogcontrols.h"

#include "configdialog.h"
#include "configtables.h"
#include "integervalidator.h"
#include "widgetfactory.h"

#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QStyle>

#include <limits>

namespace {

constexpr int kMaxHostChars = 127;

QGroupBox *MakeGroup(const char *title, const char *objectName, QWidget *parent)
{
    auto *group = new QGroupBox(QString::fromLatin1(title), parent);
    group->setObjectName(QString::fromLatin1(objectName));
    // Otherwise screen readers announce a group inside another one by the outer one's title.
    group->setAccessibleName(QString::fromLatin1(title).remove(QLatin1Char('&')));
    return group;
}

QLineEdit *MakeLineEdit(const char *objectName, const char *accessibleName, QWidget *parent)
{
    auto *edit = new QLineEdit(parent);
    edit->setObjectName(QString::fromLatin1(objectName));
    edit->setAccessibleName(QString::fromLatin1(accessibleName));
    return edit;
}

QComboBox *MakeComboBox(const char *objectName, const char *accessibleName, QWidget *parent)
{
    auto *box = new QComboBox(parent);
    box->setObjectName(QString::fromLatin1(objectName));
    box->setAccessibleName(QString::fromLatin1(accessibleName));
    return box;
}

void FixHeight(QWidget *widget)
{
    widget->setFixedHeight(widget->sizeHint().height());
}

/// A row whose height does not depend on which of its controls are shown.
QWidget *MakeFixedRow(
    QWidget *parent, const QLineEdit *edit, std::initializer_list<QWidget *> widgets)
{
    auto *row = new QWidget(parent);
    auto *layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    for (QWidget *widget : widgets)
        layout->addWidget(widget);
    row->setFixedHeight(
        edit->sizeHint().height() + row->style()->pixelMetric(QStyle::PM_LayoutTopMargin));
    return row;
}

} // namespace

void ConfigDialogControls::Build(ConfigDialog *dialog)
{
    auto *grid = new QGridLayout(dialog);
    grid->addWidget(MakeConnectionGroup(dialog), 0, 0);
    grid->addWidget(MakeDeviceGroup(dialog), 1, 0);
    grid->addWidget(MakeInterfaceGroup(dialog), 2, 0);
    grid->addWidget(MakeCommandLineGroup(dialog), 3, 0);
    grid->addLayout(MakeButtonRow(dialog), 4, 0);
}

QWidget *ConfigDialogControls::MakeConnectionGroup(ConfigDialog *dialog)
{
    QGroupBox *group = MakeGroup("Connection to Ranvo", "pGBoxConnection", dialog);
    rBtnUSB = MakeRadioButton(
        kConnections[kUsbConnection].label, "pRBtnUSB", group, dialog, &ConfigDialog::_OnRBtnUSB);
    QWidget *usbRow = MakeUsbRow(dialog, group);
    rBtnTCPIP = MakeRadioButton(kConnections[kTcpIpConnection].label, "pRBtnTCPIP", group, dialog,
        &ConfigDialog::_OnRBtnTCPIP);
    QWidget *tcpIpRow = MakeTcpIpRow(dialog, group);
    auto *grid = new QGridLayout(group);
    grid->addWidget(rBtnUSB, 0, 0);
    grid->addWidget(usbRow, 0, 1);
    grid->addWidget(rBtnTCPIP, 1, 0);
    grid->addWidget(tcpIpRow, 1, 1);
    grid->setColumnStretch(1, 1);
    FixHeight(group);
    return group;
}

QWidget *ConfigDialogControls::MakeUsbRow(ConfigDialog *dialog, QWidget *parent)
{
    checkBoxSerialNo = MakeCheckBox(
        "&Serial No.", "pCheckBoxSerialNo", parent, dialog, &ConfigDialog::_OnCheckBoxSerialNo);
    QLineEdit *edit = MakeLineEdit("pLineEditSN", "Serial number", parent);
    edit->setValidator(new IntegerValidator(0, std::numeric_limits<std::uint32_t>::max(), edit));
    QObject::connect(edit, &QLineEdit::editingFinished, dialog, &ConfigDialog::_OnLineEditSN);
    serialNo.SetEdit(edit);
    return MakeFixedRow(parent, edit, {checkBoxSerialNo, edit});
}

QWidget *ConfigDialogControls::MakeTcpIpRow(ConfigDialog *dialog, QWidget *parent)
{
    QLineEdit *edit = MakeLineEdit("pLineEditIP", "Host name or IP address", parent);
    edit->setMaxLength(kMaxHostChars);
    QObject::connect(edit, &QLineEdit::editingFinished, dialog, &ConfigDialog::_OnLineEditIP);
    host.SetEdit(edit);
    pBtnIPInfo
        = MakePushButton("Info", "pPBtnIPInfo", parent, dialog, &ConfigDialog::_OnPBtnIPInfo);
    pBtnIPInfo->setAutoDefault(false); // Enter always means OK
    return MakeFixedRow(parent, edit, {edit, pBtnIPInfo});
}

QWidget *ConfigDialogControls::MakeDeviceGroup(ConfigDialog *dialog)
{
    QGroupBox *group = MakeGroup("Target device", "pGBoxDevice", dialog);
    QLineEdit *edit = MakeLineEdit("pLineEditDevice", "Device", group);
    edit->setReadOnly(true);
    device.SetEdit(edit);
    QPushButton *select
        = MakePushButton("...", "pPBtnSelTarget", group, dialog, &ConfigDialog::_OnPBtnSelTarget);
    select->setAccessibleName(QStringLiteral("Select target device"));
    select->setToolTip(QStringLiteral("Select the target device from the list of known devices"));
    select->setAutoDefault(false);
    select->setFixedSize(select->sizeHint());
    comboBoxEndian = MakeComboBox("pComboBoxEndian", "Byte order", group);
    LabelForScreenReaders(comboBoxEndian, "Byte order");
    for (const EndianRow &row : kEndians)
        comboBoxEndian->addItem(QString::fromLatin1(row.label));
    comboBoxEndian->setFixedSize(comboBoxEndian->sizeHint());
    QObject::connect(
        comboBoxEndian, &QComboBox::activated, dialog, &ConfigDialog::_OnComboBoxEndian);
    auto *grid = new QGridLayout(group);
    grid->addWidget(edit, 0, 0);
    grid->addWidget(select, 0, 1);
    grid->addWidget(comboBoxEndian, 1, 0);
    FixHeight(group);
    return group;
}

QWidget *ConfigDialogControls::MakeInterfaceGroup(ConfigDialog *dialog)
{
    gBoxTargetInterface = MakeGroup("Target interface", "pGBoxTargetInterface", dialog);
    comboBoxTIF = MakeComboBox("pComboBoxTIF", "Interface", gBoxTargetInterface);
    LabelForScreenReaders(comboBoxTIF, "Interface");
    for (const InterfaceRow &row : kInterfaces)
        comboBoxTIF->addItem(QString::fromLatin1(row.name));
    QObject::connect(comboBoxTIF, &QComboBox::activated, dialog, &ConfigDialog::_OnComboBoxTIF);
    auto *grid = new QGridLayout(gBoxTargetInterface);
    grid->addWidget(comboBoxTIF, 0, 0, Qt::AlignLeft);
    grid->addWidget(MakeSpeedGroup(dialog), 1, 0);
    grid->addWidget(MakeMiscGroup(dialog), 1, 1);
    QWidget *scanChain = MakeScanChainGroup(dialog);
    grid->addWidget(scanChain, 2, 0, 1, 2);
    // The width must not change when the scan chain is shown or hidden.
    grid->addItem(
        new QSpacerItem(scanChain->sizeHint().width(), 0, QSizePolicy::Minimum, QSizePolicy::Fixed),
        3, 0, 1, 2);
    return gBoxTargetInterface;
}

QWidget *ConfigDialogControls::MakeSpeedGroup(ConfigDialog *dialog)
{
    QGroupBox *group = MakeGroup("Speed", "pGBoxSpeed", gBoxTargetInterface);
    rBtnAutoSel = MakeRadioButton(
        kSpeeds[kAutoSpeed].label, "pRBtnAutoSel", group, dialog, &ConfigDialog::_OnRBtnAutoSel);
    rBtnAdaptiveClock = MakeRadioButton(kSpeeds[kAdaptiveSpeed].label, "pRBtnAdaptiveClock", group,
        dialog, &ConfigDialog::_OnRBtnAdaptiveClock);
    rBtnAdaptiveClock->setToolTip(QStringLiteral("For the target interface JTAG only"));
    rBtnFrequency = MakeRadioButton(kSpeeds[kFixedSpeed].label, "pRBtnFrequency", group, dialog,
        &ConfigDialog::_OnRBtnFrequency);
    comboBoxFrequency = MakeComboBox("pComboBoxFrequency", "Interface speed in kHz", group);
    LabelForScreenReaders(comboBoxFrequency, "Interface speed in kHz");
    comboBoxFrequency->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    QObject::connect(
        comboBoxFrequency, &QComboBox::activated, dialog, &ConfigDialog::_OnComboBoxFrequency);
    labelKHz = new QLabel(QStringLiteral("kHz"), group);
    labelKHz->setObjectName(QStringLiteral("pLabelKHz"));
    auto *fixedRow = new QHBoxLayout;
    fixedRow->addWidget(rBtnFrequency);
    fixedRow->addWidget(comboBoxFrequency);
    fixedRow->addWidget(labelKHz);
    auto *grid = new QGridLayout(group);
    grid->setAlignment(Qt::AlignLeft);
    grid->addWidget(rBtnAutoSel, 0, 0);
    grid->addWidget(rBtnAdaptiveClock, 1, 0);
    grid->addLayout(fixedRow, 2, 0);
    FixHeight(group);
    return group;
}

QWidget *ConfigDialogControls::MakeMiscGroup(ConfigDialog *dialog)
{
    gBoxMisc = MakeGroup("Misc. settings", "pGBoxMisc", gBoxTargetInterface);
    checkBoxInitRegs = MakeCheckBox("Init registers", "pCheckBoxInitRegs", gBoxMisc, dialog,
        &ConfigDialog::_OnCheckBoxInitRegs);
    checkBoxLocalhost = MakeCheckBox("Localhost only", "pCheckBoxLocalhost", gBoxMisc, dialog,
        &ConfigDialog::_OnCheckBoxLocalhost);
    auto *grid = new QGridLayout(gBoxMisc);
    grid->addWidget(checkBoxInitRegs, 0, 0);
    grid->addWidget(checkBoxLocalhost, 1, 0);
    grid->setRowStretch(2, 1);
    gBoxMisc->hide();
    return gBoxMisc;
}

QWidget *ConfigDialogControls::MakeScanChainGroup(ConfigDialog *dialog)
{
    gBoxJTAGTargets
        = MakeGroup("Scan chain with &multiple devices", "pGBoxJTAGTargets", gBoxTargetInterface);
    gBoxJTAGTargets->setCheckable(true);
    QObject::connect(
        gBoxJTAGTargets, &QGroupBox::toggled, dialog, &ConfigDialog::_OnGBoxJTAGTargets);
    comboBoxDRPre = MakeComboBox("pComboBoxDRPre", "Position", gBoxJTAGTargets);
    for (const std::int32_t position : kPositions)
        comboBoxDRPre->addItem(QString::number(position));
    QObject::connect(comboBoxDRPre, &QComboBox::activated, dialog, &ConfigDialog::_OnComboBoxDRPre);
    QLineEdit *edit = MakeLineEdit("pLineEditIRPre", "IRPre", gBoxJTAGTargets);
    edit->setValidator(new IntegerValidator(
        std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max(), edit));
    QObject::connect(edit, &QLineEdit::editingFinished, dialog, &ConfigDialog::_OnLineEditIRPre);
    irPre.SetEdit(edit);
    irPre.Show(QStringLiteral("0"));
    auto *labelPosition = new QLabel(QStringLiteral("Position"), gBoxJTAGTargets);
    labelPosition->setBuddy(comboBoxDRPre);
    auto *labelIRPre = new QLabel(QStringLiteral("IRPre"), gBoxJTAGTargets);
    labelIRPre->setBuddy(edit);

    auto *grid = new QGridLayout(gBoxJTAGTargets);
    grid->addWidget(labelPosition, 0, 0);
    grid->addWidget(comboBoxDRPre, 0, 1);
    grid->addWidget(labelIRPre, 0, 2);
    grid->addWidget(edit, 0, 3);
    grid->addWidget(new QLabel(QStringLiteral("0 is closest to TDO."), gBoxJTAGTargets), 1, 0, 1, 2,
        Qt::AlignTop);
    grid->addWidget(new QLabel(QStringLiteral("Sum of IRLens of devices closer to TDO.\n"
                                              "IRLen of ARM7/ARM9 devices is 4."),
                        gBoxJTAGTargets),
        1, 2, 1, 2, Qt::AlignTop);
    grid->setColumnStretch(3, 1);
    return gBoxJTAGTargets;
}

QWidget *ConfigDialogControls::MakeCommandLineGroup(ConfigDialog *dialog)
{
    gBoxCommandLine = MakeGroup("Command line option", "pGBoxCommandLine", dialog);
    textCommandLine = new QPlainTextEdit(QStringLiteral("command line"), gBoxCommandLine);
    textCommandLine->setObjectName(QStringLiteral("pTextCommandLine"));
    textCommandLine->setAccessibleName(QStringLiteral("Options"));
    textCommandLine->setReadOnly(true);
    textCommandLine->setTabChangesFocus(true);
    textCommandLine->setMaximumHeight(host.Edit()->sizeHint().height() * 3 / 2);
    auto *grid = new QGridLayout(gBoxCommandLine);
    grid->addWidget(textCommandLine, 0, 0);
    gBoxCommandLine->hide();
    return gBoxCommandLine;
}

QHBoxLayout *ConfigDialogControls::MakeButtonRow(ConfigDialog *dialog)
{
    QPushButton *ok = MakePushButton("&OK", "pPBtnOK", dialog, dialog, &ConfigDialog::_OnPBtnOK);
    QPushButton *cancel
        = MakePushButton("&Cancel", "pPBtnCancel", dialog, dialog, &ConfigDialog::_OnPBtnCancel);
    ok->setAutoDefault(true);
    ok->setDefault(true);
    auto *row = new QHBoxLayout;
    row->addStretch(1);
    row->addWidget(ok);
    row->addWidget(cancel);
    return row;
}
