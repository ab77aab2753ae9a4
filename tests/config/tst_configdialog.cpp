#include "cdeviceselectiondialog.h"
#include "configdialog.h"
#include "devicefixture.h"
#include "recordfixture.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalSpy>
#include <QTableView>
#include <QTest>

#include <functional>
#include <memory>

namespace {

/// Stands for the probe library.
struct FakeLibrary {
    std::vector<RanvoDeviceInfo> devices;
    int count = 0;
    int brokenIndex = -1;
} g_library;

} // namespace

extern "C" int RANVOARM_DEVICE_GetInfo(int index, RanvoDeviceInfo *info)
{
    if (index == -1 && info == nullptr)
        return g_library.count;
    if (info->sizeOfStruct != RANVO_DEVICE_INFO_SIZE || info->name != nullptr)
        return -1;
    if (index == g_library.brokenIndex) {
        std::fill_n(reinterpret_cast<unsigned char *>(info), sizeof *info, 0xA5);
        return -1;
    }
    if (static_cast<std::size_t>(index) >= g_library.devices.size())
        return -1;
    *info = g_library.devices[static_cast<std::size_t>(index)];
    return 0;
}

class ConfigDialogTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        CustomSpeedText().fill('\0');
        g_library = {};
        g_library.devices = MakeDeviceRecords();
        g_library.count = static_cast<int>(g_library.devices.size());
        m_record = MakeRecord();
        SetText(&m_record.Device, "STM32F40");
    }

    void cleanup() { m_dialog.reset(); }

    void itShowsTheRecord()
    {
        m_record.ConnectMode = kConnectModeTcpIp;
        m_record.TargetIF = kTargetIfJtag;
        m_record.UseMaxSpeed = 0;
        m_record.MultipleTargets = 1;
        m_record.DRPre = 2;
        m_record.IRPre = 99;
        m_record.EndianMode = 1;
        SetText(&m_record.HostName, "probe.example");
        Open();
        QCOMPARE(m_dialog->windowTitle(), "Test - Config");
        QVERIFY(Child<QRadioButton>("pRBtnTCPIP")->isChecked());
        QCOMPARE(Field("pLineEditIP")->text(), "probe.example");
        QVERIFY(Field("pLineEditIP")->isVisible());
        QVERIFY(!Field("pLineEditSN")->isVisible());
        QCOMPARE(Field("pLineEditDevice")->text(), "STM32F40");
        QCOMPARE(Box("pComboBoxEndian")->currentText(), "Big Endian");
        QCOMPARE(Box("pComboBoxTIF")->currentText(), "JTAG");
        QVERIFY(Child<QRadioButton>("pRBtnFrequency")->isChecked());
        // 4000 kHz as a stored speed is the custom first entry, beside the listed one.
        QCOMPARE(Box("pComboBoxFrequency")->currentIndex(), 0);
        QCOMPARE(Box("pComboBoxFrequency")->currentText(), "4000");
        QCOMPARE(Box("pComboBoxFrequency")->itemText(21), "4000");
        QVERIFY(Child<QGroupBox>("pGBoxJTAGTargets")->isChecked());
        QCOMPARE(Box("pComboBoxDRPre")->currentText(), "2");
        QCOMPARE(Field("pLineEditIRPre")->text(), "99");
        QVERIFY(!Child<QGroupBox>("pGBoxMisc")->isVisible());
        QVERIFY(!Child<QGroupBox>("pGBoxCommandLine")->isVisible());
    }

    void acceptingUntouchedLeavesTheRecordEqual()
    {
        m_record.InitRegs = 1;
        m_record.UseSerialNo = 1;
        m_record.USBSerialNo = 4294967295;
        SetText(&m_record.HostName, std::string(100, 'h'));
        m_record.ConnectMode = kConnectModeTcpIp;
        const ConnectionRecord before = m_record;
        Open();
        // The field shows a part of the long name; walking through it types nothing.
        QTest::keyClick(Field("pLineEditIP"), Qt::Key_Tab);
        m_dialog->_OnLineEditIP();
        Accept();
        QVERIFY(AreEqual(m_record, before));
    }

    void everyChoiceReachesTheRecord()
    {
        Open(kShowMiscSettings | kShowCommandLine | kHandleScanChain);
        Child<QCheckBox>("pCheckBoxSerialNo")->click();
        Type("pLineEditSN", "28100001");
        Choose("pComboBoxTIF", 0);
        Choose("pComboBoxEndian", 1);
        Child<QRadioButton>("pRBtnFrequency")->click();
        Choose("pComboBoxFrequency", 1);
        Child<QCheckBox>("pCheckBoxInitRegs")->click();
        Child<QCheckBox>("pCheckBoxLocalhost")->click();
        Child<QGroupBox>("pGBoxJTAGTargets")->setChecked(true);
        Choose("pComboBoxDRPre", 3);
        QCOMPARE(Field("pLineEditIRPre")->text(), "12");
        Type("pLineEditIRPre", "9");
        QCOMPARE(Child<QPlainTextEdit>("pTextCommandLine")->toPlainText(),
            "-select USB=28100001 -device STM32F40 -endian big -if JTAG -speed 5 -ir "
            "-LocalhostOnly");
        Accept();
        QCOMPARE(m_record.UseSerialNo, 1U);
        QCOMPARE(m_record.USBSerialNo, 28100001U);
        QCOMPARE(m_record.TargetIF, kTargetIfJtag);
        QCOMPARE(m_record.EndianMode, 1);
        QCOMPARE(m_record.UseMaxSpeed, 0U);
        QCOMPARE(m_record.Speed, 5);
        QCOMPARE(m_record.InitRegs, 0U);
        QCOMPARE(m_record.LocalhostOnly, 1U);
        QCOMPARE(m_record.MultipleTargets, 1U);
        QCOMPARE(m_record.DRPre, 3);
        QCOMPARE(m_record.IRPre, 9);
    }

    void nothingTypedIsLost()
    {
        using Way = void (*)(ConfigDialogTest &, QLineEdit *);
        const std::pair<Way, int> ways[] = {// and the connection that is chosen then
            {[](ConfigDialogTest &t, QLineEdit *) {
                 QTest::mouseClick(t.Child<QPushButton>("pPBtnOK"), Qt::LeftButton);
             },
                kConnectModeTcpIp},
            {[](ConfigDialogTest &, QLineEdit *field) { QTest::keyClick(field, Qt::Key_Return); },
                kConnectModeTcpIp},
            {[](ConfigDialogTest &t, QLineEdit *) {
                 QTest::keyClick(t.m_dialog.get(), Qt::Key_O, Qt::AltModifier);
             },
                kConnectModeTcpIp},
            {[](ConfigDialogTest &t, QLineEdit *field) {
                 QTest::keyClick(field, Qt::Key_U, Qt::AltModifier);
                 QTest::keyClick(t.m_dialog.get(), Qt::Key_O, Qt::AltModifier);
             },
                kConnectModeUsb}};
        for (const auto &[way, mode] : ways) {
            m_record.ConnectMode = kConnectModeTcpIp;
            m_record.HostName.fill('\0');
            Open();
            QLineEdit *field = Field("pLineEditIP");
            field->setFocus();
            QTest::keyClicks(field, "typed.example");
            way(*this, field);
            QTRY_COMPARE(m_dialog->result(), int(QDialog::Accepted));
            QCOMPARE(m_record.HostName.data(), "typed.example");
            QCOMPARE(m_record.ConnectMode, mode);
        }
    }

    void aHostNameIsEditedAsAWholeAndTrimmed()
    {
        const QString longName = QString(50, 'a') + QString(50, 'b');
        m_record.ConnectMode = kConnectModeTcpIp;
        SetText(&m_record.HostName, longName.toStdString());
        Open();
        QLineEdit *field = Field("pLineEditIP");
        Child<QPushButton>("pPBtnCancel")->setFocus();
        QCOMPARE(field->text(), longName.left(63));
        field->setFocus();
        QCOMPARE(field->text(), longName);
        QTest::keyClick(field, Qt::Key_End);
        QTest::keyClicks(field, "c");
        Child<QPushButton>("pPBtnOK")->setFocus();
        QCOMPARE(field->text(), longName.left(63));
        Accept();
        QCOMPARE(QString(m_record.HostName.data()), longName + "c");
        Open();
        Type("pLineEditIP", "  probe.example ");
        QCOMPARE(Field("pLineEditIP")->text(), "probe.example");
        Accept();
        QCOMPARE(m_record.HostName.data(), "probe.example");
    }

    void adaptiveClockingIsForJtagAlone()
    {
        Open();
        auto *const adaptive = Child<QRadioButton>("pRBtnAdaptiveClock");
        QVERIFY(!adaptive->isEnabled());
        Choose("pComboBoxTIF", 0);
        QVERIFY(adaptive->isEnabled());
        adaptive->click();
        for (const int interface : {1, 2, 3}) {
            Choose("pComboBoxTIF", 0);
            adaptive->click();
            Choose("pComboBoxTIF", interface);
            QVERIFY(!adaptive->isEnabled() && Child<QRadioButton>("pRBtnAutoSel")->isChecked());
        }
        Accept();
        QCOMPARE(m_record.UseAdaptive, 0U);
        QCOMPARE(m_record.UseMaxSpeed, 1U);
    }

    void numberFieldsTakeNumbersOnly()
    {
        m_record.UseSerialNo = m_record.MultipleTargets = 1;
        m_record.TargetIF = kTargetIfJtag;
        m_record.USBSerialNo = 77;
        m_record.IRPre = 5;
        Open();
        QLineEdit *field = Field("pLineEditSN");
        field->selectAll();
        QTest::keyClicks(field, "4x2-9+4\"967 2950");
        QCOMPARE(field->text(), "4294967295"); // one digit more would be too much
        Field("pLineEditIRPre")->setText("-"); // what is no number reads 0
        Accept();
        QCOMPARE(m_record.USBSerialNo, 4294967295U);
        QCOMPARE(m_record.IRPre, 0);
        Open();
        Field("pLineEditSN")->clear();
        Accept();
        QCOMPARE(m_record.USBSerialNo, 0U);
    }

    void aBrokenDeviceListHarmsNothing()
    {
        const std::array<int, 3> lists[] = {// count, the record that cannot be read, rows shown
            {-5, -1, 1}, {0, -1, 1}, {std::numeric_limits<int>::max(), -1, 32769}, {7, 1, 8}};
        for (const auto &[count, brokenIndex, shownRows] : lists) {
            g_library.count = count;
            g_library.brokenIndex = brokenIndex;
            Open();
            int rows = -1;
            InModal([&](QWidget *dialog) {
                rows = dialog->findChild<QTableView *>()->model()->rowCount();
                qobject_cast<CDeviceSelectionDialog *>(dialog)->OnButtonRejectClicked();
            });
            m_dialog->_OnPBtnSelTarget();
            QCOMPARE(rows, shownRows);
            QCOMPARE(Field("pLineEditDevice")->text(), "STM32F40");
        }
    }

    void switchingNeverMovesWhatStays()
    {
        Open();
        const QRect ok = Child<QPushButton>("pPBtnOK")->geometry();
        const QSize size = m_dialog->size();
        Child<QRadioButton>("pRBtnTCPIP")->click();
        QCOMPARE(m_dialog->size(), size);
        QVERIFY(!Child<QCheckBox>("pCheckBoxSerialNo")->isVisible());
        Child<QRadioButton>("pRBtnUSB")->click();
        Choose("pComboBoxTIF", 0);
        Choose("pComboBoxDRPre", 6);
        QVERIFY(Child<QGroupBox>("pGBoxJTAGTargets")->isVisible());
        QCOMPARE(m_dialog->width(), size.width());
        Choose("pComboBoxTIF", 1);
        QVERIFY(!Child<QGroupBox>("pGBoxJTAGTargets")->isVisible());
        QCOMPARE(m_dialog->size(), size);
        QTRY_COMPARE(Child<QPushButton>("pPBtnOK")->geometry(), ok);
        Choose("pComboBoxTIF", 0);
        QCOMPARE(Field("pLineEditIRPre")->text(), "24");
    }

    void theChosenDeviceBringsItsByteOrder()
    {
        Open();
        QString preselected;
        InModal([&](QWidget *dialog) {
            preselected = dialog->findChild<QLabel *>("pLabelSelectedDevice")->text();
            qobject_cast<CDeviceSelectionDialog *>(dialog)->SelectDevice("RX610 big");
            dialog->findChild<QPushButton *>()->click();
        });
        QTest::mouseClick(Child<QPushButton>("pPBtnSelTarget"), Qt::LeftButton);
        QCOMPARE(preselected, "STM32F40");
        QCOMPARE(Field("pLineEditDevice")->text(), "RX610 big");
        QCOMPARE(Box("pComboBoxEndian")->currentText(), "Big Endian");

        // A device without a name changes nothing, and neither does a cancelled choice.
        InModal([](QWidget *dialog) {
            auto *selection = qobject_cast<CDeviceSelectionDialog *>(dialog);
            selection->SelectDevice("");
            selection->OnButtonAcceptClicked();
        });
        m_dialog->_OnPBtnSelTarget();
        InModal([](QWidget *dialog) {
            qobject_cast<CDeviceSelectionDialog *>(dialog)->OnButtonRejectClicked();
        });
        m_dialog->_OnPBtnSelTarget();
        Accept();
        QCOMPARE(QByteArray(m_record.Device.data()), "RX610 big");
        QCOMPARE(m_record.EndianMode, 1);
    }

    void theInformationBoxOpensAndCloses()
    {
        m_record.ConnectMode = kConnectModeTcpIp;
        Open();
        QPointer<QWidget> box;
        InModal([&](QWidget *dialog) {
            box = dialog;
            QCOMPARE(dialog->windowTitle(), "IP information");
            dialog->findChild<QPushButton *>()->click();
        });
        QTest::keyClicks(Field("pLineEditIP"), "kept");
        Child<QPushButton>("pPBtnIPInfo")->click();
        QTRY_VERIFY(box.isNull());
        QCOMPARE(Field("pLineEditIP")->text(), "kept");
    }

    void everyControlHasANameAndAPlaceInTheTabOrder()
    {
        m_record.TargetIF = kTargetIfJtag;
        m_record.UseSerialNo = 1;
        m_record.UseMaxSpeed = 0;
        m_record.MultipleTargets = 1;
        Open();
        QStringList order;
        QWidget *first = Child<QRadioButton>("pRBtnUSB");
        first->setFocus();
        do {
            const QWidget *focus = QApplication::focusWidget();
            const auto *button = qobject_cast<const QAbstractButton *>(focus);
            QVERIFY2(!focus->accessibleName().isEmpty() || (button && !button->text().isEmpty())
                    || qobject_cast<const QGroupBox *>(focus),
                qPrintable(focus->objectName()));
            order.append(focus->objectName());
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        } while (QApplication::focusWidget() != first && order.size() < 50);
        QCOMPARE(order,
            QStringList({"pRBtnUSB", "pCheckBoxSerialNo", "pLineEditSN", "pLineEditDevice",
                "pPBtnSelTarget", "pComboBoxEndian", "pComboBoxTIF", "pRBtnFrequency",
                "pComboBoxFrequency", "pGBoxJTAGTargets", "pComboBoxDRPre", "pLineEditIRPre",
                "pPBtnOK", "pPBtnCancel"}));
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
        Child<QPushButton>("pPBtnOK")->click();
        QCOMPARE(m_dialog->result(), int(QDialog::Accepted));
    }

    /// Does something inside the next modal box.
    void InModal(const std::function<void(QWidget *)> &act)
    {
        QMetaObject::invokeMethod(
            this, [act] { act(QApplication::activeModalWidget()); }, Qt::QueuedConnection);
    }

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
