#include "memorydata.h"
#include "testfile.h"

#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// Runs something in a process of its own. @return what it returned
template <typename Action> bool InChild(const Action &action)
{
    const pid_t child = fork();
    if (child == 0)
        _exit(action() ? 0 : 1);
    int status = -1;
    return waitpid(child, &status, 0) == child && status == 0;
}

/// Becomes a user who may do nothing special.
bool BecomeOrdinary()
{
    constexpr uid_t kNobody = 65534;
    return geteuid() != 0 || setuid(kNobody) == 0;
}

} // namespace

class MemFileTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        QVERIFY(WriteMemoryFile(Path("old.bin"), "precious"));
    }

    void everyByteComesBack()
    {
        QByteArray bytes;
        for (int i = 0; i < 3 * 1024 * 1024; ++i)
            bytes.append(static_cast<char>(i ^ (i >> 8) ^ (i >> 16)));
        QVERIFY(QFile::link("old.bin", Path("link.bin"))); // a link stays a link
        for (const QByteArray &contents : {bytes, QByteArray("short"), QByteArray()}) {
            QVERIFY(WriteMemoryFile(Path("link.bin"), contents));
            QCOMPARE(MEMFILE_Size(Path("link.bin")).value(), std::uint64_t(contents.size()));
            QVERIFY(ReadMemoryFile(Path("old.bin")).value() == contents);
        }
        QVERIFY(QFileInfo(Path("link.bin")).isSymLink());
    }

    void onlyRegularFilesAreTouched()
    {
        QCOMPARE(::mkfifo(QFile::encodeName(Path("pipe")).constData(), 0600), 0);
        QVERIFY(QFile::link("nowhere/at/all", Path("dangling")));
        for (const QString &name :
            {QString(), Path("pipe"), m_folder->path(), Path("dangling"), Path("none/x.bin"),
                QStringLiteral("/dev/zero"), QStringLiteral("/dev/full"), QString(5000, u'n')}) {
            QVERIFY2(!MEMFILE_Size(name), qPrintable(name));
            QVERIFY2(!ReadMemoryFile(name), qPrintable(name));
            QVERIFY2(!WriteMemoryFile(name, "data"), qPrintable(name));
        }
        QCOMPARE(FileNames(m_folder->path()).join(u' '), "dangling old.bin pipe");
    }

    void aSaveThatDoesNotEndLeavesTheOldFileOrNone()
    {
        for (const char *name : {"old.bin", "new.bin"}) {
            for (const std::size_t size : {1000, 1024 * 1024}) { // one that waits in a buffer too
                const std::vector<std::uint8_t> bytes(size, 'x');
                MemFileWriter dropped;
                QVERIFY(dropped.Open(Path(name)) && dropped.Write(bytes));
                QVERIFY(InChild([&] { // with as little room as on a full disk
                    std::signal(SIGXFSZ, SIG_IGN);
                    const rlimit limit{size / 2, size / 2};
                    setrlimit(RLIMIT_FSIZE, &limit);
                    MemFileWriter writer;
                    return writer.Open(Path(name)) && !(writer.Write(bytes) && writer.Commit());
                }));
            }
        }
        QCOMPARE(FileContent(Path("old.bin")), "precious");
    }

    void aDiskWithoutRoomForAFurtherFileKeepsTheOldOne()
    {
        const auto inNamespace = [] { return unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0; };
        if (!InChild(inNamespace))
            QSKIP("This system permits no namespace.");
        const QByteArray folder = QFile::encodeName(m_folder->path());
        const QString map = "0 %1 1";
        const uid_t uid = geteuid();
        const gid_t gid = getegid();
        QVERIFY(InChild([&] {
            if (!inNamespace())
                return false;
            PutFile("/proc/self/uid_map", map.arg(uid).toLatin1());
            PutFile("/proc/self/setgroups", "deny");
            PutFile("/proc/self/gid_map", map.arg(gid).toLatin1());
            if (mount("none", folder, "tmpfs", 0, "nr_inodes=3") != 0) // with the folder itself
                return false;
            PutFile(Path("old.bin"), "precious");
            PutFile(Path("other.bin"), "");
            return !WriteMemoryFile(Path("old.bin"), "new")
                && FileContent(Path("old.bin")) == "precious";
        }));
    }

    void aFolderThatTakesNoNewFileStillTakesTheOldOne()
    {
        const auto allow = [](const QString &path, mode_t mode) {
            return ::chmod(QFile::encodeName(path).constData(), mode) == 0;
        };
        QVERIFY(allow(Path("old.bin"), 0666) && allow(m_folder->path(), 0555));
        const bool isWritten = InChild([this] {
            return BecomeOrdinary() && WriteMemoryFile(Path("old.bin"), "new")
                && !WriteMemoryFile(Path("other.bin"), "new");
        });
        QVERIFY(allow(m_folder->path(), 0755));
        QVERIFY(isWritten);
        QCOMPARE(FileContent(Path("old.bin")), "new");
    }

    void cleanup() { QVERIFY(FileNames(m_folder->path()).filter("new.bin").isEmpty()); }

private:
    QString Path(const char *name) const { return m_folder->filePath(QLatin1String(name)); }

    std::unique_ptr<QTemporaryDir> m_folder;
};

QTEST_GUILESS_MAIN(MemFileTest)
#include "tst_memfile.moc"
