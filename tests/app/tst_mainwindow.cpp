#include "appharness.h"

#include "appstate.h"
#include "mainwindow.h"
#include "windowreports.h"
#include "workeractions.h"
#include "workerring.h"

#include "chexeditor.h"
#include "sysevent.h"
#include "syslock.h"
#include "syssleep.h"
#include "testsemaphore.h"

#include <QAction>
#include <QClipboard>
#include <QDeadlineTimer>
#include <QMdiSubWindow>
#include <QMessageBox>
#include <QMimeData>
#include <QPointer>
#include <QScreen>
#include <QStatusTipEvent>
#include <QTest>
#include <QWindow>

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
        if (!APP_State().connection.IsConnected())
            return;
        SYS_Sleep(1);
    }
}

const QString kTitle = "TOLVEN Pelimo V6.54a";

QString ErrorBox(const char *text)
{
    return kTitle + " - Error|" + QLatin1String(text);
}

QString WarningBox(const char *text)
{
    return kTitle + " - Warning|" + QLatin1String(text);
}

} // namespace

class MainWindowTest : public QObject {
    Q_OBJECT

private slots:
    void acceptingTheFirstDialogEndsInLiveMemory()
    {
        AppHarness app;
        app.Start();
        QTRY_VERIFY_WITH_TIMEOUT(app.MemoryWindow() != nullptr, kLimitMs);
        QTRY_COMPARE(app.StatusText(kStatusConnection), "Connected");
        QCOMPARE(app.StatusText(kStatusMessage), "Configuration applied");
        QTRY_VERIFY(app.StatusText(kStatusCore).startsWith("ARM core id: 0x"));
        QTRY_VERIFY(app.StatusText(kStatusSpeed).startsWith("Speed: "));
        QTRY_VERIFY(app.Action("&Disconnect")->isEnabled());
        QVERIFY(!app.Action("&Connect")->isEnabled());

        auto *const subWindow = app.Window().findChild<QMdiSubWindow *>();
        QVERIFY(subWindow != nullptr);
        QVERIFY(subWindow->isMaximized());
        QVERIFY(subWindow->windowFlags().testFlag(Qt::FramelessWindowHint));

        app.Action("&Disconnect")->trigger();
        QTRY_COMPARE_WITH_TIMEOUT(app.StatusText(kStatusConnection), "Not connected", kLimitMs);
        QTRY_VERIFY(app.MemoryWindow() == nullptr);
        QTRY_VERIFY(app.Action("&Connect")->isEnabled());
        QCOMPARE(app.StatusText(kStatusCore), QString());

        app.Action("&Connect")->trigger();
        QTRY_VERIFY_WITH_TIMEOUT(app.MemoryWindow() != nullptr, kLimitMs);
        app.Action("&Connect")->trigger();
        QTRY_COMPARE(app.Window().findChildren<CHexEditor *>().size(), 1);
        QCOMPARE(app.Boxes(), QStringList());
    }

    void aDiscardedFirstDialogLeavesEverythingUnconnected()
    {
        AppHarness app({}, AppHarness::FirstDialog::Reject);
        app.Start();
        QTRY_COMPARE(app.StatusText(kStatusMessage), "Configuration discarded");
        QCOMPARE(app.StatusText(kStatusConnection), "Not connected");
        QCOMPARE(app.TakeCalls(), QStringList());
        QAction *const about = app.Action("&About...");
        emit about->hovered();
        QTRY_COMPARE(app.StatusText(kStatusMessage), "Show the about box");
    }

    void theProbeIsSetUpAsTheSettingsSay()
    {
        const QString tif = "Open ExecCommand SetEndian TIF_Select ";
        const std::pair<QString, QString> setups[] = {// the settings' lines, the library's calls
            {"", tif + "SetMaxSpeed Connect"},
            {"[GENERAL]|UseSerialNo = 1|USBSerialNo = 0x03",
                "SelectUSB " + tif + "SetMaxSpeed Connect"},
            {"[GENERAL]|UseSerialNo = 1|USBSerialNo = 0x04",
                "EMU_SelectByUSBSN " + tif + "SetMaxSpeed Connect"},
            {"[GENERAL]|UseSerialNo = 1|USBSerialNo = 0x04|ConnectMode = 2|HostName=\"sim\"",
                "SelectIP " + tif + "SetMaxSpeed Connect"},
            {"[TIF]|TargetIF = 0|UseMaxSpeed = 1|UseAdaptive = 1",
                tif + "ConfigJTAG SetSpeed SetSpeed Connect"},
            {"[TIF]|UseMaxSpeed = 0", tif + "SetSpeed Connect"}};
        for (const auto &[settings, calls] : setups) {
            AppHarness app(settings.split(u'|', Qt::SkipEmptyParts));
            app.Hooks().EMU_SelectByUSBSN = [](std::uint32_t) { return 0; };
            app.Hooks().SelectIP = [](const char *, int) { return 0; };
            app.Hooks().Open = []() -> const char * { return nullptr; };
            app.Hooks().IsConnected = []() -> signed char { return 0; };
            app.Start();
            QTRY_COMPARE_WITH_TIMEOUT(app.Boxes(),
                QStringList(ErrorBox("Could not connect to target for unknown reason")), kLimitMs);
            QCOMPARE(app.TakeCalls().join(u' '), calls);
        }
    }

    void eachFailureGetsItsOwnBoxInOrder()
    {
        AppHarness app({"[GENERAL]", "UseSerialNo = 1", "USBSerialNo = 0x1E240"});
        app.Hooks().Open = []() -> const char * { return "<b>no probe</b>"; };
        app.Start();
        QTRY_COMPARE_WITH_TIMEOUT(app.Boxes(),
            QStringList({ErrorBox("No emulator with given S/N connected!"),
                ErrorBox("Could not connect to Ranvo:\n<b>no probe</b>")}),
            kLimitMs);
        QVERIFY(app.MemoryWindow() == nullptr);
    }

    void aReportDuringABoxWaitsForItsTurn()
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

    void aBurstOfReportsStaysBoundedAndKeepsTheFirst()
    {
        AppHarness app({}, AppHarness::FirstDialog::Reject);
        app.Start();
        const std::string longText(1000, 'x');
        for (unsigned i = 0; i < 3 * kMaxReports; ++i)
            APP_ShowError(i == 0 ? "first" : (std::to_string(i) + longText).c_str());
        QTRY_COMPARE_WITH_TIMEOUT(app.Boxes().size(), static_cast<int>(kMaxReports), kLimitMs);
        QCOMPARE(app.Boxes().first(), ErrorBox("first"));
        QCOMPARE(app.BoxTexts().at(1), "1" + QString(kReportTextSize - 2, u'x'));
    }

    void aTargetLostInAPageReadEndsTheReadAndIsReportedOnce()
    {
        AppHarness app;
        app.Start();
        QTRY_VERIFY_WITH_TIMEOUT(app.MemoryWindow() != nullptr, kLimitMs);
        QTRY_VERIFY(app.Action("&Disconnect")->isEnabled());
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
        QTRY_VERIFY(app.Action("&Connect")->isEnabled());
        QVERIFY2(readsAtReturn <= 5, qPrintable(QString::number(readsAtReturn)));

        RANVOARM_Close(); // the simulated target has noticed nothing: now it is gone in truth
        app.Hooks().IsConnected = nullptr;
        app.Hooks().ReadMemEx = nullptr;
        app.Action("&Connect")->trigger();
        QTRY_VERIFY_WITH_TIMEOUT(app.MemoryWindow() != nullptr, kLimitMs);
    }

    void aWorkerThatCannotBeStartedIsReportedOnce()
    {
        std::vector<SYS_EVENT_HANDLE> events;
        for (;;) {
            const SYS_EVENT_HANDLE event = SYS_CreateEvent(nullptr, 0, 0);
            if (event == SYS_EVENT_ERROR)
                break;
            events.push_back(event);
        }
        AppHarness app;
        app.Start();
        for (int i = 0; i < 10; ++i) {
            app.Action("&Connect")->trigger();
            QCoreApplication::processEvents();
        }
        QTRY_COMPARE(app.BoxTexts().size(), 1);
        QVERIFY(app.TakeBoxTexts().first().startsWith("Could not start the worker thread."));
        for (const SYS_EVENT_HANDLE event : events)
            SYS_CloseEvent(event);
        app.Action("&Connect")->trigger();
        QTRY_VERIFY_WITH_TIMEOUT(app.MemoryWindow() != nullptr, kLimitMs);
        QCOMPARE(app.Boxes(), QStringList());
    }

    void aFullRingNeverHoldsTheStateLock()
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

    void closingDuringALongCallLeavesNothingForTheWorkerToTouch()
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

    void aBoxStandsOverWhateverIsOpenOnTheWindowsScreen_data()
    {
        QTest::addColumn<QPoint>("window");
        QTest::addColumn<QString>("screen");
        QTest::newRow("the first screen") << QPoint(200, 100) << "first";
        QTest::newRow("right of it") << QPoint(1700, 20) << "right";
        QTest::newRow("over the lower right corner") << QPoint(2700, 700) << "right";
        QTest::newRow("left of it") << QPoint(-1200, -150) << "left";
        QTest::newRow("over the upper left corner") << QPoint(-1500, -400) << "left";
    }

    void aBoxStandsOverWhateverIsOpenOnTheWindowsScreen()
    {
        QFETCH(QPoint, window);
        QFETCH(QString, screen);
        AppHarness app({}, AppHarness::FirstDialog::Reject);
        app.Start();
        app.AnswerBoxes(false);
        app.Window().resize(400, 300);
        app.Window().move(window);
        QRect area;
        for (const QScreen *const candidate : QGuiApplication::screens()) {
            if (candidate->name() == screen)
                area = candidate->availableGeometry();
        }
        QPointer<QWidget> about;
        bool isBoxOverIt = false;
        const QDeadlineTimer patience(kLimitMs);
        QTimer look;
        connect(&look, &QTimer::timeout, &look, [&] {
            QWidget *const modal = QApplication::activeModalWidget();
            if (modal == nullptr)
                return;
            if (about == nullptr && modal->windowTitle() == "About"
                && area.contains(modal->geometry())) {
                about = modal;
                APP_ShowWarning("Target disconnected.");
            }
            isBoxOverIt |= qobject_cast<QMessageBox *>(modal) != nullptr && about != nullptr
                && modal->parentWidget() == about && area.contains(modal->geometry())
                && modal->windowFlags().testFlag(Qt::WindowStaysOnTopHint);
            if (isBoxOverIt || patience.hasExpired())
                app.AnswerBoxes(true);
            if (modal == about && (!app.Boxes().isEmpty() || patience.hasExpired()))
                modal->close();
        });
        look.start(1);
        app.Action("&About...")->trigger();
        look.stop();
        QVERIFY(isBoxOverIt);
        QTRY_COMPARE(app.Boxes(), QStringList(WarningBox("Target disconnected.")));
    }

    void tipsAndTitleAreThereAtOnce()
    {
        AppHarness app;
        app.Start();
        QTRY_VERIFY_WITH_TIMEOUT(app.MemoryWindow() != nullptr, kLimitMs);
        QVERIFY2(app.Window().windowTitle().startsWith(kTitle + " - [Memory @ "),
            qPrintable(app.Window().windowTitle()));
        QAction *const save = app.MemoryWindow()->findChild<QAction *>("pActionMemorySave");
        QVERIFY(save != nullptr && !save->statusTip().isEmpty());
        QStatusTipEvent tip(save->statusTip()); // as the tool bar sends it to its window
        QApplication::sendEvent(app.MemoryWindow(), &tip);
        QTRY_COMPARE(app.StatusText(kStatusMessage), save->statusTip());
        QStatusTipEvent left((QString()));
        QApplication::sendEvent(app.MemoryWindow(), &left);
        QCoreApplication::processEvents();
        QCOMPARE(app.StatusText(kStatusMessage), save->statusTip());
        auto *picture = new QMimeData;
        picture->setData("image/png", "x");
        QGuiApplication::clipboard()->setMimeData(picture);
        app.MemoryWindow()->findChild<QAction *>("pActionMemoryPaste")->trigger();
        QTRY_COMPARE(app.StatusText(kStatusMessage), // what was asked for and not got
            "Paste: Cannot paste clipboard contents: unsupported content type");
        app.Action("&Disconnect")->trigger();
        QTRY_COMPARE(app.Window().windowTitle(), kTitle);
    }

    void closingWithABoxOpenEndsBoth()
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
};

QTEST_MAIN(MainWindowTest)
#include "tst_mainwindow.moc"
