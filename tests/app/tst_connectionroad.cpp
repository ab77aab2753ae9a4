// From the connection dialog to live memory or to the box that says why not: the real window,
// worker and settings over the simulated target.

#include "appharness.h"

#include "appstate.h"
#include "mainwindow.h"
#include "scriptedpeer.h"
#include "workeractions.h"

#include "chexeditor.h"
#include "configdialog.h"
#include "testsemaphore.h"

#include <QAction>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>

namespace {

constexpr int kLimitMs = 20'000;
constexpr std::chrono::seconds kLimit{20}; // only a failure waits so long

TestSemaphore g_entered; // the worker is in Open
TestSemaphore g_letGo;
std::atomic<int> g_opens = 0;
std::atomic<bool> g_openSucceeds = false;
const char *const kGuardedError = "Could not connect to Ranvo:\nlet go";

const char *GuardedOpen()
{
    ++g_opens;
    g_entered.Release();
    g_letGo.Acquire();
    const auto open
        = reinterpret_cast<decltype(&RANVOARM_Open)>(FAULT_RealFunction("RANVOARM_Open"));
    return g_openSucceeds ? open() : "let go";
}

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

    void manyRequestsAreOneAttemptAndOneBox()
    {
        AppHarness app({}, AppHarness::FirstDialog::Reject);
        g_opens = 0;
        app.Hooks().Open = GuardedOpen;
        app.Start();
        app.AnswerDialogs(AppHarness::FirstDialog::Accept);
        // However soon an open fails: accepting changed settings is one attempt.
        g_letGo.Release();
        Configure(app, [](ConfigDialog &dialog) { dialog._OnComboBoxEndian(1); });
        QTRY_COMPARE(app.BoxTexts(), QStringList(kGuardedError));
        app.TakeBoxTexts();
        QCOMPARE(g_opens.load(), 1);
        QVERIFY(g_entered.Acquire(1, kLimit));

        // Many more than the ring holds, while an open hangs: none of them waits.
        app.Action("&Connect")->trigger();
        QVERIFY(g_entered.Acquire(1, kLimit));
        for (int press = 0; press < 100; ++press) {
            app.Action("&Connect")->trigger();
            QCoreApplication::processEvents();
        }
        g_letGo.Release();
        QTRY_COMPARE(app.BoxTexts(), QStringList(kGuardedError));
        app.TakeBoxTexts();
        QCOMPARE(g_opens.load(), 2);
    }

    void whatIsOutOfDateIsNeverShown_data()
    {
        QTest::addColumn<bool>("succeeds");
        QTest::newRow("an open that succeeds too late") << true;
        QTest::newRow("an open that fails too late") << false;
    }

    void whatIsOutOfDateIsNeverShown()
    {
        QFETCH(bool, succeeds);
        AppHarness app;
        g_opens = 0;
        g_openSucceeds = succeeds;
        app.Hooks().Open = GuardedOpen;
        app.Start();
        QVERIFY(g_entered.Acquire(1, kLimit));
        for (int change = 0; change < 40; ++change) // the ring has 32 slots
            Configure(app, [](ConfigDialog &dialog) {
                dialog._OnComboBoxTIF(
                    dialog.findChild<QComboBox *>("pComboBoxTIF")->currentIndex() == 1 ? 2 : 1);
            });
        QCOMPARE(g_opens.load(), 1);
        g_letGo.Release();
        QVERIFY(g_entered.Acquire(1, kLimit)); // the second one, with the settings of now
        g_openSucceeds = true;
        for (int round = 0; round < 10; ++round) {
            QCoreApplication::processEvents();
            QVERIFY(app.MemoryWindow() == nullptr);
            QCOMPARE(app.StatusText(kStatusConnection), "Not connected");
        }
        g_letGo.Release();
        QTRY_VERIFY_WITH_TIMEOUT(app.MemoryWindow() != nullptr, kLimitMs);
        QTRY_COMPARE(app.StatusText(kStatusConnection), "Connected");
        QCOMPARE(g_opens.load(), 2);
        QCOMPARE(app.Boxes(), QStringList());
        g_openSucceeds = false;
    }

    void settingsThatDoNotFitAreNotSavedAtAll()
    {
        const QStringList lines{"[GENERAL]", "ConnectMode = 1", "[MINE]", QString(29'900, '#')};
        AppHarness app(lines);
        app.Start();
        QTRY_VERIFY_WITH_TIMEOUT(app.MemoryWindow() != nullptr, kLimitMs);
        const QByteArray before = AppHarness::SettingsFile();
        Configure(app, [](ConfigDialog &dialog) { ChooseTcpIp(dialog, QString(120, 'h')); });
        QTRY_VERIFY(!app.Boxes().isEmpty());
        QVERIFY2(app.BoxTexts().first().startsWith("Could not save file ["),
            qPrintable(app.BoxTexts().first()));
        QCOMPARE(AppHarness::SettingsFile(), before);
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
