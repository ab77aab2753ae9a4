#include "configdialog.h"

#include "configtables.h"
#include "ipinfodialog.h"
#include "optionstring.h"
#include "targetdevice.h"

#include <QCheckBox>
#include <QComboBox>
#include <QEvent>
#include <QGroupBox>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QScopedValueRollback>

#include <algorithm>
#include <initializer_list>
#include <limits>
#include <string_view>

namespace {

enum RefreshStep { kConnectionStep, kDeviceStep, kInterfaceStep, kOptionStringStep, kRefreshSteps };

/// Which steps of the refresh are running: one flag a step for the whole program.
std::array<bool, kRefreshSteps> g_isRunning{};

/// Runs one step of the refresh unless that step is running already: setting a control raises the
/// signals that end in the next refresh.
template <typename Step> void RunOnce(RefreshStep step, Step run)
{
    if (g_isRunning[step])
        return;
    const QScopedValueRollback guard(g_isRunning[step], true);
    run();
}

QString TextOf(const std::array<char, 128> &name)
{
    return QString::fromUtf8(name.data());
}

QString ShownHost(const std::array<char, 128> &name)
{
    const std::string_view host(name.data());
    return QString::fromUtf8(
        host.data(), static_cast<qsizetype>(FittingBytes(host, kShownHostBytes)));
}

void SetNameText(std::array<char, 128> *name, const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    SetName(name, std::string_view(bytes.constData(), static_cast<std::size_t>(bytes.size())));
}

/// A list's row as a table index; a list has no row -1 to choose.
std::uint32_t IndexOf(int row, std::size_t rows)
{
    return static_cast<std::uint32_t>(std::clamp(row, 0, static_cast<int>(rows) - 1));
}

/// Checks one radio button of a group and leads the Tab key to it. Qt would let Tab end on the
/// group's first button until one of them has had the focus.
void CheckRadioButton(std::initializer_list<QRadioButton *> group, QRadioButton *checked)
{
    checked->setChecked(true);
    for (QRadioButton *button : group)
        button->setFocusPolicy(button == checked ? Qt::StrongFocus : Qt::ClickFocus);
}

std::int64_t NumberIn(TypedField &field, std::int64_t min, std::int64_t max)
{
    return ReadNumber(field.TakeText().toStdString(), min, max);
}

} // namespace

ConfigDialog::ConfigDialog(QWidget *parent, const char *applicationName, ConnectionRecord *record)
    : QDialog(parent, Qt::Dialog | Qt::MSWindowsFixedSizeDialogHint)
    , m_record(record)
    , m_state(LoadConfigState(*record))
{
    setObjectName(QStringLiteral("pConfigDialog"));
    setWindowModality(Qt::ApplicationModal);
    setWindowTitle(QStringLiteral("%1 - Config").arg(QString::fromUtf8(applicationName)));
    m_controls.Build(this);
    m_controls.host.Edit()->installEventFilter(this);
    FillFrequencies();
    m_controls.gBoxJTAGTargets->setVisible(UsesScanChain(m_state));
    Refresh();
    show();
}

void ConfigDialog::SetOptions(int flags)
{
    m_controls.gBoxMisc->setVisible((flags & kShowMiscSettings) != 0);
    m_controls.gBoxCommandLine->setVisible((flags & kShowCommandLine) != 0);
    m_handlesScanChain = (flags & kHandleScanChain) != 0;
    ChangeState([] {});
}

void ConfigDialog::done(int result)
{
    emit closing();
    QDialog::done(result);
}

bool ConfigDialog::eventFilter(QObject *object, QEvent *event)
{
    if (object == m_controls.host.Edit() && event->type() == QEvent::FocusIn) {
        TakeTypedTexts();
        Refresh();
    }
    return QDialog::eventFilter(object, event);
}

/// The steps of every slot: take typed texts over, change one field, refresh all controls.
template <typename Change> void ConfigDialog::ChangeState(Change change)
{
    TakeTypedTexts();
    change();
    Refresh();
}

void ConfigDialog::TakeTypedTexts()
{
    if (m_controls.serialNo.HasTypedText())
        m_state.usbSerialNo = static_cast<std::uint32_t>(
            NumberIn(m_controls.serialNo, 0, std::numeric_limits<std::uint32_t>::max()));
    if (m_controls.host.HasTypedText())
        SetNameText(&m_state.hostName, m_controls.host.TakeText().trimmed());
    if (m_controls.irPre.HasTypedText())
        m_state.irPrefix = static_cast<std::int32_t>(NumberIn(m_controls.irPre,
            std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()));
}

void ConfigDialog::_OnRBtnUSB(bool checked)
{
    ChangeState([this, checked] {
        if (checked)
            m_state.connectionIndex = kUsbConnection;
    });
}

void ConfigDialog::_OnRBtnTCPIP(bool checked)
{
    ChangeState([this, checked] {
        if (checked)
            m_state.connectionIndex = kTcpIpConnection;
    });
}

void ConfigDialog::_OnCheckBoxSerialNo(int state)
{
    ChangeState([this, state] { m_state.useSerialNo = state != 0; });
}

void ConfigDialog::_OnLineEditSN()
{
    ChangeState([] {}); // the typed number is taken in any case
}

void ConfigDialog::_OnLineEditIP()
{
    ChangeState([] {});
}

void ConfigDialog::_OnPBtnIPInfo()
{
    TakeTypedTexts();
    ShowIpInformation(this);
    Refresh();
}

void ConfigDialog::_OnPBtnSelTarget()
{
    TakeTypedTexts();
    const TargetDeviceChoice choice = ChooseTargetDevice(TextOf(m_state.deviceName));
    if (!choice.name.isEmpty()) {
        SetNameText(&m_state.deviceName, choice.name);
        m_state.endianIndex = choice.bigEndian ? 1 : 0;
    }
    Refresh();
}

void ConfigDialog::_OnComboBoxEndian(int row)
{
    ChangeState([this, row] { m_state.endianIndex = IndexOf(row, kEndians.size()); });
}

void ConfigDialog::_OnComboBoxTIF(int row)
{
    ChangeState([this, row] { ChooseInterface(&m_state, IndexOf(row, kInterfaces.size())); });
}

void ConfigDialog::ChooseSpeed(bool checked, std::uint32_t speedMode)
{
    ChangeState([this, checked, speedMode] {
        if (checked)
            m_state.speedMode = speedMode;
    });
}

void ConfigDialog::_OnRBtnAutoSel(bool checked)
{
    ChooseSpeed(checked, kAutoSpeed);
}

void ConfigDialog::_OnRBtnAdaptiveClock(bool checked)
{
    ChooseSpeed(checked, kAdaptiveSpeed);
}

void ConfigDialog::_OnRBtnFrequency(bool checked)
{
    ChooseSpeed(checked, kFixedSpeed);
}

void ConfigDialog::_OnComboBoxFrequency(int row)
{
    ChangeState([this, row] { m_state.frequencyIndex = FrequencyOfListRow(row); });
}

void ConfigDialog::_OnCheckBoxInitRegs(int state)
{
    ChangeState([this, state] { m_state.initRegs = state != 0; });
}

void ConfigDialog::_OnCheckBoxLocalhost(int state)
{
    ChangeState([this, state] { m_state.localhostOnly = state != 0; });
}

void ConfigDialog::_OnGBoxJTAGTargets(bool checked)
{
    ChangeState([this, checked] { m_state.multipleTargets = checked; });
}

void ConfigDialog::_OnComboBoxDRPre(int row)
{
    ChangeState([this, row] { ChoosePosition(&m_state, IndexOf(row, kPositions.size())); });
}

void ConfigDialog::_OnLineEditIRPre()
{
    ChangeState([] {});
}

void ConfigDialog::_OnPBtnOK()
{
    ChangeState([] {});
    StoreConfigState(m_state, m_record);
    accept();
}

void ConfigDialog::_OnPBtnCancel()
{
    reject();
}

void ConfigDialog::FillFrequencies()
{
    for (std::uint32_t row = FrequencyOfListRow(0); row < kFrequenciesKHz.size(); ++row)
        m_controls.comboBoxFrequency->addItem(row == kCustomFrequency
                ? QString::fromLatin1(CustomSpeedText().data())
                : QString::number(kFrequenciesKHz[row]));
}

void ConfigDialog::Refresh()
{
    RunOnce(kConnectionStep, [this] { RefreshConnection(); });
    RunOnce(kDeviceStep, [this] { RefreshDevice(); });
    RunOnce(kInterfaceStep, [this] { RefreshInterface(); });
    RunOnce(kOptionStringStep, [this] { RefreshOptionString(); });
    setFixedHeight(sizeHint().height());
}

void ConfigDialog::RefreshConnection()
{
    const bool isTcpIp = m_state.connectionIndex == kTcpIpConnection;
    const bool showsNumber = !isTcpIp && m_state.useSerialNo;
    CheckRadioButton({m_controls.rBtnUSB, m_controls.rBtnTCPIP},
        isTcpIp ? m_controls.rBtnTCPIP : m_controls.rBtnUSB);
    m_controls.host.Edit()->setVisible(isTcpIp);
    m_controls.pBtnIPInfo->setVisible(isTcpIp);
    m_controls.checkBoxSerialNo->setVisible(!isTcpIp);
    m_controls.serialNo.Edit()->setVisible(!isTcpIp);
    m_controls.checkBoxSerialNo->setChecked(m_state.useSerialNo);
    m_controls.serialNo.Edit()->setEnabled(showsNumber);
    m_controls.serialNo.Show(showsNumber ? QString::number(m_state.usbSerialNo) : QString());
    if (!isTcpIp)
        m_controls.host.Show(QString());
    else // a long name is shown in part, but edited as a whole
        m_controls.host.Show(m_controls.host.Edit()->hasFocus() ? TextOf(m_state.hostName)
                                                                : ShownHost(m_state.hostName));
    if (!m_controls.host.Edit()->hasFocus())
        m_controls.host.Edit()->setCursorPosition(0); // a long name shows its beginning
}

void ConfigDialog::RefreshDevice()
{
    m_controls.device.Show(TextOf(m_state.deviceName));
    m_controls.device.Edit()->setCursorPosition(0); // a long name shows its beginning
    m_controls.comboBoxEndian->setCurrentIndex(static_cast<int>(m_state.endianIndex));
}

void ConfigDialog::RefreshInterface()
{
    const bool isFixedSpeed = m_state.speedMode == kFixedSpeed;
    m_controls.checkBoxInitRegs->setChecked(m_state.initRegs);
    m_controls.checkBoxLocalhost->setChecked(m_state.localhostOnly);
    m_controls.comboBoxFrequency->setEnabled(isFixedSpeed);
    m_controls.labelKHz->setEnabled(isFixedSpeed);
    const auto speedButtons
        = {m_controls.rBtnAutoSel, m_controls.rBtnAdaptiveClock, m_controls.rBtnFrequency};
    // For JTAG alone: loading the settings drops it for any other interface.
    m_controls.rBtnAdaptiveClock->setEnabled(
        UsesScanChain(m_state) || m_state.speedMode == kAdaptiveSpeed);
    CheckRadioButton(speedButtons, speedButtons.begin()[m_state.speedMode]);
    m_controls.comboBoxFrequency->setCurrentIndex(ListRowOfFrequency(m_state.frequencyIndex));
    m_controls.comboBoxTIF->setCurrentIndex(static_cast<int>(m_state.interfaceIndex));
    if (m_handlesScanChain)
        RefreshScanChain();
}

void ConfigDialog::RefreshScanChain()
{
    m_controls.gBoxJTAGTargets->setVisible(UsesScanChain(m_state));
    m_controls.gBoxTargetInterface->setFixedHeight(
        m_controls.gBoxTargetInterface->sizeHint().height());
    m_controls.gBoxJTAGTargets->setChecked(m_state.multipleTargets);
    m_controls.comboBoxDRPre->setCurrentIndex(static_cast<int>(m_state.drPrefixIndex));
    m_controls.irPre.Show(QString::number(m_state.irPrefix));
}

void ConfigDialog::RefreshOptionString()
{
    m_controls.textCommandLine->setPlainText(QString::fromUtf8(MakeOptionString(m_state).data()));
    m_controls.textCommandLine->moveCursor(QTextCursor::Start);
}
