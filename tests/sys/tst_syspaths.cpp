#include "syslinks.h"
#include "syspaths.h"
#include "sysprocess.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <array>
#include <cerrno>

#include <sys/wait.h>
#include <unistd.h>

namespace {

using Path = std::array<char, SYS_MAX_PATH>;

constexpr std::array<std::array<const char *, 2>, 7> kLinks = {{
    {"/usr/bin/pelimo", "/opt/app/bin/pelimo"},
    {"/opt/app/bin/pelimo", "../lib/pelimo.real"},
    {"/usr/bin/relative", "../lib/real"},
    {"link", "dir/other"},
    {"dir/other", "end"},
    {"/round/a", "b"},
    {"/round/b", "a"},
}};

bool ReadFakeLink(const char *path, char *target, std::uint32_t size)
{
    for (const auto &[from, to] : kLinks) {
        if (qstrcmp(path, from) == 0) {
            qstrncpy(target, to, size);
            return true;
        }
    }
    return false;
}

} // namespace

class SysPathsTest : public QObject {
    Q_OBJECT

private slots:
    void linksAreFollowedToTheirEnd()
    {
        constexpr std::array<const char *, 2> kNames[] = {{"/opt/x/pelimo", "/opt/x/pelimo"},
            {"pelimo", "/opt/app/bin/../lib/pelimo.real"}, {"relative", "/usr/bin/../lib/real"},
            {"other", "other"}, {"link", "link"}, // a link here must not count
            {"dir/other", "dir/end"}, {"/round/a", "/round/a"}};
        for (const auto &[name, end] : kNames) {
            Path path;
            SYS_ResolveModulePath(name, &ReadFakeLink, path.data(), SYS_MAX_PATH);
            QCOMPARE(path.data(), end);
        }
    }

    void aProgramStartedThroughTwoRelativeLinksFindsItself()
    {
        const QTemporaryDir folder;
        QVERIFY(QDir(folder.path()).mkpath("sub/bin"));
        const QString real = folder.filePath("sub/bin/real");
        QVERIFY(QFile::copy(WHEREAMI, real));
        QVERIFY(QFile::link("bin/real", folder.filePath("sub/second")));
        QVERIFY(QFile::link("sub/second", folder.filePath("first")));
        QProcess program;
        program.start(folder.filePath("first"), {});
        QVERIFY(program.waitForFinished());
        const QList<QByteArray> lines = program.readAllStandardOutput().split('\n');
        QCOMPARE(lines.value(0), real.toUtf8());
        QCOMPARE(lines.value(1), folder.filePath("sub/bin/").toUtf8());
    }

    void theConfigurationDirectoryIsMade()
    {
        const QTemporaryDir home;
        qputenv("HOME", home.path().toUtf8());
        Path path;
        QCOMPARE(SYS_UserConfigDir(path.data(), SYS_MAX_PATH), SYS_PATH_OK);
        QCOMPARE(QString::fromUtf8(path.data()), home.filePath(".config/TOLVEN"));
        QVERIFY(QFileInfo(path.data()).isDir());
        QCOMPARE(SYS_UserConfigDir(path.data(), SYS_MAX_PATH), SYS_PATH_OK);

        qputenv("HOME", home.filePath("a").toUtf8()); // does not exist
        QCOMPARE(SYS_UserConfigDir(path.data(), SYS_MAX_PATH), SYS_PATH_ERROR);

        // A cut path would be somebody else's directory.
        qputenv("HOME", home.path().toUtf8());
        const auto tooShort = static_cast<std::uint32_t>(home.path().size()) + 15;
        QCOMPARE(SYS_UserConfigDir(path.data(), tooShort), SYS_PATH_ERROR);
        QCOMPARE(QDir(home.filePath(".config")).entryList(QDir::Dirs | QDir::NoDotAndDotDot),
            QStringList("TOLVEN"));
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
};

QTEST_GUILESS_MAIN(SysPathsTest)
#include "tst_syspaths.moc"
