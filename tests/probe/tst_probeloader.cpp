#include "probesearch.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

namespace {

/// What the fake opener was asked for, and the only path that it opens.
QStringList askedPaths;
QByteArray openedPath;

void *FakeOpen(const char *path)
{
    askedPaths.append(QString::fromUtf8(path));
    return openedPath == path ? &openedPath : nullptr;
}

/// A folder with the driver program and some libraries.
class Installation {
public:
    void Add(const char *library, const QString &name)
    {
        QVERIFY(QFile::copy(library, m_folder.filePath(name)));
    }

    void Write(const QString &name, const QByteArray &bytes)
    {
        QFile file(m_folder.filePath(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }

    /// Runs the driver there; stores its exit status.
    QStringList Run(const QStringList &arguments)
    {
        const QString program = m_folder.filePath("driver");
        if (!QFile::exists(program))
            QFile::copy(PROBE_DRIVER, program);
        QProcess process;
        process.start(program, arguments);
        process.waitForFinished();
        exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
        return QString::fromUtf8(process.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts);
    }

    int exitCode = -1;

private:
    QTemporaryDir m_folder;
};

constexpr char kExitLine[] = "Could not open Ranvo shared library. Exiting now.";

} // namespace

class ProbeLoaderTest : public QObject {
    Q_OBJECT

private slots:
    void placesAreTriedInTheirOrder();
    void argumentsAndResultsPassUnchanged();
    void theX86NameIsPreferred();
    void withoutALibraryTheProcessEnds();
    void missingFunctionsGiveZeroAndAreReportedEachTime();
    void manyThreadsMayMakeTheFirstCall();
};

void ProbeLoaderTest::placesAreTriedInTheirOrder()
{
    askedPaths.clear();
    openedPath.clear();
    QCOMPARE(PROBE_SearchModuleDirectory("/app/", &FakeOpen), nullptr);
    QCOMPARE(PROBE_SearchModuleDirectory("", &FakeOpen), nullptr);
    QCOMPARE(PROBE_SearchInstallations("/run/bin\\x/prog", "/opt/inst/", &FakeOpen), nullptr);
    const QStringList expected = {"/app/libranvoarm_x86.so", "/app/libranvoarm.so",
        "/run/bin\\x/libranvoarm_x86.so", "/run/bin\\x/libranvoarm.so",
        "/opt/inst/libranvoarm_x86.so", "/opt/inst/libranvoarm.so",
        "/opt/inst/libranvoarm_x86.so.5", "/opt/inst/libranvoarm.so.5"};
    QCOMPARE(askedPaths, expected);

    askedPaths.clear();
    QCOMPARE(PROBE_SearchInstallations("", "/opt/inst/", &FakeOpen), nullptr);
    QCOMPARE(askedPaths, expected.mid(4));
    askedPaths.clear();
    PROBE_SearchInstallations("back\\prog", "/opt/inst/", &FakeOpen);
    QCOMPARE(askedPaths.value(0), "back\\libranvoarm_x86.so");
    askedPaths.clear();
    PROBE_SearchInstallations("bare-", "/opt/inst/", &FakeOpen);
    QCOMPARE(askedPaths.value(0), "bare-libranvoarm_x86.so");
}

void ProbeLoaderTest::argumentsAndResultsPassUnchanged()
{
    Installation installation;
    installation.Add(FAKE_PLAIN, "libranvoarm.so");
    const QStringList expected = {"Open()", "= no probe", "IsConnected() of plain", "= -3",
        "SelectIP(host, 19020)", "= -104", "SelectUSB(3)", "= 105", "EMU_SelectByUSBSN(4000000000)",
        "= -106", "ExecCommand(Device = X, 256)", "= 107 fine", "SetEndian(1)", "= 108",
        "TIF_Select(3)", "= 109", "ConfigJTAG(4, 5)", "= 110", "SetSpeed(65535)", "= 111", "= 112",
        "= -113", "= 0BC11477", "= 65535", "= 4294967280", "ReadMemEx(FFFFFFFC, 4, 2)", "= -1 5A",
        "WriteMemEx(20000000, 2, ab, 1)", "= 2", "= 7", "= 0 ACME-1", "Close()"};
    QCOMPARE(installation.Run({"all"}), expected);
    QCOMPARE(installation.Run({"all", "all"}), expected + expected);
    QCOMPARE(installation.exitCode, 0);
}

void ProbeLoaderTest::theX86NameIsPreferred()
{
    Installation installation;
    installation.Add(FAKE_PLAIN, "libranvoarm.so");
    installation.Add(FAKE_X86, "libranvoarm_x86.so");
    QCOMPARE(installation.Run({"call"}), QStringList({"IsConnected() of x86", "= -3"}));
}

void ProbeLoaderTest::withoutALibraryTheProcessEnds()
{
    if (QDir("/opt/TOLVEN/Ranvo").exists())
        QSKIP("a probe library is installed on this system");
    Installation installation;
    QCOMPARE(installation.Run({"call", "never reached"}), QStringList(kExitLine));
    QCOMPARE(installation.exitCode, 1);
    // A file that is no library is as good as none.
    installation.Write("libranvoarm.so", "no library");
    QCOMPARE(installation.Run({"call", "never reached"}), QStringList(kExitLine));
    QCOMPARE(installation.exitCode, 1);
}

void ProbeLoaderTest::missingFunctionsGiveZeroAndAreReportedEachTime()
{
    Installation installation;
    installation.Add(FAKE_POOR, "libranvoarm.so");
    const QStringList lines = installation.Run({"open", "open", "call"});
    QCOMPARE(lines.size(), 6);
    for (const int line : {0, 2}) {
        QVERIFY2(
            lines[line].startsWith("Function not found: RANVOARM_Open ("), qPrintable(lines[line]));
        QVERIFY2(lines[line].endsWith(")."), qPrintable(lines[line]));
        QCOMPARE(lines[line + 1], "= null");
    }
    QCOMPARE(lines[5], "= -3");

    const QStringList all = installation.Run({"all"});
    QCOMPARE(all.filter("Function not found: RANVOARM_").size(), 19);
    QCOMPARE(all.filter(QRegularExpression("^= ")),
        QStringList({"= null", "= -3", "= 0", "= 0", "= 0", "= 0 ", "= 0", "= 0", "= 0", "= 0",
            "= 0", "= 0", "= 00000000", "= 0", "= 0", "= 0 00", "= 0", "= 0", "= 0 null"}));
}

void ProbeLoaderTest::manyThreadsMayMakeTheFirstCall()
{
    Installation installation;
    installation.Add(FAKE_PLAIN, "libranvoarm.so");
    const QString sum = "= " + QString::number(112 - 113 + 65535);
    QCOMPARE(installation.Run({"threads"}), QStringList({sum, sum, sum, sum}));
    QCOMPARE(installation.exitCode, 0);
}

QTEST_GUILESS_MAIN(ProbeLoaderTest)
#include "tst_probeloader.moc"
