#include "cdeviceselectiondialog.h"
#include "configdialog.h"
#include "connectionrecord.h"
#include "devicefixture.h"
#include "tablerows.h"

#include <QtWidgets>

#include <cstring>
#include <limits>
#include <memory>

namespace {

/// Stands for the probe library.
struct FakeLibrary {
    std::vector<RanvoDeviceInfo> devices = MakeDeviceRecords();
    int count = int(devices.size());
    int brokenIndex = -1;
} g_library;

/// Interface, byte order, connection, position, speed, largest speed, adaptive.
using Values = std::array<int, 7>;
constexpr Values kUsual = {kTargetIfSwd, 0, kConnectModeUsb, 0, 4000, 1, 0};

ConnectionRecord RecordOf(const Values &values)
{
    ConnectionRecord record{};
    record.TargetIF = values[0];
    record.EndianMode = values[1];
    record.ConnectMode = values[2];
    record.DRPre = values[3];
    record.Speed = values[4];
    record.UseMaxSpeed = std::uint32_t(values[5]);
    record.UseAdaptive = std::uint32_t(values[6]);
    record.InitRegs = record.UseSerialNo = 1;
    record.USBSerialNo = 4294967295;
    record.IRPre = -3;
    record.HostName.fill('h');
    record.HostName.back() = '\0';
    qstrncpy(record.Device.data(), "STM32F40", record.Device.size());
    return record;
}

struct Stored {
    const char *name;
    Values values;
    QString shown; ///< the speed's row and text, then the other choices
    Values stored = values;
};

/// A host name, the keys behind it, and what is stored then.
struct Typed {
    QByteArray typed;
    QByteArray kept;
    QList<int> keys;
    int mode = kConnectModeTcpIp;
    QByteArray name = typed.simplified().left(20);
};

/// What the library lists, the device that is chosen of it and what comes of that.
struct Choice {
    const char *name;
    int count;
    int brokenIndex;
    QString device; ///< null: the dialog is cancelled
    QString chosen; ///< rows shown, device, byte order
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
    void init()
    {
        CustomSpeedText().fill('\0');
        g_library = {};
        m_record = RecordOf(kUsual);
    }
    void cleanup() { m_dialog.reset(); }

    void aRecordIsShownAndStored_data()
    {
        const char *const first = "0 1, Little Endian, SWD, 0";
        AddRows<Stored>({
            {"custom row without a text", {1, 0, 1, 0, -1, 0, 0}, "-1 , Little Endian, SWD, 0"},
            {"the last looked for", {1, 0, 1, 0, 10, 0, 0}, "2 10, Little Endian, SWD, 0"},
            {"not looked for, so twice", {1, 0, 1, 0, 20, 0, 0}, "0 20, Little Endian, SWD, 0"},
            {"below zero", {1, 0, 1, 0, -7, 0, 0}, "0 -7, Little Endian, SWD, 0"},
            {"greatest", {1, 0, 1, 0, INT_MAX, 0, 0}, "0 2147483647, Little Endian, SWD, 0"},
            {"no speed", {1, 0, 1, 0, 0, 0, 0}, "20 4000, Little Endian, SWD, 0",
                {1, 0, 1, 0, 4000, 0, 0}},
            {"largest speed", {1, 0, 1, 0, 77, 1, 0}, "20 4000, Little Endian, SWD, 0"},
            {"adaptive beats it", {0, 0, 1, 0, 77, 1, 1}, "20 4000, Little Endian, JTAG, 0",
                {0, 0, 1, 0, 77, 0, 1}},
            {"the last of each table", {4, 1, 2, 7, 1, 0, 0}, "0 1, Big Endian, ICSP, 7"},
            {"the interface left out", {2, 0, 1, 0, 1, 0, 0}, first, {1, 0, 1, 0, 1, 0, 0}},
            {"too much", {99, 2, 3, 8, 1, 0, 0}, first, {1, 0, 1, 0, 1, 0, 0}},
            {"too little", {-1, -1, -2, -99, 1, 0, 0}, first, {1, 0, 1, 0, 1, 0, 0}},
        });
    }

    void aRecordIsShownAndStored()
    {
        QFETCH(Stored, row);
        m_record = RecordOf(row.values);
        const ConnectionRecord wanted = RecordOf(row.stored);
        Open();
        QCOMPARE(m_dialog->windowTitle(), "Test - Config");
        QVERIFY(Field("pLineEditIP")->isVisible() == (wanted.ConnectMode == kConnectModeTcpIp));
        QVERIFY(!Child<QWidget>("pGBoxMisc")->isVisible());
        QVERIFY(!Child<QWidget>("pGBoxCommandLine")->isVisible());
        const QComboBox &speed = *Box("pComboBoxFrequency");
        QStringList shown{QString::number(speed.currentIndex()) + " " + speed.currentText()};
        for (const char *const name : {"pComboBoxEndian", "pComboBoxTIF", "pComboBoxDRPre"})
            shown.append(Box(name)->currentText());
        QCOMPARE(shown.join(", "), row.shown);
        // The fields show a part of what is stored; walking through them types nothing.
        QTest::keyClick(Field("pLineEditIP"), Qt::Key_Tab);
        m_dialog->_OnLineEditIP();
        Accept();
        QCOMPARE(m_record.Speed, wanted.Speed);
        QCOMPARE(std::memcmp(&m_record, &wanted, sizeof wanted), 0);
    }

    void aCustomSpeedStaysListedUntilTheProgramEnds()
    {
        m_record = RecordOf({1, 0, 1, 0, 777, 0, 0});
        Open();
        m_record = RecordOf({1, 0, 1, 0, 5, 0, 0});
        Open();
        QCOMPARE(Box("pComboBoxFrequency")->itemText(0), "777");
        Choose("pComboBoxFrequency", 0);
        Accept();
        QCOMPARE(m_record.Speed, 777);
    }

    void everyChoiceReachesTheRecord()
    {
        Open(kShowMiscSettings | kShowCommandLine | kHandleScanChain);
        Press("pCheckBoxSerialNo");
        QVERIFY(!Field("pLineEditSN")->isEnabled());
        QVERIFY(OptionString().startsWith("-select USB -device STM32F40 -endian little -if SWD "));
        Press("pCheckBoxSerialNo");
        Type("pLineEditSN", "2x8-1+0\"0 001"); // a number alone
        Choose("pComboBoxTIF", 0);
        Choose("pComboBoxEndian", 1);
        Press("pRBtnAdaptiveClock");
        QVERIFY(OptionString().endsWith(" -speed adaptive -ir -noLocalhostOnly"));
        Press("pRBtnFrequency");
        Choose("pComboBoxFrequency", 1);
        Press("pCheckBoxInitRegs");
        Press("pCheckBoxLocalhost");
        m_dialog->_OnGBoxJTAGTargets(true);
        Choose("pComboBoxDRPre", 3);
        QCOMPARE(Field("pLineEditIRPre")->text(), "12");
        Type("pLineEditIRPre", "9");
        QCOMPARE(OptionString(),
            "-select USB=28100001 -device STM32F40 -endian big -if JTAG -speed 5 -noir "
            "-LocalhostOnly");
        Accept();
        ConnectionRecord wanted = RecordOf({kTargetIfJtag, 1, kConnectModeUsb, 3, 5, 0, 0});
        wanted.LocalhostOnly = wanted.MultipleTargets = 1; // InitRegs stays
        wanted.USBSerialNo = 28100001;
        wanted.IRPre = 9;
        QCOMPARE(std::memcmp(&m_record, &wanted, sizeof wanted), 0);

        m_record.Speed = -1;
        Open();
        Press("pRBtnTCPIP");
        QVERIFY(OptionString().startsWith("-select IP=" + QString(62, 'h') + " -device STM32F40"));
        Field("pLineEditIP")->clear();
        m_dialog->_OnLineEditIP();
        QVERIFY(OptionString().startsWith("-select IP -device STM32F40"));
        QVERIFY(OptionString().contains(" -speed  -ir")); // the custom row without a text
        Press("pRBtnAutoSel");
        QVERIFY(OptionString().contains(" -speed auto -ir"));
        Press("pRBtnUSB");
        Type("pLineEditSN", "42949672950");    // one digit too many
        Field("pLineEditIRPre")->setText("-"); // what is no number reads 0
        Accept();
        QCOMPARE(m_record.USBSerialNo, 4294967295U);
        QCOMPARE(m_record.IRPre, 0);
    }

    void nothingTypedIsLost_data()
    {
        const QList<int> ok{int(Qt::ALT) | Qt::Key_O};
        const QList<int> usbThenOk{int(Qt::ALT) | Qt::Key_U, ok.first()};
        AddRows<Typed>({{"  a.example ", "a.example", ok}, {"e", "e", {Qt::Key_Return}},
            {"usb", "usb", usbThenOk, kConnectModeUsb},
            {"a\"\r\n[TIF]\x7F\tb", "a[TIF]b", ok}, // would end its line or its quotes
            {"too long " + QByteArray(10000, 'x'), "too long " + QByteArray(118, 'x'), ok},
            {QByteArray(126, 'x') + "\u00E4", QByteArray(126, 'x'), ok}, // across the bound
            {QByteArray("\u00E4").repeated(5000), QByteArray("\u00E4").repeated(63), ok}});
    }

    void nothingTypedIsLost()
    {
        QFETCH(Typed, row);
        m_record.ConnectMode = kConnectModeTcpIp;
        Open();
        Field("pLineEditIP")->setFocus();
        Field("pLineEditIP")->setText(row.typed);
        for (const int key : row.keys)
            QTest::keySequence(QApplication::focusWidget(), QKeySequence(key));
        QTRY_COMPARE(m_dialog->result(), int(QDialog::Accepted));
        QCOMPARE(QByteArray(m_record.HostName.data()), row.kept);
        QVERIFY(!QByteArray(m_record.HostName.data(), 128).contains('h')); // nothing behind it
        QCOMPARE(m_record.ConnectMode, row.mode);
    }

    void aLongHostNameIsEditedAsAWhole()
    {
        const QString longName(127, 'h');
        m_record.ConnectMode = kConnectModeTcpIp;
        Open();
        QLineEdit *const field = Field("pLineEditIP");
        Child<QPushButton>("pPBtnCancel")->setFocus();
        QCOMPARE(field->text(), longName.left(63));
        field->setFocus();
        QCOMPARE(field->text(), longName);
        QTest::keyClick(field, Qt::Key_End);
        QTest::keyClick(field, Qt::Key_Backspace);
        QTest::keyClicks(field, "c");
        InModal([](QWidget *box) { box->findChild<QPushButton *>()->click(); });
        Press("pPBtnIPInfo");
        Child<QPushButton>("pPBtnOK")->setFocus();
        QCOMPARE(field->text(), longName.left(63));
        Accept();
        QCOMPARE(QString(m_record.HostName.data()), longName.left(126) + "c");
    }

    void switchingMovesNothingThatStays()
    {
        Open();
        const QRect ok = Child<QWidget>("pPBtnOK")->geometry();
        const QSize size = m_dialog->size();
        Press("pRBtnTCPIP");
        QCOMPARE(m_dialog->size(), size);
        QVERIFY(!Child<QWidget>("pCheckBoxSerialNo")->isVisible());
        Press("pRBtnUSB");
        for (const int interface : {1, 2, 3}) {
            QVERIFY(!Child<QWidget>("pRBtnAdaptiveClock")->isEnabled()); // it is for JTAG alone
            Choose("pComboBoxTIF", 0);
            Press("pRBtnAdaptiveClock");
            Choose("pComboBoxDRPre", 6);
            QVERIFY(Child<QWidget>("pGBoxJTAGTargets")->isVisible());
            QCOMPARE(m_dialog->width(), size.width());
            Choose("pComboBoxTIF", interface);
            QVERIFY(!Child<QWidget>("pGBoxJTAGTargets")->isVisible());
            QCOMPARE(m_dialog->size(), size);
            QTRY_COMPARE(Child<QWidget>("pPBtnOK")->geometry(), ok);
        }
        Accept();
        QVERIFY(m_record.UseAdaptive == 0 && m_record.UseMaxSpeed == 1);
        QCOMPARE(m_record.IRPre, 24);
    }

    void aDeviceIsChosenFromWhateverTheLibraryLists_data()
    {
        AddRows<Choice>({{"big-endian", 7, -1, "RX610 big", "8, RX610 big, 1"},
            {"without a name", 7, -1, "", "8, STM32F40, 0"}, {"none", 7, -1, {}, "8, STM32F40, 0"},
            {"less than nothing", -5, -1, {}, "1, STM32F40, 0"},
            {"more than all memory", INT_MAX, -1, {}, "32769, STM32F40, 0"},
            {"another cannot be read", 7, 1, "STM32F407IG", "8, STM32F407IG, 0"}});
    }

    void aDeviceIsChosenFromWhateverTheLibraryLists()
    {
        QFETCH(Choice, row);
        g_library.count = row.count;
        g_library.brokenIndex = row.brokenIndex;
        Open();
        int rows = -1;
        QString preselected;
        InModal([&](QWidget *modal) {
            auto *const dialog = qobject_cast<CDeviceSelectionDialog *>(modal);
            preselected = dialog->findChild<QLabel *>("pLabelSelectedDevice")->text();
            rows = dialog->findChild<QTableView *>()->model()->rowCount();
            dialog->SelectDevice(row.device);
            row.device.isNull() ? dialog->OnButtonRejectClicked() : dialog->OnButtonAcceptClicked();
        });
        Press("pPBtnSelTarget");
        QCOMPARE(preselected, row.count > 0 ? "STM32F40" : "");
        Accept();
        QCOMPARE(
            QString("%1, %2, %3").arg(rows).arg(m_record.Device.data()).arg(m_record.EndianMode),
            row.chosen);
    }

    void everyControlHasAPlaceInTheTabOrder()
    {
        m_record = RecordOf({kTargetIfJtag, 0, kConnectModeUsb, 0, 5, 0, 0});
        m_record.MultipleTargets = 1;
        Open();
        QWidget *const first = Child<QWidget>("pRBtnUSB");
        first->setFocus();
        QStringList order;
        do {
            order << QApplication::focusWidget()->objectName();
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        } while (QApplication::focusWidget() != first && order.size() < 50);
        QCOMPARE(order.join(u' '),
            "pRBtnUSB pCheckBoxSerialNo pLineEditSN pLineEditDevice pPBtnSelTarget pComboBoxEndian "
            "pComboBoxTIF pRBtnFrequency pComboBoxFrequency pGBoxJTAGTargets pComboBoxDRPre "
            "pLineEditIRPre pPBtnOK pPBtnCancel");
    }

private:
    void Open(int options = kHandleScanChain)
    {
        m_dialog = std::make_unique<ConfigDialog>(nullptr, "Test", &m_record);
        m_dialog->SetOptions(options);
        QVERIFY(QTest::qWaitForWindowActive(m_dialog.get()));
    }

    void Accept()
    {
        Press("pPBtnOK");
        QCOMPARE(m_dialog->result(), int(QDialog::Accepted));
    }

    /// Does something inside the next modal box.
    void InModal(const std::function<void(QWidget *)> &act)
    {
        QMetaObject::invokeMethod(
            this, [act] { act(QApplication::activeModalWidget()); }, Qt::QueuedConnection);
    }

    QString OptionString() { return Child<QPlainTextEdit>("pTextCommandLine")->toPlainText(); }

    void Press(const char *name) { Child<QAbstractButton>(name)->click(); }

    void Choose(const char *name, int row)
    {
        Box(name)->setCurrentIndex(row);
        emit Box(name)->activated(row);
    }

    void Type(const char *name, const QString &text)
    {
        Field(name)->setFocus();
        Field(name)->selectAll();
        QTest::keyClicks(Field(name), text);
        QTest::keyClick(Field(name), Qt::Key_Tab);
    }

    template <typename T> T *Child(const char *name) { return m_dialog->findChild<T *>(name); }
    QLineEdit *Field(const char *name) { return Child<QLineEdit>(name); }
    QComboBox *Box(const char *name) { return Child<QComboBox>(name); }

    ConnectionRecord m_record{};
    std::unique_ptr<ConfigDialog> m_dialog;
};

QTEST_MAIN(ConfigDialogTest)
#include "tst_configdialog.moc"
