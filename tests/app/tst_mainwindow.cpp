#include "appharness.h"

#include "appstate.h"
#include "boxplacement.h"
#include "mainwindow.h"
#include "windowreports.h"
#include "workeractions.h"
#include "workerring.h"

#include "chexeditor.h"
#include "syslock.h"
#include "systime.h"
#include "testsemaphore.h"

#include <QAction>
#include <QMdiSubWindow>
#include <QTest>

#include <thread>

namespace {

constexpr std::chrono::seconds kLimit{20}; // only a failure waits so long
constexpr int kLimitMs = 20'000;

TestSemaphore g_entered; // a hook sits in its blocked call
TestSemaphore g_letGo;
std::atomic<int> g_reads = 0;

const char *BlockedOpen()
{
    g_entered.Release();
    g_letGo.Acquire();
    return "let go";
}

/// Blocks the calling thread, as a slow library would: no events are handled meanwhile.
void WaitUntilFoundLost()
{
    for (int round = 0; round < kLimitMs; ++round) {
        {
            const SysLock lock(APP_State().stateMutex);
            if (APP_State().window.connected == 0)
                return;
        }
        SYS_Sleep(1);
    }
}

const QString kTitle = QStringLiteral("TOLVEN Pelimo V6.54a");

QString ErrorBox(const char *text)
{
    return kTitle + QStringLiteral(" - Error|") + QLatin1String(text);
}

QString WarningBox(const char *text)
{
    return kTitle + QStringLiteral(" - Warning|") + QLatin1String(text);
}

} // namespace

class MainWindowTest : public QObject {
    Q_OBJECT

private slots:
    void acceptingTheFirstDialogEndsInLiveMemory();
    void aDiscardedFirstDialogLeavesEverythingUnconnected();
    void theProbeIsSetUpAsTheSettingsSay_data();
    void theProbeIsSetUpAsTheSettingsSay();
    void eachFailureGetsItsOwnBoxInOrder();
    void aReportDuringABoxWaitsForItsTurn();
    void aBurstOfReportsStaysBoundedAndKeepsTheFirst();
    void aTargetLostInAPageReadEndsTheReadAndIsReportedOnce();
    void theWindowLivesWhileTheWorkerIsStuck();
    void aFullRingNeverHoldsTheStateLock();
    void closingDuringALongCallLeavesNothingForTheWorkerToTouch();
    void closingWithABoxOpenEndsBoth();
    void boxesStayOnTheScreen_data();
    void boxesStayOnTheScreen();
};

void MainWindowTest::acceptingTheFirstDialogEndsInLiveMemory()
{
    AppHarness app;
    app.Start();
    QTRY_VERIFY_WITH_TIMEOUT(app.MemoryWindow() != nullptr, kLimitMs);
    QTRY_COMPARE(app.StatusText(kStatusConnection), QStringLiteral("Connected"));
    QCOMPARE(app.StatusText(kStatusMessage), QStringLiteral("Configuration applied"));
    QTRY_VERIFY(app.StatusText(kStatusCore).startsWith(QStringLiteral("ARM core id: 0x")));
    QTRY_VERIFY(app.StatusText(kStatusSpeed).startsWith(QStringLiteral("Speed: ")));
    QTRY_VERIFY(app.Action(QStringLiteral("&Disconnect"))->isEnabled());
    QVERIFY(!app.Action(QStringLiteral("&Connect"))->isEnabled());

    auto *const subWindow = app.Window().findChild<QMdiSubWindow *>();
    QVERIFY(subWindow != nullptr);
    QVERIFY(subWindow->isMaximized());
    QVERIFY(subWindow->windowFlags().testFlag(Qt::FramelessWindowHint));

    app.Action(QStringLiteral("&Disconnect"))->trigger();
    QTRY_COMPARE_WITH_TIMEOUT(
        app.StatusText(kStatusConnection), QStringLiteral("Not connected"), kLimitMs);
    QTRY_VERIFY(app.MemoryWindow() == nullptr);
    QTRY_VERIFY(app.Action(QStringLiteral("&Connect"))->isEnabled());
    QCOMPARE(app.StatusText(kStatusCore), QString());

    app.Action(QStringLiteral("&Connect"))->trigger();
    QTRY_VERIFY_WITH_TIMEOUT(app.MemoryWindow() != nullptr, kLimitMs);
    app.Action(QStringLiteral("&Connect"))->trigger();
    QTRY_COMPARE(app.Window().findChildren<CHexEditor *>().size(), 1);
    QCOMPARE(app.Boxes(), QStringList());
}

void MainWindowTest::aDiscardedFirstDialogLeavesEverythingUnconnected()
{
    AppHarness app({}, AppHarness::FirstDialog::Reject);
    app.Start();
    QTRY_COMPARE(app.StatusText(kStatusMessage), QStringLiteral("Configuration discarded"));
    QCOMPARE(app.StatusText(kStatusConnection), QStringLiteral("Not connected"));
    QCOMPARE(app.TakeCalls(), QStringList());
    QAction *const about = app.Action(QStringLiteral("&About..."));
    emit about->hovered();
    QTRY_COMPARE(app.StatusText(kStatusMessage), QStringLiteral("Show the about box"));
}

void MainWindowTest::theProbeIsSetUpAsTheSettingsSay_data()
{
    QTest::addColumn<QStringList>("settings");
    QTest::addColumn<QString>("calls");
    const QStringList general = {QStringLiteral("[GENERAL]")};
    const QString swd = QStringLiteral("Open ExecCommand SetEndian TIF_Select ");
    QTest::newRow("nothing stored") << QStringList() << swd + QStringLiteral("SetMaxSpeed Connect");
    QTest::newRow("USB index 3") << general
            + QStringList{QStringLiteral("UseSerialNo = 1"), QStringLiteral("USBSerialNo = 0x03")}
                                 << QStringLiteral("SelectUSB ") + swd
            + QStringLiteral("SetMaxSpeed Connect");
    QTest::newRow("serial number 4")
        << general
            + QStringList{QStringLiteral("UseSerialNo = 1"), QStringLiteral("USBSerialNo = 0x04")}
        << QStringLiteral("EMU_SelectByUSBSN ") + swd + QStringLiteral("SetMaxSpeed Connect");
    QTest::newRow("an address beats the serial number")
        << general
            + QStringList{QStringLiteral("UseSerialNo = 1"), QStringLiteral("USBSerialNo = 0x04"),
                QStringLiteral("ConnectMode = 2"), QStringLiteral("HostName=\"sim\"")}
        << QStringLiteral("SelectIP ") + swd + QStringLiteral("SetMaxSpeed Connect");
    QTest::newRow("JTAG, adaptive")
        << QStringList{QStringLiteral("[TIF]"), QStringLiteral("TargetIF = 0"),
               QStringLiteral("UseMaxSpeed = 1"), QStringLiteral("UseAdaptive = 1")}
        << swd + QStringLiteral("ConfigJTAG SetSpeed SetSpeed Connect");
    QTest::newRow("fixed speed") << QStringList{QStringLiteral("[TIF]"),
        QStringLiteral("UseMaxSpeed = 0")}
                                 << swd + QStringLiteral("SetSpeed Connect");
}

void MainWindowTest::theProbeIsSetUpAsTheSettingsSay()
{
    QFETCH(QStringList, settings);
    QFETCH(QString, calls);
    AppHarness app(settings);
    app.Hooks().EMU_SelectByUSBSN = [](std::uint32_t) { return 0; };
    app.Hooks().SelectIP = [](const char *, int) { return 0; };
    app.Hooks().Open = []() -> const char * { return nullptr; };
    app.Hooks().IsConnected = []() -> signed char { return 0; };
    app.Start();
    QTRY_COMPARE_WITH_TIMEOUT(app.Boxes().size(), 1, kLimitMs);
    QCOMPARE(app.Boxes().first(), ErrorBox("Could not connect to target for unknown reason"));
    QCOMPARE(app.TakeCalls().join(QLatin1Char(' ')), calls);
}

void MainWindowTest::eachFailureGetsItsOwnBoxInOrder()
{
    AppHarness app({QStringLiteral("[GENERAL]"), QStringLiteral("UseSerialNo = 1"),
        QStringLiteral("USBSerialNo = 0x1E240")});
    app.Hooks().Open = []() -> const char * { return "<b>no probe</b>"; };
    app.Start();
    QTRY_COMPARE_WITH_TIMEOUT(app.Boxes().size(), 2, kLimitMs);
    QCOMPARE(app.Boxes().at(0), ErrorBox("No emulator with given S/N connected!"));
    QCOMPARE(app.Boxes().at(1), ErrorBox("Could not connect to Ranvo:\n<b>no probe</b>"));
    QVERIFY(app.MemoryWindow() == nullptr);
}

void MainWindowTest::aReportDuringABoxWaitsForItsTurn()
{
    AppHarness app({}, AppHarness::FirstDialog::Reject);
    app.Start();
    app.AnswerBoxes(false);
    APP_ShowError("first");
    bool sawOne = false;
    QTimer::singleShot(0, &app.Window(), [&] {
        QTimer::singleShot(20, &app.Window(), [&] {
            sawOne = AppHarness::VisibleBoxes() == 1;
            APP_ShowWarning("second");
            QTimer::singleShot(20, &app.Window(), [&] {
                sawOne = sawOne && AppHarness::VisibleBoxes() == 1;
                app.AnswerBoxes(true);
            });
        });
    });
    QTRY_COMPARE_WITH_TIMEOUT(app.Boxes().size(), 2, kLimitMs);
    QVERIFY(sawOne);
    QCOMPARE(app.Boxes(), QStringList({ErrorBox("first"), WarningBox("second")}));
}

void MainWindowTest::aBurstOfReportsStaysBoundedAndKeepsTheFirst()
{
    AppHarness app({}, AppHarness::FirstDialog::Reject);
    app.Start();
    const std::string longText(1000, 'x');
    for (unsigned i = 0; i < 3 * kMaxReports; ++i) {
        APP_ShowError(i == 0 ? "first" : (std::to_string(i) + longText).c_str());
        APP_ShowError(i == 0 ? "first" : (std::to_string(i) + longText).c_str()); // adds nothing
    }
    QTRY_COMPARE_WITH_TIMEOUT(app.Boxes().size(), static_cast<int>(kMaxReports), kLimitMs);
    QCOMPARE(app.Boxes().first(), ErrorBox("first"));
    QCOMPARE(app.BoxTexts().at(1), QStringLiteral("1") + QString(kReportTextSize - 2, u'x'));
}

void MainWindowTest::aTargetLostInAPageReadEndsTheReadAndIsReportedOnce()
{
    AppHarness app;
    app.Start();
    QTRY_VERIFY_WITH_TIMEOUT(app.MemoryWindow() != nullptr, kLimitMs);
    QTRY_VERIFY(app.Action(QStringLiteral("&Disconnect"))->isEnabled());
    g_reads = 0;
    app.Hooks().IsConnected = []() -> signed char { return 0; };
    app.Hooks().ReadMemEx = [](std::uint32_t, std::uint32_t, void *, std::uint32_t) {
        // The third failing piece of the page takes long enough for the check to find the loss.
        if (++g_reads == 3)
            WaitUntilFoundLost();
        return -1;
    };
    app.MemoryWindow()->UpdateFromTarget();
    const int readsAtReturn = g_reads;
    QTRY_VERIFY_WITH_TIMEOUT(app.MemoryWindow() == nullptr, kLimitMs);
    QTRY_COMPARE_WITH_TIMEOUT(
        app.Boxes(), QStringList(WarningBox("Target disconnected.")), kLimitMs);
    QTRY_VERIFY(app.Action(QStringLiteral("&Connect"))->isEnabled());
    QVERIFY2(readsAtReturn <= 5, qPrintable(QString::number(readsAtReturn)));

    RANVOARM_Close(); // the simulated target has noticed nothing: now it is gone in truth
    app.Hooks().IsConnected = nullptr;
    app.Hooks().ReadMemEx = nullptr;
    app.Action(QStringLiteral("&Connect"))->trigger();
    QTRY_VERIFY_WITH_TIMEOUT(app.MemoryWindow() != nullptr, kLimitMs);
}

void MainWindowTest::theWindowLivesWhileTheWorkerIsStuck()
{
    AppHarness app;
    app.Hooks().Open = BlockedOpen;
    app.Start();
    QVERIFY(g_entered.Acquire(1, kLimit));
    // Each of these makes the window ask for a check; a window that waited for the stuck worker
    // to take them would never come back from here.
    for (int i = 0; i < 200; ++i) {
        APP_SetStatusField(qPrintable(QString::number(i)), kStatusMessage);
        QCoreApplication::processEvents();
    }
    QCOMPARE(app.StatusText(kStatusMessage), QStringLiteral("199"));
    app.Hooks().Open = nullptr;
    g_letGo.Release();
    QTRY_COMPARE_WITH_TIMEOUT(app.Boxes().size(), 1, kLimitMs);
}

void MainWindowTest::aFullRingNeverHoldsTheStateLock()
{
    AppHarness app({}, AppHarness::FirstDialog::Reject);
    app.Start();
    QTest::qWait(0);
    static Job needsTheLock;
    needsTheLock = {static_cast<JobKind>(99), 0,
        [](Job *) {
            g_entered.Release();
            g_letGo.Acquire();
            const SysLock lock(APP_State().stateMutex);
        },
        {}, nullptr};
    static Job filler;
    filler = {static_cast<JobKind>(99), 0, nullptr, {}, nullptr};
    WORKER_PostJob(&needsTheLock);
    QVERIFY(g_entered.Acquire(1, kLimit));
    while (WORKER_PostJobWithin(&filler, 1) == SYS_WAIT_OK) { }
    // Lets the worker go on while the window sits in its update, waiting for a slot.
    std::thread later([] {
        QTest::qSleep(30);
        g_letGo.Release();
    });
    app.Window()._Slot_OnGUIUpdate();
    later.join();
    Job last = {static_cast<JobKind>(99), 0, [](Job *) { g_entered.Release(); }, {}, nullptr};
    WORKER_PostJob(&last);
    QVERIFY(g_entered.Acquire(1, kLimit));
}

void MainWindowTest::closingDuringALongCallLeavesNothingForTheWorkerToTouch()
{
    AppHarness app;
    app.Hooks().Open = BlockedOpen;
    app.Hooks().Close = [] {};
    app.Start();
    QVERIFY(g_entered.Acquire(1, kLimit));
    app.Window().close();
    QVERIFY(!app.Window().isVisible());
    QCOMPARE(APP_State().workerExited.load(), 0u); // still inside the call
    app.DestroyWindow();
    // Now the call fails, which would be reported to a window that is gone.
    g_letGo.Release();
    QTRY_COMPARE_WITH_TIMEOUT(APP_State().workerExited.load(), 1u, kLimitMs);
}

void MainWindowTest::closingWithABoxOpenEndsBoth()
{
    AppHarness app({}, AppHarness::FirstDialog::Reject);
    app.Start();
    app.AnswerBoxes(false);
    APP_ShowError("open");
    APP_ShowError("never shown");
    bool sawBox = false;
    QTimer::singleShot(50, &app.Window(), [&] {
        sawBox = AppHarness::VisibleBoxes() == 1;
        app.Window().close();
    });
    QTRY_VERIFY_WITH_TIMEOUT(!app.Window().isVisible(), kLimitMs);
    QTRY_COMPARE(AppHarness::VisibleBoxes(), 0);
    QVERIFY(sawBox);
}

void MainWindowTest::boxesStayOnTheScreen_data()
{
    QTest::addColumn<QRect>("window");
    QTest::addColumn<QPoint>("expected");
    QTest::newRow("middle over middle") << QRect(100, 100, 400, 300) << QPoint(200, 200);
    QTest::newRow("beyond the left and upper edge") << QRect(-300, -250, 400, 300) << QPoint(0, 0);
    QTest::newRow("beyond the right and lower edge")
        << QRect(900, 700, 400, 300) << QPoint(800, 668);
}

void MainWindowTest::boxesStayOnTheScreen()
{
    QFETCH(QRect, window);
    QFETCH(QPoint, expected);
    QCOMPARE(APP_PlaceBox(window, QSize(200, 100), QSize(1000, 768)), expected);
}

QTEST_MAIN(MainWindowTest)
#include "tst_mainwindow.moc"
