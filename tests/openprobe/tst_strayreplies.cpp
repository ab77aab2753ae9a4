#include "backendtools.h"
#include "fakestub.h"
#include "faketclserver.h"
#include "gdbbackend.h"
#include "randomseed.h"
#include "tclbackend.h"

#include <QtTest>

using namespace OpenProbe;

/// A line on which replies come twice, late, early, out of order, merged and in single bytes.
class UnrulyLine {
public:
    explicit UnrulyLine(std::mt19937_64 &random)
        : m_random(random)
    {
    }

    /// @param moreAsked  whether the client waits for the next reply as well: they may be swapped
    bool Deliver(const ScriptedPeer &peer, const QByteArray &reply, bool moreAsked)
    {
        ++replies;
        QByteArrayList pieces = std::exchange(m_before, {});
        const QByteArrayList behind = std::exchange(m_behind, {});
        const QByteArray former = m_former[m_random() % std::size(m_former)];
        switch (m_random() % 200) {
        case 0:
            pieces << reply << reply;
            break;
        case 1: // comes once more, in front of the next one
            pieces << reply;
            m_before << reply;
            break;
        case 2: // comes once more, behind the next one
            pieces << reply;
            m_behind << reply;
            break;
        case 3:
            pieces << former << reply;
            break;
        case 4:
            pieces << reply << former;
            break;
        case 5:
            (moreAsked ? m_behind : pieces) << reply;
            break;
        case 6:
            pieces << reply.first(1) << reply.mid(1);
            break;
        default:
            pieces << reply;
        }
        pieces += behind;
        m_former[m_random() % std::size(m_former)] = reply;
        if (m_random() % 2 == 0)
            pieces = {pieces.join()};
        return std::ranges::all_of(
            pieces, [&](const QByteArray &piece) { return piece.isEmpty() || peer.Send(piece); });
    }

    std::atomic<int> replies = 0;

private:
    std::mt19937_64 &m_random;
    QByteArrayList m_before;
    QByteArrayList m_behind;
    QByteArray m_former[8];
};

/// No request is ever answered with another one's bytes.
class StrayRepliesTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { SetPatience(60); }
    void noStubsReplyIsTakenForAnothers_data();
    void noStubsReplyIsTakenForAnothers();
    void noServersReplyIsTakenForAnothers();

private:
    /// Reads and writes until so many replies have gone over the line, reopening after each loss.
    template <typename MakeBackend, typename Memory>
    static void Run(const UnrulyLine &line, int replies, MakeBackend makeBackend, Memory memory);
};

template <typename MakeBackend, typename Memory>
void StrayRepliesTest::Run(
    const UnrulyLine &line, int replies, MakeBackend makeBackend, Memory memory)
{
    auto random = SeededGenerator();
    int good = 0;
    int losses = 0;
    while (line.replies < replies) {
        const auto backend = makeBackend();
        if (OpenError(*backend).isEmpty()) {
            while (backend->Alive() && line.replies < replies) {
                const quint32 address = 0x1000 + quint32(Pick(random, 0, 0xF00));
                const int count = Pick(random, 1, 80);
                const quint32 width = std::array{0U, 0U, 2U, 4U}[random() % 4];
                if (random() % 8 == 0) {
                    const QByteArray data(count, char(random()));
                    (void)Write(*backend, address, data, width);
                    continue;
                }
                const QByteArray bytes = Bytes(*backend, address, count, width);
                if (bytes == "result -1")
                    break;
                QCOMPARE(bytes.toHex(), memory(address, count).toHex());
                ++good;
            }
        }
        backend->Close();
        ++losses;
    }
    QVERIFY2(good > replies / 50 && losses > replies / 500, // both kinds of lines were there
        qPrintable(QString("%1 reads, %2 losses").arg(good).arg(losses)));
}

void StrayRepliesTest::noStubsReplyIsTakenForAnothers_data()
{
    QTest::addColumn<bool>("runs");
    QTest::addColumn<bool>("emulator");
    QTest::addColumn<QByteArray>("stopAnswer");
    QTest::newRow("halted") << false << false << QByteArray("S05");
    QTest::newRow("answers in run") << false << false << QByteArray("S00");
    QTest::newRow("stopped for each transfer") << true << false << QByteArray("S05");
    QTest::newRow("asked in one stop") << true << true << QByteArray("S05");
}

void StrayRepliesTest::noStubsReplyIsTakenForAnothers()
{
    QFETCH(bool, runs);
    QFETCH(bool, emulator);
    QFETCH(QByteArray, stopAnswer);
    auto random = SeededGenerator();
    UnrulyLine line(random);
    FakeStub::Manners manners;
    manners.ranBefore = runs;
    manners.emulator = emulator;
    manners.features = "PacketSize=40";
    manners.stopAnswer = stopAnswer;
    manners.deliver = [&](ScriptedPeer &peer, const QByteArray &reply, bool moreAsked) {
        return line.Deliver(peer, reply, moreAsked);
    };
    FakeStub stub(manners);
    for (char &byte : stub.m_memory)
        byte = char(random());
    Run(
        line, 25'000, [&] { return std::make_unique<GdbBackend>(At(stub.Port())); },
        [&](quint32 address, int count) {
            return stub.m_memory.mid(int(address) - 0x1000, count);
        });
}

void StrayRepliesTest::noServersReplyIsTakenForAnothers()
{
    auto random = SeededGenerator();
    UnrulyLine line(random);
    ScriptedPeer server([&](ScriptedPeer &self) {
        ServeTcl(self, PoliteTclAnswer, [&](ScriptedPeer &peer, const QByteArray &answer) {
            return line.Deliver(peer, answer, false);
        });
    });
    Run(
        line, 100'000, [&] { return std::make_unique<TclBackend>(At(server.Port())); },
        [](quint32 address, int count) {
            QByteArray bytes;
            for (int i = 0; i < count; ++i)
                bytes += char(TclMemory(address + quint32(i)));
            return bytes;
        });
}

QTEST_GUILESS_MAIN(StrayRepliesTest)
#include "tst_strayreplies.moc"
