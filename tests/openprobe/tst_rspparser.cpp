#include "rspparser.h"
#include "rsptext.h"
#include "targetdescription.h"

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
    void aDescriptionTellsOfItsCore_data();
    void aDescriptionTellsOfItsCore();
    void aDescriptionBrokenAtAnyByteTellsNothingNew();
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

constexpr const char *kArmM
    = "<feature name=\"org.gnu.gdb.arm.m-profile\"><reg name=\"r0\"/></feature>";

// A description whose one document that is not "target.xml" is asked for by any other name.
static bool TellsOfArmM(const QByteArray &target, const QByteArray &other)
{
    int documents = 0;
    const TargetDescription description = ReadTargetDescription([&](const std::string &name) {
        ++documents;
        return (name == "target.xml" ? target : other).toStdString();
    });
    return description.isArmM && documents <= 8;
}

void RspParserTest::aDescriptionTellsOfItsCore_data()
{
    QTest::addColumn<QByteArray>("target");
    QTest::addColumn<QByteArray>("other");
    QTest::addColumn<bool>("isArmM");
    const auto row = [](const char *name, const char *target, const char *other, bool isArmM) {
        QTest::newRow(name) << QByteArray(target) << QByteArray(other) << isArmM;
    };
    row("none", "", "", false);
    row("no description", "E01", "", false);
    row("in the first document", kArmM, "", true);
    row("included", "<target><xi:include href=\"core.xml\"/></target>", kArmM, true);
    row("mentioned in passing",
        "<target><!-- org.gnu.gdb.arm.m-profile --><architecture>arm</architecture></target>", "",
        false);
    row("another core", "<target><architecture>riscv:rv32</architecture></target>", kArmM, false);
    row("includes itself for ever", "<target><xi:include href=\"target.xml\"/></target>", "",
        false);
    row("includes without end", "<target><xi:include href=\"a.xml\"/></target>",
        "<target><xi:include href=\"a.xml\"/><xi:include href=\"b.xml\"/></target>", false);
    QTest::newRow("too long") << QByteArray("<target>") + QByteArray(0x10000, ' ') + kArmM
            + "</target>" << QByteArray()
                              << false;
    QTest::newRow("deep") << QByteArray("<a>").repeated(20'000) << QByteArray() << false;
}

void RspParserTest::aDescriptionTellsOfItsCore()
{
    QFETCH(QByteArray, target);
    QFETCH(QByteArray, other);
    QTEST(TellsOfArmM(target, other), "isArmM");
}

void RspParserTest::aDescriptionBrokenAtAnyByteTellsNothingNew()
{
    const QByteArray whole = "<?xml version=\"1.0\"?><!DOCTYPE target SYSTEM \"gdb-target.dtd\">"
                             "<target><architecture>riscv:rv32</architecture>"
                             "<xi:include href=\"riscv-32bit-cpu.xml\"/></target>";
    for (int at = 0; at < whole.size(); ++at) {
        QVERIFY(!TellsOfArmM(whole.left(at), whole.mid(at)));
        for (const char byte : {'\0', '<', '>', '&', '"', '/', '\xff'})
            QVERIFY(!TellsOfArmM(QByteArray(whole).replace(at, 1, QByteArray(1, byte)), whole));
    }
}

QTEST_GUILESS_MAIN(RspParserTest)
#include "tst_rspparser.moc"
