// Every library function in every kind of trouble, beginning at every step of a window's life. In
// the suite a generated part of it; all of it, with calls of five seconds too, by
//   PELIMO_FAULTMATRIX=full build/dev/tests/fault/tst_faultmatrix

#include "appharness.h"
#include "processend.h"
#include "windowlife.h"

#include <QApplication>
#include <QProcess>
#include <QTest>

#include <cstdio>

namespace {

bool IsFullRun()
{
    return qEnvironmentVariable("PELIMO_FAULTMATRIX") == QLatin1String("full");
}

WindowLife MakeLife(AppHarness &app, int function, int fault, int step)
{
    // A time is a figure of an idle machine: only the full run, which is started by hand, asks.
    return {app, function, static_cast<Fault>(fault), static_cast<Step>(step),
        IsFullRun() ? WindowLife::Answers::InTime : WindowLife::Answers::AtAll};
}

/// One life in a process of its own that ends as the program does, whoever is still caught.
int RunAndEnd(int row, int fault, int step, bool bySignal)
{
    static const ProcessEnd processEnd;
    // Never destroyed, as nobody destroys what the program has when it ends.
    static auto *const app = new AppHarness(FAULT_SettingsFor(row));
    WindowLife life = MakeLife(*app, row, fault, step);
    if (bySignal)
        life.EndBySignal();
    for (int i = 0; i < kSteps; ++i) {
        const QString trouble = life.Run(static_cast<Step>(i));
        if (!trouble.isEmpty()) {
            std::fprintf(stderr, "%s\n", qPrintable(trouble));
            return 1;
        }
    }
    app->DestroyWindow();
    ProcessEnd::LeaveIfBusy(0);
    return 0;
}

} // namespace

class FaultMatrixTest : public QObject {
    Q_OBJECT

private slots:
    void theWindowSurvives_data();
    void theWindowSurvives();
    void theProcessEnds_data();
    void theProcessEnds();
    void cleanupTestCase();

private:
    static void AddColumns()
    {
        QTest::addColumn<int>("row");
        QTest::addColumn<int>("fault");
        QTest::addColumn<int>("step");
    }
    static void AddCase(int row, int fault, int step)
    {
        QTest::addRow("%s %s from %s on", FAULT_FunctionName(row),
            kFaultNames[static_cast<std::size_t>(fault)],
            kStepNames[static_cast<std::size_t>(step)])
            << row << fault << step;
    }
};

void FaultMatrixTest::theWindowSurvives_data()
{
    AddColumns();
    for (int row = 0; row < kFunctions; ++row) {
        for (int fault = 0; fault < kFaults; ++fault) {
            for (int step = 0; step < kSteps; ++step) {
                // In the suite each fault begins at one or two steps, from function to function at
                // others.
                if (IsFullRun() || (row + fault + step) % 4 == 0)
                    AddCase(row, fault, step);
            }
        }
        if (IsFullRun())
            AddCase(row, static_cast<int>(Fault::VerySlow), row % 2);
    }
}

void FaultMatrixTest::theWindowSurvives()
{
    QFETCH(int, row);
    QFETCH(int, fault);
    QFETCH(int, step);
    AppHarness app(FAULT_SettingsFor(row));
    WindowLife life = MakeLife(app, row, fault, step);
    for (int i = 0; i < kSteps; ++i) {
        const QString trouble = life.Run(static_cast<Step>(i));
        if (!trouble.isEmpty())
            FAULT_KeepHangingCalls(false);
        QVERIFY2(trouble.isEmpty(),
            qPrintable(QLatin1String(kStepNames[static_cast<std::size_t>(i)]) + QStringLiteral(": ")
                + trouble));
    }
    FAULT_KeepHangingCalls(false);
}

void FaultMatrixTest::theProcessEnds_data()
{
    AddColumns();
    const int hangs = static_cast<int>(Fault::NeverReturning);
    for (int row = 0; row < kFunctions; ++row) {
        if (IsFullRun() || row < 3) // Open, Close and IsConnected
            AddCase(row, hangs, 0);
        if (IsFullRun())
            AddCase(row, hangs, kSteps - 1);
    }
}

void FaultMatrixTest::theProcessEnds()
{
    QFETCH(int, row);
    QFETCH(int, fault);
    QFETCH(int, step);
    for (const QString &how : {QStringLiteral("window"), QStringLiteral("signal")}) {
        QProcess process;
        process.setProcessChannelMode(QProcess::ForwardedChannels);
        process.start(QCoreApplication::applicationFilePath(),
            {QStringLiteral("--life"), QString::number(row), QString::number(fault),
                QString::number(step), how});
        QVERIFY(process.waitForFinished(kPatienceMs));
        QCOMPARE(process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(process.exitCode(), 0);
    }
}

void FaultMatrixTest::cleanupTestCase()
{
    std::printf("Longest silence of the event loop: %lld ms\n",
        static_cast<long long>(WindowLife::LongestSilenceNs() / 1'000'000));
}

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() == 6 && arguments[1] == QLatin1String("--life"))
        return RunAndEnd(arguments[2].toInt(), arguments[3].toInt(), arguments[4].toInt(),
            arguments[5] == QLatin1String("signal"));
    FaultMatrixTest test;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&test, argc, argv);
}

#include "tst_faultmatrix.moc"
