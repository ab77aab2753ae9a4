#include "asuser.h"
#include "backendtools.h"
#include "gdbbackend.h"
#include "pidbackend.h"
#include "probelibrary.h"
#include "probetargets.h"
#include "tclbackend.h"

#include <QtTest>

using namespace OpenProbe;

constexpr int kLimitMs = 60'000; // only a failure waits that long

static QString TextOf(const QString &process)
{
    ProbeLibrary library;
    library.Select(ParseSelector("pid:" + process.toStdString(), 0));
    return library.Open();
}

/// Behaviour that needs a real emulator, a real debug server or a process, and that not all targets
/// have in common.
class RealPeersTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { SetPatience(60); }
    void aMachineIsLeftAsSomebodyElseWantsIt()
    {
        QemuTarget target;
        if (!target.Missing().isEmpty())
            QSKIP(qPrintable(target.Missing()));
        target.command += "-S";
        QVERIFY(target.Start()); // halted, then let run meanwhile, then halted meanwhile
        for (const char *const command : {"query-status", "cont", "stop"}) {
            GdbBackend backend(At(target.port));
            QCOMPARE(OpenError(backend), QString());
            QCOMPARE(Word(backend, 0x08000000), 0x20008000U); // where the stack begins
            QVERIFY(target.Monitor(command).count("\"return\"") == 2);
            const bool runs = *command == 'c';
            QTRY_COMPARE_WITH_TIMEOUT(target.Runs(), runs, kLimitMs);
            for (quint32 i = 0; i < 5; ++i) {
                QCOMPARE(WriteWord(backend, 0x20009000, i), 4);
                QCOMPARE(Word(backend, 0x20009000), i);
            }
            backend.Close();
            QTRY_COMPARE_WITH_TIMEOUT(target.Runs(), runs, kLimitMs);
        }
    }

    void aServerIsReadLiveWithTheWantedWidth()
    {
        OpenOcdTarget target;
        if (!target.Missing().isEmpty())
            QSKIP(qPrintable(target.Missing()));
        QVERIFY(target.Start());
        GdbBackend debugPort(At(target.gdbPort));
        QCOMPARE(OpenError(debugPort), QString());
        const quint32 ran = Word(debugPort, target.places.counter);
        QTRY_VERIFY_WITH_TIMEOUT( // although connecting halted it
            Word(debugPort, target.places.counter) != ran, kLimitMs);
        debugPort.Close();
        TclBackend backend(At(target.tclPort));
        QCOMPARE(OpenError(backend), QString());
        const quint32 trace = 0x50003000; // reads as the width of the access
        QCOMPARE(Bytes(backend, trace, 8, 1), QByteArray(8, 1));
        QCOMPARE(Bytes(backend, trace, 8, 2), QByteArray(8, 2));
        QCOMPARE(Bytes(backend, trace + 1, 9, 4), "\1\2\2\4\4\4\4\2\2");
        QCOMPARE(Bytes(backend, trace, 8), QByteArray(8, 4));
        const auto state = [&] { return target.Command("[target current] curstate"); };
        QTRY_COMPARE_WITH_TIMEOUT(state(), "running", kLimitMs); // it was never halted
        target.Command("halt");
        QTRY_COMPARE_WITH_TIMEOUT(state(), "halted", kLimitMs);
        const quint32 halted = Word(backend, target.places.counter);
        QCOMPARE(WriteWord(backend, 0x20000038, 0), 4);
        QCOMPARE(Word(backend, target.places.counter), halted);
        target.board.Kill(); // a core without power counts as lost, not as a hole
        QTRY_VERIFY_WITH_TIMEOUT(
            Bytes(backend, 0x20000000, 640) == "result -1" && !backend.Alive(), kLimitMs);
        backend.Close();
    }

    void aProcessThatCannotBeLookedIntoGetsAText()
    {
        const QString unknown = "No process %1. Start it, or look for its number with ps.";
        QCOMPARE(TextOf("no such name"), unknown.arg("no such name"));
        QCOMPARE(TextOf("99999999999"), unknown.arg("99999999999"));
        PeerProcess high; // an ordinary program: position independent, far above 4 GiB
        QVERIFY(high.Start({"sleep", "1000"}));
        const QString id = QString::number(high.Id());
        const QString tooHigh = "Process " + id + " has no memory below 4 GiB. ";
        QTRY_VERIFY_WITH_TIMEOUT(TextOf(id).startsWith(tooHigh), kLimitMs);
        high.Kill();
        QCOMPARE(TextOf(id), unknown.arg(id));
        if (geteuid() != 0 && QFileInfo("/proc/1").ownerId() == geteuid())
            QSKIP("no process of another user is known");
        const AsUser user;
        QCOMPARE(TextOf("1"), "Not allowed to read process 1 (same user, ptrace_scope).");
    }

    void aProcessIsFoundByNameAndItsEndIsNoticed()
    {
        const QTemporaryDir directory;
        const QString name = "pt" + QString::number(getpid()); // no other process has this name
        ProcessTarget one;
        ProcessTarget two;
        one.program = two.program = directory.filePath(name);
        QVERIFY(one.Start());
        QCOMPARE(TextOf(name), "");
        QVERIFY(two.Start());
        const QString text = TextOf(name);
        QVERIFY2(text.startsWith("Several processes are called " + name), qPrintable(text));
        QVERIFY2(text.contains(one.selector) && text.contains(two.selector), qPrintable(text));
        PidBackend backend(std::to_string(one.Id()));
        QCOMPARE(OpenError(backend), "");
        QVERIFY(backend.Alive());
        one.Kill();
        QVERIFY(!backend.Alive()); // before any access
        QCOMPARE(Bytes(backend, 0x20000000, 4), "result -1");
    }
};

QTEST_GUILESS_MAIN(RealPeersTest)
#include "tst_realpeers.moc"
