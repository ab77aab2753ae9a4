#include "targetchoice.h"

#include <QtTest>

using namespace OpenProbe;

/// What a text selects, or why it selects nothing.
static QString Meaning(const QString &text, int defaultPort = 0)
{
    const TargetChoice choice = ParseSelector(text.toStdString(), defaultPort);
    const QStringList target = {QStringList{"sim", "gdb", "tcl", "pid"}[int(choice.kind)],
        QString::number(choice.simIndex), choice.host.c_str(), QString::number(choice.port),
        choice.process.c_str()};
    return choice.error.empty() ? target.join(' ').simplified()
                                : QString::fromStdString(choice.error);
}

class TargetChoiceTest : public QObject {
    Q_OBJECT
private slots:
    void aSelectorNamesATargetOrIsRefusedByName()
    {
        QCOMPARE(Meaning("  \t "), "gdb 0 localhost 1234");
        QCOMPARE(Meaning("Localhost"), "gdb 0 Localhost 1234");
        QCOMPARE(Meaning("board.lab-3_x"), "gdb 0 board.lab-3_x 1234");
        QCOMPARE(Meaning("board", 5000), "gdb 0 board 5000");
        QCOMPARE(Meaning("board:7", 5000), "gdb 0 board 7");
        QCOMPARE(Meaning("192.168.2.3:65535"), "gdb 0 192.168.2.3 65535");
        QCOMPARE(Meaning("board:6666"), "tcl 0 board 6666");
        QCOMPARE(Meaning("board", 6666), "tcl 0 board 6666");
        QCOMPARE(Meaning("gdb:board:6666"), "gdb 0 board 6666");
        QCOMPARE(Meaning("GDB: board "), "gdb 0 board 1234");
        QCOMPARE(Meaning("tcl:board:77"), "tcl 0 board 77");
        QCOMPARE(Meaning("tcl:"), "tcl 0 localhost 6666");
        QCOMPARE(Meaning("[fe80::1%eth0]:2331"), "gdb 0 fe80::1%eth0 2331");
        QCOMPARE(Meaning("tcl:[::1]"), "tcl 0 ::1 6666");
        QCOMPARE(Meaning("pid:4711"), "pid 0 0 4711");
        QCOMPARE(Meaning("pid:my program"), "pid 0 0 my program");
        QCOMPARE(Meaning("sim"), "sim 0 0");
        QCOMPARE(Meaning("sim:3"), "sim 3 0");
        QCOMPARE(Meaning("28100001"), "sim 0 0");
        for (const char *const number : {"28100002", "4323067297"}) // plus 2^32
            QCOMPARE(Meaning(number),
                QString("No probe has the serial number %1. The simulated one has 28100001.")
                    .arg(number));
        for (const char *const wrong : {"sim:4", "sim:", "pid:", "board:", "board:0", "board:65536",
                 "board:1a", "board:-1", "gdb:board:1:2", "::1", "[::1", "[]:1", "[::1]1234", "a b",
                 "a/b", "board:4294967297", "gdb:\xC3\xA9"})
            QCOMPARE(Meaning(wrong),
                QString("\"%1\" is not a selector: use HOST[:PORT], gdb:, tcl:, pid:, sim.")
                    .arg(wrong));
    }
};

QTEST_GUILESS_MAIN(TargetChoiceTest)
#include "tst_targetchoice.moc"
