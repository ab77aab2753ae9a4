#include "asuser.h"
#include "sysfile.h"
#include "testfile.h"

#include <QtTest>

#include <csignal>

#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>

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
        QCOMPARE(QFile::permissions(m_path) & 0x77, QFile::Permissions());
        QFile::remove(m_path);
        QCOMPARE(Saved(m_path, "plain"), "plain");
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
        QVERIFY(stop > 10); // it was not all done in one step
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

QTEST_GUILESS_MAIN(SysFileTest)
#include "tst_sysfile.moc"
