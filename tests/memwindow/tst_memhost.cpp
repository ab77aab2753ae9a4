// The memory window in a host of its own, a program that links nothing but the window's library.

#include <QProcess>
#include <QtTest>

namespace {

constexpr int kPatienceMs = 20'000; // only ever reached when something is broken

/// The running host; each command gives what it printed until it was done with it.
class Host {
public:
    Host()
    {
        m_process.start(QStringLiteral(MEMHOST_PROGRAM), QStringList());
        (void)Do("goto 20000080");
    }
    ~Host()
    {
        m_process.kill();
        m_process.waitForFinished(kPatienceMs);
    }
    Q_DISABLE_COPY_MOVE(Host)

    QString Do(const char *command)
    {
        m_process.write(QByteArray(command) + '\n');
        return ReadUntil("done ");
    }
    /// All lines up to the first that begins so.
    QString ReadUntil(const QByteArray &start)
    {
        QString text;
        while (m_process.canReadLine() || m_process.waitForReadyRead(kPatienceMs)) {
            while (m_process.canReadLine()) {
                const QByteArray line = m_process.readLine();
                text += QString::fromUtf8(line);
                if (line.startsWith(start))
                    return text;
            }
        }
        return text + QStringLiteral("<no more>");
    }
    bool EndsWell()
    {
        m_process.write("quit\n");
        return m_process.waitForFinished(kPatienceMs)
            && m_process.exitStatus() == QProcess::NormalExit && m_process.exitCode() == 0;
    }

private:
    QProcess m_process;
};

} // namespace

class MemHostTest : public QObject {
    Q_OBJECT

private slots:
    void allFourCallbacksAreUsed();
};

void MemHostTest::allFourCallbacksAreUsed()
{
    Host host;
    const QString jump = host.Do("goto 20000000");
    QVERIFY2(jump.contains("read 20000000 "), qPrintable(jump));
    QVERIFY2(jump.contains("done goto: Memory @ 20000000"), qPrintable(jump));

    // The hole in the memory makes the page fail, but not its rows.
    QVERIFY2(jump.contains("read 20000110 10 0 ''\n"), qPrintable(jump));

    (void)host.Do("action pActionMemoryView2ByteItems");
    const QString width = host.Do("action pActionMemoryAccess2ByteItems");
    QVERIFY2(width.contains(" 2 ''\n"), qPrintable(width));

    (void)host.Do("goto 20000000"); // the cursor is on the item's upper byte now, shown first
    (void)host.Do("type abcd");
    (void)host.Do("return");
    QVERIFY(host.ReadUntil("write ").endsWith("write 20000000 2 '' CDAB\n"));

    const QString menu = host.Do("menu Data");
    QVERIFY2(menu.contains("entry  Default (checked)\nentry  Data\n"), qPrintable(menu));
    QVERIFY2(menu.contains(" 2 'Data'\n"), qPrintable(menu));
    QVERIFY2(menu.endsWith("Memory @ 20000000, Zone: Data\n"), qPrintable(menu));
    const QString back = host.Do("menu Default");
    QVERIFY2(back.contains("entry  Data (checked)\n"), qPrintable(back));
    QVERIFY2(back.endsWith("Memory @ 20000000\n"), qPrintable(back));

    const QString copy = host.Do("action pActionMemoryCopyBinary");
    QVERIFY2(copy.contains("message 1 Copy action could not be performed: no data to copy\n"),
        qPrintable(copy));
    (void)host.Do("goto 20000000");
    (void)host.Do("type 7766"); // not written yet when the window closes
    QVERIFY(host.EndsWell());
    QVERIFY(host.ReadUntil("write ").endsWith("write 20000000 2 '' 6677\n"));
}

QTEST_GUILESS_MAIN(MemHostTest)
#include "tst_memhost.moc"
