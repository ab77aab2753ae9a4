#include "selection.h"

#include <QtTest>

using namespace OpenProbe;

class SelectionTest : public QObject {
    Q_OBJECT
private slots:
    void aSelectorNamesATarget_data();
    void aSelectorNamesATarget();
    void anythingElseIsRefusedByName_data();
    void anythingElseIsRefusedByName();
};

static QString Described(const Selection &selection)
{
    static const char *const kKinds[] = {"sim", "gdb", "tcl", "pid"};
    return QString("%1 %2 %3 %4 %5")
        .arg(kKinds[static_cast<int>(selection.kind)])
        .arg(selection.simIndex)
        .arg(QString::fromStdString(selection.host))
        .arg(selection.port)
        .arg(QString::fromStdString(selection.process))
        .simplified();
}

void SelectionTest::aSelectorNamesATarget_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("defaultPort");
    QTest::addColumn<QString>("target");
    const auto row = [](const char *text, const char *target, int port = 0) {
        QTest::addRow("'%s', port %d", text, port) << text << port << target;
    };
    row("", "gdb 0 localhost 1234");
    row("  \t ", "gdb 0 localhost 1234");
    row("Localhost", "gdb 0 Localhost 1234");
    row("board.lab-3_x", "gdb 0 board.lab-3_x 1234");
    row("board", "gdb 0 board 5000", 5000);
    row("board:7", "gdb 0 board 7", 5000);
    row("192.168.2.3:65535", "gdb 0 192.168.2.3 65535");
    row("board:6666", "tcl 0 board 6666");
    row("board", "tcl 0 board 6666", 6666);
    row("gdb:board:6666", "gdb 0 board 6666");
    row("GDB: board ", "gdb 0 board 1234");
    row("tcl:board", "tcl 0 board 6666");
    row("tcl:board:77", "tcl 0 board 77");
    row("tcl:", "tcl 0 localhost 6666");
    row("[fe80::1%eth0]:2331", "gdb 0 fe80::1%eth0 2331");
    row("tcl:[::1]", "tcl 0 ::1 6666");
    row("pid:4711", "pid 0 0 4711");
    row("pid:my program", "pid 0 0 my program");
    row("sim", "sim 0 0");
    row("sim:3", "sim 3 0");
    row("28100001", "sim 0 0");
}

void SelectionTest::aSelectorNamesATarget()
{
    QFETCH(QString, text);
    QFETCH(int, defaultPort);
    const Selection selection = ParseSelector(text.toStdString(), defaultPort);
    QCOMPARE(QString::fromStdString(selection.error), QString());
    QTEST(Described(selection), "target");
}

void SelectionTest::anythingElseIsRefusedByName_data()
{
    QTest::addColumn<QString>("text");
    const char *const texts[] = {"sim:4", "sim:", "pid:", "board:", "board:0", "board:65536",
        "board:1a", "board:-1", "gdb:board:1:2", "::1", "[::1", "[]:1", "[::1]1234", "a b", "a/b",
        "board:4294967297", "gdb:\xC3\xA9"};
    for (const char *text : texts)
        QTest::addRow("%s", text) << QString::fromUtf8(text);
    QTest::newRow("a name longer than any") << QString(254, 'a');
}

void SelectionTest::anythingElseIsRefusedByName()
{
    QFETCH(QString, text);
    const QString expected
        = '"' + text + "\" is not a selector: use HOST[:PORT], gdb:, tcl:, pid:, sim.";
    QCOMPARE(QString::fromStdString(ParseSelector(text.toStdString(), 0).error), expected);
    const Selection serial = ParseSelector("28100002", 0);
    QVERIFY(QString::fromStdString(serial.error).contains("28100002"));
    QVERIFY(!ParseSelector("4323067297", 0).error.empty()); // the known number plus 2^32
}

QTEST_GUILESS_MAIN(SelectionTest)
#include "tst_selection.moc"
