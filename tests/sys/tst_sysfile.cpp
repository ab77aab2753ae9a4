#include "sysfile.h"

#include "testfile.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <array>
#include <csignal>
#include <optional>

#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr uid_t kNobody = 65534;
constexpr QFile::Permissions kModeOf0640
    = QFile::ReadOwner | QFile::WriteOwner | QFile::ReadUser | QFile::WriteUser | QFile::ReadGroup;

/// A folder with one file, which a user without privileges owns when the test runs as root.
class Folder {
public:
    explicit Folder(const QByteArray &content = {}, mode_t mode = 0640)
    {
        PutFile(m_path, content);
        chmod(Path(), mode);
        for (const QByteArray &owned : {m_folder.path().toUtf8(), m_path}) {
            if (geteuid() == 0 && chown(owned.constData(), kNobody, kNobody) != 0)
                qFatal("cannot give a file away");
        }
    }
    ~Folder() { SetMode(0700); }

    [[nodiscard]] const char *Path() const { return m_path.constData(); }
    [[nodiscard]] QString File(const QString &name) const { return m_folder.filePath(name); }
    void SetMode(mode_t mode) const { chmod(qPrintable(m_folder.path()), mode); }

    [[nodiscard]] QByteArray Content() const { return FileContent(m_path); }
    [[nodiscard]] mode_t Mode() const
    {
        struct stat info { };
        return stat(Path(), &info) == 0 ? info.st_mode & 07777 : 0;
    }
    [[nodiscard]] QStringList Names() const { return FileNames(m_folder.path()); }

private:
    QTemporaryDir m_folder;
    QByteArray m_path = m_folder.filePath("settings.ini").toUtf8();
};

/// Lays down root's privileges for a block, so that modes matter.
class AsUser {
public:
    AsUser()
        : m_root(geteuid() == 0)
    {
        Set(kNobody);
    }
    ~AsUser() { Set(0); }
    AsUser(const AsUser &) = delete;
    AsUser &operator=(const AsUser &) = delete;

private:
    void Set(uid_t user) const
    {
        if (m_root && seteuid(user) != 0)
            qFatal("cannot change the user");
    }
    bool m_root;
};

using Result = SysFileResult;

bool MayTraceChildren()
{
    const pid_t child = fork();
    if (child == 0)
        _exit(ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0 ? 0 : 1);
    int status = 0;
    return waitpid(child, &status, 0) == child && status == 0;
}

/// A child that saves, stopped in front of its first step.
pid_t StartStoppedSave(const char *path, const std::string &content)
{
    const pid_t child = fork();
    if (child != 0)
        return child;
    ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
    raise(SIGSTOP);
    _exit(SYS_ReplaceFile(path, content) == Result::Ok ? 0 : 1);
}

/// Kills the child at one of its stops, at the entry or the exit of a system call.
/// @return whether the child had ended before
bool KillAtStop(pid_t child, int stop)
{
    int status = 0;
    waitpid(child, &status, 0);
    for (int passed = 0; passed < stop && WIFSTOPPED(status); ++passed) {
        ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
        waitpid(child, &status, 0);
    }
    if (!WIFSTOPPED(status))
        return true;
    kill(child, SIGKILL);
    waitpid(child, &status, 0);
    return false;
}

} // namespace

class SysFileTest : public QObject {
    Q_OBJECT

private slots:
    void savingReplacesTheFileAndKeepsItsMode()
    {
        const Folder folder("old, and much longer than the new one", 0604);
        for (const std::string_view content : {"new", "", "longer again"}) {
            QCOMPARE(SYS_ReplaceFile(folder.Path(), content), Result::Ok);
            QCOMPARE(folder.Content().toStdString(), content);
            QCOMPARE(folder.Mode(), 0604U);
            QCOMPARE(folder.Names(), QStringList("settings.ini"));
        }
        struct stat info { };
        stat(folder.Path(), &info);
        QCOMPARE(info.st_uid, geteuid() == 0 ? kNobody : geteuid());
    }

    void linksAreFollowed()
    {
        const Folder target("old");
        const Folder folder;
        const QByteArray link = folder.File("link").toUtf8();
        QVERIFY(QFile::link(target.Path(), link));
        QCOMPARE(SYS_ReplaceFile(link.constData(), "new"), Result::Ok);
        QCOMPARE(target.Content(), "new");
        QVERIFY(QFileInfo(link).isSymLink());

        QFile::remove(target.Path());
        QCOMPARE(SYS_ReplaceFile(link.constData(), "made"), Result::Ok);
        QCOMPARE(target.Content(), "made");
        QVERIFY(QFileInfo(link).isSymLink());
    }

    void newFilesAreForTheUserAlone()
    {
        const Folder folder;
        const mode_t mask = umask(0);
        QFile::remove(folder.Path());
        QCOMPARE(SYS_ReplaceFile(folder.Path(), "new"), Result::Ok);
        umask(mask);
        QCOMPARE(folder.Mode(), 0600U);
    }

    void whatIsNoFileIsNeitherReadNorWritten()
    {
        const Folder folder;
        QCOMPARE(mkfifo(folder.File("pipe").toUtf8(), 0600), 0);
        QVERIFY(QFile::link("loop", folder.File("loop")));
        QVERIFY(QFile::link("/dev/zero", folder.File("device")));
        const std::pair<const char *, Result> places[] = {{"pipe", Result::InvalidFile},
            {".", Result::InvalidFile}, {"device", Result::InvalidFile}, {"loop", Result::BadName},
            {"none/x", Result::PathNotFound}, {"settings.ini/x", Result::PathNotFound}};
        std::array<char, 8> buffer{};
        std::size_t length = 8;
        for (const auto &[name, result] : places) {
            const QByteArray path = folder.File(name).toUtf8();
            QCOMPARE(SYS_ReplaceFile(path, "new"), result);
            QCOMPARE(SYS_ReadFile(path, buffer, length), result);
            QCOMPARE(length, 0U);
        }
        QCOMPARE(folder.Names(), QStringList({"device", "loop", "pipe", "settings.ini"}));
    }

    void whatMustNotBeWrittenIsLeftAlone()
    {
        const Folder folder("kept", 0444);
        QCOMPARE(SYS_ReplaceFile(folder.Path(), "new"), Result::ReadOnly); // for root, too
        QCOMPARE(folder.Content(), "kept");
        if (geteuid() == 0) {
            const Folder foreign("kept", 0644);
            QCOMPARE(chown(foreign.Path(), 0, 0), 0);
            const AsUser user; // may write the directory, but not the file
            QCOMPARE(SYS_ReplaceFile(foreign.Path(), "new"), Result::AccessDenied);
            QCOMPARE(foreign.Content(), "kept");
        }
    }

    void aClosedDirectoryIsWrittenInPlace()
    {
        const Folder folder("old, and much longer than the new one", 0600);
        folder.SetMode(0500);
        std::optional<AsUser> user(std::in_place);
        QCOMPARE(SYS_ReplaceFile(folder.Path(), "new"), Result::Ok);
        QCOMPARE(folder.Content(), "new");
        QCOMPARE(SYS_ReplaceFile(folder.Path(), "longer than before"), Result::Ok);
        QCOMPARE(folder.Content(), "longer than before");
        const QByteArray other = folder.File("other").toUtf8();
        QCOMPARE(SYS_ReplaceFile(other.constData(), "new"), Result::AccessDenied);
        user.reset();
        QCOMPARE(folder.Names(), QStringList("settings.ini"));
    }

    void aSizeLimitLeavesTheOldFile()
    {
        const Folder folder("old", 0600);
        const std::string content(5000, 'n');
        signal(SIGXFSZ, SIG_IGN);
        rlimit limit{};
        getrlimit(RLIMIT_FSIZE, &limit);
        const rlimit small{1000, limit.rlim_max};
        setrlimit(RLIMIT_FSIZE, &small);
        const Result beside = SYS_ReplaceFile(folder.Path(), content);
        folder.SetMode(0500);
        std::optional<AsUser> user(std::in_place);
        const Result inPlace = SYS_ReplaceFile(folder.Path(), content);
        user.reset();
        setrlimit(RLIMIT_FSIZE, &limit);
        QCOMPARE(beside, Result::TransferFailed);
        QCOMPARE(inPlace, Result::TransferFailed);
        QCOMPARE(folder.Content(), "old");
        QCOMPARE(folder.Names(), QStringList("settings.ini"));
    }

    void withoutDescriptorsNothingIsLost()
    {
        const Folder folder("old");
        std::array<char, 8> buffer{};
        std::size_t length = 0;
        rlimit limit{};
        getrlimit(RLIMIT_NOFILE, &limit);
        const rlimit none{3, limit.rlim_max};
        setrlimit(RLIMIT_NOFILE, &none);
        const Result written = SYS_ReplaceFile(folder.Path(), "n");
        const Result read = SYS_ReadFile(folder.Path(), buffer, length);
        setrlimit(RLIMIT_NOFILE, &limit);
        QCOMPARE(written, Result::InvalidFile);
        QCOMPARE(read, Result::InvalidFile);
        QCOMPARE(folder.Content(), "old");
        QCOMPARE(SYS_ReplaceFile(folder.Path(), "new"), Result::Ok);
    }

    void aSaveKilledAtAnySystemCallLeavesAWholeFile()
    {
        if (!MayTraceChildren())
            QSKIP("This system lets nobody trace his children.");
        const QByteArray first(20'000, 'a');
        const std::string second(29'000, 'b');
        int stop = 0;
        bool finished = false;
        for (; !finished; ++stop) {
            const Folder folder(first, 0640);
            finished = KillAtStop(StartStoppedSave(folder.Path(), second), stop);
            const QByteArray content = folder.Content();
            QVERIFY2(
                content == QByteArray::fromStdString(second) || (content == first && !finished),
                qPrintable(QStringLiteral("torn at stop %1").arg(stop)));
            for (const QString &name : folder.Names()) // also of what was left behind
                QCOMPARE(
                    QFile::permissions(folder.File(name)) & ~kModeOf0640, QFile::Permissions());
        }
        QVERIFY(stop > 10); // it was not all done in one step
    }
};

QTEST_GUILESS_MAIN(SysFileTest)
#include "tst_sysfile.moc"
