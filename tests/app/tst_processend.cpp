// How the process ends, whoever ends it: the program's own main(), driven from inside.

#include "owndisplay.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <optional>

namespace {

constexpr int kPatienceMs = 60'000; // only what hangs takes so long

const QByteArray kWritten = "RANVOARM_WriteMemEx\nRANVOARM_Close\n";
const QByteArray kUnloaded = "library destructors\n";
const QByteArray kNoLibrary = "Could not open Ranvo shared library. Exiting now.\n";

/// A process with a home of its own.
class Driven {
public:
    Driven(const QString &program, const QByteArray &drive, const QStringList &wrapper = {},
        const QByteArray &display = {})
    {
        QDir(m_home.path()).mkpath(".config");
        if (drive.contains("device")) {
            QFile file(m_home.filePath(".config/TOLVEN\\drivenprogramSettings.ini"));
            if (file.open(QIODevice::WriteOnly))
                file.write("[CPU]\r\nDevice=\"SIM-M4\"\r\n");
        }
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("HOME", m_home.path());
        environment.insert("PELIMO_DRIVE", QString::fromLatin1(drive));
        if (!display.isEmpty()) {
            environment.insert("DISPLAY", QString::fromLatin1(display));
            environment.insert("QT_QPA_PLATFORM", "xcb");
        }
        QProcess process;
        process.setProcessEnvironment(environment);
        const QStringList command = wrapper + QStringList{program};
        process.start(command.first(), command.mid(1));
        hasEnded = process.waitForFinished(kPatienceMs);
        status = process.exitStatus() == QProcess::NormalExit ? process.exitCode()
                                                              : -process.exitCode();
        output = process.readAllStandardOutput();
        errors = process.readAllStandardError();
    }

    /// Whether the memory window has saved its settings.
    [[nodiscard]] bool HasSaved() const
    {
        return QFile::exists(m_home.filePath(".config/Unknown Organization/drivenprogram.conf"));
    }

    bool hasEnded = false;
    int status = 0; ///< negative: the number of the signal that ended it
    QByteArray output;
    QByteArray errors;

private:
    QTemporaryDir m_home;
};

} // namespace

class ProcessEndTest : public QObject {
    Q_OBJECT

private slots:
    void whateverEndsItItEndsInOrder_data()
    {
        QTest::addColumn<QByteArray>("drive");
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("output");
        QTest::addColumn<bool>("isConnected");
        QTest::newRow("window") << QByteArray("window") << 0 << kWritten + kUnloaded << true;
        QTest::newRow("SIGTERM") << QByteArray("term") << 0 << kWritten + kUnloaded << true;
        QTest::newRow("SIGINT") << QByteArray("int") << 0 << kWritten + kUnloaded << true;
        QTest::newRow("SIGHUP") << QByteArray("hup") << 0 << kWritten + kUnloaded << true;
        QTest::newRow("SIGTERM over a box")
            << QByteArray("about term") << 0 << kWritten + kUnloaded << true;
        QTest::newRow("a second signal") << QByteArray("again int") << -SIGTERM << kWritten << true;
        // The library is still at work on a thread of ours: nothing of it is torn down.
        QTest::newRow("Close hangs") << QByteArray("close window") << 0 << kWritten << true;
        QTest::newRow("Open hangs")
            << QByteArray("open term") << 0 << QByteArray("RANVOARM_Close\n") << false;
        QTest::newRow("the display breaks") << QByteArray("display") << 1 << kWritten << true;
        QTest::newRow("the display breaks under a box")
            << QByteArray("about display") << 1 << kWritten << true;
        QTest::newRow("never connected")
            << QByteArray("cancel window") << 0 << "RANVOARM_Close\n" + kUnloaded << false;
    }

    void whateverEndsItItEndsInOrder()
    {
        QFETCH(QByteArray, drive);
        QFETCH(int, status);
        QFETCH(bool, isConnected);
        std::optional<OwnDisplay> display;
        if (drive.contains("display") && display.emplace().Name().isEmpty())
            QSKIP("there is no Xvfb");
        const Driven program(DRIVEN_PROGRAM, drive, {}, display ? display->Name() : QByteArray());
        QVERIFY(program.hasEnded);
        QTEST(program.output, "output");
        QCOMPARE(program.status, status);
        QCOMPARE(program.HasSaved(), isConnected && status >= 0);
    }

    void anIgnoredHangupStaysIgnored()
    {
        // Else SIGTERM would be the second signal, and deadly.
        const QStringList nohup = {"bash", "-c", "trap '' HUP; exec \"$0\""};
        const Driven program(DRIVEN_PROGRAM, "hup term", nohup);
        QCOMPARE(program.output, kWritten + kUnloaded);
        QCOMPARE(program.status, 0);
    }

    void withoutALibraryNothingIsLoadedForTheSakeOfClosing()
    {
        if (QDir("/opt/TOLVEN/Ranvo").exists())
            QSKIP("a probe library is installed on this system");
        const QTemporaryDir folder;
        const QString alone = folder.filePath("drivenprogram");
        QVERIFY(QFile::copy(DRIVEN_PROGRAM, alone));
        const Driven cancelled(alone, "device cancel window");
        QCOMPARE(cancelled.output, QByteArray());
        QCOMPARE(cancelled.status, 0);
        for (const char *const drive : {"none", "device none"}) { // from the window, the worker
            const Driven program(alone, drive);
            QVERIFY(program.hasEnded);
            QCOMPARE(program.output, kNoLibrary);
            QCOMPARE(program.status, 1);
            QVERIFY(program.errors.contains(
                "/opt/TOLVEN/Ranvo/libranvoarm.so.5: cannot open shared object file"));
        }
        const OwnDisplay display;
        if (display.Name().isEmpty())
            QSKIP("there is no Xvfb");
        for (const char *const drive : {"none", "device none"}) {
            const Driven program(alone, drive, {}, display.Name());
            QCOMPARE(program.output,
                kNoLibrary
                    + "box TOLVEN Pelimo V6.54a - Error: Could not open Ranvo shared library.\n");
            QCOMPARE(program.status, 1);
        }
    }
};

QTEST_GUILESS_MAIN(ProcessEndTest)
#include "tst_processend.moc"
