#include "cancelsignal.h"
#include "pidbackend.h"
#include "processtarget.h"

#include <QtTest>
#include <unistd.h>

using namespace OpenProbe;

class PidBackendTest : public QObject {
    Q_OBJECT
private slots:
    void whatCannotBeLookedIntoGetsAText();
    void aProcessIsFoundByName();
    void theEndOfTheProcessIsNoticed();

private:
    static QString OpenError(const QString &process);
};

QString PidBackendTest::OpenError(const QString &process)
{
    const CancelSignal cancel;
    PidBackend backend(process.toStdString());
    return QString::fromStdString(backend.Open(cancel));
}

void PidBackendTest::whatCannotBeLookedIntoGetsAText()
{
    PeerProcess ended;
    QVERIFY(ended.Start("true", {}));
    const qint64 id = ended.Id();
    QTRY_VERIFY(!QFile::exists(QString("/proc/%1").arg(id)) || (ended.Runs(), false));
    QCOMPARE(OpenError(QString::number(id)), QString("No process %1.").arg(id));
    QCOMPARE(OpenError("no such name"), "No process no such name.");
    QCOMPARE(OpenError("99999999999"), "No process 99999999999.");
    PeerProcess high; // an ordinary program: position independent, far above 4 GiB
    QVERIFY(high.Start("sleep", {"1000"}));
    QTRY_COMPARE(OpenError(QString::number(high.Id())),
        QString(
            "Process %1 has no memory below 4 GiB. Build the program with -no-pie, or for 32 bits.")
            .arg(high.Id()));
    if (geteuid() != 0)
        QCOMPARE(OpenError("1"), "Not allowed to read process 1 (same user, ptrace_scope).");
}

void PidBackendTest::aProcessIsFoundByName()
{
    const QTemporaryDir directory;
    const QString name = "pt" + QString::number(getpid()); // unlike any other's
    ProcessTarget one;
    QVERIFY(one.Start(directory.filePath(name)));
    QCOMPARE(OpenError(name), "");
    ProcessTarget two;
    QVERIFY(two.Start(directory.filePath(name)));
    const QString text = OpenError(name);
    QVERIFY2(text.startsWith("Several processes are called " + name)
            && text.contains(QString("pid:%1").arg(one.Id()))
            && text.contains(QString("pid:%1").arg(two.Id())),
        qPrintable(text));
}

void PidBackendTest::theEndOfTheProcessIsNoticed()
{
    ProcessTarget target;
    QVERIFY(target.Start());
    const CancelSignal cancel;
    PidBackend backend(std::to_string(target.Id()));
    QCOMPARE(QString::fromStdString(backend.Open(cancel)), "");
    QVERIFY(backend.Alive());
    target.Kill();
    QVERIFY(!backend.Alive()); // before any access
    std::array<std::uint8_t, 4> data{};
    QCOMPARE(backend.Read(0x20000000, data, 0), -1);
}

QTEST_GUILESS_MAIN(PidBackendTest)
#include "tst_pidbackend.moc"
