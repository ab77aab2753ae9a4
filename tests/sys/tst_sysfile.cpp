#include "sysfile.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <array>
#include <csignal>
#include <optional>

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr uid_t kNobody = 65534;

/// A folder with one file, which a user without privileges owns when the test runs as root.
class Folder {
public:
    explicit Folder(const QByteArray &content = {}, mode_t mode = 0640)
    {
        Put(content, mode);
        if (geteuid() == 0)
            m_owned = chown(qPrintable(m_folder.path()), kNobody, kNobody) == 0
                && chown(Path(), kNobody, kNobody) == 0;
    }
    ~Folder() { SetMode(0700); }

    void Put(const QByteArray &content, mode_t mode)
    {
        QFile file(m_folder.filePath("settings.ini"));
        if (file.open(QIODevice::WriteOnly))
            file.write(content);
        file.close();
        chmod(Path(), mode);
    }

    [[nodiscard]] const char *Path() const { return m_path.constData(); }
    [[nodiscard]] QString File(const char *name) const { return m_folder.filePath(name); }
    void SetMode(mode_t mode) const { chmod(qPrintable(m_folder.path()), mode); }

    [[nodiscard]] QByteArray Content() const
    {
        QFile file(m_folder.filePath("settings.ini"));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<unreadable>");
    }
    [[nodiscard]] mode_t Mode() const
    {
        struct stat info { };
        return stat(Path(), &info) == 0 ? info.st_mode & 07777 : 0;
    }
    [[nodiscard]] QStringList Names() const
    {
        return QDir(m_folder.path()).entryList(QDir::Files | QDir::Hidden | QDir::System);
    }

private:
    QTemporaryDir m_folder;
    QByteArray m_path = m_folder.filePath("settings.ini").toUtf8();
    bool m_owned = true;
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

} // namespace

class SysFileTest : public QObject {
    Q_OBJECT

private slots:
    void savingReplacesTheFileAndKeepsItsMode();
    void linksAreFollowed();
    void whatMustNotBeWrittenIsLeftAlone();
    void aClosedDirectoryIsWrittenInPlace();
    void aFullDiskLeavesTheOldFile();
    void aKilledSaveLeavesAWholeFile();
};

void SysFileTest::savingReplacesTheFileAndKeepsItsMode()
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

void SysFileTest::linksAreFollowed()
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

void SysFileTest::whatMustNotBeWrittenIsLeftAlone()
{
    const Folder folder("kept", 0444);
    QCOMPARE(SYS_ReplaceFile(folder.Path(), "new"), Result::ReadOnly); // for root, too
    QCOMPARE(folder.Content(), "kept");
    const QByteArray directory = folder.File(".").toUtf8();
    QCOMPARE(SYS_ReplaceFile(directory.constData(), "new"), Result::InvalidFile);
    if (geteuid() == 0) {
        const Folder foreign("kept", 0644);
        QCOMPARE(chown(foreign.Path(), 0, 0), 0);
        const AsUser user; // may write the directory, but not the file
        QCOMPARE(SYS_ReplaceFile(foreign.Path(), "new"), Result::AccessDenied);
        QCOMPARE(foreign.Content(), "kept");
    }
}

void SysFileTest::aClosedDirectoryIsWrittenInPlace()
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

void SysFileTest::aFullDiskLeavesTheOldFile()
{
    const Folder folder("old", 0600);
    const std::string content(5000, 'n');
    // A size limit fails a write just as a full disk does.
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

void SysFileTest::aKilledSaveLeavesAWholeFile()
{
    const std::string first(20'000, 'a');
    const std::string second(29'000, 'b');
    const Folder folder(QByteArray::fromStdString(first), 0600);
    for (int round = 0; round < 20; ++round) {
        int ends[2];
        QCOMPARE(pipe(ends), 0);
        const pid_t child = fork();
        if (child == 0) {
            for (;;) {
                for (const std::string &content : {first, second}) {
                    if (SYS_ReplaceFile(folder.Path(), content) != Result::Ok
                        || write(ends[1], "x", 1) != 1)
                        _exit(1);
                }
            }
        }
        char told = 0;
        for (int saves = 0; saves <= round; ++saves)
            QCOMPARE(read(ends[0], &told, 1), 1);
        kill(child, SIGKILL);
        int status = 0;
        waitpid(child, &status, 0);
        close(ends[0]);
        close(ends[1]);
        QVERIFY(WIFSIGNALED(status)); // it was saving until then
        const std::string content = folder.Content().toStdString();
        QVERIFY(content == first || content == second);
    }
}

QTEST_GUILESS_MAIN(SysFileTest)
#include "tst_sysfile.moc"
