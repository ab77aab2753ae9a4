// How the process ends, whoever ends it: the program's own main(), driven from inside.

#include "owndisplay.h"
#include "testfile.h"

#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <optional>

namespace {

constexpr int kPatienceMs = 60'000; // reached only when the program hangs

const QByteArray kEmptied = "clipboard emptied\n";
const QByteArray kUnloaded = "library destructors\n";
const QByteArray kClosed = "RANVOARM_Close\n";
const QByteArray kWritten = "RANVOARM_WriteMemEx\n" + kClosed;
const QByteArray kNoLibrary = "Could not open Ranvo shared library. Exiting now.\n";
const QByteArray kNoLibraryBox
    = "box TOLVEN Pelimo V6.54a - Error: Could not open Ranvo shared library.\n";

} // namespace

class ProcessEndTest : public QObject {
    Q_OBJECT

private slots:
    void whateverEndsItItEndsInOrder_data()
    {
        QTest::addColumn<QString>("drive"); // words of programdriver.cpp and of the test below
        QTest::addColumn<int>("status");    // negative: the number of the signal that ended it
        QTest::addColumn<QByteArray>("output");
        const QByteArray all = kWritten + kEmptied + kUnloaded;
        QTest::newRow("window") << "window" << 0 << all;
        QTest::newRow("SIGTERM") << "term" << 0 << all;
        QTest::newRow("SIGINT") << "int" << 0 << all;
        QTest::newRow("SIGHUP") << "hup" << 0 << all;
        QTest::newRow("SIGTERM over a box") << "about term" << 0 << all;
        QTest::newRow("a second signal") << "again RANVOARM_Close int" << -SIGTERM << kWritten;
        // Else SIGTERM would be the second signal, and deadly.
        QTest::newRow("an ignored hangup stays ignored") << "nohup hup term" << 0 << all;
        // The library is still at work on a thread of ours: nothing of it is torn down.
        QTest::newRow("Close hangs") << "RANVOARM_Close window" << 0 << kWritten + kEmptied;
        QTest::newRow("Open hangs") << "RANVOARM_Open term" << 0 << kClosed + kEmptied;
        QTest::newRow("a check hangs") << "RANVOARM_IsConnected window" << 0 << kClosed + kEmptied;
        QTest::newRow("the display breaks") << "xvfb display" << 1 << kWritten;
        QTest::newRow("the display breaks under a box") << "xvfb about display" << 1 << kWritten;
        QTest::newRow("never connected") << "cancel window" << 0 << kClosed + kEmptied + kUnloaded;
        // Nothing is loaded for the sake of closing.
        QTest::newRow("never needed a library") << "alone device cancel window" << 0 << kEmptied;
        QTest::newRow("no library, noticed by the window") << "alone" << 1 << kNoLibrary;
        QTest::newRow("no library, told by the worker")
            << "alone device xvfb" << 1 << kNoLibrary + kNoLibraryBox;
    }

    void whateverEndsItItEndsInOrder()
    {
        QFETCH(QString, drive);
        QFETCH(int, status);
        const QTemporaryDir home;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("HOME", home.path());
        environment.insert("PELIMO_DRIVE", drive);
        QDir(home.path()).mkpath(".config");
        if (drive.contains("device")) // otherwise the program asks the library for its first device
            PutFile(home.filePath(".config/TOLVEN\\drivenprogramSettings.ini"),
                "[CPU]\r\nDevice=\"SIM-M4\"\r\n");
        std::optional<OwnDisplay> display;
        if (drive.contains("xvfb")) {
            if (display.emplace().Name().isEmpty())
                QSKIP("there is no Xvfb");
            environment.insert("DISPLAY", QString::fromLatin1(display->Name()));
            environment.insert("QT_QPA_PLATFORM", "xcb");
        }
        QStringList command{"bash", "-c", "trap '' HUP; exec \"$0\"", DRIVEN_PROGRAM};
        if (!drive.contains("nohup"))
            command = command.last(1);
        if (drive.contains("alone")) {
            if (QDir("/opt/TOLVEN/Ranvo").exists())
                QSKIP("a probe library is installed on this system");
            command = {home.filePath("drivenprogram")};
            QVERIFY(QFile::copy(DRIVEN_PROGRAM, command.first()));
        }
        QProcess process;
        process.setProcessEnvironment(environment);
        process.start(command.takeFirst(), command);
        QVERIFY(process.waitForFinished(kPatienceMs));
        const QByteArray output = process.readAllStandardOutput();
        QTEST(output, "output");
        QCOMPARE(process.exitCode(), std::abs(status));
        QCOMPARE(process.exitStatus() == QProcess::CrashExit, status < 0);
        // The memory window has saved its settings.
        QCOMPARE(QFile::exists(home.filePath(".config/Unknown Organization/drivenprogram.conf")),
            output.startsWith(kWritten) && status >= 0);
        QCOMPARE(process.readAllStandardError().contains(
                     "/opt/TOLVEN/Ranvo/libranvoarm.so.5: cannot open shared object file"),
            output.startsWith(kNoLibrary));
    }
};

QTEST_GUILESS_MAIN(ProcessEndTest)
#include "tst_processend.moc"
