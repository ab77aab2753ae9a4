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
        QCOMPARE(Events("$a}#de"), "broken");
        const std::string runs(("a" + QByteArray("*~").repeated(2000)).constData());
        QCOMPARE(Events(RspPacket(runs).c_str()), "broken"); // nearly a hundred bytes each
    }

    void stopsAreToldFromOtherReplies()
    {
        const auto stop = ParseStop("T0506:00;thread:p1.2a;core:0;").value();
        QVERIFY(stop.signal == 5 && stop.thread == "p1.2a" && !stop.ended);
        QVERIFY(ParseStop("W00;process:2a").value().ended && ParseStop("X0f").value().ended);
        for (const char *other : {"", "S", "S0", "S055", "Sxx", "OK", "E14", "T0", "0123", "QC1"})
            QVERIFY2(!ParseStop(other) && !IsConsoleOutput(other), other);
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
