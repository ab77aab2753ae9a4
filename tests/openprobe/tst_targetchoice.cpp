#include "targetchoice.h"

#include <QtTest>

using namespace OpenProbe;

class TargetChoiceTest : public QObject {
    Q_OBJECT
private slots:
    void aSelectorNamesATargetOrIsRefusedByName_data();
    void aSelectorNamesATargetOrIsRefusedByName();
    void aSelectorBrokenAtAnyByteIsStillOneOrRefused();
};

void TargetChoiceTest::aSelectorNamesATargetOrIsRefusedByName_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("defaultPort");
    QTest::addColumn<QString>("meaning");
    const auto row = [](const QString &text, const QString &meaning, int port = 0) {
        QTest::addRow("'%s', port %d", qPrintable(text), port) << text << port << meaning;
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
    row("tcl:board:77", "tcl 0 board 77");
    row("tcl:", "tcl 0 localhost 6666");
    row("[fe80::1%eth0]:2331", "gdb 0 fe80::1%eth0 2331");
    row("tcl:[::1]", "tcl 0 ::1 6666");
    row("pid:4711", "pid 0 0 4711");
    row("pid:my program", "pid 0 0 my program");
    row("sim", "sim 0 0");
    row("sim:3", "sim 3 0");
    row("28100001", "sim 0 0");
    const QString serial = "No probe has the serial number %1. The simulated one has 28100001.";
    row("28100002", serial.arg("28100002"));
    row("4323067297", serial.arg("4323067297")); // the known number plus 2^32
    for (const char *text : {"sim:4", "sim:", "pid:", "board:", "board:0", "board:65536",
             "board:1a", "board:-1", "gdb:board:1:2", "::1", "[::1", "[]:1", "[::1]1234", "a b",
             "a/b", "board:4294967297", "gdb:\xC3\xA9"})
        row(text,
            QString("\"%1\" is not a selector: use HOST[:PORT], gdb:, tcl:, pid:, sim.").arg(text));
}

void TargetChoiceTest::aSelectorNamesATargetOrIsRefusedByName()
{
    QFETCH(QString, text);
    QFETCH(int, defaultPort);
    const TargetChoice choice = ParseSelector(text.toStdString(), defaultPort);
    const QString kind = QStringList{"sim", "gdb", "tcl", "pid"}[int(choice.kind)];
    const QString target = QString("%1 %2 %3 %4 %5")
                               .arg(kind)
                               .arg(choice.simIndex)
                               .arg(choice.host.c_str())
                               .arg(choice.port)
                               .arg(choice.process.c_str())
                               .simplified();
    QTEST(choice.error.empty() ? target : QString::fromStdString(choice.error), "meaning");
}

void TargetChoiceTest::aSelectorBrokenAtAnyByteIsStillOneOrRefused()
{
    const auto check = [](const QByteArray &text) {
        const TargetChoice choice = ParseSelector(text.toStdString(), 0);
        const bool remote = choice.kind == TargetKind::Gdb || choice.kind == TargetKind::Tcl;
        static const QRegularExpression kHost("^[-A-Za-z0-9._:%]+$");
        const QString host = QString::fromStdString(choice.host);
        const bool reachable = !remote || (choice.port != 0 && kHost.match(host).hasMatch());
        return !choice.error.empty() || (reachable && choice.simIndex >= 0 && choice.simIndex <= 3);
    };
    for (const QByteArray selector : {"gdb:board.lab-3:1234", "tcl:[fe80::1%eth0]:6666",
             "192.168.2.3:65535", "pid:4711", "sim:3", "28100001", "localhost"}) {
        for (int at = 0; at < selector.size(); ++at) {
            QVERIFY2(check(selector.left(at)), selector);
            for (const char byte : {'\0', ' ', ':', '[', ']', '0', '9', '-', '\x1a', '\xff'})
                QVERIFY2(check(QByteArray(selector).replace(at, 1, QByteArray(1, byte))), selector);
        }
    }
}

QTEST_GUILESS_MAIN(TargetChoiceTest)
#include "tst_targetchoice.moc"
