#include "syslinks.h"
#include "syspaths.h"
#include "sysprocess.h"

#include <QtTest>

#include <sys/wait.h>
#include <unistd.h>

namespace {

bool ReadFakeLink(const char *path, char *target, std::uint32_t size)
{
    static const QMap<QByteArray, QByteArray> kLinks = {{"/usr/bin/pelimo", "/opt/app/bin/pelimo"},
        {"/opt/app/bin/pelimo", "../lib/real"}, {"/usr/bin/relative", "../lib/real"},
        {"link", "dir/other"}, {"dir/other", "end"}, {"/round/a", "b"}, {"/round/b", "a"}};
    qstrncpy(target, kLinks.value(path).constData(), size);
    return kLinks.contains(path);
}

} // namespace

class SysPathsTest : public QObject {
    Q_OBJECT

private slots:
    void linksAreFollowedToTheirEnd()
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
        for (int time = 0; time < 2; ++time) {
            QCOMPARE(make(home.path(), expected.size() + 1), SYS_PATH_OK);
            QCOMPARE(path.data(), expected);
            QVERIFY(QDir(expected).exists());
        }
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
};

QTEST_GUILESS_MAIN(SysPathsTest)
#include "tst_syspaths.moc"
