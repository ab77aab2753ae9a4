#include "backendtools.h"
#include "pidbackend.h"
#include "probelibrary.h"
#include "probetargets.h"

#include <QtTest>
#include <sys/wait.h>
#include <unistd.h>

using namespace OpenProbe;

class PidBackendTest : public QObject {
    Q_OBJECT
private slots:
    void whatCannotBeLookedIntoGetsAText();
    void anotherUsersProcessGetsAText();
    void aProcessIsFoundByName();
    void theEndOfTheProcessIsNoticed();
};

static QString TextOf(const QString &selector)
{
    ProbeLibrary library;
    library.Select(ParseSelector(selector.toStdString(), 0));
    return library.Open();
}

static QString Selector(qint64 id)
{
    return QString("pid:%1").arg(id);
}

void PidBackendTest::whatCannotBeLookedIntoGetsAText()
{
    PeerProcess ended;
    QVERIFY(ended.Start({"true"}));
    QTRY_VERIFY_WITH_TIMEOUT(!ended.Runs(), 60'000);
    const QString unknown = "No process %1. Start it, or look for its number with ps.";
    QCOMPARE(TextOf(Selector(ended.Id())), unknown.arg(ended.Id()));
    QCOMPARE(TextOf("pid:no such name"), unknown.arg("no such name"));
    QCOMPARE(TextOf("pid:99999999999"), unknown.arg("99999999999"));
    PeerProcess high; // an ordinary program: position independent, far above 4 GiB
    QVERIFY(high.Start({"sleep", "1000"}));
    QTRY_COMPARE_WITH_TIMEOUT(TextOf(Selector(high.Id())),
        QString(
            "Process %1 has no memory below 4 GiB. Build the program with -no-pie, or for 32 bits.")
            .arg(high.Id()),
        60'000);
}

// What this program, become nobody, is told about a process of root; what it is told about the
// system's first process where it is somebody's already.
void PidBackendTest::anotherUsersProcessGetsAText()
{
    constexpr uid_t kNobody = 65534;
    const pid_t other = geteuid() == 0 ? getpid() : 1;
    if (geteuid() != 0 && QFileInfo("/proc/1").ownerId() == geteuid())
        QSKIP("not root, and there is no process of another user");
    int pipe[2];
    QVERIFY(::pipe(pipe) == 0);
    const pid_t child = fork();
    if (child == 0) {
        const bool dropped = geteuid() != 0 || setresuid(kNobody, kNobody, kNobody) == 0;
        const QByteArray text
            = dropped ? TextOf(Selector(other)).toUtf8() : QByteArray("cannot become nobody");
        _exit(write(pipe[1], text.constData(), size_t(text.size())) == text.size() ? 0 : 1);
    }
    close(pipe[1]);
    char text[512] = {};
    QVERIFY(read(pipe[0], text, sizeof text - 1) > 0);
    close(pipe[0]);
    waitpid(child, nullptr, 0);
    if (QByteArray(text) == "cannot become nobody")
        QSKIP(text);
    QCOMPARE(QString(text),
        QString("Not allowed to read process %1 (same user, ptrace_scope).").arg(other));
}

void PidBackendTest::aProcessIsFoundByName()
{
    const QTemporaryDir directory;
    const QString name = "pt" + QString::number(getpid()); // unlike any other's
    ProcessTarget one;
    QVERIFY(one.Start(directory.filePath(name)));
    QCOMPARE(TextOf("pid:" + name), "");
    ProcessTarget two;
    QVERIFY(two.Start(directory.filePath(name)));
    const QString text = TextOf("pid:" + name);
    QVERIFY2(text.startsWith("Several processes are called " + name)
            && text.contains(Selector(one.Id())) && text.contains(Selector(two.Id())),
        qPrintable(text));
}

void PidBackendTest::theEndOfTheProcessIsNoticed()
{
    ProcessTarget target;
    QVERIFY(target.Start(QString()));
    PidBackend backend(std::to_string(target.Id()));
    QCOMPARE(OpenError(backend), "");
    QVERIFY(backend.Alive());
    target.Kill();
    QVERIFY(!backend.Alive()); // before any access
    QCOMPARE(Bytes(backend, 0x20000000, 4), "result -1");
}

QTEST_GUILESS_MAIN(PidBackendTest)
#include "tst_pidbackend.moc"
