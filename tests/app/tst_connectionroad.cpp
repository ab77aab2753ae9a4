// From the connection dialog to live memory or to the box that says why not, and back: the real
// window, worker and settings over the fault probe.

#include "appharness.h"

#include "appstate.h"
#include "mainwindow.h"
#include "workerring.h"

#include "chexeditor.h"
#include "configdialog.h"
#include "testsemaphore.h"

namespace {

using DialogAnswer = AppHarness::DialogAnswer;
constexpr std::chrono::seconds kLimit{20}; // only a failure waits so long

TestSemaphore g_entered; // the worker is in Open
TestSemaphore g_letGo;
std::atomic<int> g_opens = 0;
std::atomic<bool> g_openSucceeds = false;
std::atomic<int> g_reads = 0;

const char *GuardedOpen()
{
    ++g_opens;
    g_entered.Release();
    g_letGo.Acquire();
    const auto open
        = reinterpret_cast<decltype(&RANVOARM_Open)>(FAULT_RealFunction("RANVOARM_Open"));
    return g_openSucceeds ? open() : "let go";
}

void ChooseHost(ConfigDialog &dialog, const QString &host)
{
    dialog.findChild<QRadioButton *>("pRBtnTCPIP")->setChecked(true);
    dialog.findChild<QLineEdit *>("pLineEditIP")->setText(host);
}

void ChooseOtherByteOrder(ConfigDialog &dialog)
{
    dialog._OnComboBoxEndian(1 - dialog.findChild<QComboBox *>("pComboBoxEndian")->currentIndex());
}

} // namespace

class ConnectionRoadTest : public QObject {
    Q_OBJECT

private slots:
    void theDialogsAnswerIsSavedAndUsedOrForgotten()
    {
        AppHarness app("; mine|[TIF]|  UseAdaptive=1|[MINE]|" + QString(29'680, '#'));
        app.StartConnected();
        const QPointer<CHexEditor> memory = app.MemoryWindow();
        QByteArray saved = AppHarness::SettingsFile();
        app.TakeCalls();
        Configure(app, DialogAnswer::Reject, [](ConfigDialog &it) { ChooseHost(it, "elsewhere"); });
        SOON_COMPARE(app.StatusTexts()[kStatusMessage], "Configuration discarded");
        Configure(app, DialogAnswer::Accept, {});
        SOON_COMPARE(app.StatusTexts()[kStatusMessage], "Configuration applied");
        QCOMPARE(app.TakeCalls(), "");
        QCOMPARE(app.MemoryWindow(), memory.data());
        QCOMPARE(AppHarness::SettingsFile(), saved);

        Configure(app, DialogAnswer::Accept, [](ConfigDialog &it) { ChooseHost(it, "sim"); });
        SOON(memory.isNull() && app.MemoryWindow() != nullptr);
        QVERIFY(app.TakeCalls().startsWith("Close, SelectIP sim 0, Open, "));
        saved = AppHarness::SettingsFile();
        QVERIFY2(
            saved.size() > 29'900, QByteArray::number(saved.size())); // a longer name is too much
        QVERIFY(saved.contains("HostName=\"sim\"") && saved.startsWith("; mine\r\n"));

        app.Hooks().SelectIP = [](const char *, int) { return 0; };
        Configure(app, DialogAnswer::Accept,
            [](ConfigDialog &it) { ChooseHost(it, QString(120, 'h')); }); // more than a file takes
        SOON(app.Boxes().join(' ').startsWith("Error|Could not save file ["));
        QCOMPARE(AppHarness::SettingsFile(), saved);
    }

    void anOpenThatSucceedsTooLateIsNotShown() { OpenTooLate(true); }
    void anOpenThatFailsTooLateIsNotShown() { OpenTooLate(false); }

    void aTargetLostInAPageReadEndsTheReadAndIsReportedOnce()
    {
        AppHarness app("[GENERAL]|UseSerialNo = 1|USBSerialNo = 0x03"); // the last that is an index
        app.StartConnected();
        QVERIFY(app.TakeCalls().startsWith("SelectUSB 3, Open, "));
        SOON(app.Action("&Disconnect")->isEnabled());
        AwaitIdleWorker(); // no earlier check finds the loss
        app.Hooks().IsConnected = [] { return static_cast<signed char>(0); };
        app.Hooks().ReadMemEx = [](std::uint32_t, std::uint32_t, void *, std::uint32_t) {
            // The third failing piece of the page takes until the check has found the loss.
            const QDeadlineTimer limit(kLimit);
            while (g_reads == 2 && APP_State().connection.IsConnected() && !limit.hasExpired())
                std::this_thread::yield();
            g_reads += limit.hasExpired() ? 100 : 1;
            return -1;
        };
        app.MemoryWindow()->UpdateFromTarget();
        QVERIFY2(g_reads <= 5, qPrintable(QString::number(g_reads)));
        SOON(app.MemoryWindow() == nullptr);
        SOON(app.Action("&Connect")->isEnabled());
        SOON_COMPARE(app.Boxes(), QStringList("Warning|Target disconnected."));
    }

private:
    /// What is out of date is never shown, and many requests are one attempt.
    static void OpenTooLate(bool succeeds)
    {
        AppHarness app;
        g_opens = 0;
        g_openSucceeds = succeeds;
        app.Hooks().Open = GuardedOpen;
        app.Start();
        QVERIFY(g_entered.Acquire(1, kLimit));
        for (int change = 0; change < 40; ++change) { // the ring has 32 slots: none of them waits
            Configure(app, DialogAnswer::Accept, ChooseOtherByteOrder);
            app.Trigger("&Connect");
        }
        QCOMPARE(g_opens.load(), 1);
        g_letGo.Release();
        QVERIFY(g_entered.Acquire(1, kLimit)); // the second one, with the settings of now
        g_openSucceeds = true;
        for (int round = 0; round < 10; ++round) {
            QCoreApplication::processEvents();
            QVERIFY(app.MemoryWindow() == nullptr);
            QCOMPARE(app.StatusTexts()[kStatusConnection], "Not connected");
        }
        g_letGo.Release();
        SOON(app.MemoryWindow() != nullptr);
        SOON_COMPARE(app.StatusTexts()[kStatusConnection], "Connected");
        QCOMPARE(g_opens.load(), 2);
        QCOMPARE(app.Boxes(), QStringList());

        g_openSucceeds = false; // accepting a change is one attempt, however soon it fails
        g_letGo.Release();
        Configure(app, DialogAnswer::Accept, ChooseOtherByteOrder);
        SOON_COMPARE(app.Boxes(), QStringList("Error|Could not connect to Ranvo:\nlet go"));
        AwaitIdleWorker();
        QCOMPARE(g_opens.load(), 3);
        QVERIFY(g_entered.Acquire(1, kLimit));
        app.Trigger("&Connect");
        QVERIFY(g_entered.Acquire(1, kLimit));
        for (int press = 0; press < 40; ++press) // presses during a hanging attempt start no other
            app.Trigger("&Connect");
        g_letGo.Release();
        AwaitIdleWorker();
        QCOMPARE(g_opens.load(), 4);
        SOON(app.Boxes().size() == 2);
    }

    /// Waits until the worker has done all its jobs.
    static void AwaitIdleWorker()
    {
        static TestSemaphore done;
        static Job last = {static_cast<JobKind>(99), 0, [](Job *) { done.Release(); }, {}, nullptr};
        WORKER_PostJob(&last);
        QVERIFY(done.Acquire(1, kLimit));
    }

    static void Configure(
        AppHarness &app, DialogAnswer answer, const std::function<void(ConfigDialog &)> &edit)
    {
        app.AnswerDialog(answer, edit);
        app.Trigger("&General...");
    }
};

QTEST_MAIN(ConnectionRoadTest)
#include "tst_connectionroad.moc"
