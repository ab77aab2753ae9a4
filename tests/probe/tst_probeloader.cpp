#include "probeloader.h"
#include "probesearch.h"
#include "ranvoapi.h"

#include "testfile.h"

#include <QtTest>

#include <future>

/// Each test has a folder for a copy of this program and the libraries that it shall find.
class ProbeLoaderTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_folder.emplace();
        m_driver = m_folder->filePath("driver");
        QVERIFY(QFile::copy(QCoreApplication::applicationFilePath(), m_driver));
    }
    void placesAreTriedInTheirOrder()
    {
        using Files = std::vector<std::string>;
        QCOMPARE(
            PROBE_FilesBesideModule("/a/"), Files({"/a/libranvoarm_x86.so", "/a/libranvoarm.so"}));
        QCOMPARE(PROBE_FilesBesideModule(""), Files());
        const Files installed = {"/i/libranvoarm_x86.so", "/i/libranvoarm.so",
            "/i/libranvoarm_x86.so.5", "/i/libranvoarm.so.5"};
        QCOMPARE(PROBE_InstalledFiles("", "/i/"), installed);
        Files all = {"/b\\x/libranvoarm_x86.so", "/b\\x/libranvoarm.so"};
        all.insert(all.end(), installed.begin(), installed.end());
        QCOMPARE(PROBE_InstalledFiles("/b\\x/prog", "/i/"), all);
        QCOMPARE(PROBE_InstalledFiles("back\\p", "/i/")[0], "back\\libranvoarm_x86.so");
        const std::string tooLong(495, 'd');
        QCOMPARE(
            PROBE_InstalledFiles((tooLong + "/p").c_str(), "/i/")[0], tooLong + "/libranvoarm.so");
    }

    // A function that the library lacks returns zero, and each call of it is reported.
    void functionsAreCalledOrReported()
    {
        QVERIFY(QFile::copy(FAKE_PLAIN, m_folder->filePath("libranvoarm.so")));
        const QRegularExpression kNotFound("Function not found: (\\w+) \\(.+\\)\\.");
        QStringList lines = Run("open write close open write call");
        QCOMPARE(lines.replaceInStrings(kNotFound, "no \\1").join(' '),
            "no RANVOARM_Open = 0 WriteMemEx(FFFFFFFC, 2, ab, 1) = 2 no RANVOARM_Close = 0 "
            "no RANVOARM_Open = 0 WriteMemEx(FFFFFFFC, 2, ab, 1) = 2 IsConnected() of plain = -3");
        QCOMPARE(m_status, 0);
        QCOMPARE(Run("threads").filter("= ").join(' '), "= -3 = -3 = -3 = -3");
        QCOMPARE(m_status, 0);
    }

    void onlyTheLibraryBesideTheProgramIsLoaded()
    {
        QVERIFY(QFile::copy(FAKE_PLAIN, m_folder->filePath("libranvoarm.so")));
        const QTemporaryDir trap;
        QVERIFY(QFile::link("deeper/driver", trap.filePath("driver")));
        QVERIFY(QDir(trap.path()).mkdir("deeper"));
        QVERIFY(QFile::copy("/bin/sh", trap.filePath("deeper/driver")));
        for (const char *const file :
            {"libranvoarm.so", "deeper/libranvoarm.so", "x\\libranvoarm.so"})
            QVERIFY(QFile::copy(FAKE_X86, trap.filePath(file)));
        for (const char *const name : {"driver", "x\\driver", "deeper/driver", "/bin/sh"})
            QVERIFY2(Run("call", name, trap.path()).value(0) == "IsConnected() of plain", name);
        QVERIFY(QFile::copy(FAKE_X86, m_folder->filePath("libranvoarm_x86.so"))); // is preferred
        QCOMPARE(Run("call"), QStringList({"IsConnected() of x86", "= -3"}));
    }

    void withoutALibraryTheProcessEnds()
    {
        if (QDir("/opt/TOLVEN/Ranvo").exists())
            QSKIP("a probe library is installed on this system");
        for (const bool isWrong : {false, true}) { // a wrong file counts as a missing one
            if (isWrong)
                PutFile(m_folder->filePath("libranvoarm.so"), "no library");
            const QString sorry = "Could not open Ranvo shared library.";
            QCOMPARE(Run("try call never-reached"),
                QStringList({sorry, "= -1", sorry + " Exiting now."}));
            QCOMPARE(m_status, 1);
        }
    }

private:
    /// What the copy prints under any name, started in a folder where the system looks for
    /// libraries.
    QStringList Run(const QString &calls, const QString &name = "driver",
        const QString &folder = QDir::tempPath())
    {
        QProcess process;
        process.setWorkingDirectory(folder);
        const QString command = "PROBE_CALLS='%1' LD_LIBRARY_PATH=. exec -a '%2' '%3'";
        process.start("bash", {"-c", command.arg(calls, name, m_driver)});
        process.waitForFinished();
        m_status = process.exitCode();
        return QString(process.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts);
    }

    std::optional<QTemporaryDir> m_folder;
    QString m_driver;
    int m_status = -1;
};

/// Calls the probe library in the way that a word says.
static int Call(const QByteArray &word)
{
    static const QMap<QByteArray, int (*)()> kCalls
        = {{"try", PROBE_TryLoadLibrary}, {"open", [] { return int(RANVOARM_Open() != nullptr); }},
            {"close", [] { return (RANVOARM_Close(), 0); }},
            {"write", [] { return RANVOARM_WriteMemEx(0xFFFFFFFC, 2, "ab", 1); }}};
    return kCalls.contains(word) ? kCalls[word]() : RANVOARM_IsConnected();
}

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsSet("PROBE_CALLS")) {
        for (const QByteArray &what : qgetenv("PROBE_CALLS").split(' ')) {
            const int calls = what == "threads" ? 4 : 1; // each thread makes its first call
            std::vector<std::future<int>> results;
            for (int i = 0; i < calls; ++i)
                results.push_back(std::async(std::launch::async, Call, what));
            for (auto &result : results)
                std::printf("= %d\n", result.get());
            std::fflush(stdout);
        }
        return 0;
    }
    const QCoreApplication application(argc, argv);
    ProbeLoaderTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_probeloader.moc"
