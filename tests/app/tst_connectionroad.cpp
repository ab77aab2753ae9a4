// From the connection dialog to live memory or to the box that says why not: the real window,
// worker and settings over the simulated target.

#include "appharness.h"

#include "appstate.h"
#include "mainwindow.h"
#include "scriptedpeer.h"
#include "workeractions.h"

#include "chexeditor.h"
#include "configdialog.h"

#include <QAction>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>

namespace {

constexpr int kLimitMs = 20'000;

void ChooseUsb(ConfigDialog &dialog, const QString &serialNo)
{
    dialog.findChild<QRadioButton *>("pRBtnUSB")->setChecked(true);
    dialog._OnCheckBoxSerialNo(serialNo.isEmpty() ? Qt::Unchecked : Qt::Checked);
    dialog.findChild<QLineEdit *>("pLineEditSN")->setText(serialNo);
}

void ChooseTcpIp(ConfigDialog &dialog, const QString &host)
{
    dialog.findChild<QRadioButton *>("pRBtnTCPIP")->setChecked(true);
    dialog.findChild<QLineEdit *>("pLineEditIP")->setText(host);
}

} // namespace

class ConnectionRoadTest : public QObject {
    Q_OBJECT

private slots:
    void acceptingAChangeSavesItAndReconnects()
    {
        AppHarness app;
        app.Start();
        QTRY_VERIFY_WITH_TIMEOUT(app.MemoryWindow() != nullptr, kLimitMs);
        const QPointer<CHexEditor> formerMemory = app.MemoryWindow();
        QCOMPARE(AppHarness::SettingsFile(), QByteArray()); // nothing was changed, nothing is saved
        app.TakeCalls();

        Configure(app, [](ConfigDialog &dialog) {
            ChooseUsb(dialog, "28100001");
            dialog._OnComboBoxTIF(0);
            dialog._OnComboBoxDRPre(2);
            dialog._OnGBoxJTAGTargets(true);
            dialog.findChild<QLineEdit *>("pLineEditIRPre")->setText("9");
        });
        QTRY_VERIFY(formerMemory.isNull());
        QTRY_VERIFY_WITH_TIMEOUT(app.MemoryWindow() != nullptr, kLimitMs);
        QCOMPARE(app.StatusText(kStatusMessage), "Configuration applied");
        QCOMPARE(app.TakeCalls().join(QLatin1Char(' ')),
            "Close EMU_SelectByUSBSN Open ExecCommand SetEndian TIF_Select ConfigJTAG SetMaxSpeed "
            "Connect");
        const QByteArray saved = AppHarness::SettingsFile();
        for (const char *line : {"USBSerialNo = 0x1ACC5A1\r\n", "UseSerialNo = 1\r\n",
                 "TargetIF = 0\r\n", "MultipleTargets = 1\r\n", "DRPre = 2\r\n", "IRPre = 9\r\n"})
            QVERIFY2(saved.contains(line), saved.constData());
        QCOMPARE(app.Boxes(), QStringList());
    }

    void acceptingWithoutAChangeOnlyConnects()
    {
        AppHarness app({}, AppHarness::FirstDialog::Reject);
        app.Start();
        app.AnswerDialogs(AppHarness::FirstDialog::Accept);
        Configure(app, {});
        QTRY_VERIFY_WITH_TIMEOUT(app.MemoryWindow() != nullptr, kLimitMs);
        QCOMPARE(app.TakeCalls().join(QLatin1Char(' ')),
            "Open ExecCommand SetEndian TIF_Select SetMaxSpeed Connect");
        const QPointer<CHexEditor> memory = app.MemoryWindow();
        Configure(app, {});
        QTRY_COMPARE(app.StatusText(kStatusMessage), "Configuration applied");
        QCOMPARE(app.TakeCalls(), QStringList());
        QCOMPARE(app.MemoryWindow(), memory.data());
        QCOMPARE(AppHarness::SettingsFile(), QByteArray());
    }

    void cancellingLeavesEverythingAsItWas()
    {
        const QStringList lines{"; mine", "[TIF]", "  Speed=77", "UseMaxSpeed = 0"};
        AppHarness app(lines);
        app.Start();
        QTRY_VERIFY_WITH_TIMEOUT(app.MemoryWindow() != nullptr, kLimitMs);
        const QByteArray before = AppHarness::SettingsFile();
        const QPointer<CHexEditor> memory = app.MemoryWindow();
        app.TakeCalls();
        app.AnswerDialogs(AppHarness::FirstDialog::Reject);
        Configure(app, [](ConfigDialog &dialog) {
            ChooseTcpIp(dialog, "elsewhere");
            dialog._OnRBtnAutoSel(true);
        });
        QTRY_COMPARE(app.StatusText(kStatusMessage), "Configuration discarded");
        QCOMPARE(AppHarness::SettingsFile(), before);
        QVERIFY(before.startsWith("; mine\r\n"));
        QCOMPARE(app.TakeCalls(), QStringList());
        QCOMPARE(app.MemoryWindow(), memory.data());
    }

    void everyWayToAProbeEndsInMemoryOrInABox()
    {
        struct Way {
            bool tcpIp;
            QString where;
            bool connects;
            const char *boxText;
        };
        const Way ways[] = {{false, "2", true, ""}, {false, "28100001", true, ""},
            // The report does not end the attempt: the default probe is opened then.
            {false, "123456", true, "No emulator with given S/N connected!"},
            {true, "sim", true, ""}, {true, "127.0.0.1:1", false, "Could not connect to Ranvo:\n"},
            {true, QString("x\"y z").repeated(1000), false, "Could not connect to Ranvo:\n"}};
        for (const Way &way : ways) {
            AppHarness app({}, AppHarness::FirstDialog::Reject);
            app.Start();
            app.AnswerDialogs(AppHarness::FirstDialog::Accept);
            Configure(app, [&](ConfigDialog &dialog) {
                way.tcpIp ? ChooseTcpIp(dialog, way.where) : ChooseUsb(dialog, way.where);
            });
            if (way.connects)
                QTRY_VERIFY_WITH_TIMEOUT(app.MemoryWindow() != nullptr, kLimitMs);
            QTRY_VERIFY_WITH_TIMEOUT(app.Boxes().isEmpty() == (*way.boxText == '\0'), kLimitMs);
            for (const QString &text : app.BoxTexts())
                QVERIFY2(text.startsWith(way.boxText), qPrintable(text));
            // Whatever came of it, the next attempt works.
            Configure(app, [](ConfigDialog &dialog) { ChooseUsb(dialog, {}); });
            QTRY_VERIFY_WITH_TIMEOUT(app.MemoryWindow() != nullptr, kLimitMs);
        }
    }

    void theWindowLivesWhileAHostIsSilent()
    {
        const ScriptedPeer host([](const ScriptedPeer &peer) { peer.AwaitClient(); });
        const QString where = QString("127.0.0.1:%1").arg(host.Port());
        AppHarness app({}, AppHarness::FirstDialog::Reject);
        app.Start();
        app.AnswerDialogs(AppHarness::FirstDialog::Accept);
        Configure(app, [&](ConfigDialog &dialog) { ChooseTcpIp(dialog, where); });
        // The worker waits for the host; meanwhile menus answer and the dialog opens again.
        emit app.Action("&About...")->hovered();
        QTRY_COMPARE(app.StatusText(kStatusMessage), "Show the about box");
        app.AnswerDialogs(AppHarness::FirstDialog::Reject);
        Configure(app, {});
        QTRY_COMPARE(app.StatusText(kStatusMessage), "Configuration discarded");
        QCOMPARE(app.Boxes(), QStringList());

        QTRY_VERIFY_WITH_TIMEOUT(!app.Boxes().isEmpty(), kLimitMs);
        QVERIFY(app.BoxTexts().first().startsWith("Could not connect to Ranvo:\n"));
        app.AnswerDialogs(AppHarness::FirstDialog::Accept);
        Configure(app, [](ConfigDialog &dialog) { ChooseTcpIp(dialog, "sim:0"); });
        QTRY_VERIFY_WITH_TIMEOUT(app.MemoryWindow() != nullptr, kLimitMs);
    }

private:
    static void Configure(AppHarness &app, std::function<void(ConfigDialog &)> edit)
    {
        app.EditDialog(std::move(edit));
        app.Action("&General...")->trigger();
    }
};

QTEST_MAIN(ConnectionRoadTest)
#include "tst_connectionroad.moc"
