#include "cdeviceselectiondialog.h"
#include "configdialog.h"
#include "connectionrecord.h"
#include "devicefixture.h"
#include "tablerows.h"

#include <QtWidgets>

#include <cstring>
#include <memory>

namespace {

/// Stands for the probe library.
struct FakeLibrary {
    std::vector<RanvoDeviceInfo> devices = MakeDeviceRecords();
    int count = int(devices.size());
    int brokenIndex = -1;
} g_library;

const QStringList kNumbers
    = QString("UseSerialNo InitRegs LocalhostOnly MultipleTargets USBSerialNo "
              "ConnectMode TargetIF UseMaxSpeed UseAdaptive Speed DRPre "
              "IRPre EndianMode")
          .split(u' '); // of the record, in its order

constexpr const char *kScripts = R"(
custom row without a text: open UseMaxSpeed=0 Speed=-1; lists? -> -1 , Little Endian, SWD, 0; ok? ->
the last looked for: open UseMaxSpeed=0 Speed=10; lists? -> 2 10, Little Endian, SWD, 0; ok? ->
not looked for, so twice: open UseMaxSpeed=0 Speed=20; lists? -> 0 20, Little Endian, SWD, 0; ok? ->
no speed: open UseMaxSpeed=0 Speed=0; lists? -> 20 4000, Little Endian, SWD, 0; ok? -> Speed=4000
largest speed: open Speed=77; lists? -> 20 4000, Little Endian, SWD, 0; visible? LineEditIP
    LineEditSN GBoxMisc GBoxCommandLine -> LineEditSN; ok? ->
adaptive beats it: open TargetIF=0 Speed=77 UseAdaptive=1; lists? -> 20 4000, Little Endian, JTAG,
    0; ok? -> UseMaxSpeed=0
the last of each table: open EndianMode=1 ConnectMode=2 TargetIF=4 DRPre=7; lists? -> 20 4000, Big
    Endian, ICSP, 7; visible? LineEditIP LineEditSN -> LineEditIP; ok? ->
the interface left out: open TargetIF=2; lists? -> 20 4000, Little Endian, SWD, 0; ok? -> TargetIF=1
too much: open TargetIF=99 EndianMode=2 ConnectMode=3 DRPre=8; lists? -> 20 4000, Little Endian,
    SWD, 0; ok? -> ConnectMode=1 TargetIF=1 DRPre=0 EndianMode=0
too little: open TargetIF=-1 EndianMode=-1 ConnectMode=-2 DRPre=-99; lists? -> 20 4000, Little
    Endian, SWD, 0; ok? -> ConnectMode=1 TargetIF=1 DRPre=0 EndianMode=0
a custom speed stays until the program ends: open UseMaxSpeed=0 Speed=777; open Speed=5; choose
    ComboBoxFrequency 0; lists? -> 0 777, Little Endian, SWD, 0; ok? -> Speed=777
every one: open; options 7; press CheckBoxSerialNo; enabled? LineEditSN ->; text? TextCommandLine ->
    -select USB -device STM32F40 -endian little -if SWD -speed auto -ir -noLocalhostOnly; press
    CheckBoxSerialNo; focus LineEditSN; key Ctrl+A; type 2x8-1+0'0 001; key Tab; choose ComboBoxTIF
    0; choose ComboBoxEndian 1; press RBtnAdaptiveClock; text? TextCommandLine -> -select
    USB=28100001 -device STM32F40 -endian big -if JTAG -speed adaptive -ir -noLocalhostOnly; press
    RBtnFrequency; choose ComboBoxFrequency 1; press CheckBoxInitRegs; press CheckBoxLocalhost;
    press GBoxJTAGTargets; choose ComboBoxDRPre 3; text? LineEditIRPre -> 12; focus LineEditIRPre;
    key Ctrl+A; type 9; key Tab; text? TextCommandLine -> -select USB=28100001 -device STM32F40
    -endian big -if JTAG -speed 5 -noir -LocalhostOnly; ok? -> LocalhostOnly=1 MultipleTargets=1
    USBSerialNo=28100001 TargetIF=0 UseMaxSpeed=0 Speed=5 DRPre=3 IRPre=9 EndianMode=1
what has no text: open UseMaxSpeed=0 Speed=-1; options 7; press RBtnTCPIP; text? TextCommandLine ->
    -select IP=h*62 -device STM32F40 -endian little -if SWD -speed  -ir -noLocalhostOnly; text
    LineEditIP; press RBtnAutoSel; text? TextCommandLine -> -select IP -device STM32F40 -endian
    little -if SWD -speed auto -ir -noLocalhostOnly; ok? -> ConnectMode=2 UseMaxSpeed=1 HostName=
no number and too great a one: open USBSerialNo=5; focus LineEditSN; key Ctrl+A; type 42949672950;
    text LineEditIRPre -; ok? -> USBSerialNo=-1 IRPre=0
a long host name is edited as a whole: open ConnectMode=2; focus PBtnCancel; text? LineEditIP ->
    h*63; focus LineEditIP; text? LineEditIP -> h*127; key End; key Backspace; key C; modal; press
    PBtnIPInfo; focus PBtnOK; text? LineEditIP -> h*63; ok? -> HostName=h*126c
OK by keys: open ConnectMode=2; focus LineEditIP; text LineEditIP %20 a.example%20; key Alt+O;
    stored? -> HostName=a.example
Return: open ConnectMode=2; focus LineEditIP; text LineEditIP e; key Return; stored? -> HostName=e
another choice: open ConnectMode=2; focus LineEditIP; text LineEditIP usb; key Alt+U; key Alt+O;
    stored? -> ConnectMode=1 HostName=usb
what would end a line: open ConnectMode=2; text LineEditIP a%22%0D%0A[TIF]%7F%09b; ok? ->
    HostName=a[TIF]b
too long: open; press RBtnTCPIP; fill LineEditIP x 10000; ok? -> ConnectMode=2 HostName=x*127
two bytes across the bound: open ConnectMode=2; fill LineEditIP ä 5000; ok? -> HostName=ä*63
nothing that stays moves: open; press RBtnTCPIP; visible? CheckBoxSerialNo ->; moved? ->; press
    RBtnUSB; enabled? RBtnAdaptiveClock ->; choose ComboBoxTIF 0; press RBtnAdaptiveClock; choose
    ComboBoxDRPre 6; visible? GBoxJTAGTargets -> GBoxJTAGTargets; choose ComboBoxTIF 1; visible?
    GBoxJTAGTargets ->; moved? ->; enabled? RBtnAdaptiveClock ->; choose ComboBoxTIF 0; moved? ->
    OK; choose ComboBoxTIF 2; moved? ->; choose ComboBoxTIF 0; press RBtnAdaptiveClock; choose
    ComboBoxTIF 3; visible? GBoxJTAGTargets ->; moved? ->; ok? -> TargetIF=4 DRPre=6 IRPre=24
the Tab key finds each control: open TargetIF=0 MultipleTargets=1 UseMaxSpeed=0; tabs? RBtnUSB ->
    pRBtnUSB pCheckBoxSerialNo pLineEditSN pLineEditDevice pPBtnSelTarget pComboBoxEndian
    pComboBoxTIF pRBtnFrequency pComboBoxFrequency pGBoxJTAGTargets pComboBoxDRPre pLineEditIRPre
    pPBtnOK pPBtnCancel
big-endian: open; modal RX610 big; press PBtnSelTarget -> 8 STM32F40; ok? -> EndianMode=1
    Device=RX610 big
without a name: open; modal; press PBtnSelTarget -> 8 STM32F40; ok? ->
less than nothing: library -5; open; modal cancel; press PBtnSelTarget -> 1; ok? ->
more than all memory: library 2147483647; open; modal cancel; press PBtnSelTarget -> 32769 STM32F40;
    ok? ->
another cannot be read: library 7 1; open; modal STM32F407IG; press PBtnSelTarget -> 8 STM32F40; ok?
    -> Device=STM32F407IG
)";

/// The connection dialog over a record, driven by steps: "; " lies between them, and what one is
/// answered stands behind it. Controls are named without their "p".
class ConfigScript {
public:
    ConfigScript()
    {
        CustomSpeedText().fill('\0');
        g_library = {};
        m_record.HostName.fill('h');
        m_record.HostName.back() = '\0';
    }
    QString Do(const QString &answered)
    {
        const QString step = answered.section(" ->", 0, 0);
        const QString verb = step.section(u' ', 0, 0);
        m_words = step.split(u' ').mid(1);
        m_rest = step.section(u' ', 2);
        m_answers.clear();
        m_steps.at(verb)();
        return m_answers.isEmpty() && !verb.endsWith(u'?')
            ? step
            : (step + " -> " + m_answers.join(u' ')).trimmed();
    }

private:
    std::int32_t *Numbers(ConnectionRecord &record)
    {
        return reinterpret_cast<std::int32_t *>(&record);
    }
    void Open()
    {
        for (const QString &word : m_words)
            Numbers(m_record)[kNumbers.indexOf(word.section(u'=', 0, 0))]
                = word.section(u'=', 1).toInt();
        m_before = m_record;
        m_dialog = std::make_unique<ConfigDialog>(nullptr, "Test", &m_record);
        m_dialog->SetOptions(kHandleScanChain);
        QVERIFY(QTest::qWaitForWindowActive(m_dialog.get()));
        m_widthPx = m_dialog->width();
        m_ok = Child<QWidget>("PBtnOK")->pos();
    }
    /// What OK has changed in the record.
    void TellStored()
    {
        QTRY_COMPARE(m_dialog->result(), int(QDialog::Accepted));
        for (int i = 0; i < kNumbers.size(); ++i) {
            const std::int32_t number = Numbers(m_record)[i];
            if (number != Numbers(m_before)[i])
                m_answers << kNumbers[i] + u'=' + QString::number(number);
        }
        for (auto text : {&ConnectionRecord::Device, &ConnectionRecord::HostName}) {
            const QString whole = QString::fromUtf8((m_record.*text).data(), 128);
            if (m_record.*text != m_before.*text)
                m_answers << (text == &ConnectionRecord::Device ? "Device=" : "HostName=")
                        + Short(QString(whole).remove(QRegularExpression("\\x00+$")));
        }
    }
    /// Ten or more equal characters are written as x*99.
    static QString Short(QString text)
    {
        const auto run = QRegularExpression("(.)\\1{9,}").match(text);
        return run.hasMatch() ? text.replace(run.capturedStart(), run.capturedLength(),
                   run.captured(1) + u'*' + QString::number(run.capturedLength()))
                              : text;
    }
    /// Walks through the address, of which a part may be shown, and types nothing.
    void Accept()
    {
        QTest::keyClick(Child<QLineEdit>("LineEditIP"), Qt::Key_Tab);
        m_dialog->_OnLineEditIP();
        Child<QPushButton>("PBtnOK")->click();
        TellStored();
    }
    /// Chooses a device in the next dialog, or closes it.
    void ExpectModal()
    {
        QTimer::singleShot(0, m_dialog.get(), [this, device = m_words.join(u' ')] {
            QWidget *const modal = QApplication::activeModalWidget();
            auto *const dialog = qobject_cast<CDeviceSelectionDialog *>(modal);
            if (dialog == nullptr)
                return modal->findChild<QPushButton *>()->click();
            m_answers << QString::number(dialog->findChild<QTableView *>()->model()->rowCount())
                      << dialog->findChild<QLabel *>("pLabelSelectedDevice")->text();
            dialog->SelectDevice(device);
            device == "cancel" ? dialog->OnButtonRejectClicked() : dialog->OnButtonAcceptClicked();
        });
    }
    void TellTabOrder()
    {
        Child<QWidget>()->setFocus();
        do {
            m_answers << QApplication::focusWidget()->objectName();
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        } while (!Child<QWidget>()->hasFocus() && m_answers.size() < 50);
    }
    void Tell(bool (QWidget::*is)() const)
    {
        for (const QString &name : m_words) {
            if ((Child<QWidget>(name)->*is)())
                m_answers << name;
        }
    }
    template <typename T> T *Child(const QString &name)
    {
        return m_dialog->findChild<T *>(u'p' + name);
    }
    template <typename T> T *Child() { return Child<T>(m_words.value(0)); }
    void SetText(const QString &text) { Child<QLineEdit>()->setText(text); }

    ConnectionRecord m_record{1, 1, 0, 0, 4294967295, kConnectModeUsb, kTargetIfSwd, 1, 0, 4000, 0,
        -3, 0, {"STM32F40"}, {}};
    ConnectionRecord m_before{};
    std::unique_ptr<ConfigDialog> m_dialog;
    int m_widthPx = 0;
    QPoint m_ok;
    QStringList m_words;
    QString m_rest; // behind the first word
    QStringList m_answers;
    const std::map<QString, std::function<void()>> m_steps{
        {"library", // so many devices, and one that cannot be read
            [this] {
                g_library.count = m_words[0].toInt();
                g_library.brokenIndex = m_words.value(1, "-1").toInt();
            }},
        {"open", [this] { Open(); }},
        {"options", [this] { m_dialog->SetOptions(m_words[0].toInt()); }},
        {"press", [this] { QTest::keyClick(Child<QWidget>(), Qt::Key_Space); }},
        {"choose",
            [this] {
                Child<QComboBox>()->setCurrentIndex(m_rest.toInt());
                emit Child<QComboBox>()->activated(m_rest.toInt());
            }},
        {"type", [this] { QTest::keyClicks(QApplication::focusWidget(), m_words.join(u' ')); }},
        {"text", [this] { SetText(QUrl::fromPercentEncoding(m_rest.toUtf8())); }},
        {"fill", [this] { SetText(m_words[1].repeated(m_words[2].toInt())); }},
        {"focus", [this] { Child<QWidget>()->setFocus(); }},
        {"key",
            [this] { QTest::keySequence(QApplication::focusWidget(), QKeySequence(m_words[0])); }},
        {"modal", [this] { ExpectModal(); }},
        {"ok?", [this] { Accept(); }},
        {"stored?", [this] { TellStored(); }},
        {"lists?", // the speed's row and text, then the other choices
            [this] {
                QStringList shown(
                    QString::number(Child<QComboBox>("ComboBoxFrequency")->currentIndex()) + u' '
                    + Child<QComboBox>("ComboBoxFrequency")->currentText());
                for (const char *name : {"ComboBoxEndian", "ComboBoxTIF", "ComboBoxDRPre"})
                    shown << Child<QComboBox>(name)->currentText();
                m_answers << shown.join(", ");
            }},
        {"visible?", [this] { Tell(&QWidget::isVisible); }},
        {"enabled?", [this] { Tell(&QWidget::isEnabled); }},
        {"text?",
            [this] {
                const QWidget *const widget = Child<QWidget>();
                m_answers << Short(widget->metaObject()->userProperty().read(widget).toString());
            }},
        {"moved?", // what a user sees move
            [this] {
                QApplication::processEvents();
                if (m_dialog->width() != m_widthPx)
                    m_answers << "width";
                if (Child<QWidget>("PBtnOK")->pos() != m_ok)
                    m_answers << "OK";
            }},
        {"tabs?", [this] { TellTabOrder(); }},
    };
};

} // namespace

extern "C" int RANVOARM_DEVICE_GetInfo(int index, RanvoDeviceInfo *info)
{
    if (index == -1 && info == nullptr)
        return g_library.count;
    if (info->sizeOfStruct != RANVO_DEVICE_INFO_SIZE || info->name != nullptr)
        return -1;
    if (index == g_library.brokenIndex)
        std::memset(info, 0xA5, sizeof *info);
    if (index == g_library.brokenIndex || std::size_t(index) >= g_library.devices.size())
        return -1;
    *info = g_library.devices[std::size_t(index)];
    return 0;
}

class ConfigDialogTest : public QObject {
    Q_OBJECT

private slots:
    void whatIsShownChosenAndTypedReachesTheRecord_data() { AddScripts(kScripts); }
    void whatIsShownChosenAndTypedReachesTheRecord() { RunScript<ConfigScript>(); }
};

QTEST_MAIN(ConfigDialogTest)
#include "tst_configdialog.moc"
