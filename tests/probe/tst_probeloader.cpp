#include "probesearch.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

namespace {

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
        QProcess process;
        process.setProgram(Driver());
        process.setArguments(arguments);
        return Finish(process);
    }

    /// Runs the driver under another name of its own telling, in a folder that the system searches
    /// for libraries.
    QStringList RunAs(const QString &name, const QString &folder, const QStringList &arguments)
    {
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("LD_LIBRARY_PATH", folder);
        process.setProcessEnvironment(environment);
        process.setWorkingDirectory(folder);
        process.setProgram("bash");
        process.setArguments(
            QStringList{"-c", "exec -a \"$0\" \"$@\"", name, Driver()} + arguments);
        return Finish(process);
    }

    int exitCode = -1;

private:
    [[nodiscard]] QString Driver() const
    {
        QString program = m_folder.filePath("driver");
        if (!QFile::exists(program))
            QFile::copy(PROBE_DRIVER, program);
        return program;
    }

    QStringList Finish(QProcess &process)
    {
        process.start();
        process.waitForFinished();
        exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
        return QString::fromUtf8(process.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts);
    }

    QTemporaryDir m_folder;
};

constexpr char kExitLine[] = "Could not open Ranvo shared library. Exiting now.";

} // namespace

class ProbeLoaderTest : public QObject {
    Q_OBJECT

private slots:
    void placesAreTriedInTheirOrder();
    void everyFunctionIsCalledOrReported();
    void theX86NameIsPreferred();
    void theNameItIsStartedByChoosesNoOtherFolder_data();
    void theNameItIsStartedByChoosesNoOtherFolder();
    void withoutALibraryTheProcessEnds();
    void manyThreadsMayMakeTheFirstCall();
};

void ProbeLoaderTest::placesAreTriedInTheirOrder()
{
    using Files = std::vector<std::string>;
    QCOMPARE(PROBE_FilesBesideModule("/app/"),
        Files({"/app/libranvoarm_x86.so", "/app/libranvoarm.so"}));
    QCOMPARE(PROBE_FilesBesideModule(""), Files());
    const Files installed = {"/opt/inst/libranvoarm_x86.so", "/opt/inst/libranvoarm.so",
        "/opt/inst/libranvoarm_x86.so.5", "/opt/inst/libranvoarm.so.5"};
    const auto beside = [&installed](const char *program) { // the files before the installed ones
        Files files = PROBE_InstalledFiles(program, "/opt/inst/");
        const auto first = files.end() - static_cast<std::ptrdiff_t>(installed.size());
        return Files(first, files.end()) == installed ? Files(files.begin(), first) : Files{"?"};
    };
    QCOMPARE(beside("/run/bin\\x/prog"),
        Files({"/run/bin\\x/libranvoarm_x86.so", "/run/bin\\x/libranvoarm.so"}));
    QCOMPARE(beside(""), Files());
    QCOMPARE(beside("back\\prog").front(), "back\\libranvoarm_x86.so");
    QCOMPARE(beside("bare-").front(), "bare-libranvoarm_x86.so");
    const std::string tooLong(495, 'd');
    QCOMPARE(beside((tooLong + "/prog").c_str()), Files{tooLong + "/libranvoarm.so"});
}

// What the library has is called with the arguments in their order; what it lacks gives zero and is
// reported each time.
void ProbeLoaderTest::everyFunctionIsCalledOrReported()
{
    Installation installation;
    installation.Add(FAKE_PLAIN, "libranvoarm.so");
    const auto lacks = [](const QString &name) { return "Function not found: RANVOARM_" + name; };
    const QStringList expected = {lacks("Open"), "= 0", lacks("Close"), "SelectIP(host, 19020)",
        "= -104", lacks("SelectUSB"), "= 0", lacks("EMU_SelectByUSBSN"), "= 0",
        lacks("ExecCommand"), "= 0", lacks("SetEndian"), "= 0", lacks("TIF_Select"), "= 0",
        "ConfigJTAG(4, 5)", "= 110", lacks("SetSpeed"), "= 0", lacks("SetMaxSpeed"), "= 0",
        lacks("Connect"), "= 0", lacks("GetIdData"), lacks("GetSpeed"), "= 0",
        "GetHardwareVersion()", "= 4294967280", "ReadMemEx(FFFFFFFC, 4, 2)", "= -910",
        "WriteMemEx(20000000, 2, ab, 1)", "= 2", lacks("DEVICE_GetInfo"), "= 0"};
    QStringList lines = installation.Run({"all", "all"});
    lines.replaceInStrings(QRegularExpression("^(Function.*) \\(.+\\)\\.$"), "\\1");
    QCOMPARE(lines, expected + expected);
    QCOMPARE(installation.exitCode, 0);
}

void ProbeLoaderTest::theX86NameIsPreferred()
{
    Installation installation;
    installation.Add(FAKE_PLAIN, "libranvoarm.so");
    installation.Add(FAKE_X86, "libranvoarm_x86.so");
    QCOMPARE(installation.Run({"call"}), QStringList({"IsConnected() of x86", "= -3"}));
}

void ProbeLoaderTest::theNameItIsStartedByChoosesNoOtherFolder_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("a link in the current folder") << "driver";
    QTest::newRow("a library that the system would search") << "x\\driver";
    QTest::newRow("a made-up path") << "deeper/driver";
    QTest::newRow("another program's path") << "/bin/sh";
}

void ProbeLoaderTest::theNameItIsStartedByChoosesNoOtherFolder()
{
    QFETCH(QString, name);
    Installation installation;
    installation.Add(FAKE_PLAIN, "libranvoarm.so");
    const QTemporaryDir trap;
    QVERIFY(QFile::link("deeper/driver", trap.filePath("driver")));
    QVERIFY(QDir(trap.path()).mkdir("deeper"));
    QVERIFY(QFile::copy("/bin/sh", trap.filePath("deeper/driver")));
    for (const char *file : {"libranvoarm.so", "deeper/libranvoarm.so", "x\\libranvoarm.so"})
        QVERIFY(QFile::copy(FAKE_X86, trap.filePath(file)));
    QCOMPARE(installation.RunAs(name, trap.path(), {"call"}).value(0), "IsConnected() of plain");
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

void ProbeLoaderTest::manyThreadsMayMakeTheFirstCall()
{
    Installation installation;
    installation.Add(FAKE_PLAIN, "libranvoarm.so");
    const QString sum = "= " + QString::number(110 - 3);
    QCOMPARE(installation.Run({"threads"}).filter("= "), QStringList({sum, sum, sum, sum}));
    QCOMPARE(installation.exitCode, 0);
}

QTEST_GUILESS_MAIN(ProbeLoaderTest)
#include "tst_probeloader.moc"
