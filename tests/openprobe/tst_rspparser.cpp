#include "rspparser.h"
#include "rsptext.h"

#include <QtTest>

using namespace OpenProbe;
using Event = RspParser::Event;

class RspParserTest : public QObject {
    Q_OBJECT
private slots:
    void streamsComeApart_data();
    void streamsComeApart();
    void whatAStubSaysOfItself();
    void stopsAreToldFromOtherReplies();
};

// Every event but None and the repetitions of "broken", packets with their contents.
static QString Events(const QByteArray &bytes)
{
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

void RspParserTest::streamsComeApart_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("events");
    const auto row = [](const char *name, const QByteArray &bytes, const char *events) {
        QTest::newRow(name) << bytes << QString(events);
    };
    row("plain", "+$OK#9a", "+ P:OK");
    row("empty packet", "$#00", "P:");
    row("upper-case checksum", "$OK#9A", "P:OK");
    row("two in one block", "$OK#9a-$E14#aa", "P:OK - P:E14");
    row("wrong checksum", "$OK#9b$OK#9a", "bad P:OK");
    row("checksum that is no number", "$OK#zz", "bad");
    row("notification", "%Stop:T05#99$OK#9a", "N:Stop:T05 P:OK");
    row("damaged notification", "%Stop:T05#00$OK#9a", "P:OK");
    row("cut off and begun again", "$abc$OK#9a", "P:OK");
    row("notification cut off", "%Sto$OK#9a", "P:OK");
    row("noise in front", "\r\nhello $OK#9a", "P:OK");
    row("run", "$0*\"#7c", "P:000000");
    row("escape", QByteArray("$a}\3b#43"), "P:a#b");
    row("a run of nothing", "$*\"#4c", "broken");
    row("a run that ends at once", "$a*#8b", "broken");
    row("an escape that ends at once", "$a}#de", "broken");
    row("most noise", QByteArray(int(RspParser::kMaxStray), 'x') + "$OK#9a", "P:OK");
    row("more noise", QByteArray(int(RspParser::kMaxStray) + 1, 'x') + "$OK#9a", "broken");
    const QByteArray longest(int(RspParser::kMaxPayload), 'a');
    row("longer than any", "$" + longest + "a#00$OK#9a", "broken");
    const std::string bomb(("a" + QByteArray("*~").repeated(2000)).constData());
    row("runs of nearly a hundred bytes each", RspPacket(bomb).c_str(), "broken");
}

void RspParserTest::streamsComeApart()
{
    QFETCH(QByteArray, bytes);
    QTEST(Events(bytes), "events");
}

void RspParserTest::whatAStubSaysOfItself()
{
    const RspFeatures features = ParseFeatures(
        "PacketSize=3fff;QPassSignals+;QStartNoAckMode+;QNonStop-;qXfer:memory-map:read+");
    QCOMPARE(features.packetSize, 0x3FFFU);
    QVERIFY(features.noAckMode && !features.nonStop && features.knowsMemoryMap);
    QVERIFY(ParseFeatures("QNonStop+").nonStop);
    for (const char *odd : {"", ";;;", "PacketSize=", "PacketSize=12g", "PacketSize=fffffffff"})
        QCOMPARE(ParseFeatures(odd).packetSize, 0U);
}

void RspParserTest::stopsAreToldFromOtherReplies()
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
    for (const char *other : {"", "S", "S0", "S055", "Sxx", "OK", "E14", "T0", "0123", "QC1"}) {
        QCOMPARE(meaning(other), "-1 ");
        QVERIFY(!IsConsoleOutput(other));
    }
    QVERIFY(IsConsoleOutput("O48690a") && IsConsoleOutput("O"));
}

QTEST_GUILESS_MAIN(RspParserTest)
#include "tst_rspparser.moc"
