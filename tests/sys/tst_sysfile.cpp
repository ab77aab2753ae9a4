#include "asuser.h"
#include "sysfile.h"
#include "syslinks.h"
#include "syspaths.h"
#include "sysprocess.h"
#include "testfile.h"

#include <QtTest>

#include <csignal>

#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Result = SysFileResult;

constexpr int kMayNotTrace = 77;

/// Saves in a child that is killed at one of its stops, at the entry or the exit of a system call.
/// @return how the child ended: killed, or by itself before that stop
int SaveKilledAtStop(int stop, const char *path, const std::string &content)
{
    const pid_t child = fork();
    if (child == 0) {
        if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0)
            _exit(kMayNotTrace);
        raise(SIGSTOP);
        _exit(SYS_ReplaceFile(path, content) == Result::Ok ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    for (; WIFSTOPPED(status); waitpid(child, &status, 0)) {
        if (stop-- == 0 || ptrace(PTRACE_SYSCALL, child, nullptr, nullptr) != 0)
            kill(child, SIGKILL);
    }
    return status;
}

bool ReadFakeLink(const char *path, char *target, std::uint32_t size)
{
    static const QMap<QByteArray, QByteArray> kLinks = {{"/usr/bin/pelimo", "/opt/app/bin/pelimo"},
        {"/opt/app/bin/pelimo", "../lib/real"}, {"/usr/bin/relative", "../lib/real"},
        {"link", "dir/other"}, {"dir/other", "end"}, {"/round/a", "b"}, {"/round/b", "a"}};
    qstrncpy(target, kLinks.value(path).constData(), size);
    return kLinks.contains(path);
}

} // namespace

/// Each test starts with one file in a folder of a user who is not root.
class SysFileTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_folder.emplace();
        m_path = m_folder->filePath("test.ini").toUtf8();
        PutFile(m_path, kOld);
        chmod(m_path, 0604);
        AsUser::GiveAway(m_folder->path());
        AsUser::GiveAway(m_path);
    }

    void savingReplacesTheFileAndKeepsItsModeAndOwner()
    {
        for (const char *const content : {"new", "", "longer again"})
            QCOMPARE(Saved(m_path, content), content);
        struct stat info { };
        stat(m_path, &info);
        QCOMPARE(info.st_mode & 07777, 0604U);
        QCOMPARE(info.st_uid, AsUser::Id());
    }

    void linksAreFollowedAndNewFilesAreForTheUserAlone()
    {
        const QByteArray link = m_folder->filePath("link").toUtf8();
        QVERIFY(QFile::link(m_path, link));
        QCOMPARE(Saved(link, "new"), "new");
        QFile::remove(m_path);
        const mode_t mask = umask(0);
        QCOMPARE(Saved(link, "made"), "made");
        umask(mask);
        QCOMPARE(QFile::permissions(m_path) & 0x77, QFile::Permissions());
        QVERIFY(QFileInfo(link).isSymLink());
    }

    void aClosedDirectoryIsWrittenInPlace()
    {
        chmod(qPrintable(m_folder->path()), 0500);
        const AsUser user;
        QCOMPARE(Saved(m_path, "new"), "new");
        QCOMPARE(Saved(m_path, "longer than before"), "longer than before");
        QCOMPARE(SYS_ReplaceFile(m_path + ".other", "new"), Result::AccessDenied);
        signal(SIGXFSZ, SIG_IGN);
        rlimit limit{};
        getrlimit(RLIMIT_FSIZE, &limit);
        const rlimit small{1000, limit.rlim_max}; // as a disk that fills up meanwhile
        setrlimit(RLIMIT_FSIZE, &small);
        const Result result = SYS_ReplaceFile(m_path, std::string(5000, 'n'));
        setrlimit(RLIMIT_FSIZE, &limit);
        chmod(qPrintable(m_folder->path()), 0700);
        QCOMPARE(result, Result::TransferFailed);
        QCOMPARE(FileContent(m_path), "longer than before");
    }

    void theOldFileStaysOnAFullDisk()
    {
        const QString mount
            = "mount -t tmpfs -o size=64k,nr_inodes=40 none \"$1\" && cd \"$1\" || exit; ";
        const QString save
            = "printf old >old; (%1) 2>/dev/null; \"$0\" save; rm filler*; ls; cat old";
        for (const QByteArray &filling : {QByteArray("cat /dev/zero >filler"),
                 QByteArray("for i in $(seq 99); do : >filler$i; done")}) {
            QProcess process;
            process.start("unshare",
                {"-rm", "sh", "-c", mount + save.arg(filling),
                    QCoreApplication::applicationFilePath(), m_folder->path()});
            QVERIFY(process.waitForFinished());
            const QByteArray output = process.readAllStandardOutput();
            if (output.isEmpty())
                QSKIP("This system permits no mounts in a namespace.");
            QCOMPARE(filling + ": " + output, filling + ": not saved\nold\nold");
        }
    }

    void aSaveKilledAtAnySystemCallLeavesAWholeFile()
    {
        const std::string content(29'000, 'n');
        int stop = 0;
        for (int status = 1; status != 0; ++stop) {
            init();
            status = SaveKilledAtStop(stop, m_path, content);
            if (WIFEXITED(status) && WEXITSTATUS(status) == kMayNotTrace)
                QSKIP("This system lets nobody trace his children.");
            const QByteArray found = FileContent(m_path);
            QVERIFY2(found == content.c_str() || (found == kOld && WIFSIGNALED(status)),
                qPrintable(QStringLiteral("torn at stop %1").arg(stop)));
            for (const QString &name : FileNames(m_folder->path())) // also what was left behind
                QCOMPARE(QFile::permissions(m_folder->filePath(name)) & 0x73, QFile::Permissions());
        }
        QVERIFY(stop > 10); // otherwise the child was never interrupted
    }

    void aProgramsLinksAreFollowedToTheirEnd()
    {
        const auto end = [](const char *name) {
            QByteArray path(SYS_MAX_PATH, '\0');
            SYS_ResolveModulePath(name, &ReadFakeLink, path.data(), SYS_MAX_PATH);
            return QByteArray(path.constData());
        };
        QCOMPARE(end("/opt/x/pelimo"), "/opt/x/pelimo");
        QCOMPARE(end("pelimo"), "/opt/app/bin/../lib/real");
        QCOMPARE(end("relative"), "/usr/bin/../lib/real");
        QCOMPARE(end("link"), "link"); // a link here must not count
        QCOMPARE(end("dir/other"), "dir/end");
        QCOMPARE(end("/round/a"), "/round/a");
    }

    void theConfigurationDirectoryIsMadeWholeOrNotAtAll()
    {
        const QTemporaryDir home;
        const QString expected = home.filePath(".config/TOLVEN");
        std::array<char, SYS_MAX_PATH> path;
        const auto make = [&path](const QString &homeFolder, qsizetype size) {
            qputenv("HOME", homeFolder.toUtf8());
            return SYS_UserConfigDir(path.data(), static_cast<std::uint32_t>(size));
        };
        QCOMPARE(make(home.path(), expected.size()), SYS_PATH_ERROR); // cut: somebody else's
        QVERIFY(QDir(home.path()).isEmpty());
        QCOMPARE(make(home.path(), expected.size() + 1), SYS_PATH_OK);
        QCOMPARE(path.data(), expected);
        QVERIFY(QDir(expected).exists());
        QCOMPARE(make(home.filePath("none"), SYS_MAX_PATH), SYS_PATH_ERROR);
        QCOMPARE(make("", SYS_MAX_PATH), SYS_PATH_ERROR);
    }

    void closedStandardStreamsGetNoFiles()
    {
        const pid_t child = fork();
        if (child == 0) {
            close(STDIN_FILENO);
            close(STDOUT_FILENO);
            SYS_PrepareProcess();
            int ends[2] = {};
            const bool good = pipe(ends) == 0 && ends[0] > STDERR_FILENO && close(ends[0]) == 0
                && write(ends[1], "x", 1) < 0 && errno == EPIPE; // and is still alive
            _exit(good ? 0 : 1);
        }
        int status = -1;
        QCOMPARE(waitpid(child, &status, 0), child);
        QCOMPARE(status, 0);
    }

private:
    /// What a file holds after a save that succeeds and leaves nothing beside it.
    QByteArray Saved(const QByteArray &path, const char *content)
    {
        const auto before = FileNames(m_folder->path()).size() + (QFile::exists(path) ? 0 : 1);
        const bool good = SYS_ReplaceFile(path, content) == Result::Ok;
        return good && FileNames(m_folder->path()).size() == before ? FileContent(path) : "failed";
    }

    static constexpr char kOld[] = "old, and much longer than the new one";
    std::optional<QTemporaryDir> m_folder;
    QByteArray m_path;
};

int main(int argc, char **argv)
{
    if (argc == 2 && qstrcmp(argv[1], "save") == 0)
        return std::puts(SYS_ReplaceFile("old", std::string(1500, 'n')) == Result::Ok ? "saved"
                                                                                      : "not saved")
            < 0;
    const QCoreApplication application(argc, argv);
    SysFileTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_sysfile.moc"
