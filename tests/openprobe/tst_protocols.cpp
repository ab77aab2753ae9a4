#include "rspparser.h"
#include "rsptext.h"
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

/// Texts of both protocols, taken apart without a connection.
class ProtocolsTest : public QObject {
    Q_OBJECT
private slots:
    void streamsComeApart()
    {
        QCOMPARE(Events("+$OK#9a-$E14#AA$#00"), "+ P:OK - P:E14 P:");
        QCOMPARE(Events("$OK#9b$OK#zz$OK#9a"), "bad bad P:OK");
        QCOMPARE(Events("%Stop:T05#99%Stop:T05#00%Sto$OK#9a"), "N:Stop:T05 P:OK");
        QCOMPARE(Events("\r\nhello $abc$OK#9a"), "P:OK"); // noise, and cut off
        QCOMPARE(Events("$0*\"#7c$a}\3b#43"), "P:000000 P:a#b");
        QCOMPARE(Events("$*\"#4c"), "broken"); // a run of nothing
        QCOMPARE(Events("$a*#8b"), "broken");
        QCOMPARE(Events("$a}#de"), "broken");
        const QByteArray noise(int(RspParser::kMaxStray), 'x');
        QCOMPARE(Events(noise + "$OK#9a"), "P:OK");
        QCOMPARE(Events(noise + "x$OK#9a"), "broken");
        const QByteArray longest(int(RspParser::kMaxPayload), 'a');
        QCOMPARE(Events("$" + longest + "a#00$OK#9a"), "broken");
        const std::string runs(("a" + QByteArray("*~").repeated(2000)).constData());
        QCOMPARE(Events(RspPacket(runs).c_str()), "broken"); // nearly a hundred bytes each
    }

    void whatAStubSaysOfItself()
    {
        const RspFeatures features = ParseFeatures(
            "PacketSize=3fff;QPassSignals+;QStartNoAckMode+;QNonStop-;qXfer:memory-map:read+");
        QCOMPARE(features.packetSize, 0x3FFFU);
        QVERIFY(features.noAckMode && !features.nonStop && features.knowsMemoryMap);
        QVERIFY(ParseFeatures("QNonStop+").nonStop);
        for (const char *odd : {"", ";;;", "PacketSize=", "PacketSize=12g", "PacketSize=fffffffff"})
            QVERIFY2(ParseFeatures(odd).packetSize == 0, odd);
    }

    void stopsAreToldFromOtherReplies()
    {
        const auto meaning = [](const char *payload) {
            const auto stop = ParseStop(payload).value_or(RspStop{false, -1, ""});
            return QString("%1 %2").arg(stop.signal).arg(stop.thread.c_str())
                + (stop.ended ? " ended" : "");
        };
        QCOMPARE(meaning("S05"), "5 ");
        QCOMPARE(meaning("T0506:00;thread:p1.2a;core:0;"), "5 p1.2a");
        QCOMPARE(meaning("W00;process:2a"), "0  ended");
        QCOMPARE(meaning("X0f"), "15  ended");
        for (const char *other : {"", "S", "S0", "S055", "Sxx", "OK", "E14", "T0", "0123", "QC1"})
            QVERIFY2(meaning(other) == "-1 " && !IsConsoleOutput(other), other);
        QVERIFY(IsConsoleOutput("O48690a") && IsConsoleOutput("O"));
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
        const QByteArray include = "<xi:include href=\"target.xml\"/>";
        const QByteArray include2 = "<xi:include href=\"core.xml\"/>";
        QVERIFY(tellsOfArmM(armM));
        QVERIFY(tellsOfArmM("<target>" + include2 + "</target>", armM));
        for (const QByteArray &other : {QByteArray("E01"), "<target>" + include + "</target>",
                 QByteArray("<target><!-- org.gnu.gdb.arm.m-profile --></target>"),
                 "<target>" + QByteArray(0x10000, ' ') + armM + "</target>",
                 QByteArray("<a>").repeated(20'000), armM.chopped(3)})
            QVERIFY2(!tellsOfArmM(other), other.left(100));
        const QByteArray both = "<target>" + include2 + include2 + "</target>";
        QVERIFY(!tellsOfArmM(both, both)); // without end
    }

    void onlyExactlyTheNumbersAskedForAreData()
    {
        const auto bytes = [](const char *reply, quint32 width, bool bigEndian = false) {
            std::array<std::uint8_t, 4> data{};
            const bool good = ParseTclNumbers(reply, width, data, bigEndian);
            return good ? QByteArray(reinterpret_cast<char *>(data.data()), 4).toHex() : "none";
        };
        QCOMPARE(bytes("0x11223344", 4), "44332211");
        QCOMPARE(bytes("0x1122 0x3344", 2, true), "11223344");
        QCOMPARE(bytes("0x0 0x1 0x2 0xff\r\n", 1), "000102ff");
        for (const char *wrong : {"", "0x1", "0x1 0x2 0x3", "0x1 read_memory: failed", "1 2",
                 "0x1 0x", "0x1 0x10000", "0x1 0x2\x01", "read_memory: failed to read memory"})
            QVERIFY2(bytes(wrong, 2) == "none", wrong);
        const std::array<std::uint8_t, 4> data = {0x11, 0x22, 0x33, 0x44};
        QCOMPARE(TclWriteCommand(0x20000000, 2, data, true),
            "write_memory 0x20000000 16 {0x1122 0x3344}");
        QCOMPARE(
            TclWriteCommand(0x20000000, 4, data, false), "write_memory 0x20000000 32 {0x44332211}");
        QCOMPARE(FirstNumber("adapter speed: 1000 kHz").value_or(0), 1000U);
        QVERIFY(!FirstNumber("none") && !FirstNumber("99999999999"));
    }
};

QTEST_GUILESS_MAIN(ProtocolsTest)
#include "tst_protocols.moc"
