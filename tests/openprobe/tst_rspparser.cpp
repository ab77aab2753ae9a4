#include "rspparser.h"
#include "rsptext.h"

#include <QtTest>
#include <random>

using namespace OpenProbe;
using Event = RspParser::Event;

class RspParserTest : public QObject {
    Q_OBJECT
private slots:
    void streamsComeApart_data();
    void streamsComeApart();
    void noiseNeverGrowsBeyondItsBounds();
    void whatAStubSaysOfItself();
    void stopsAreToldFromOtherReplies_data();
    void stopsAreToldFromOtherReplies();
};

// Every event but None, packets with their contents.
static QString Events(RspParser &parser, const QByteArray &bytes)
{
    static const QMap<Event, QString> kNames = {{Event::Ack, "+"}, {Event::Nak, "-"},
        {Event::BadChecksum, "bad"}, {Event::Broken, "broken"}};
    QStringList events;
    for (const char byte : bytes) {
        const Event event = parser.Feed(byte);
        if (event == Event::Packet || event == Event::Notification)
            events << (event == Event::Packet ? "P:" : "N:")
                    + QString::fromStdString(parser.Payload());
        else if (event != Event::None)
            events << kNames.value(event);
    }
    return events.join(' ');
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
    row("noise in front", "\r\nhello $OK#9a", "P:OK");
    row("run", "$0*\"#7c", "P:000000");
    row("escape",
        "$a}\x03"
        "b#43",
        "P:a#b");
    row("a run of nothing", "$*\"#4c", "broken");
    row("a run that ends at once", "$a*#8b", "broken");
    row("an escape that ends at once", "$a}#de", "broken");
}

void RspParserTest::streamsComeApart()
{
    QFETCH(QByteArray, bytes);
    RspParser parser;
    QTEST(Events(parser, bytes), "events");
}

void RspParserTest::noiseNeverGrowsBeyondItsBounds()
{
    RspParser chatter;
    QCOMPARE(Events(chatter, QByteArray(int(RspParser::kMaxStray), 'x')), "");
    QVERIFY(Events(chatter, "x$OK#9a").startsWith("broken")); // and stays broken
    QVERIFY(!Events(chatter, "$OK#9a").contains("P:"));
    RspParser longest;
    Events(longest, "$" + QByteArray(int(RspParser::kMaxPayload), 'a'));
    QCOMPARE(Events(longest, "a"), "broken");
    RspParser bomb; // each pair stands for nearly a hundred bytes
    QByteArray runs = "a";
    for (int i = 0; i < 2000; ++i)
        runs += "*~";
    const QByteArray sum = QByteArray::number(RspChecksum(runs.toStdString()), 16);
    QCOMPARE(Events(bomb, "$" + runs + "#" + sum.rightJustified(2, '0')), "broken");
    const quint32 seed = QRandomGenerator::global()->generate();
    qInfo("seed %u", seed);
    std::mt19937 random(seed);
    for (int round = 0; round < 200; ++round) {
        RspParser parser;
        for (int i = 0; i < 5000; ++i) {
            (void)parser.Feed("$#%*}+-0a\x03\xFF"[random() % 11]);
            QVERIFY(parser.Payload().size() <= RspParser::kMaxPayload);
        }
    }
}

void RspParserTest::whatAStubSaysOfItself()
{
    const RspFeatures features = ParseFeatures(
        "PacketSize=3fff;QPassSignals+;QStartNoAckMode+;QNonStop-;qXfer:memory-map:read+");
    QCOMPARE(features.packetSize, 0x3FFFU);
    QVERIFY(features.noAckMode && !features.nonStop && features.knowsMemoryMap);
    QVERIFY(ParseFeatures("QNonStop+").nonStop);
    for (const char *odd : {"", ";;;", "PacketSize=", "PacketSize=xyz", "PacketSize=12g",
             "PacketSize=fffffffff", "PacketSize", "packetsize=100"})
        QCOMPARE(ParseFeatures(odd).packetSize, 0U);
}

void RspParserTest::stopsAreToldFromOtherReplies_data()
{
    QTest::addColumn<QByteArray>("payload");
    QTest::addColumn<QString>("meaning");
    QTest::newRow("S") << QByteArray("S05") << "5";
    QTest::newRow("T") << QByteArray("T02thread:01;") << "2 01";
    QTest::newRow("T with registers") << QByteArray("T0506:00;thread:p1.2a;core:0;") << "5 p1.2a";
    QTest::newRow("exited") << QByteArray("W00") << "0 ended";
    QTest::newRow("exited, with its process") << QByteArray("W00;process:2a") << "0 ended";
    QTest::newRow("killed") << QByteArray("X0f") << "15 ended";
    for (const char *other : {"", "S", "S0", "S055", "Sxx", "OK", "E14", "T0", "0123", "QC1"})
        QTest::addRow("'%s'", other) << QByteArray(other) << "none";
}

void RspParserTest::stopsAreToldFromOtherReplies()
{
    QFETCH(QByteArray, payload);
    const auto stop = ParseStop(payload.toStdString());
    const QString meaning = !stop ? QString("none")
                                  : QString("%1 %2 %3")
                                        .arg(stop->signal)
                                        .arg(QString::fromStdString(stop->thread))
                                        .arg(stop->ended ? "ended" : "")
                                        .simplified();
    QTEST(meaning, "meaning");
    QVERIFY(!IsConsoleOutput(payload.toStdString()));
    QVERIFY(IsConsoleOutput("O48690a") && IsConsoleOutput("O"));
}

QTEST_GUILESS_MAIN(RspParserTest)
#include "tst_rspparser.moc"
