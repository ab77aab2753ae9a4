// The memory window in a host of its own, a program that links nothing but the window's library.

#include <QProcess>
#include <QtTest>

class MemHostTest : public QObject {
    Q_OBJECT

private slots:
    void allFourCallbacksAreUsed()
    {
        const std::pair<QString, const char *> steps[] = {// a command and a part of its effect
            {"Goto 20000000", "read 20000000 0 ''\n"},
            // The hole in the memory makes the page fail, but not its rows.
            {"Goto 20000000", "read 20000110 0 ''\n"}, {"View2ByteItems", "read 20000000 0 ''\n"},
            {"Access2ByteItems", "read 20000000 2 ''\n"},
            {"Goto 20000000", "title Memory @ 20000000\n"},
            {"type abcd", "title Memory @ 20000000\n"}, {"zone Data", "write 20000000 2 '' CDAB\n"},
            {"zone Data", "read 20000000 2 'Data'\n"},
            {"Goto 20000000", "title Memory @ 20000000, Zone: Data\n"},
            {"type 7766", "title Memory @ 20000000, Zone: Data\n"},
            {"zone Default", "write 20000000 2 'Data' 6677\n"},
            {"CopyBinary", "message 1 Copy action could not be performed: no data to copy\n"},
            {"type 4", "title Memory @ 20000000\n"}}; // not written yet when the window goes
        QStringList commands;
        for (const auto &[command, effect] : steps)
            commands << command;
        QProcess host;
        host.start(QStringLiteral(MEMHOST_PROGRAM), commands);
        QVERIFY(host.waitForFinished(20'000)); // only ever reached when something is broken
        QCOMPARE(host.exitCode(), 0);
        const QString output = QString::fromUtf8(host.readAllStandardOutput());
        qsizetype at = 0;
        for (const auto &[command, effect] : steps) {
            const qsizetype found = output.indexOf(QLatin1String(effect), at);
            QVERIFY2(found >= 0, qPrintable(command + "\n" + output.mid(at)));
            at = found;
        }
        QVERIFY2(output.endsWith("write 20000000 2 '' C4AB\n"), qPrintable(output.mid(at)));
    }
};

QTEST_GUILESS_MAIN(MemHostTest)
#include "tst_memhost.moc"
