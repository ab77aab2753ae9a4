#include "rspparser.h"
#include "rsptext.h"
#include "targetchoice.h"
#include "targetdescription.h"
#include "tclprotocol.h"

#include <QtTest>

using namespace OpenProbe;

// Every event but None and the repetitions of "broken", packets with their contents.
static QString Events(const QByteArray &bytes)
{
    using Event = RspParser::Event;
    static const QMap<Event, QString> kNames
        = {{Event::Ack, "+"}, {Event::Nak, "-"}, {Event::Packet, "P:"}, {Event::Notification, "N:"},
            {Event::BadChecksum, "bad"}, {Event::Broken, "broken"}};
    RspParser parser;
    QStringList events;
    for (const char byte : bytes) {
        const Event event = parser.Feed(byte);
        const bool told = event == Event::Packet || event == Event::Notification;
        if (event != Event::None)
            events << kNames.value(event) + (told ? parser.Payload().c_str() : "");
    }
    return events.join(' ').replace(QRegularExpression("broken( broken)+"), "broken");
}

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

/// Texts of selectors and of both protocols, taken apart without a connection.
class ProtocolsTest : public QObject {
    Q_OBJECT
private slots:
    void aSelectorNamesATargetOrIsRefusedByName()
    {
        QCOMPARE(Meaning("  \t "), "gdb 0 localhost 1234");
        QCOMPARE(Meaning("board.lab-3_x", 5000), "gdb 0 board.lab-3_x 5000");
        QCOMPARE(Meaning("192.168.2.3:65535"), "gdb 0 192.168.2.3 65535");
        QCOMPARE(Meaning("board", 6666), "tcl 0 board 6666");
        QCOMPARE(Meaning("gdb:board:6666"), "gdb 0 board 6666");
        QCOMPARE(Meaning("[fe80::1%eth0]:2331"), "gdb 0 fe80::1%eth0 2331");
        QCOMPARE(Meaning("tcl:[::1]"), "tcl 0 ::1 6666");
        QCOMPARE(Meaning("pid:my program"), "pid 0 0 my program");
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

    void streamsComeApart()
    {
        QCOMPARE(Events("+$OK#9a-$E14#AA$#00"), "+ P:OK - P:E14 P:");
        QCOMPARE(Events("$OK#9b$OK#zz$OK#9a"), "bad bad P:OK");
        QCOMPARE(Events("%Stop:T05#99%Stop:T05#00%Sto$OK#9a"), "N:Stop:T05 P:OK");
        QCOMPARE(Events("\r\nhello $abc$OK#9a"), "P:OK"); // noise, and cut off
        QCOMPARE(Events("$0*\"#7c$a}\3b#43"), "P:000000 P:a#b");
        QCOMPARE(Events("$*\"#4c"), "broken"); // a run of nothing
        QCOMPARE(Events("$a}#de"), "broken");
        const std::string runs(("a" + QByteArray("*~").repeated(2000)).constData());
        QCOMPARE(Events(RspPacket(runs).c_str()), "broken"); // nearly a hundred bytes each
    }

    void aDescriptionTellsOfItsCore()
    {
        // `other` is every document but the first.
        const auto tellsOfArmM = [](const QByteArray &target, const QByteArray &other = {}) {
            int documents = 0;
            const auto description = ReadTargetDescription([&](const std::string &name) {
                ++documents;
                return (name == "target.xml" ? target : other).toStdString();
            });
            return description.isArmM && documents <= 8;
        };
        const QByteArray armM = "<feature name=\"org.gnu.gdb.arm.m-profile\"></feature>";
        const QByteArray more = "<target><xi:include href=\"a\"/><xi:include href=\"b\"/></target>";
        QVERIFY(tellsOfArmM(armM) && tellsOfArmM(more, armM));
        QVERIFY(!tellsOfArmM("<target><!-- org.gnu.gdb.arm.m-profile --></target>"));
        QVERIFY(!tellsOfArmM("<target>" + QByteArray(0x10000, ' ') + armM + "</target>"));
        QVERIFY(!tellsOfArmM(more, more)); // without end
    }

    void valuesFollowTheByteOrder()
    {
        std::array<std::uint8_t, 4> data{};
        QVERIFY(ParseTclNumbers("0x1122 0x3344\r\n", 2, data, true));
        QCOMPARE(TclWriteCommand(0, 2, data, true), "write_memory 0x0 16 {0x1122 0x3344}");
        QCOMPARE(TclWriteCommand(0, 4, data, false), "write_memory 0x0 32 {0x44332211}");
        for (const char *wrong : {"", "0x1", "0x1 0x2 0x3", "1 2", "0x1 0x", "0x1 0x10000"})
            QVERIFY2(!ParseTclNumbers(wrong, 2, data, false), wrong);
    }
};

QTEST_GUILESS_MAIN(ProtocolsTest)
#include "tst_protocols.moc"
